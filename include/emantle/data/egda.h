#ifndef EMANTLE_DATA_EGDA_H
#define EMANTLE_DATA_EGDA_H

/* egda: generic data. Code below the operators includes the one header that it needs. */

#include <emantle/data/egda/ascii.h>
#include <emantle/data/egda/basedata.h>
#include <emantle/data/egda/group.h>
#include <emantle/data/egda/matrix.h>
#include <emantle/data/egda/operations.h>
#include <emantle/data/egda/stack.h>
#include <emantle/data/egda/types.h>
#include <emantle/data/egda/window.h>

#endif
