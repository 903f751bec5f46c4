#include "frame/memory/heap_ptr.h"
#include "platform/directory.h"
#include "platform/paths.h"

#include <algorithm>
#include <cstring>
#include <emantle/frame/estr/expand.h>
#include <emantle/frame/estr/path.h>
#include <emantle/siblings/ethr.h>
#include <string>
#include <string_view>
#include <vector>

namespace emantle {

namespace {

Ethr_Mutex prefixMutex;

std::string& prefix()
{
    static std::string* const text = new std::string; /* asked for until the last static object is gone */
    return *text;
}

constexpr std::string_view separators = "/\\";

/* A name cut into its pieces, in order; `path` runs to the parentheses. */
struct Pieces {
    std::string_view protocol, server, path, layers;
    std::string_view whole; /* without the layers */

    explicit Pieces(const char* name)
    {
        std::string_view rest = name == nullptr ? "" : name;
        const std::size_t open = rest.find('(');
        if (open != rest.npos) {
            layers = rest.substr(open + 1);
            layers = layers.substr(0, layers.rfind(')'));
            rest = rest.substr(0, open);
        }
        whole = rest;
        const std::size_t colon = rest.find(':');
        if (colon != rest.npos && colon > 1 && startsWithHost(rest.substr(colon + 1))) {
            protocol = rest.substr(0, colon);
            rest.remove_prefix(colon + 1);
        }
        if (startsWithHost(rest)) {
            const std::size_t end = rest.find_first_of(separators, 2);
            server = rest.substr(2, end == rest.npos ? end : end - 2);
            rest = end == rest.npos ? std::string_view() : rest.substr(end);
        }
        path = rest;
    }

    static bool startsWithHost(std::string_view text)
    {
        return text.size() > 2 && separators.find(text[0]) != text.npos && separators.find(text[1]) != text.npos;
    }

    std::string_view name() const
    {
        const std::size_t last = path.find_last_of(separators);
        const std::size_t begin = last == path.npos ? (path.size() > 1 && path[1] == ':' ? 2 : 0) : last + 1;
        return path.substr(begin);
    }

    std::size_t extension() const
    {
        const std::size_t point = name().rfind('.');
        return point == 0 || point == std::string_view::npos ? name().size() : point;
    }
};

char* give(std::string_view piece, char* buffer, long size) noexcept
{
    if (buffer == nullptr || size < 1) {
        return nullptr;
    }
    const std::size_t count = std::min(piece.size(), static_cast<std::size_t>(size) - 1);
    if (count > 0) {
        std::memmove(buffer, piece.data(), count);
    }
    buffer[count] = '\0';
    return buffer;
}

bool isAbsolute(std::string_view path)
{
    return !path.empty() && (separators.find(path.front()) != path.npos || (path.size() > 1 && path[1] == ':'));
}

std::string joined(std::string_view path, std::string_view sub)
{
    while (!sub.empty() && separators.find(sub.front()) != sub.npos) {
        sub.remove_prefix(1);
    }
    std::string out(path);
    if (!out.empty() && separators.find(out.back()) == separators.npos) {
        out += '/';
    }
    return out.append(sub);
}

/* The pieces need no memory of their own, so what they throw can only come from joining. */
template <class Make> char* giveMade(char* buffer, long size, Make make) noexcept
{
    try {
        return give(make(), buffer, size);
    } catch (const std::exception&) {
        return give({}, buffer, size);
    }
}

bool isKind(const char* name, bool directory)
{
    const HeapPtr<char> path(estr_PathExpand(name, nullptr, 0));
    platform::FileStatus status;
    return path != nullptr && platform::fileStatus(path.get(), status) == 0 &&
           (status.kind == platform::FileKind::directory) == directory;
}

std::string_view orEmpty(const char* text) noexcept
{
    return text == nullptr ? std::string_view() : text;
}

}  // namespace

}  // namespace emantle

using namespace emantle;

EMANTLE_API char* estr_GetProtocolPart(const char* name, char* buffer, long size)
{
    return give(Pieces(name).protocol, buffer, size);
}

EMANTLE_API char* estr_GetServerPart(const char* name, char* buffer, long size)
{
    return give(Pieces(name).server, buffer, size);
}

EMANTLE_API char* estr_GetLocalFilename(const char* name, char* buffer, long size)
{
    return giveMade(buffer, size, [&] {
        const Pieces pieces(name);
        const EthrMutexLock lock(prefixMutex);
        const bool prefixed = !prefix().empty() && !pieces.path.empty() && !isAbsolute(pieces.path);
        return prefixed ? joined(prefix(), pieces.path) : std::string(pieces.path);
    });
}

EMANTLE_API char* estr_GetPathPart(const char* name, char* buffer, long size)
{
    const Pieces pieces(name);
    std::string_view directories = pieces.whole.substr(0, pieces.whole.size() - pieces.name().size());
    const bool root = directories.size() == 1 || pieces.path.size() == pieces.name().size() + 1;
    if (!root && !directories.empty() && separators.find(directories.back()) != separators.npos) {
        directories.remove_suffix(1);
    }
    return give(directories, buffer, size);
}

EMANTLE_API char* estr_GetNamePart(const char* name, char* buffer, long size)
{
    const Pieces pieces(name);
    const std::string_view all = orEmpty(name);
    return give(all.substr(pieces.whole.size() - pieces.name().size()), buffer, size);
}

EMANTLE_API char* estr_GetNamePartSimple(const char* name, char* buffer, long size)
{
    return give(Pieces(name).name(), buffer, size);
}

EMANTLE_API char* estr_GetRootPart(const char* name, char* buffer, long size)
{
    const Pieces pieces(name);
    return give(pieces.name().substr(0, pieces.extension()), buffer, size);
}

EMANTLE_API char* estr_GetExtPart(const char* name, char* buffer, long size)
{
    const Pieces pieces(name);
    return give(pieces.name().substr(pieces.extension()), buffer, size);
}

EMANTLE_API char* estr_GetLayerPart(const char* name, char* buffer, long size)
{
    return give(Pieces(name).layers, buffer, size);
}

EMANTLE_API char* estr_GetLayerPartSimple(const char* name, char* buffer, long size)
{
    const std::string_view layers = Pieces(name).layers;
    const std::size_t colon = layers.rfind(':');
    return give(colon == layers.npos ? std::string_view() : layers.substr(colon + 1), buffer, size);
}

EMANTLE_API char* estr_GetNonNodePart(const char* name, char* buffer, long size)
{
    return give(Pieces(name).whole, buffer, size);
}

EMANTLE_API char* estr_GetBestFitParts(const char* name, char* buffer, long size)
{
    return giveMade(buffer, size, [&] {
        const std::string_view all = orEmpty(name);
        const std::size_t room = size < 1 ? 0 : static_cast<std::size_t>(size) - 1;
        constexpr std::string_view dots = "...";
        if (all.size() <= room) {
            return std::string(all);
        }
        const std::size_t tail = all.size() - (room > dots.size() ? room - dots.size() : 0);
        const std::size_t whole = all.find_first_of(separators, tail);
        const std::size_t last = all.find_last_of(separators);
        if (whole != all.npos) {
            return std::string(dots).append(all.substr(whole));
        }
        return std::string(last == all.npos ? all : all.substr(last + 1));
    });
}

EMANTLE_API char* estr_AddRelativeSubPath(const char* path, const char* sub, char* buffer, long size)
{
    return giveMade(buffer, size,
                    [&] { return isAbsolute(orEmpty(sub)) ? std::string(sub) : joined(orEmpty(path), orEmpty(sub)); });
}

EMANTLE_API char* estr_AddSubPath(const char* path, const char* sub, char* buffer, long size)
{
    return giveMade(buffer, size, [&] { return joined(orEmpty(path), orEmpty(sub)); });
}

EMANTLE_API char* estr_GetCwd(char* buffer, long size)
{
    return giveMade(buffer, size, [] {
        std::string directory;
        platform::currentDirectory(directory);
        return directory;
    });
}

EMANTLE_API char** estr_GetPathList(const char* list, long* count)
{
    if (count != nullptr) {
        *count = 0;
    }
    if (list == nullptr) {
        return nullptr;
    }
    try {
        std::vector<HeapPtr<char>> items;
        for (std::string_view rest = list; !rest.empty();) {
            const std::size_t end = std::min(rest.find(';'), rest.size());
            if (end > 0) {
                HeapPtr<char> path(estr_PathExpand(std::string(rest.substr(0, end)).c_str(), nullptr, 0));
                items.push_back(path == nullptr ? heapText(rest.substr(0, end)) : std::move(path));
            }
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        HeapPtr<char*> array = allocate<char*>(items.size() + 1);
        for (std::size_t i = 0; i < items.size(); ++i) {
            array.get()[i] = items[i].release();
        }
        if (count != nullptr) {
            *count = static_cast<long>(items.size());
        }
        return array.release();
    } catch (const std::exception&) {
        return nullptr;
    }
}

EMANTLE_API void estr_FreePathList(char** paths)
{
    for (char** path = paths; path != nullptr && *path != nullptr; ++path) {
        emsc_HeapFree(*path);
    }
    emsc_HeapFree(paths);
}

EMANTLE_API long estr_CharCount(const char* text, char c)
{
    const std::string_view all = orEmpty(text);
    return std::count(all.begin(), all.end(), c);
}

EMANTLE_API Emsc_Boolean estr_IsDir(const char* name)
{
    return isKind(name, true);
}

EMANTLE_API Emsc_Boolean estr_IsFile(const char* name)
{
    return isKind(name, false);
}

EMANTLE_API void estr_FileNamePrefixSet(const char* text)
{
    try {
        std::string copy(orEmpty(text));
        const EthrMutexLock lock(prefixMutex);
        prefix().swap(copy);
    } catch (const std::exception&) {
        /* Without memory for the prefix the old one stays. */
    }
}
