#include "platform/mapping.h"

#include "files/efio/record.h"
#include "frame/guard/guard.h"
#include "platform/errors.h"

#include <cerrno>
#include <emantle/files/efio/mapping.h>
#include <emantle/siblings/ethr.h>
#include <map>
#include <vector>

namespace emantle::files {

namespace {

struct Window {
    std::int64_t offset;
    std::int64_t length;
    platform::Mapping memory;
};

Window openWindow(OpenFile& file, std::int64_t offset, std::int64_t length, EerrException& scope)
{
    require(offset >= 0 && length > 0, "Cannot map %d bytes at %d of file %s", shown(length), shown(offset), file.name);
    flushGathered(file, scope);
    check(scope, "Unable to flush %s before mapping.", file.name);
    Window window{offset, length, {}};
    const int failure =
        window.memory.map(file.system, static_cast<std::uint64_t>(offset), static_cast<std::size_t>(length),
                          file.readOnly ? platform::Access::read : platform::Access::readWrite);
    require(failure == 0, "Cannot map %d bytes at %d of file %s\n%s", shown(length), shown(offset), file.name,
            platform::systemErrorText(failure).c_str());
    window.memory.adviseRandom();
    return window;
}

/* Windows that efio_Mmap gave away, by address. */
struct Loose {
    Ethr_Mutex mutex;
    std::map<void*, platform::Mapping> windows;
};

Loose& loose()
{
    static Loose* const all = new Loose(); /* windows may outlive every static object */
    return *all;
}

}  // namespace

}  // namespace emantle::files

struct Efio_MmapInfo {
    emantle::files::OpenFile& file;
    const std::int64_t growthStep;
    std::vector<emantle::files::Window> windows;
    bool whole = false;
    std::int64_t mappedEnd = 0; /* of a window of the whole */

    void mapWhole(EerrException& scope);
    void followGrowth(std::int64_t end);
    std::byte* find(std::int64_t offset, std::int64_t length) const noexcept;
};

void Efio_MmapInfo::mapWhole(EerrException& scope)
{
    const std::int64_t size = sizeOf(file);
    emantle::require(size >= 0, "Cannot determine the size of file %s\nError %d", file.name, errno);
    std::vector<emantle::files::Window> fresh;
    if (size > 0) {
        fresh.push_back(emantle::files::openWindow(file, 0, size, scope));
    }
    windows = std::move(fresh);
    whole = true;
    mappedEnd = size;
}

/* A file that cannot be mapped anew keeps the window it has; the caller reads and writes behind it. */
void Efio_MmapInfo::followGrowth(std::int64_t end)
{
    if (!whole || end <= mappedEnd) {
        return;
    }
    const std::int64_t size = sizeOf(file);
    if (end > size || size - mappedEnd < growthStep) {
        return;
    }
    Eerr_ErrorReport* failed = nullptr;
    emantle::guarded(&failed, "efio_MmapAddressGet", [&](EerrException& scope) { mapWhole(scope); });
    eerr_DeleteErrorReportEx(&failed);
}

std::byte* Efio_MmapInfo::find(std::int64_t offset, std::int64_t length) const noexcept
{
    for (const auto& window : windows) {
        if (offset >= window.offset && offset - window.offset <= window.length - length) {
            return window.memory.data() + (offset - window.offset);
        }
    }
    return nullptr;
}

using namespace emantle;
using namespace emantle::files;

EMANTLE_API Efio_MmapInfo* efio_MmapCreate(Efio_File* file, long growthStep, Eerr_ErrorReport** err)
{
    return guarded<Efio_MmapInfo*>(err, "efio_MmapCreate", nullptr, [&] {
        require(file != nullptr, "Invalid file handle");
        require(growthStep >= 0, "The growth step is %ld; it must not be below 0", growthStep);
        return new Efio_MmapInfo{*opened(file), growthStep, {}};
    });
}

EMANTLE_API void efio_MmapDestroy(Efio_MmapInfo* map, Eerr_ErrorReport** err)
{
    detail::clear(err);
    delete map;
}

EMANTLE_API long efio_MmapMap(Efio_MmapInfo* map, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_MmapMap", -1, [&](EerrException& scope) {
        require(map != nullptr, "Invalid map");
        map->mapWhole(scope);
        return 0;
    });
}

EMANTLE_API long efio_MmapUnmap(Efio_MmapInfo* map, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_MmapUnmap", -1, [&] {
        require(map != nullptr, "Invalid map");
        map->windows.clear();
        map->whole = false;
        map->mappedEnd = 0;
        return 0;
    });
}

EMANTLE_API long efio_MmapMapExtent(Efio_MmapInfo* map, long offset, long length, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_MmapMapExtent", -1, [&](EerrException& scope) {
        require(map != nullptr, "Invalid map");
        map->windows.push_back(openWindow(map->file, offset, length, scope));
        return 0;
    });
}

EMANTLE_API long efio_MmapUnmapExtent(Efio_MmapInfo* map, long offset, long length, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_MmapUnmapExtent", -1, [&] {
        require(map != nullptr, "Invalid map");
        auto& windows = map->windows;
        const auto found = std::find_if(windows.begin(), windows.end(), [&](const auto& window) {
            return window.offset == offset && window.length == length;
        });
        require(found != windows.end(), "No %ld bytes at %ld of file %s are mapped", length, offset, map->file.name);
        windows.erase(found);
        return 0;
    });
}

EMANTLE_API void* efio_MmapAddressGet(Efio_MmapInfo* map, long offset, long length, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "efio_MmapAddressGet", nullptr, [&](EerrException& scope) -> void* {
        std::int64_t end = 0;
        if (map == nullptr || offset < 0 || length <= 0 || __builtin_add_overflow(offset, length, &end)) {
            return nullptr;
        }
        map->followGrowth(end);
        std::byte* const address = map->find(offset, length);
        if (address != nullptr && !map->file.readOnly) {
            flushGathered(map->file, scope);
            check(scope, "Unable to flush %s before mapping.", map->file.name);
            map->file.emptyBuffer();
        }
        return address;
    });
}

EMANTLE_API void* efio_Mmap(Efio_File* file, long offset, long length, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "efio_Mmap", nullptr, [&](EerrException& scope) -> void* {
        require(file != nullptr, "Invalid file handle");
        auto window = openWindow(*opened(file), offset, length, scope);
        void* const address = window.memory.data();
        opened(file)->emptyBuffer();
        auto& all = loose();
        const EthrMutexLock lock(all.mutex);
        all.windows.emplace(address, std::move(window.memory));
        return address;
    });
}

EMANTLE_API long efio_Munmap(void* address, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_Munmap", -1, [&] {
        auto& all = loose();
        const EthrMutexLock lock(all.mutex);
        require(all.windows.erase(address) == 1, "The address %p is not mapped", address);
        return 0;
    });
}
