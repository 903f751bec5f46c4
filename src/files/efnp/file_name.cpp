#include "files/efnp/parts.h"
#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <cstring>
#include <emantle/files/efnp/file_name.h>
#include <emantle/frame/estr/expand.h>

namespace emantle::files {

namespace {

bool isLetter(char c) noexcept
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/* Protected text, as it stands in the name. The last component is the name itself, and may be empty. */
struct FileName {
    std::string drive, root;
    std::vector<std::string> components;

    std::size_t length() const noexcept { return components.size() - (components.back().empty() ? 1 : 0); }
};

/* Where a name does not parse: its last character, or -1. */
long faultOf(std::string_view text) noexcept
{
    return text.empty() ? 0 : endsInProtection(text) ? static_cast<long>(text.size()) - 1 : -1;
}

FileName parse(const char* name, EerrException& scope)
{
    return checked(scope,
                   guarded<FileName>(scope, "FileNameParse", {},
                                     [&] {
                                         std::string_view text = name;
                                         require(!text.empty(), "Parse error; <FileName> is NULL");
                                         const long fault = faultOf(text);
                                         require(fault < 0, "Parse error; character %ld is illegal", fault);
                                         FileName parsed;
                                         if (text.size() > 1 && isLetter(text[0]) && text[1] == ':') {
                                             parsed.drive = text.substr(0, 2);
                                             text.remove_prefix(2);
                                         }
                                         parsed.root =
                                             text.substr(0, std::min<std::size_t>(2, text.find_first_not_of('/')));
                                         if (!parsed.root.empty() && parsed.root.front() != '/') {
                                             parsed.root.clear();
                                         }
                                         text.remove_prefix(parsed.root.size());
                                         for (const std::string_view component : splitProtected(text, '/')) {
                                             parsed.components.emplace_back(component);
                                         }
                                         return parsed;
                                     }),
                   "FileNameParse failed");
}

/* Where the extension of a component begins: at its last point, if that is not its first character. */
std::size_t extensionOf(std::string_view component) noexcept
{
    const std::size_t point = component.rfind('.');
    const bool only = component == ".." || point == 0 || point == component.npos || component[point - 1] == protection;
    return only ? component.size() : point;
}

std::string compose(const FileName& parsed, long options, std::size_t place)
{
    std::string out;
    out += (options & EFNP_DRIVE) != 0 ? parsed.drive : "";
    out += (options & EFNP_ROOT) != 0 ? parsed.root : "";
    if ((options & EFNP_DIRECTORIES) != 0) {
        out += joined(parsed.components, place, '/');
        out += (options & EFNP_NAME_PART) != 0 && place > 0 ? "/" : "";
    }
    const std::string& own = parsed.components[place];
    const std::size_t extension = extensionOf(own);
    out += (options & EFNP_BASE) != 0 ? own.substr(0, extension) : "";
    out += (options & EFNP_EXTENSION) != 0 ? own.substr(extension) : "";
    return out;
}

bool isDrive(std::string_view data) noexcept
{
    return data.empty() || (data.size() == 2 && isLetter(data[0]) && data[1] == ':');
}

/* The parts in front of `options`, `data`, and the parts behind them. */
std::string replaced(FileName parsed, const std::string& data, long options, std::size_t place)
{
    if (place == parsed.components.size()) {
        parsed.components.emplace_back();
    }
    const long lowest = options & -options, highest = options & ~(options >> 1);
    std::string out = compose(parsed, lowest - 1, place);
    const bool opensName = (lowest & EFNP_NAME_PART) != 0 && lowest == EFNP_BASE;
    if (lowest == EFNP_EXTENSION && !data.empty() && data.front() != '.') {
        out += '.';
    }
    if (opensName && place > 0 && !endsInSeparator(out, '/')) {
        out += '/';
    }
    out += data;
    const long behind = EFNP_FILE_NAME & ~(2 * highest - 1);
    const std::string rest = compose(parsed, behind, place);
    const bool apart = (highest == EFNP_DIRECTORIES) && !rest.empty() && !data.empty() && !endsInSeparator(out, '/');
    out += (apart ? "/" : "") + rest;
    for (std::size_t i = place + 1; i < parsed.components.size(); ++i) {
        out += "/" + parsed.components[i];
    }
    return out;
}

/* Walks a name for a comparison: each run of "/" and "/." is one "/". 0 at the end. */
char nextFolded(const char*& at) noexcept
{
    while (*at == '/') {
        if (at[1] == '/') {
            ++at;
        } else if (at[1] == '.' && (at[2] == '/' || at[2] == '\0')) {
            at += 2;
        } else {
            break;
        }
    }
    const char c = *at;
    at += c == '\0' ? 0 : 1;
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

char* part(const char* function, const char* name, long options, Say text, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, function, nullptr, [&](EerrException& scope) {
        return checked(scope, efnp_FileNameGet(name, options, -1, scope), text);
    });
}

char* replacedCopy(const char* function, const char* name, char from, char to, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, function, nullptr, [&] {
        require(name != nullptr, "Invalid input Args");
        HeapPtr<char> copy = heapText(name);
        std::replace(copy.get(), copy.get() + std::strlen(copy.get()), from, to);
        return copy.release();
    });
}

}  // namespace

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API char* efnp_FileNameGet(const char* name, long options, long directory, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_FileNameGet", nullptr, [&](EerrException& scope) {
        require(name != nullptr, "Invalid input Args");
        checkRun(options, EFNP_FILE_NAME);
        const FileName parsed = parse(name, scope);
        return heapText(stripped(compose(parsed, options, placeOf(directory, parsed.components.size())))).release();
    });
}

EMANTLE_API char* efnp_FileNameSet(const char* name, const char* data, long options, long directory,
                                   Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_FileNameSet", nullptr, [&](EerrException& scope) {
        require(name != nullptr && data != nullptr, "Invalid input Args");
        checkRun(options, EFNP_FILE_NAME);
        require(options != EFNP_DRIVE || isDrive(data), "Bad drive specification");
        require((options & EFNP_BASE) == 0 || *data != '\0', "data must not be the NULL string");
        const FileName parsed = parse(name, scope);
        const std::size_t place = placeToSet(directory, parsed.components.size());
        return heapText(replaced(parsed, enclosed(data, "\\"), options, place)).release();
    });
}

EMANTLE_API long efnp_FileNameLength(const char* name, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efnp_FileNameLength", -1, [&](EerrException& scope) {
        require(name != nullptr, "Invalid input Args");
        return static_cast<long>(parse(name, scope).length());
    });
}

EMANTLE_API long efnp_FileNameLengthX(const char* name)
{
    const long fault = faultOf(name == nullptr ? "" : name);
    return fault < 0 ? efnp_FileNameLength(name, nullptr) : -1 - fault;
}

EMANTLE_API char* efnp_FileNameGetBasePart(const char* name, Eerr_ErrorReport** err)
{
    return part("efnp_FileNameGetBasePart", name, EFNP_BASE, "efnp_FileNameGetBasePart failed", err);
}

EMANTLE_API char* efnp_FileNameGetExtPart(const char* name, Eerr_ErrorReport** err)
{
    return part("efnp_FileNameGetExtPart", name, EFNP_EXTENSION, "efnp_FileNameGetExtPart fail", err);
}

EMANTLE_API char* efnp_FileNameGetNamePart(const char* name, Eerr_ErrorReport** err)
{
    return part("efnp_FileNameGetNamePart", name, EFNP_NAME_PART, "efnp_FileNameGetNamePart fail", err);
}

EMANTLE_API char* efnp_FileNameGetPathPart(const char* name, Eerr_ErrorReport** err)
{
    return part("efnp_FileNameGetPathPart", name, EFNP_PATH_PART, "efnp_FileNameGet function failed", err);
}

EMANTLE_API char* efnp_FileNameGetDrivePart(const char* name, Eerr_ErrorReport** err)
{
    return part("efnp_FileNameGetDrivePart", name, EFNP_DRIVE, "efnp_FileNameGetDrivePart fail", err);
}

EMANTLE_API char* efnp_FileNameAddName(const char* name, const char* add, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_FileNameAddName", nullptr, [&](EerrException& scope) {
        const long length = checked(scope, efnp_FileNameLength(name, scope));
        return checked(scope, efnp_FileNameSet(name, add, EFNP_NAME_PART, length, scope));
    });
}

EMANTLE_API const char* efnp_FileNameRoot(void)
{
    return "/";
}

EMANTLE_API const char* efnp_FileNameUNCRoot(void)
{
    return "//";
}

EMANTLE_API Emsc_Boolean efnp_FileNameHasValidCharacters(const char* name)
{
    const long fault = faultOf(name == nullptr ? "" : name);
    guarded(nullptr, "efnp_FileNameHasValidCharacters", [&] {
        require(fault < 0, "Parse error: character %ld is illegal in filename %s", fault, name == nullptr ? "" : name);
    });
    return fault < 0;
}

EMANTLE_API Emsc_Boolean efnp_FileNameContainsValidCharacters(const char* name)
{
    return faultOf(name == nullptr ? "" : name) < 0;
}

EMANTLE_API char* efnp_MakeValidFileName(const char* name, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_MakeValidFileName", nullptr, [&] {
        require(name != nullptr, "Invalid input Args");
        HeapPtr<char> copy = heapText(name);
        for (char* c = copy.get(); (c = std::strpbrk(c, "?*<>|\"")) != nullptr;) {
            *c = '_';
        }
        return copy.release();
    });
}

EMANTLE_API char* efnp_FileNameExternalToInternal(const char* name, Eerr_ErrorReport** err)
{
    return replacedCopy("efnp_FileNameExternalToInternal", name, '\\', '/', err);
}

EMANTLE_API char* efnp_FileNameInternalToExternal(const char* name, Eerr_ErrorReport** err)
{
    return replacedCopy("efnp_FileNameInternalToExternal", name, '/', '\\', err);
}

EMANTLE_API char* efnp_FileNameEvaluateEnv(const char* name, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_FileNameEvaluateEnv", nullptr, [&](EerrException& scope) {
        const HeapPtr<char> external(checked(scope, efnp_FileNameInternalToExternal(name, scope)));
        const HeapPtr<char> expanded(checked(scope, estr_StringExpand(external.get(), scope)));
        return checked(scope, efnp_FileNameExternalToInternal(expanded.get(), scope));
    });
}

EMANTLE_API char* efnp_FileNameNormalize(const char* name, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efnp_FileNameNormalize", nullptr, [&] {
        require(name != nullptr, "estr_Duplicate failed");
        return heapText(name, "estr_Duplicate failed").release();
    });
}

EMANTLE_API long efnp_FileNameCompare(const char* a, const char* b)
{
    if (a == nullptr || b == nullptr) {
        return a == b ? 0 : a == nullptr ? -1 : 1;
    }
    for (;;) {
        const auto left = static_cast<unsigned char>(nextFolded(a)), right = static_cast<unsigned char>(nextFolded(b));
        if (left != right) {
            return left < right ? -1 : 1;
        }
        if (left == '\0') {
            return 0;
        }
    }
}

EMANTLE_API Emsc_Boolean efnp_FileNameEquals(const char* a, const char* b)
{
    return efnp_FileNameCompare(a, b) == 0;
}
