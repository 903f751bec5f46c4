#include "tables/edsc/table.h"

#include "frame/guard/plain_scope.h"
#include "tables/edsc/types.h"

#include <algorithm>
#include <utility>

/* Tables of any format. */

using namespace emantle;
using namespace emantle::tables;

namespace emantle::tables {

const Edsc_TableMethods& methodsOf(const Edsc_TableInstance* table)
{
    require(table != nullptr, "NULL table");
    require(table->methods != nullptr, "Null methods");
    return *table->methods;
}

BinFunctionPtr functionForRows(EerrException& scope, const char* function, const Edsc_BinFunction* binFunction,
                               std::int32_t numRows)
{
    if (binFunction == nullptr) {
        return BinFunctionPtr(numRows == 0 ? nullptr
                                           : checked(scope, edsc_BinFunctionCreateDirect(
                                                                0, static_cast<std::uint32_t>(numRows), scope)));
    }
    BinFunctionPtr copy(checked(scope, edsc_BinFunctionCopy(binFunction, nullptr, scope)));
    if (copy->binCount > static_cast<std::uint32_t>(numRows)) {
        warn(function,
             "Number of rows in table (%d) is less than number of bins in bin function (%d)\nBin function adjusted",
             numRows, static_cast<std::int32_t>(copy->binCount));
        if (numRows == 0) {
            return nullptr;
        }
        checked(scope, edsc_BinFunctionBinCountModify(copy.get(), 0, numRows, scope));
    }
    return copy;
}

}  // namespace emantle::tables

namespace {

/* What the format says; `present` where it does not. */
std::int32_t rowCountOf(EerrException& scope, const Edsc_TableInstance& table, std::int32_t present)
{
    const Edsc_TableMethods& methods = *table.methods;
    callFormat(scope, methods, "TableRowCountGet failed", methods.TableRowCountGet, table.handle, &present);
    require(present >= 0, "TableRowCountGet failed");
    return present;
}

struct Place {
    void* context;
    const char* dllName;
    const char* instanceName;
    long instanceFlag;
    const char* tableName;
};

/* The instance without its format's handle. */
TablePtr instanceAt(EerrException& scope, const Place& place)
{
    require(place.tableName != nullptr && *place.tableName != '\0', "NULL table name");
    TablePtr table(allocate<Edsc_TableInstance>(1, kNoMemory).release());
    table->name = heapText(place.tableName, kNoMemory).release();
    table->context = place.context;
    table->methods =
        checked(scope, edsc_TableMethodsOpen(place.dllName, place.instanceName, place.instanceFlag, scope));
    require(table->methods, "Null methods");
    return table;
}

/* Fills in the format's handle, which stays null for a table that is absent, and the rows. */
void openHandle(EerrException& scope, Edsc_TableInstance& table)
{
    const Edsc_TableMethods& methods = *table.methods;
    table.numRows = callFormat(scope, methods, "TableOpen failed", methods.TableOpen, table.context,
                               static_cast<const char*>(FormatName(methods, table.name)), &table.handle);
}

}  // namespace

EMANTLE_API Edsc_TableInstance* edsc_TableCreateWithMethods(void* context, const char* dllName,
                                                            const char* instanceName, long instanceFlag,
                                                            const char* tableName, int32_t numRows,
                                                            const Edsc_BinFunction* binFunction,
                                                            Eerr_ErrorReport** err, ...)
{
    constexpr const char* kFunction = "edsc_TableCreateWithMethods";
    va_list arguments;
    va_start(arguments, err);
    ignoreOptions(kFunction, "Warning:  Non-null options list ignored", arguments);
    va_end(arguments);
    return guarded<Edsc_TableInstance*>(err, kFunction, nullptr, [&](EerrException& scope) {
        require(numRows >= 0, "Invalid row count %d", numRows);
        TablePtr table = instanceAt(scope, {context, dllName, instanceName, instanceFlag, tableName});
        const Edsc_TableMethods& methods = *table->methods;
        table->binFunction = functionForRows(scope, kFunction, binFunction, numRows).release();
        require(methods.TableCreate, "%s table format does not support table creation", methods.instanceName);
        callFormat(scope, methods, "TableCreate failed", methods.TableCreate, context,
                   static_cast<const char*>(FormatName(methods, tableName)), numRows, &table->handle);
        require(table->handle != nullptr, "Table %s does not exist", tableName);
        table->numRows = numRows;
        return table.release();
    });
}

EMANTLE_API Edsc_TableInstance* edsc_TableOpenWithMethods(void* context, const char* dllName, const char* instanceName,
                                                          long instanceFlag, const char* tableName,
                                                          const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err,
                                                          ...)
{
    constexpr const char* kFunction = "edsc_TableOpenWithMethods";
    va_list arguments;
    va_start(arguments, err);
    ignoreOptions(kFunction, "Warning:  Non-null options list ignored", arguments);
    va_end(arguments);
    return guarded<Edsc_TableInstance*>(err, kFunction, nullptr,
                                        [&](EerrException& scope) -> Edsc_TableInstance* {
        TablePtr table = instanceAt(scope, {context, dllName, instanceName, instanceFlag, tableName});
        openHandle(scope, *table);
        if (table->handle == nullptr) {
            return nullptr;
        }
        table->binFunction = functionForRows(scope, kFunction, binFunction, table->numRows).release();
        return table.release();
    });
}

EMANTLE_API Emsc_Boolean edsc_TableDestroyWithMethods(void* context, const char* dllName, const char* instanceName,
                                                      long instanceFlag, const char* tableName, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_TableDestroyWithMethods", 0, [&](EerrException& scope) {
        TablePtr table = instanceAt(scope, {context, dllName, instanceName, instanceFlag, tableName});
        const Edsc_TableMethods& methods = *table->methods;
        require(methods.TableDestroy, "%s table format does not support table destruction", methods.instanceName);
        openHandle(scope, *table);
        require(table->handle != nullptr, "Table %s does not exist", tableName);
        callFormat(scope, methods, "TableDestroy failed", methods.TableDestroy,
                   std::exchange(table->handle, nullptr));
        return 1;
    });
}

EMANTLE_API void edsc_TableClose(Edsc_TableInstance* table, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_TableClose", [&](EerrException& scope) {
        const HeapPtr<Edsc_TableInstance> shell(table);
        if (table == nullptr) {
            return;
        }
        const HeapPtr<char> name(table->name);
        const TableMethodsPtr methods(table->methods);
        const BinFunctionPtr binFunction(table->binFunction);
        if (table->handle != nullptr && methods != nullptr) {
            callFormat(scope, *methods, "TableClose failed", methods->TableClose, table->handle);
        }
    });
}

EMANTLE_API Emsc_Boolean edsc_TableRowCountGet(Edsc_TableInstance* table, int32_t* count, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_TableRowCountGet", 0, [&](EerrException& scope) {
        require(table != nullptr, "Table pointer is NULL");
        require(count != nullptr, "Count pointer is NULL");
        methodsOf(table);
        *count = rowCountOf(scope, *table, table->numRows);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_TableRowCountSet(Edsc_TableInstance* table, int32_t numRows, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_TableRowCountSet", 0, [&](EerrException& scope) {
        require(table != nullptr, "Table pointer is NULL");
        require(numRows >= 0, "Invalid row count %d", numRows);
        const Edsc_TableMethods& methods = methodsOf(table);
        require(methods.TableRowCountSet, "%s table format does not support row count modification",
                methods.instanceName);
        callFormat(scope, methods, "TableRowCountSet failed", methods.TableRowCountSet, table->handle, numRows);
        table->numRows = numRows;
        if (numRows > 0 && table->binFunction != nullptr &&
            table->binFunction->binCount > static_cast<std::uint32_t>(numRows)) {
            checked(scope, edsc_BinFunctionBinCountModify(table->binFunction, 0, numRows, scope));
        }
        return 1;
    });
}

EMANTLE_API Estr_StringList* edsc_TableListColumns(Edsc_TableInstance* table, Eerr_ErrorReport** err)
{
    return guarded<Estr_StringList*>(err, "edsc_TableListColumns", nullptr, [&](EerrException& scope) {
        const Edsc_TableMethods& methods = methodsOf(table);
        std::int32_t count = 0;
        char** names = nullptr;
        callFormat(scope, methods, "TableColumnNamesGet failed", methods.TableColumnNamesGet, table->handle, &count,
                   &names);
        EstrStringList list;
        return takeNames(scope, isWide(methods), count, names, list).Release();
    });
}

EMANTLE_API double edsc_TableModTimeGet(Edsc_TableInstance* table, Eerr_ErrorReport** err)
{
    return guarded<double>(err, "edsc_TableModTimeGet", 0.0, [&](EerrException& scope) {
        EstrStringList names(checked(scope, edsc_TableListColumns(table, scope)));
        double latest = 0;
        for (long i = 0; i < estr_StringListCount(names); ++i) {
            const char* name = names->strings[i];
            /* A column that fails is told; the others still count. */
            guarded(nullptr, "edsc_TableModTimeGet", [&](EerrException& told) {
                const ColumnPtr column(edsc_ColumnOpen(table, name, told, nullptr));
                check(told, "Cannot open column %s for time stamp", name);
                latest = std::max(latest, checked(told, edsc_ColumnGetTimeStamp(column.get(), told)));
            });
        }
        return latest;
    });
}

EMANTLE_API Emsc_Boolean edsc_TableBinFunctionSet(Edsc_TableInstance* table, const Edsc_BinFunction* binFunction,
                                                  Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_TableBinFunctionSet", 0, [&](EerrException& scope) {
        require(table != nullptr, "Table pointer is NULL");
        require(binFunction != nullptr, "Bin function pointer is NULL");
        const std::uint32_t bins = checked(scope, edsc_BinFunctionBinCount(binFunction, scope));
        require(bins <= static_cast<std::uint32_t>(table->numRows), "Number of bins exceeds number of rows in table");
        BinFunctionPtr copy(checked(scope, edsc_BinFunctionCopy(binFunction, nullptr, scope)));
        const BinFunctionPtr old(std::exchange(table->binFunction, copy.release()));
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_TableBinFunctionSetAndAdjust(Edsc_TableInstance* table,
                                                           const Edsc_BinFunction* binFunction, int32_t dataType,
                                                           Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_TableBinFunctionSetAndAdjust", 0, [&](EerrException& scope) {
        require(table != nullptr, "Table pointer is NULL");
        require(binFunction != nullptr, "Bin function pointer is NULL");
        const Edsc_TableMethods& methods = methodsOf(table);
        BinFunctionPtr copy(checked(scope, edsc_BinFunctionCopy(binFunction, nullptr, scope)));
        if (methods.TableRowsAdjustToBinFunction != nullptr) {
            callFormat(scope, methods, "TableRowsAdjustToBinFunction failed", methods.TableRowsAdjustToBinFunction,
                       table->handle, static_cast<const Edsc_BinFunction*>(copy.get()), dataType);
            table->numRows = rowCountOf(scope, *table, table->numRows);
        } else {
            adjustRows(scope, *table, *copy, dataType);
        }
        const BinFunctionPtr old(std::exchange(table->binFunction, copy.release()));
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_TableSupportsColumnType(const Edsc_TableInstance* table, int32_t typeIndex)
{
    return table != nullptr && edsc_TableMethodsSupportColumnType(table->methods, columnTypeName(typeIndex));
}
