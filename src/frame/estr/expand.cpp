#include "frame/estr/expand.h"

#include "frame/estr/environment.h"
#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <cstring>
#include <emantle/frame/estr/expand.h>
#include <string_view>
#include <vector>

namespace emantle {

namespace {

/* Variables that name each other twice at every level would otherwise grow without bound. */
constexpr std::size_t mostReferences = 65536, mostBytes = std::size_t{1} << 24, deepest = 256;

bool isLetter(char c) noexcept
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isOfName(char c) noexcept
{
    return isLetter(c) || (c >= '0' && c <= '9') || c == '_';
}

/* A reference at the start of `text`, which begins with `$`: its name, and the bytes it takes; 0 bytes for none. */
struct Reference {
    std::string name;
    std::size_t size = 0;
};

Reference referenceAt(std::string_view text)
{
    const bool braced = text.size() > 1 && text[1] == '{';
    const std::size_t begin = braced ? 2 : 1;
    std::size_t end = begin;
    while (end < text.size() && isOfName(text[end])) {
        ++end;
    }
    if (braced) {
        return end < text.size() && text[end] == '}' ? Reference{std::string(text.substr(begin, end - begin)), end + 1}
                                                     : Reference{};
    }
    const bool named = begin < text.size() && (isLetter(text[begin]) || text[begin] == '_');
    return named ? Reference{std::string(text.substr(begin, end - begin)), end} : Reference{};
}

class Expansion {
public:
    explicit Expansion(bool recursive) noexcept : recursive_(recursive) {}

    std::string run(std::string_view text)
    {
        std::string out;
        while (!text.empty()) {
            const std::size_t plain = std::min(text.find('$'), text.size());
            out.append(text.substr(0, plain));
            text.remove_prefix(plain);
            if (text.empty()) {
                break;
            }
            const Reference reference = referenceAt(text);
            if (reference.size == 0) {
                out.push_back('$');
                text.remove_prefix(1);
            } else {
                out.append(valueOf(reference.name));
                text.remove_prefix(reference.size);
            }
            require(out.size() <= mostBytes, "The expansion is longer than %zu bytes", mostBytes);
        }
        return out;
    }

private:
    std::string valueOf(const std::string& name)
    {
        require(++references_ <= mostReferences, "The expansion has more than %zu references", mostReferences);
        std::string value;
        if (name.empty() || !environmentValue(name.c_str(), value) || !recursive_) {
            return value;
        }
        require(std::find(open_.begin(), open_.end(), name) == open_.end(),
                "%s: Recursive variable expansion encountered", name.c_str());
        require(open_.size() < deepest, "%s: variables refer to each other more than %zu deep", name.c_str(), deepest);
        open_.push_back(name);
        std::string expanded = run(value);
        open_.pop_back();
        return expanded;
    }

    const bool recursive_;
    std::size_t references_ = 0;
    std::vector<std::string> open_; /* the variables whose values are being expanded */
};

bool isQuoted(std::string_view text) noexcept
{
    return text.size() > 1 && text.front() == '"' && text.back() == '"';
}

/* Cleans a path in place: `/`, no quotes around it, no runs of `/`. */
void cleanPath(char* path)
{
    estr_ConvertPath(path);
    if (isQuoted(path)) {
        const std::size_t inner = std::strlen(path) - 2;
        std::memmove(path, path + 1, inner);
        path[inner] = '\0';
    }
    char* out = estr_PathBegin(path);
    for (const char* in = out; *in != '\0'; ++in) {
        if (in[0] != '/' || in[1] != '/') {
            *out++ = *in;
        }
    }
    *out = '\0';
}

}  // namespace

std::string expandVariables(const char* text, bool recursive)
{
    return Expansion(recursive).run(text);
}

}  // namespace emantle

using emantle::checked;
using emantle::guarded;
using emantle::heapText;

EMANTLE_API char* estr_StringExpand(const char* text, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "estr_StringExpand", nullptr, [&](EerrException& scope) -> char* {
        if (text == nullptr) {
            return nullptr;
        }
        char* expanded = guarded<char*>(scope, "estr_StringExpandInternal", nullptr, [&] {
            return heapText(emantle::expandVariables(text, false), "ebuf_BufferCopyOut failed").release();
        });
        return checked(scope, expanded, "estr_StringExpandInternal failed");
    });
}

EMANTLE_API char* estr_PathExpand(const char* text, char* buffer, long size)
{
    if (text == nullptr) {
        return nullptr;
    }
    try {
        const std::string expanded = emantle::expandVariables(text, true);
        char* path = nullptr;
        if (buffer == nullptr) {
            path = heapText(expanded).release();
        } else if (size > 0) {
            const std::size_t length = expanded.copy(buffer, static_cast<std::size_t>(size) - 1);
            buffer[length] = '\0';
            path = buffer;
        } else {
            return nullptr;
        }
        emantle::cleanPath(path);
        return path;
    } catch (const std::exception&) {
        /* A path that cannot be expanded is no path: the caller's own failure tells of it. */
        return nullptr;
    }
}

EMANTLE_API char* estr_ConvertPath(char* path)
{
    if (path != nullptr) {
        std::replace(path, path + std::strlen(path), '\\', '/');
    }
    return path;
}

EMANTLE_API char* estr_ConvertPathNT(char* path)
{
    if (path != nullptr) {
        std::replace(path, path + std::strlen(path), '/', '\\');
    }
    return path;
}

EMANTLE_API char* estr_PathBegin(const char* path)
{
    if (path == nullptr) {
        return nullptr;
    }
    const auto separates = [](char c) { return c == '/' || c == '\\'; };
    const char* begin = path;
    if (emantle::isLetter(path[0]) && path[1] == ':') {
        begin += 2;
    } else if (separates(path[0]) && separates(path[1]) && path[2] != '\0' && !separates(path[2])) {
        begin += 2;
        while (*begin != '\0' && !separates(*begin)) {
            ++begin;
        }
    }
    return const_cast<char*>(begin);
}

EMANTLE_API char* estr_PathRemoveDuplicateSeparators(char* source, char* target)
{
    if (source == nullptr) {
        return target;
    }
    char* out = target == nullptr ? source : target;
    char* const result = out;
    char before = '\0';
    for (const char* in = source; *in != '\0'; before = *in++) {
        const bool again = (*in == '/' || *in == '\\') && (before == '/' || before == '\\');
        if (!again) {
            *out++ = *in;
        }
    }
    *out = '\0';
    return result;
}

std::string& estr_PathExpand(std::string& path)
{
    const emantle::HeapPtr<char> expanded(estr_PathExpand(path.c_str(), nullptr, 0));
    path = expanded == nullptr ? "" : expanded.get();
    return path;
}

std::string& estr_ConvertPathNT(std::string& path)
{
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}
