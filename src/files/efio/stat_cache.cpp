#include "files/efio/names.h"
#include "files/efio/status.h"
#include "frame/guard/guard.h"
#include "platform/errors.h"
#include "platform/paths.h"

#include <climits>
#include <memory>
#include <new>

struct Efio_StatCache {
    std::string path;
    bool present = false, isLink = false;
    emantle::platform::FileStatus status;

    /* Reads anew; what is missing is remembered as missing. */
    void read();
};

void Efio_StatCache::read()
{
    using namespace emantle;
    platform::FileStatus itself;
    isLink = platform::linkStatus(path, itself) == 0 && itself.kind == platform::FileKind::symbolicLink;
    const int failure = platform::fileStatus(path, status);
    present = failure == 0;
    require(present || failure == platform::error::notFound || failure == platform::error::notADirectory,
            "Error checking %s\n%s", path.c_str(), platform::systemErrorText(failure).c_str());
}

using namespace emantle;
using namespace emantle::files;

namespace {

template <class T> void put(void* value, T what) noexcept
{
    *static_cast<T*>(value) = what;
}

bool isKnown(long option) noexcept
{
    return (option >= 0 && option <= EFIO_STAT_LOCAL) || option == EFIO_STAT_SIZE_EXTENDED ||
           option == EFIO_STAT_TIMES || option == EFIO_STAT_ALL;
}

/* Options that a file which is not there answers too. */
bool getOfAny(const Efio_StatCache& cache, long option, void* value)
{
    const bool isDirectory = cache.present && cache.status.kind == platform::FileKind::directory;
    switch (option) {
    case EFIO_STAT_EXISTS:
        return put<std::int32_t>(value, cache.present), true;
    case EFIO_STAT_IS_FILE:
        return put<std::int32_t>(value, cache.present && !isDirectory), true;
    case EFIO_STAT_IS_DIRECTORY:
        return put<std::int32_t>(value, isDirectory), true;
    case EFIO_STAT_IS_LINK:
        return put<std::int32_t>(value, cache.isLink), true;
    case EFIO_STAT_READABLE:
        return put<std::int32_t>(value, platform::checkAccess(cache.path, platform::rightToRead) == 0), true;
    case EFIO_STAT_WRITABLE:
        return put<std::int32_t>(value, platform::checkAccess(cache.path, platform::rightToWrite) == 0), true;
    case EFIO_STAT_EXECUTABLE:
        return put<std::int32_t>(value, platform::checkAccess(cache.path, platform::rightToExecute) == 0), true;
    case EFIO_STAT_LOCAL:
        return put<std::int32_t>(value, platform::isLocalFileSystem(cache.path)), true;
    default:
        return false;
    }
}

/* The size cut to 32 bits; true where it was cut. */
bool putSize(std::uint64_t size, void* value) noexcept
{
    const bool cut = size > INT_MAX;
    put<std::int32_t>(value, cut ? INT_MAX : static_cast<std::int32_t>(size));
    return cut;
}

void getOfPresent(const Efio_StatCache& cache, long option, void* value) noexcept
{
    const Efio_Status record = statusOf(cache.status);
    switch (option) {
    case EFIO_STAT_MODE:
        return put<std::uint32_t>(value, record.mode & 07777);
    case EFIO_STAT_ACCESSED:
        return put(value, record.accessed);
    case EFIO_STAT_MODIFIED:
        return put(value, record.modified);
    case EFIO_STAT_CHANGED:
        return put(value, record.changed);
    case EFIO_STAT_LINKS:
        return put(value, record.links);
    case EFIO_STAT_OWNER:
        return put(value, record.owner);
    case EFIO_STAT_GROUP:
        return put(value, record.group);
    case EFIO_STAT_DEVICE:
        return put(value, record.device);
    case EFIO_STAT_SERIAL:
        return put(value, record.serial);
    case EFIO_STAT_SIZE_EXTENDED:
        return put<std::int64_t>(value, record.size);
    case EFIO_STAT_TIMES:
        static_cast<std::int64_t*>(value)[0] = record.accessed;
        static_cast<std::int64_t*>(value)[1] = record.modified;
        return;
    default:
        return put(value, record);
    }
}

void setTimes(Efio_StatCache& cache, platform::FileTime accessed, platform::FileTime modified)
{
    const int failure = platform::setFileTimes(cache.path, accessed, modified);
    require(failure == 0, "utime failed: %s", platform::systemErrorText(failure).c_str());
}

void set(Efio_StatCache& cache, long option, const void* value)
{
    const auto* const seconds = static_cast<const std::int64_t*>(value);
    switch (option) {
    case EFIO_STAT_MODE: {
        const int failure = platform::changeMode(cache.path, *static_cast<const std::uint32_t*>(value) & 07777);
        require(failure == 0, "Cannot change the permissions of %s\n%s", cache.path.c_str(),
                platform::systemErrorText(failure).c_str());
        break;
    }
    case EFIO_STAT_ACCESSED:
        setTimes(cache, {*seconds, 0}, cache.status.modified);
        break;
    case EFIO_STAT_MODIFIED:
        setTimes(cache, cache.status.accessed, {*seconds, 0});
        break;
    case EFIO_STAT_TIMES:
        setTimes(cache, {seconds[0], 0}, {seconds[1], 0});
        break;
    default:
        fail("Unsupported option %d", static_cast<int>(option));
    }
}

}  // namespace

EMANTLE_API long efio_StatCacheCreate(const char* name, Efio_StatCache** cache, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_StatCacheCreate", -1, [&] {
        require(name != nullptr && cache != nullptr, "Null parameter passed to efio_StatCacheCreate.");
        *cache = nullptr;
        std::unique_ptr<Efio_StatCache> made(new (std::nothrow) Efio_StatCache);
        require(made, "Insufficient memory for a StatCache object");
        made->path = expandedName(name);
        made->read();
        *cache = made.release();
        return 0;
    });
}

EMANTLE_API void efio_StatCacheFree(Efio_StatCache* cache)
{
    delete cache;
}

EMANTLE_API long efio_StatCacheGet(Efio_StatCache* cache, long option, void* value, Eerr_ErrorReport** err)
{
    bool cut = false;
    const long status = guarded<long>(err, "efio_StatCacheGet", -1, [&] {
        require(cache != nullptr && value != nullptr, "Null parameter passed to efio_StatCacheGet.");
        require(isKnown(option), "Unknown option %d to efio_StatCacheGet", static_cast<int>(option));
        if (getOfAny(*cache, option, value)) {
            return 0;
        }
        require(cache->present, "Option %d can not be determined for this file.", static_cast<int>(option));
        if (option == EFIO_STAT_SIZE) {
            cut = putSize(cache->status.size, value);
        } else {
            getOfPresent(*cache, option, value);
        }
        return 0;
    });
    if (cut) {
        Eerr_ErrorReport* warning = eerr_CreateErrorReport("efio_StatCacheGet", __LINE__, EERR_WARNING, nullptr,
                                                           "File is larger than 2G.  Size will be reported as 2G.");
        if (err != nullptr) {
            *err = warning;
        } else {
            eerr_PrintErrorReport(warning, EERR_PRINT_ALL);
            eerr_DeleteErrorReportEx(&warning);
        }
    }
    return status;
}

EMANTLE_API long efio_StatCacheSet(Efio_StatCache* cache, long option, const void* value, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_StatCacheSet", -1, [&] {
        require(cache != nullptr && value != nullptr, "Null parameter passed to efio_StatCacheSet.");
        require(isKnown(option), "Option %d is invalid!", static_cast<int>(option));
        require(cache->present, "Option %d can not be determined for this file.", static_cast<int>(option));
        set(*cache, option, value);
        cache->read();
        return 0;
    });
}
