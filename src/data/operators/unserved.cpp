#include "data/operators/row.h"

/* Tables that are listed and compute nothing: each of their cells reports so. */

using namespace emantle;

namespace {

struct NoFamily {};

constexpr OperatorRows kNothing = TableOf<NoFamily, 0>::rows;

}  // namespace

#define EMANTLE_TABLE_OF_eigen(table, types)                  \
    EMANTLE_API Egda_OperatorTable emsc_AddressOf_##table(void) \
    {                                                           \
        return kNothing.data();                                 \
    }
#include "data/operators/homes.h"
