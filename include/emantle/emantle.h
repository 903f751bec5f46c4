#ifndef EMANTLE_EMANTLE_H
#define EMANTLE_EMANTLE_H

/* The whole exported interface. */

#include <emantle/data/bin_operators.h>
#include <emantle/data/egda.h>
#include <emantle/data/epxm.h>
#include <emantle/files/efio.h>
#include <emantle/files/efnp.h>
#include <emantle/frame/ebuf.h>
#include <emantle/frame/edbl.h>
#include <emantle/frame/edlm.h>
#include <emantle/frame/eerr.h>
#include <emantle/frame/ehsh.h>
#include <emantle/frame/eint.h>
#include <emantle/frame/ellm.h>
#include <emantle/frame/elnk.h>
#include <emantle/frame/emsc.h>
#include <emantle/frame/estr.h>
#include <emantle/frame/etxt.h>
#include <emantle/numerics/efga.h>
#include <emantle/services/localisation.h>
#include <emantle/settings/edll.h>
#include <emantle/siblings/ergx.h>
#include <emantle/siblings/ethr.h>
#include <emantle/siblings/orviklog.h>
#include <emantle/store/ehfa.h>
#include <emantle/store/emif.h>
#include <emantle/tables/eahg.h>
#include <emantle/tables/edsc.h>
#include <emantle/tables/ehst.h>
#include <emantle/tables/esta.h>

#endif
