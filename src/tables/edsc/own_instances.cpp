#include "settings/edll/own_instances.h"

#include "tables/edsc/hfa/table.h"

#include <emantle/tables/edsc.h>

/* The instances that the library itself provides: the kinds of bin functions and the tables of a store. */

namespace emantle::settings {

namespace {

#define EDSC_ENTRY(prefix, name) {#name, reinterpret_cast<void*>(prefix##name)}

#define EDSC_KIND(Kind)                                                                                               \
    EDSC_ENTRY(edsc_BF##Kind, BinFunctionCreate), EDSC_ENTRY(edsc_BF##Kind, BinFunctionConvertToMIF),                  \
        EDSC_ENTRY(edsc_BF##Kind, BinFunctionConvertFromMIF), EDSC_ENTRY(edsc_BF##Kind, BinFunctionCopy),              \
        EDSC_ENTRY(edsc_BF##Kind, BinFunctionPrint), EDSC_ENTRY(edsc_BF##Kind, BinFunctionDestroy),                    \
        EDSC_ENTRY(edsc_BF##Kind, BinFunctionIsSame), EDSC_ENTRY(edsc_BF##Kind, BinFunctionApply),                     \
        EDSC_ENTRY(edsc_BF##Kind, BinFunctionApplyInverse)

const OwnEntry kDirect[] = {EDSC_KIND(Direct), EDSC_ENTRY(edsc_BFDirect, BinFunctionBCSyncOld)};
const OwnEntry kLinear[] = {EDSC_KIND(Linear), EDSC_ENTRY(edsc_BFLinear, BinFunctionBCSyncOld)};
const OwnEntry kLogarithmic[] = {EDSC_KIND(LogarithmicTK), EDSC_ENTRY(edsc_BFLogarithmicTK, BinFunctionBCSyncOld)};
const OwnEntry kExplicit[] = {EDSC_KIND(Explicit), EDSC_ENTRY(edsc_BFExplicit, BinFunctionBCSyncOld)};
const OwnEntry kUnique[] = {EDSC_KIND(Unique)};

const OwnEntry kStore[] = {
    EDSC_ENTRY(edsc_HFA, InstanceColumnTypesGet), EDSC_ENTRY(edsc_HFA, TableCreate),
    EDSC_ENTRY(edsc_HFA, TableOpen),              EDSC_ENTRY(edsc_HFA, TableClose),
    EDSC_ENTRY(edsc_HFA, TableDestroy),           EDSC_ENTRY(edsc_HFA, TableRowCountSet),
    EDSC_ENTRY(edsc_HFA, TableColumnNamesGet),    EDSC_ENTRY(edsc_HFA, TableColumnNamesSet),
    EDSC_ENTRY(edsc_HFA, ColumnCreate),           EDSC_ENTRY(edsc_HFA, ColumnOpen),
    EDSC_ENTRY(edsc_HFA, ColumnClose),            EDSC_ENTRY(edsc_HFA, ColumnDestroy),
    EDSC_ENTRY(edsc_HFA, ColumnDataRead),         EDSC_ENTRY(edsc_HFA, ColumnDataWrite),
    EDSC_ENTRY(edsc_HFA, ColumnModTimeGet),       EDSC_ENTRY(tables::edsc_HFA, ColumnFieldsRead),
    EDSC_ENTRY(tables::edsc_HFA, ColumnFieldsWrite), EDSC_ENTRY(tables::edsc_HFA, ColumnIsBlank),
};

const OwnInstance kInstances[] = {
    {"BinFunctions", "edsc_BFDirect", kDirect},
    {"BinFunctions", "edsc_BFLinear", kLinear},
    {"BinFunctions", "edsc_BFLogarithmicTK", kLogarithmic},
    {"BinFunctions", "edsc_BFExplicit", kExplicit},
    {"BinFunctions", "edsc_BFUnique", kUnique},
    {"DescriptorTables", "edsc_HFA", kStore},
};

}  // namespace

std::span<const OwnInstance> ownInstances() noexcept { return kInstances; }

}  // namespace emantle::settings
