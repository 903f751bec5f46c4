#include "files/efio/names.h"
#include "frame/guard/guard.h"
#include "platform/paths.h"

#include <algorithm>
#include <climits>
#include <emantle/files/efio/space.h>

using namespace emantle;
using namespace emantle::files;

namespace {

std::int64_t available(const char* name)
{
    platform::SpaceStatus space;
    require(platform::freeSpace(expandedName(name), space) == 0, "Cannot determine if disk space is available");
    return static_cast<std::int64_t>(std::min<std::uint64_t>(space.available, INT64_MAX));
}

}  // namespace

EMANTLE_API int64_t efio_BytesAvailable(const char* name, Eerr_ErrorReport** err)
{
    return guarded<std::int64_t>(err, "efio_BytesAvailable", -1, [&] { return available(name); });
}

EMANTLE_API double efio_FbytesAvailable(const char* name, Eerr_ErrorReport** err)
{
    return guarded<double>(err, "efio_FbytesAvailable", -1, [&] { return static_cast<double>(available(name)); });
}

EMANTLE_API int64_t efio_BlocksAvailable(const char* name, long blockSize, Eerr_ErrorReport** err)
{
    return guarded<std::int64_t>(err, "efio_BlocksAvailable", -1, [&] {
        require(blockSize > 0, "The block size is %ld; it must be above 0", blockSize);
        return available(name) / blockSize;
    });
}

EMANTLE_API long efio_SpaceAvailable(const char* name, Efio_DiskSpace* space, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_SpaceAvailable", -1, [&] {
        efio_DiskSpaceFromBytes(static_cast<std::uint64_t>(available(name)), space);
        return 0;
    });
}

EMANTLE_API Emsc_Boolean efio_CheckBytesAvailable(const char* name, long bytes, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "efio_CheckBytesAvailable", 0, [&] {
        require(available(name) >= bytes,
                "There may be insufficient space in the filesystem containing %s for %ld additional bytes", name,
                bytes);
        return 1;
    });
}

EMANTLE_API void efio_DiskSpaceFromBytes(uint64_t bytes, Efio_DiskSpace* space)
{
    if (space != nullptr) {
        const auto unit = [&](int shift) { return static_cast<std::int32_t>((bytes >> shift) & 1023); };
        *space = {unit(0), unit(10), unit(20), unit(30), static_cast<std::int32_t>(bytes >> 40)};
    }
}

EMANTLE_API char* efio_DiskSpaceToString(const Efio_DiskSpace* space, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_DiskSpaceToString", nullptr, [&] {
        require(space != nullptr, "NULL disk space");
        const struct {
            std::int32_t count;
            const char* word;
        } units[] = {{space->terabytes, " Terabyte"},
                     {space->gigabytes, " Gigabyte"},
                     {space->megabytes, " Megabyte"},
                     {space->kilobytes, " Kilobyte"},
                     {space->bytes, " Byte"}};
        std::string text;
        for (const auto& unit : units) {
            if (unit.count != 0) {
                text +=
                    (text.empty() ? "" : " ") + std::to_string(unit.count) + unit.word + (unit.count == 1 ? "" : "s");
            }
        }
        return heapText(text.empty() ? "0 Bytes" : text).release();
    });
}
