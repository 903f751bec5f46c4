#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"
#include "settings/edll/class_path.h"
#include "settings/edll/library.h"

#include <emantle/frame/ehsh.h>
#include <emantle/siblings/ethr.h>
#include <string>

/* The instances that are open. */

using namespace emantle;
using namespace emantle::settings;

namespace {

struct OpenInstance {
    EdllHandle library;
    void* object;
    Edll_DestroyFunction destroy;
    std::int32_t references;
};

constexpr long kBuckets = 50;
constexpr double kLoadFactor = 2.0;

/* The table of open instances; 0 while there is none. Used inside the unsafe section. */
int instanceTable = 0;

std::string keyOf(const char* className, const char* instanceName, const char* qualifier)
{
    require(className != nullptr && instanceName != nullptr, "Args");
    return std::string(className) + '|' + instanceName + '|' + (qualifier == nullptr ? "" : qualifier);
}

/* A copy of the record of an open instance; without references when it is not open. */
OpenInstance look(EerrException& scope, const std::string& key)
{
    OpenInstance* slot = nullptr;
    if (instanceTable != 0) {
        slot = static_cast<OpenInstance*>(checked(scope, ehsh_KeyHash(instanceTable, key.c_str(), nullptr, scope)));
    }
    const OpenInstance found = slot == nullptr ? OpenInstance{} : *slot;
    if (slot != nullptr && found.references == 0) {
        checked(scope, ehsh_KeyUnHash(instanceTable, key.c_str(), scope));
    }
    return found;
}

void store(EerrException& scope, const std::string& key, const OpenInstance& instance)
{
    if (instanceTable == 0) {
        instanceTable = checked(scope, ehsh_TableCreate(kBuckets, sizeof(OpenInstance), scope, EHSH_GROW_AT,
                                                        kLoadFactor, EHSH_END));
    }
    checked(scope, ehsh_KeyHash(instanceTable, key.c_str(), &instance, scope));
}

/* Destroys the object, then closes its library; the first chain stays in `scope`. */
void destroy(EerrException& scope, const OpenInstance& instance)
{
    if (instance.destroy != nullptr) {
        instance.destroy(instance.object, scope);
    }
    edll_Close(instance.library, scope ? nullptr : static_cast<Eerr_ErrorReport**>(scope));
    check(scope);
}

struct LibraryCloser {
    void operator()(Edll_Library* library) const noexcept { edll_Close(library, nullptr); }
};

EdllHandle openLibraryOf(EerrException& scope, const char* className, const char* instanceName, const char* qualifier)
{
    const bool named = qualifier != nullptr && *qualifier != '\0';
    const OwnInstance* own = named ? nullptr : findOwnInstance(className, instanceName);
    if (own != nullptr) {
        return openOwn(*own);
    }
    if (named) {
        return checked(scope, edll_Open(libraryPathOf(qualifier).c_str(), scope), "DLL Open failed for %s", qualifier);
    }
    const HeapPtr<char> path(checked(scope, edll_ClassPathNameGet(className, instanceName, scope)));
    return checked(scope, edll_Open(path.get(), scope), "DLL Open failed for %s", instanceName);
}

}  // namespace

EMANTLE_API void* edll_InstanceOpenByClassName(const char* className, const char* instanceName, const char* qualifier,
                                               Edll_CreateFunction create, Edll_DestroyFunction destroyFunction,
                                               Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edll_InstanceOpenByClassName", nullptr, [&](EerrException& scope) -> void* {
        require(create != nullptr || destroyFunction != nullptr, "Invalid Create and Destroy Function Pointers");
        const std::string key = keyOf(className, instanceName, qualifier);
        const EthrMTUnsafeCode section;
        OpenInstance instance = look(scope, key);
        if (instance.references > 0) {
            ++instance.references;
            store(scope, key, instance);
            return instance.object;
        }
        std::unique_ptr<Edll_Library, LibraryCloser> library(
            openLibraryOf(scope, className, instanceName, qualifier));
        void* object = library.get();
        if (create != nullptr) {
            object = create(library.get(), instanceName, scope);
            check(scope, "createFunc failed");
        }
        if (object == nullptr) {
            return nullptr;
        }
        instance = {library.release(), object, destroyFunction, 1};
        try {
            store(scope, key, instance);
        } catch (...) {
            if (destroyFunction != nullptr) {
                destroyFunction(object, nullptr);
            }
            edll_Close(instance.library, nullptr);
            throw;
        }
        return object;
    });
}

EMANTLE_API void* edll_InstanceFind(const char* className, const char* instanceName, const char* qualifier,
                                    Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edll_InstanceFind", nullptr, [&](EerrException& scope) {
        const EthrMTUnsafeCode section;
        return look(scope, keyOf(className, instanceName, qualifier)).object;
    });
}

EMANTLE_API Emsc_Boolean edll_InstanceClose(const char* className, const char* instanceName, const char* qualifier,
                                            Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edll_InstanceClose", 0, [&](EerrException& scope) {
        const std::string key = keyOf(className, instanceName, qualifier);
        const EthrMTUnsafeCode section;
        OpenInstance instance = look(scope, key);
        require(instance.references > 0, "Could not find instance %s of class %s", instanceName, className);
        if (--instance.references > 0) {
            store(scope, key, instance);
            return 1;
        }
        checked(scope, ehsh_KeyUnHash(instanceTable, key.c_str(), scope), "ehsh_KeyUnHash fail");
        destroy(scope, instance);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edll_InstanceCloseAll(Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edll_InstanceCloseAll", 0, [&](EerrException& scope) {
        const EthrMTUnsafeCode section;
        if (instanceTable == 0) {
            return 1;
        }
        EstrStringList keys(checked(scope, ehsh_KeyList(instanceTable, scope), "ehsh_KeyList failed!"));
        for (long i = 0; i < estr_StringListCount(keys); ++i) {
            const OpenInstance instance = look(scope, keys->strings[i]);
            if (instance.references > 0) {
                checked(scope, ehsh_KeyUnHash(instanceTable, keys->strings[i], scope), "ehsh_KeyUnHash fail");
                destroy(scope, instance);
            }
        }
        ehsh_TableDelete(instanceTable, scope);
        check(scope, "ehsh_TableDelete failed!");
        instanceTable = 0;
        return 1;
    });
}
