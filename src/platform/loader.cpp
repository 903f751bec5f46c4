#include "platform/loader.h"

#include "platform/errors.h"
#include "platform/faults.h"
#include "platform/paths.h"

#include <dlfcn.h>
#include <strings.h>
#include <unistd.h>
#include <vector>

namespace emantle::platform {
namespace {

std::vector<std::string> candidatesOf(const std::string& name)
{
    std::vector<std::string> candidates{name};
    if (name.size() > 4 && strcasecmp(name.c_str() + name.size() - 4, ".dll") == 0) {
        const std::string stem = name.substr(0, name.size() - 4);
        const std::size_t base = stem.rfind('/') == stem.npos ? 0 : stem.rfind('/') + 1;
        candidates.push_back(stem + ".so");
        candidates.push_back(stem.substr(0, base) + "lib" + stem.substr(base) + ".so");
    }
    return candidates;
}

std::string lastReason()
{
    const char* const text = dlerror();
    return text == nullptr ? "The module was not found." : text;
}

} // namespace

void* openLibrary(std::string_view name, std::string& reason)
{
    const std::string kernel = kernelName(name);
    if (kernel.empty() || kernel.find('\0') != kernel.npos || interference(Operation::load, kernel).error != 0) {
        reason = "The module was not found.";
        failWith(error::moduleNotFound);
        return nullptr;
    }
    // Of several failures the one that helps is that of a file which is there and does not load; failing that, the
    // first.
    bool isThere = false;
    std::string why;
    for (const std::string& candidate : candidatesOf(kernel)) {
        if (void* const library = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL))
            return library;
        std::string text = lastReason();
        const bool exists = ::access(candidate.c_str(), F_OK) == 0;
        if (why.empty() || (exists && !isThere))
            why = std::move(text);
        isThere = isThere || exists;
    }
    reason = std::move(why);
    failWith(error::moduleNotFound);
    return nullptr;
}

void* findSymbol(void* library, const char* name) noexcept
{
    void* const symbol = library == nullptr || name == nullptr ? nullptr : dlsym(library, name);
    if (symbol == nullptr)
        failWith(error::moduleNotFound);
    return symbol;
}

int closeLibrary(void* library) noexcept
{
    return library == nullptr || dlclose(library) == 0 ? 0 : failWith(error::badHandle);
}

std::string libraryDirectory()
{
    Dl_info info{};
    std::string path;
    if (dladdr(reinterpret_cast<const void*>(&libraryDirectory), &info) == 0 || info.dli_fname == nullptr ||
        realPath(info.dli_fname, path) != 0)
        return {};
    return path.substr(0, path.rfind('/'));
}

int makeObjectModelReady() noexcept
{
    return -1;
}

} // namespace emantle::platform
