#include "tables/edsc/binfunction/record.h"
#include "tables/edsc/hfa/placement.h"
#include "tables/edsc/table.h"

#include <cstring>
#include <emantle/store/ehfa/object.h>
#include <emantle/tables/edsc/hfa.h>

/* Tables of a store. */

using namespace emantle;
using namespace emantle::tables;

namespace {

constexpr const char* kInstanceName = "edsc_HFA";
constexpr long kOpenMode = -1;
constexpr long kSeekBack = 17;

/* The function that the table's node holds; null where it holds none. */
BinFunctionPtr storedFunction(EerrException& scope, Ehfa_File* file, const char* path)
{
    for (const char* name : {edsc_HFABinFunctionNameFetch(), edsc_HFABinFunction840NameFetch()}) {
        constexpr long kChildByName = 12;
        if (checked(scope, ehfa_ObjectDataReadIfPresent(file, path, name, kChildByName, nullptr, nullptr, nullptr,
                                                        scope)) != nullptr) {
            Edsc_BinFunction* stored = nullptr;
            checked(scope, edsc_HFABinFunctionRead(file, path, &stored, scope));
            return BinFunctionPtr(stored);
        }
    }
    return nullptr;
}

/* A creation that fails before it comes to the store must not place the thread's next table. */
struct UsedPlacement {
    UsedPlacement() = default;
    ~UsedPlacement() { takePlacement(); }
    UsedPlacement(const UsedPlacement&) = delete;
    UsedPlacement& operator=(const UsedPlacement&) = delete;
};

}  // namespace

EMANTLE_API Edsc_TableInstance* edsc_TableCreate(Ehfa_File* file, const char* parentPath, const char* tableName,
                                                 long insertMode, int32_t numRows, const Edsc_BinFunction* binFunction,
                                                 Eerr_ErrorReport** err, ...)
{
    constexpr const char* kFunction = "edsc_TableCreate";
    va_list arguments;
    va_start(arguments, err);
    ignoreOptions(kFunction, "Warning:  Non-null options list ignored", arguments);
    va_end(arguments);
    return guarded<Edsc_TableInstance*>(err, kFunction, nullptr, [&](EerrException& scope) {
        require(file != nullptr, "File pointer is NULL");
        const UsedPlacement placement;
        const HeapPtr<char> path(
            checked(scope, edsc_HFATableArgsSet(file, parentPath, tableName, insertMode, kSeekBack, scope)));
        TablePtr table(checked(scope, edsc_TableCreateWithMethods(file, "", kInstanceName, 1, path.get(), numRows,
                                                                  binFunction, scope, nullptr)));
        table->file = file;
        if (table->binFunction != nullptr &&
            !edsc_HFABinFunctionWrite(file, path.get(), table->binFunction, scope)) {
            table.reset();
            edsc_TableRemove(file, path.get(), nullptr);
            check(scope);
        }
        return table.release();
    });
}

EMANTLE_API Edsc_TableInstance* edsc_TableOpen(Ehfa_File* file, const char* path, const char* tableName, long seekMode,
                                               const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err)
{
    return guarded<Edsc_TableInstance*>(err, "edsc_TableOpen", nullptr,
                                        [&](EerrException& scope) -> Edsc_TableInstance* {
        require(file != nullptr, "File pointer is NULL");
        if (checked(scope, ehfa_ObjectDataReadIfPresent(file, path, tableName, seekMode, nullptr, nullptr, nullptr,
                                                        scope)) == nullptr) {
            return nullptr;
        }
        /* The node is current now: a seek from the current entry must not be made twice. */
        const HeapPtr<char> found(
            checked(scope, edsc_HFATableArgsSet(file, nullptr, nullptr, kOpenMode, kSeekBack, scope)));
        const BinFunctionPtr stored =
            binFunction == nullptr ? storedFunction(scope, file, found.get()) : BinFunctionPtr();
        Edsc_TableInstance* table = checked(
            scope, edsc_TableOpenWithMethods(file, "", kInstanceName, 1, found.get(),
                                             binFunction == nullptr ? stored.get() : binFunction, scope, nullptr));
        if (table != nullptr) {
            table->file = file;
        }
        return table;
    });
}

EMANTLE_API Emsc_Boolean edsc_TableRemove(Ehfa_File* file, const char* tableName, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_TableRemove", 0, [&](EerrException& scope) {
        require(file != nullptr, "File pointer is NULL");
        return checked(scope, edsc_TableDestroyWithMethods(file, "", kInstanceName, 1, tableName, scope));
    });
}
