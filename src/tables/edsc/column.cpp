#include "frame/guard/guard.h"
#include "tables/edsc/binfunction/internals.h"
#include "tables/edsc/table.h"
#include "tables/edsc/types.h"

#include <algorithm>
#include <cstring>
#include <utility>

/* Columns of any format. */

using namespace emantle;
using namespace emantle::tables;

namespace {

constexpr const char* kIgnored = "Non-null argument list ignored";

const Edsc_TableMethods& methodsOfColumn(const Edsc_ColumnInstance* column)
{
    require(column != nullptr, "Args");
    require(column->table != nullptr, "Missing column table pointer");
    return methodsOf(column->table);
}

/* The instance without its format's handle. */
ColumnPtr instanceOf(Edsc_TableInstance* table, const char* name)
{
    require(table != nullptr, "NULL table");
    require(name != nullptr && *name != '\0', "NULL column name");
    ColumnPtr column(allocate<Edsc_ColumnInstance>(1, kNoMemory).release());
    column->dataType = kUnknownColumnType;
    column->name = heapText(name, kNoMemory).release();
    column->table = table;
    return column;
}

/* Null where the format has no such column. */
ColumnPtr openIfPresent(EerrException& scope, Edsc_TableInstance* table, const char* name)
{
    const Edsc_TableMethods& methods = methodsOf(table);
    ColumnPtr column = instanceOf(table, name);
    std::int32_t type = kUnknownColumnType;
    std::int32_t width = 0;
    const std::int32_t rows =
        callFormat(scope, methods, "ColumnOpen failed", methods.ColumnOpen, table->handle,
                   static_cast<const char*>(FormatName(methods, name)), &type, &width, &column->handle);
    if (column->handle == nullptr) {
        return nullptr;
    }
    require(type >= 0 && type < methods.columnTypeCount, "Bad column type (%ld) returned from ColumnOpen",
            static_cast<long>(type));
    column->dataType = columnTypeOfName(methods.columnTypes[type]);
    require(isColumnType(column->dataType), "Bad column type (%ld) returned from ColumnOpen", static_cast<long>(type));
    column->maxNumChars = column->dataType == EDSC_COLUMN_STRING ? width : 0;
    column->numRows = rows;
    column->elementDesign = elementDesign(scope, name, column->dataType, column->maxNumChars).release();
    return column;
}

ColumnPtr open(EerrException& scope, Edsc_TableInstance* table, const char* name)
{
    ColumnPtr column = openIfPresent(scope, table, name);
    require(column, "Column %s does not exist", name);
    return column;
}

/* Zeroes, or empty texts, in every row: what the format's free space held is no value. */
void blank(EerrException& scope, Edsc_ColumnInstance& column)
{
    const SharedTableMethods& methods = shared(methodsOfColumn(&column));
    if (methods.ColumnIsBlank != nullptr &&
        callFormat(scope, methods, "ColumnDataWrite failed", methods.ColumnIsBlank, column.handle) > 0) {
        return;
    }
    constexpr std::int32_t kRun = 0x20000;
    const std::int32_t rows = std::min(column.numRows, kRun);
    if (rows == 0) {
        return;
    }
    const BaseDataPtr zeroes(checked(scope, egda_TableCreate(rows, dataTypeOfColumn(column.dataType), scope)));
    for (std::int32_t row = 0; row < column.numRows; row += rows) {
        checked(scope, edsc_ColumnWrite(&column, row, std::min(rows, column.numRows - row), zeroes.get(), scope));
    }
}

}  // namespace

EMANTLE_API Edsc_ColumnInstance* edsc_ColumnCreate(Edsc_TableInstance* table, const char* name, int32_t typeIndex,
                                                   Eerr_ErrorReport** err, ...)
{
    constexpr const char* kFunction = "edsc_ColumnCreate";
    std::int32_t width = 0;
    if (typeIndex == EDSC_COLUMN_STRING) {
        va_list arguments;
        va_start(arguments, err);
        width = va_arg(arguments, int);
        ignoreOptions(kFunction, kIgnored, arguments);
        va_end(arguments);
    }
    return guarded<Edsc_ColumnInstance*>(err, kFunction, nullptr, [&](EerrException& scope) {
        require(table != nullptr && name != nullptr && *name != '\0', "Args");
        const Edsc_TableMethods& methods = methodsOf(table);
        require(methods.ColumnCreate, "%s table format does not support column creation", methods.instanceName);
        require(!checked(scope, edsc_ColumnExist(table, name, scope)),
                "A column with name %s already exists in table %s", name, table->name);
        require(isColumnType(typeIndex), "Invalid column type");
        require(typeIndex != EDSC_COLUMN_STRING || width > 0, "maxNumChars invalid for string type");
        const std::int32_t type = formatType(methods, columnTypeName(typeIndex));
        require(type != kUnknownColumnType, "%s:  Invalid column type for %s table format", columnTypeName(typeIndex),
                methods.instanceName);

        ColumnPtr column = instanceOf(table, name);
        column->dataType = typeIndex;
        column->maxNumChars = width;
        column->numRows = table->numRows;
        column->elementDesign = elementDesign(scope, name, typeIndex, width).release();
        callFormat(scope, methods, "ColumnCreate failed", methods.ColumnCreate, table->handle,
                   static_cast<const char*>(FormatName(methods, name)), type, width, &column->handle);
        require(column->handle != nullptr, "ColumnCreate failed");
        try {
            blank(scope, *column);
        } catch (...) {
            column.reset();
            edsc_ColumnRemove(table, name, nullptr);
            throw;
        }
        return column.release();
    });
}

EMANTLE_API Edsc_ColumnInstance* edsc_ColumnOpen(Edsc_TableInstance* table, const char* name, Eerr_ErrorReport** err,
                                                 ...)
{
    va_list arguments;
    va_start(arguments, err);
    ignoreOptions("edsc_ColumnOpen", kIgnored, arguments);
    va_end(arguments);
    return guarded<Edsc_ColumnInstance*>(err, "edsc_ColumnOpen", nullptr,
                                         [&](EerrException& scope) { return open(scope, table, name).release(); });
}

EMANTLE_API Edsc_ColumnInstance* edsc_ColumnOpenIfPresent(Edsc_TableInstance* table, const char* name,
                                                          Eerr_ErrorReport** err, ...)
{
    va_list arguments;
    va_start(arguments, err);
    ignoreOptions("edsc_ColumnOpenIfPresent", kIgnored, arguments);
    va_end(arguments);
    return guarded<Edsc_ColumnInstance*>(err, "edsc_ColumnOpenIfPresent", nullptr, [&](EerrException& scope) {
        return openIfPresent(scope, table, name).release();
    });
}

EMANTLE_API Emsc_Boolean edsc_ColumnExist(Edsc_TableInstance* table, const char* name, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_ColumnExist", 0, [&](EerrException& scope) {
        return openIfPresent(scope, table, name) != nullptr;
    });
}

EMANTLE_API void edsc_ColumnClose(Edsc_ColumnInstance* column, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_ColumnClose", [&](EerrException& scope) {
        const HeapPtr<Edsc_ColumnInstance> shell(column);
        if (column == nullptr) {
            return;
        }
        const HeapPtr<char> name(column->name);
        const mif::DesignPtr design(column->elementDesign);
        if (column->handle != nullptr) {
            const Edsc_TableMethods& methods = methodsOfColumn(column);
            callFormat(scope, methods, "ColumnClose failed", methods.ColumnClose, column->handle);
        }
    });
}

EMANTLE_API Emsc_Boolean edsc_ColumnRemove(Edsc_TableInstance* table, const char* name, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_ColumnRemove", 0, [&](EerrException& scope) {
        const Edsc_TableMethods& methods = methodsOf(table);
        require(methods.ColumnDestroy, "%s table format does not support column destruction", methods.instanceName);
        const ColumnPtr column = open(scope, table, name);
        callFormat(scope, methods, "ColumnDestroy failed", methods.ColumnDestroy,
                   std::exchange(column->handle, nullptr));
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_ColumnChangeName(Edsc_ColumnInstance* column, const char* newName,
                                               Eerr_ErrorReport** err, ...)
{
    va_list arguments;
    va_start(arguments, err);
    ignoreOptions("edsc_ColumnChangeName", kIgnored, arguments);
    va_end(arguments);
    return guarded<Emsc_Boolean>(err, "edsc_ColumnChangeName", 0, [&](EerrException& scope) {
        const Edsc_TableMethods& methods = methodsOfColumn(column);
        require(newName != nullptr && *newName != '\0', "NULL column name");
        require(methods.TableColumnNamesSet, "%s table format does not support table column renaming",
                methods.instanceName);
        const FormatName oldFormatName(methods, column->name);
        const FormatName newFormatName(methods, newName);
        const char* const oldNames[] = {oldFormatName};
        const char* const newNames[] = {newFormatName};
        callFormat(scope, methods, "TableColumnNamesSet failed", methods.TableColumnNamesSet, column->table->handle, 1,
                   static_cast<const char* const*>(oldNames), static_cast<const char* const*>(newNames));
        /* The records change contents, so that the caller's pointer stays and the old instance closes with the new
         * shell. */
        const ColumnPtr renamed = open(scope, column->table, newName);
        std::swap(*column, *renamed);
        return 1;
    });
}

EMANTLE_API double edsc_ColumnGetTimeStamp(Edsc_ColumnInstance* column, Eerr_ErrorReport** err)
{
    return guarded<double>(err, "edsc_ColumnGetTimeStamp", 0.0, [&](EerrException& scope) {
        const Edsc_TableMethods& methods = methodsOfColumn(column);
        double time = 0;
        callFormat(scope, methods, "ColumnModTimeGet failed", methods.ColumnModTimeGet, column->handle, &time);
        return time;
    });
}
