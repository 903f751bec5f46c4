#include "settings/edll/class_path.h"

#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"
#include "settings/edll/library.h"

#include <cctype>
#include <cstring>
#include <emantle/files/efio/paths.h>
#include <emantle/files/efio/search_list.h>
#include <emantle/frame/estr/expand.h>
#include <memory>
#include <string_view>

/* Where the libraries of a class are. */

using namespace emantle;
using namespace emantle::settings;

namespace {

std::string expanded(const std::string& path)
{
    const HeapPtr<char> text(estr_PathExpand(path.c_str(), nullptr, 0));
    return text == nullptr ? std::string() : std::string(text.get());
}

/* The file of a library in a folder, in one of the three forms that the loader tries; empty when there is none. */
std::string findIn(const std::string& folder, std::string_view file)
{
    constexpr std::string_view kExtension = ".dll";
    const std::string_view root = file.ends_with(kExtension) ? file.substr(0, file.size() - kExtension.size()) : file;
    const std::string names[] = {std::string(file), std::string(root) + ".so", "lib" + std::string(root) + ".so"};
    for (const std::string& name : names) {
        if (!folder.empty() && efio_FileExists((folder + '/' + name).c_str(), nullptr)) {
            return folder + '/' + std::string(file);
        }
    }
    return {};
}

std::string libraryFolder() { return expanded("$VELTARA_HOME/usr/lib/$ARCHM"); }

/* ORVIK_RASTER_FORMATS_PATH for RasterFormats. */
std::string variableOf(std::string_view className)
{
    std::string variable = "ORVIK";
    bool inWord = false;
    for (const char letter : className) {
        const auto code = static_cast<unsigned char>(letter);
        if (std::isupper(code) != 0 && !inWord) {
            variable += '_';
        }
        inWord = std::isupper(code) != 0;
        variable += static_cast<char>(std::toupper(code));
    }
    return variable + "_PATH";
}

struct SearchListDeleter {
    void operator()(Efio_SearchList* list) const noexcept { efio_FreeSL(list); }
};
using SearchListPtr = std::unique_ptr<Efio_SearchList, SearchListDeleter>;

/* An instance's name comes from files as well: it may name a library, but not the way to one. */
bool isBareName(std::string_view name) noexcept
{
    return !name.empty() && name.find_first_of("/\\:$;") == std::string_view::npos;
}

}  // namespace

namespace emantle::settings {

std::string libraryPathOf(const char* name)
{
    const std::string found = isBareName(name) ? findIn(libraryFolder(), name) : std::string();
    return found.empty() ? name : found;
}

}  // namespace emantle::settings

EMANTLE_API Efio_SearchList* edll_ClassPathGet(const char* className, Eerr_ErrorReport** err)
{
    return guarded<Efio_SearchList*>(err, "edll_ClassPathGet", nullptr, [&](EerrException& scope) {
        require(className != nullptr, "Args");
        return checked(scope, efio_CreateSLFromEnv(nullptr, variableOf(className).c_str(), nullptr, scope),
                       "Could not create search list.");
    });
}

EMANTLE_API char* edll_ClassPathNameGet(const char* className, const char* instanceName, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "edll_ClassPathNameGet", nullptr, [&](EerrException& scope) {
        require(className != nullptr && instanceName != nullptr, "Args");
        if (findOwnInstance(className, instanceName) != nullptr) {
            return heapText("", "Insufficient memory").release();
        }
        const std::string file = std::string(instanceName) + ".dll";
        std::string found;
        if (isBareName(instanceName)) {
            const SearchListPtr folders(checked(scope, edll_ClassPathGet(className, scope)));
            for (const Efio_SearchList* at = folders.get(); at != nullptr && found.empty(); at = at->next) {
                found = findIn(at->directory, file);
            }
            found = found.empty() ? findIn(libraryFolder(), file) : found;
        }
        require(!found.empty(), "Could not find instance %s of class %s", instanceName, className);
        return heapText(found, "Insufficient memory").release();
    });
}
