#ifndef EMANTLE_TABLES_EDSC_H
#define EMANTLE_TABLES_EDSC_H

/* edsc: descriptor tables, their columns, and the bin functions that tie data values to table rows. */

#include <emantle/tables/edsc/binfunction.h>
#include <emantle/tables/edsc/column.h>
#include <emantle/tables/edsc/hfa.h>
#include <emantle/tables/edsc/kinds.h>
#include <emantle/tables/edsc/methods.h>
#include <emantle/tables/edsc/table.h>

#endif
