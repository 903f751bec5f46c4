#include "settings/edll/library.h"

#include "frame/guard/guard.h"
#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"
#include "platform/loader.h"

#include <cctype>
#include <cstring>
#include <emantle/frame/estr/expand.h>
#include <string>
#include <string_view>

using namespace emantle;
using namespace emantle::settings;

namespace {

constexpr std::size_t kMostSymbol = 1024;

bool isRelative(std::string_view path) noexcept
{
    const bool drive = path.size() > 1 && std::isalpha(static_cast<unsigned char>(path[0])) != 0 && path[1] == ':';
    return !drive && (path.empty() || (path[0] != '/' && path[0] != '\\'));
}

/* The entry of an own instance, with the instance's name in front or without. */
void* findOwnEntry(const OwnInstance& instance, std::string_view name) noexcept
{
    const std::string_view prefix = instance.name;
    const std::string_view bare = name.starts_with(prefix) ? name.substr(prefix.size()) : name;
    for (const OwnEntry& entry : instance.entries) {
        if (bare == entry.name) {
            return entry.function;
        }
    }
    return nullptr;
}

void* findSymbol(EdllHandle library, const char* name)
{
    require(library != nullptr && name != nullptr, "Args");
    require(std::strlen(name) < kMostSymbol, "Temp buffer size exceeded");
    return library->own != nullptr ? findOwnEntry(*library->own, name) : platform::findSymbol(library->loaded, name);
}

/* The library at `path`; null with the loader's reason. */
EdllHandle load(const std::string& path, std::string& reason)
{
    HeapPtr<Edll_Library> library = allocate<Edll_Library>(1, "Insufficient memory");
    library->loaded = platform::openLibrary(path, reason);
    return library->loaded == nullptr ? nullptr : library.release();
}

/* The module's folder with a "/" behind it, and its name without the extension. */
struct ModuleName {
    std::string folder;
    std::string root;
};

ModuleName split(const std::string& module)
{
    const std::size_t slash = module.find_last_of("/\\");
    const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
    const std::string file = module.substr(start);
    return {module.substr(0, start), file.substr(0, file.rfind('.'))};
}

}  // namespace

namespace emantle::settings {

const OwnInstance* findOwnInstance(const char* className, const char* instanceName) noexcept
{
    for (const OwnInstance& instance : ownInstances()) {
        if (std::strcmp(instance.className, className) == 0 && std::strcmp(instance.name, instanceName) == 0) {
            return &instance;
        }
    }
    return nullptr;
}

EdllHandle openOwn(const OwnInstance& instance)
{
    HeapPtr<Edll_Library> library = allocate<Edll_Library>(1, "Insufficient memory");
    library->own = &instance;
    return library.release();
}

}  // namespace emantle::settings

EMANTLE_API EdllHandle edll_Open(const char* name, Eerr_ErrorReport** err)
{
    return guarded<EdllHandle>(err, "edll_Open", nullptr, [&] {
        require(name != nullptr, "Could not load DLL %s:\n%s", "<NULL>", "no name");
        const HeapPtr<char> path(estr_PathExpand(name, nullptr, 0));
        require(path, "Insufficient memory");
        if (isRelative(path.get())) {
            warn("edll_Open",
                 "%s: Attempting to load a DLL with a relative path may pose a security risk; please correct",
                 path.get());
        }
        std::string reason;
        EdllHandle library = load(path.get(), reason);
        require(library != nullptr, "Could not load DLL %s:\n%s", path.get(), reason.c_str());
        return library;
    });
}

EMANTLE_API void edll_Close(EdllHandle library, Eerr_ErrorReport** err)
{
    guarded(err, "edll_Close", [&] {
        const HeapPtr<Edll_Library> owner(library);
        if (owner != nullptr) {
            platform::closeLibrary(owner->loaded);
        }
    });
}

EMANTLE_API void* edll_Find(EdllHandle library, const char* name, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edll_Find", nullptr, [&] {
        void* symbol = findSymbol(library, name);
        require(symbol, "Cannot locate symbol %s", name);
        return symbol;
    });
}

EMANTLE_API void* edll_FindIfPresent(EdllHandle library, const char* name, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edll_FindIfPresent", nullptr, [&] { return findSymbol(library, name); });
}

EMANTLE_API void* edll_ReleaseWindowHandle(EdllHandle library)
{
    const HeapPtr<Edll_Library> owner(library);
    return owner == nullptr ? nullptr : owner->loaded;
}

EMANTLE_API Emsc_Boolean edll_OpenResourceLibrary(const char* moduleName, const char* language, EdllHandle* library,
                                                  Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edll_OpenResourceLibrary", 0, [&] {
        require(moduleName != nullptr && library != nullptr, "Args");
        *library = nullptr;
        const HeapPtr<char> path(estr_PathExpand(moduleName, nullptr, 0));
        require(path, "Insufficient memory");
        const ModuleName module = split(path.get());
        const std::string folder = module.folder + "res/";
        const std::string file = module.root + "Res.dll";
        std::string reason;
        if (language != nullptr && *language != '\0') {
            *library = load(folder + language + '/' + file, reason);
        }
        if (*library == nullptr) {
            *library = load(folder + file, reason);
        }
        require(*library != nullptr, "Could not load DLL");
        return 1;
    });
}
