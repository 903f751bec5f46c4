#include "tables/edsc/binfunction/record.h"
#include "tables/edsc/table.h"
#include "tables/edsc/types.h"

#include <algorithm>
#include <cstring>
#include <emantle/data/egda/stack.h>

/* Whole columns as layers. */

using namespace emantle;
using namespace emantle::tables;

namespace {

struct StackDeleter {
    void operator()(Egda_BaseDataStack* stack) const noexcept { egda_BaseDataStackDelete(stack, nullptr); }
};
using StackPtr = std::unique_ptr<Egda_BaseDataStack, StackDeleter>;

Egda_BaseData& layerOf(const Egda_BaseDataStack& stack)
{
    require(stack.numlayers > 0 && stack.datalayer != nullptr && stack.datalayer[0] != nullptr, "Bad parms.");
    return *stack.datalayer[0];
}

constexpr const char* kOtherType = "The data type of the descriptor stack does not match that of the column";

std::int32_t longestText(const Egda_BaseData& texts)
{
    std::size_t longest = 1;
    for (std::int32_t row = 0; row < texts.numrows; ++row) {
        const char* text = static_cast<char* const*>(texts.data)[row];
        longest = std::max(longest, text == nullptr ? 0 : std::strlen(text));
    }
    require(longest <= INT32_MAX, "Bad parms.");
    return static_cast<std::int32_t>(longest);
}

ColumnPtr columnFor(EerrException& scope, Edsc_TableInstance* table, const char* name, const Egda_BaseData& layer)
{
    ColumnPtr column(checked(scope, edsc_ColumnOpenIfPresent(table, name, scope, nullptr),
                             "Could not open column of table"));
    if (column != nullptr) {
        require(dataTypeOfColumn(column->dataType) == layer.datatype, kOtherType);
        return column;
    }
    const bool known = layer.datatype >= 0 && layer.datatype < EGDA_NUM_TYPES;
    const std::int32_t type = known ? emsc_AddressOf_Edsc_BdToColConvertTbl()[layer.datatype] : kUnknownColumnType;
    require(isColumnType(type), "Unknown column type %d.", type);
    const int width = type == EDSC_COLUMN_STRING ? longestText(layer) : 0;
    column.reset(checked(scope, edsc_ColumnCreate(table, name, type, scope, width, nullptr),
                         "Could not create column of table"));
    return column;
}

}  // namespace

EMANTLE_API Egda_BaseDataStack* edsc_DescriptorStackRead(Edsc_TableInstance* table, const char* columnName,
                                                         Egda_BaseDataStack* stack, Eerr_ErrorReport** err)
{
    return guarded<Egda_BaseDataStack*>(err, "edsc_DescriptorStackRead", nullptr, [&](EerrException& scope) {
        require(table != nullptr && columnName != nullptr, "Bad parms.");
        const ColumnPtr column(edsc_ColumnOpen(table, columnName, scope, nullptr));
        check(scope, "Could not open column of table");
        const Egda_PixelType type = dataTypeOfColumn(column->dataType);
        StackPtr fresh;
        if (stack == nullptr) {
            fresh.reset(checked(scope,
                                egda_BaseDataStackCreate(1, column->numRows, 1, type, EGDA_TABLE_OBJECT, scope),
                                "Can not create descriptor stack!"));
            stack = fresh.get();
        }
        Egda_BaseData& layer = layerOf(*stack);
        require(layer.datatype == type, kOtherType);
        const std::int32_t rows = std::min(layer.numrows, column->numRows);
        checked(scope, edsc_ColumnRead(column.get(), 0, rows, &layer, scope), "Could not read data from this column");
        if (table->binFunction != nullptr) {
            layer.binfunction = checked(scope, edsc_BinFunctionCopy(table->binFunction, nullptr, scope),
                                        "error from edsc_BinFunctionCopy!");
        }
        fresh.release();
        return stack;
    });
}

EMANTLE_API Emsc_Boolean edsc_DescriptorStackWrite(Edsc_TableInstance* table, const char* columnName,
                                                   const Egda_BaseDataStack* stack, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_DescriptorStackWrite", 0, [&](EerrException& scope) {
        require(table != nullptr && columnName != nullptr && stack != nullptr, "Bad parms.");
        const Egda_BaseData& layer = layerOf(*stack);
        ColumnPtr column = columnFor(scope, table, columnName, layer);
        const std::int32_t rows = std::min(layer.numrows, column->numRows);
        checked(scope, edsc_ColumnWrite(column.get(), 0, rows, &layer, scope),
                "Could not write descStack to the column");
        edsc_ColumnClose(column.release(), scope);
        check(scope, "Could not close column of table");
        return 1;
    });
}
