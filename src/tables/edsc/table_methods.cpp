#include "tables/edsc/format.h"
#include "tables/edsc/instance.h"
#include "tables/edsc/types.h"

#include <algorithm>
#include <cstring>

/* Opening a table format. */

using namespace emantle;
using namespace emantle::tables;

namespace {

constexpr const char* kClassName = "DescriptorTables";

void freeSet(SharedTableMethods* methods) noexcept
{
    if (methods != nullptr) {
        for (std::int32_t type = 0; methods->columnTypes != nullptr && type < methods->columnTypeCount; ++type) {
            emsc_HeapFree(methods->columnTypes[type]);
        }
        emsc_HeapFree(methods->columnTypes);
        emsc_HeapFree(methods->instanceName);
        emsc_HeapFree(methods->dllName);
        emsc_HeapFree(methods);
    }
}

struct SetDeleter {
    void operator()(SharedTableMethods* methods) const noexcept { freeSet(methods); }
};
using SetPtr = std::unique_ptr<SharedTableMethods, SetDeleter>;

std::int32_t noRowCount(void*, std::int32_t*, Eerr_ErrorReport** err)
{
    if (err != nullptr) {
        *err = nullptr;
    }
    return 0;
}

void readColumnTypes(EerrException& scope, Edsc_TableMethods& methods)
{
    if (methods.InstanceColumnTypesGet == nullptr) {
        methods.columnTypes = allocate<char*>(1, kNoMemory).release();
        methods.columnTypeCount = 1;
        methods.columnTypes[0] = heapText(columnTypeName(EDSC_COLUMN_INTEGER), kNoMemory).release();
        return;
    }
    std::int32_t count = 0;
    char** names = nullptr;
    const std::int32_t result = methods.InstanceColumnTypesGet(&count, &names, scope);
    if (result >= 0 && count >= 0 && names != nullptr) {
        methods.columnTypes = names;
        methods.columnTypeCount = count;
    }
    constexpr const char* kGarbage = "InstanceColumnTypesGet returning garbage from %s:  DLL ignored";
    check(scope, kGarbage, methods.instanceName);
    const bool garbage = result < 0 || count < 0 || (count > 0 && names == nullptr);
    require(!garbage && std::none_of(names, names + count, [](const char* name) { return name == nullptr; }), kGarbage,
            methods.instanceName);
}

/* A format that cannot update what it creates does not create it. */
void narrow(SharedTableMethods& methods) noexcept
{
    const bool readOnly = methods.ColumnDestroy == nullptr || methods.ColumnDataWrite == nullptr;
    const bool fixedColumns = readOnly || methods.ColumnCreate == nullptr;
    const bool fixedTable = fixedColumns || methods.TableRowCountSet == nullptr ||
                            methods.TableColumnNamesSet == nullptr || methods.TableDestroy == nullptr;
    if (readOnly) {
        methods.ColumnDestroy = nullptr;
        methods.ColumnDataWrite = nullptr;
        methods.ColumnFieldsWrite = nullptr;
    }
    if (fixedColumns) {
        methods.ColumnCreate = nullptr;
    }
    if (fixedTable) {
        methods.TableRowCountSet = nullptr;
        methods.TableColumnNamesSet = nullptr;
        methods.TableDestroy = nullptr;
        methods.TableCreate = nullptr;
    }
}

void findEntries(EerrException& scope, InstanceEntries& entries, SharedTableMethods& methods)
{
    entries.require(scope, "TableClose", methods.TableClose);
    entries.require(scope, "TableColumnNamesGet", methods.TableColumnNamesGet);
    entries.require(scope, "ColumnOpen", methods.ColumnOpen);
    entries.require(scope, "ColumnClose", methods.ColumnClose);
    entries.require(scope, "ColumnModTimeGet", methods.ColumnModTimeGet);
    entries.require(scope, "ColumnDataRead", methods.ColumnDataRead);
    entries.find(scope, "TableCreate", methods.TableCreate);
    entries.find(scope, "TableDestroy", methods.TableDestroy);
    entries.find(scope, "TableRowCountGet", methods.TableRowCountGet);
    entries.find(scope, "TableRowCountSet", methods.TableRowCountSet);
    entries.find(scope, "TableRowsAdjustToBinFunction", methods.TableRowsAdjustToBinFunction);
    entries.find(scope, "TableColumnNamesSet", methods.TableColumnNamesSet);
    entries.find(scope, "ColumnCreate", methods.ColumnCreate);
    entries.find(scope, "ColumnDestroy", methods.ColumnDestroy);
    entries.find(scope, "ColumnDataWrite", methods.ColumnDataWrite);
    entries.find(scope, "ColumnFieldsRead", methods.ColumnFieldsRead);
    entries.find(scope, "ColumnFieldsWrite", methods.ColumnFieldsWrite);
    entries.find(scope, "ColumnIsBlank", methods.ColumnIsBlank);
    if (methods.TableRowCountGet == nullptr) {
        methods.TableRowCountGet = noRowCount;
    }
}

void* load(EdllHandle library, const char* instanceName, bool prefixed, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edsc_TableMethodsLoad", nullptr, [&](EerrException& scope) -> void* {
        InstanceEntries entries(library, instanceName, prefixed);
        SetPtr methods(allocate<SharedTableMethods>(1, kNoMemory).release());
        entries.findMark(scope, "TableOpen", methods->TableOpen);
        if (methods->TableOpen == nullptr) {
            return nullptr;
        }
        methods->instanceName = heapText(instanceName, kNoMemory).release();
        entries.find(scope, "InstanceIsThreadsafe", methods->InstanceIsThreadsafe);
        entries.find(scope, "InstanceSupportsUnicode", methods->InstanceSupportsUnicode);
        entries.find(scope, "InstanceColumnTypesGet", methods->InstanceColumnTypesGet);
        readColumnTypes(scope, *methods);
        findEntries(scope, entries, *methods);
        narrow(*methods);
        return methods.release();
    });
}

void* loadPrefixed(EdllHandle library, const char* instanceName, Eerr_ErrorReport** err)
{
    return load(library, instanceName, true, err);
}

void* loadBare(EdllHandle library, const char* instanceName, Eerr_ErrorReport** err)
{
    return load(library, instanceName, false, err);
}

void unload(void* object, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_TableMethodsUnload", [&] { freeSet(static_cast<SharedTableMethods*>(object)); });
}

}  // namespace

EMANTLE_API Edsc_TableMethods* edsc_TableMethodsOpen(const char* dllName, const char* instanceName, long instanceFlag,
                                                     Eerr_ErrorReport** err)
{
    return guarded<Edsc_TableMethods*>(err, "edsc_TableMethodsOpen", nullptr,
                                       [&](EerrException& scope) -> Edsc_TableMethods* {
        require(instanceName != nullptr && *instanceName != '\0', "Args");
        const InstanceLock lock;
        auto* methods = static_cast<SharedTableMethods*>(
            checked(scope, edll_InstanceOpenByClassName(kClassName, instanceName, dllName,
                                                        instanceFlag != 0 ? loadPrefixed : loadBare, unload, scope),
                    "edll_InstanceOpen failed"));
        if (methods != nullptr && methods->dllName == nullptr) {
            try {
                methods->dllName = heapText(dllName == nullptr ? "" : dllName, kNoMemory).release();
            } catch (...) {
                edll_InstanceClose(kClassName, instanceName, dllName, nullptr);
                throw;
            }
        }
        return methods;
    });
}

EMANTLE_API void edsc_TableMethodsClose(Edsc_TableMethods* methods, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_TableMethodsClose", [&](EerrException& scope) {
        if (methods != nullptr) {
            const InstanceLock lock;
            checked(scope, edll_InstanceClose(kClassName, methods->instanceName,
                                              static_cast<SharedTableMethods*>(methods)->dllName, scope));
        }
    });
}

EMANTLE_API Emsc_Boolean edsc_TableMethodsSupportTableCreation(const Edsc_TableMethods* methods)
{
    return methods != nullptr && methods->TableCreate != nullptr;
}

EMANTLE_API Emsc_Boolean edsc_TableMethodsSupportTableUpdate(const Edsc_TableMethods* methods)
{
    return methods != nullptr && methods->TableRowCountSet != nullptr && methods->TableColumnNamesSet != nullptr &&
           methods->TableDestroy != nullptr;
}

EMANTLE_API Emsc_Boolean edsc_TableMethodsSupportColumnCreation(const Edsc_TableMethods* methods)
{
    return methods != nullptr && methods->ColumnCreate != nullptr;
}

EMANTLE_API Emsc_Boolean edsc_TableMethodsSupportColumnUpdate(const Edsc_TableMethods* methods)
{
    return methods != nullptr && methods->ColumnDataWrite != nullptr && methods->ColumnDestroy != nullptr;
}

EMANTLE_API Emsc_Boolean edsc_TableMethodsSupportColumnType(const Edsc_TableMethods* methods, const char* typeName)
{
    return methods != nullptr && formatType(*methods, typeName) != kUnknownColumnType;
}
