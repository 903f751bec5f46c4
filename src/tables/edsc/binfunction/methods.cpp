#include "tables/edsc/binfunction/methods.h"

#include "tables/edsc/instance.h"

#include <cstring>

namespace emantle::tables {

namespace {

constexpr const char* kClassName = "BinFunctions";

constexpr KindTitle kKinds[] = {
    {EDSC_TITLE_DIRECT, "edsc_BFDirect", "", EDSC_BIN_DIRECT},
    {EDSC_TITLE_LINEAR, "edsc_BFLinear", "", EDSC_BIN_LINEAR},
    {EDSC_TITLE_LOGARITHMIC, "edsc_BFLogarithmicTK", "", EDSC_BIN_LOGARITHMIC},
    {EDSC_TITLE_EXPLICIT, "edsc_BFExplicit", "", EDSC_BIN_EXPLICIT},
    {EDSC_TITLE_UNIQUE, "edsc_BFUnique", "", EDSC_BIN_NO_OLD_FORM},
    {"IBinFunction (Wrapped COM Object)", "edsc_COM", "rdo.dll", EDSC_BIN_NO_OLD_FORM},
};

/* The set as it is shared; the library's name tells it apart from an instance of the same name elsewhere. */
struct SharedMethods : Edsc_BinFunctionMethods {
    char* dllName;
};

void fill(EerrException& scope, InstanceEntries& entries, Edsc_BinFunctionMethods& methods)
{
    entries.require(scope, "BinFunctionConvertFromMIF", methods.BinFunctionConvertFromMIF);
    entries.require(scope, "BinFunctionCopy", methods.BinFunctionCopy);
    entries.require(scope, "BinFunctionDestroy", methods.BinFunctionDestroy);
    entries.require(scope, "BinFunctionIsSame", methods.BinFunctionIsSame);
    entries.require(scope, "BinFunctionApplyInverse", methods.BinFunctionApplyInverse);
    entries.find(scope, "BinFunctionCreate", methods.BinFunctionCreate);
    entries.find(scope, "BinFunctionBCSyncOld", methods.BinFunctionBCSyncOld);
    entries.find(scope, "BinFunctionConvertToMIF", methods.BinFunctionConvertToMIF);
    entries.find(scope, "BinFunctionPrint", methods.BinFunctionPrint);
}

void* load(EdllHandle library, const char* instanceName, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edsc_BinFunctionMethodsLoad", nullptr, [&](EerrException& scope) -> void* {
        InstanceEntries entries(library, instanceName, true);
        HeapPtr<SharedMethods> methods = allocate<SharedMethods>(1, "Insufficient memory");
        entries.findMark(scope, "BinFunctionApply", methods->BinFunctionApply);
        if (methods->BinFunctionApply == nullptr) {
            return nullptr;
        }
        fill(scope, entries, *methods);
        HeapPtr<char> name = heapText(instanceName, "Insufficient memory");
        methods->instanceName = name.release();
        return methods.release();
    });
}

void unload(void* object, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_BinFunctionMethodsUnload", [&] {
        const HeapPtr<SharedMethods> methods(static_cast<SharedMethods*>(object));
        emsc_HeapFree(methods->instanceName);
        emsc_HeapFree(methods->dllName);
    });
}

Edsc_BinFunctionMethods* open(Eerr_ErrorReport** err, const char* instanceName, const char* dllName)
{
    return guarded<Edsc_BinFunctionMethods*>(err, "edsc_BinFunctionMethodsOpen", nullptr, [&](EerrException& scope) {
        const InstanceLock lock;
        auto* methods = static_cast<SharedMethods*>(
            checked(scope, edll_InstanceOpenByClassName(kClassName, instanceName, dllName, load, unload, scope),
                    "edll_InstanceOpen failed"));
        require(methods != nullptr, "%s is no kind of bin function", instanceName);
        if (methods->dllName == nullptr) {
            try {
                methods->dllName = heapText(dllName, "Insufficient memory").release();
            } catch (...) {
                edll_InstanceClose(kClassName, instanceName, dllName, nullptr);
                throw;
            }
        }
        return methods;
    });
}

}  // namespace

const KindTitle* findKind(const char* title) noexcept
{
    for (const KindTitle& kind : kKinds) {
        if (title != nullptr && std::strcmp(kind.title, title) == 0) {
            return &kind;
        }
    }
    return nullptr;
}

const char* titleOfOldType(std::int32_t type) noexcept
{
    return type >= EDSC_BIN_DIRECT && type <= EDSC_BIN_EXPLICIT ? kKinds[type].title : nullptr;
}

Edsc_BinFunctionMethods* openMethods(EerrException& scope, const char* title)
{
    const KindTitle* kind = findKind(title);
    const char* instanceName = kind == nullptr ? title : kind->instanceName;
    return checked(scope, open(scope, instanceName, kind == nullptr ? "" : kind->dllName));
}

Edsc_BinFunctionMethods* shareMethods(EerrException& scope, const Edsc_BinFunctionMethods* methods)
{
    return checked(scope, open(scope, methods->instanceName, static_cast<const SharedMethods*>(methods)->dllName));
}

void closeMethods(Edsc_BinFunctionMethods* methods) noexcept
{
    if (methods != nullptr) {
        const InstanceLock lock;
        edll_InstanceClose(kClassName, methods->instanceName, static_cast<SharedMethods*>(methods)->dllName, nullptr);
    }
}

}  // namespace emantle::tables
