#include "files/efio/status.h"

#include "files/efio/names.h"
#include "frame/guard/guard.h"
#include "platform/errors.h"
#include "platform/file.h"
#include "platform/paths.h"

#include <algorithm>
#include <cerrno>
#include <climits>

namespace emantle::files {

Efio_Status statusOf(const platform::FileStatus& from) noexcept
{
    return {static_cast<efio_off_t>(from.size),
            from.accessed.seconds,
            from.modified.seconds,
            from.changed.seconds,
            from.mode,
            from.links,
            from.owner,
            from.group,
            from.device,
            from.serial};
}

namespace {

/* What says that there is nothing of a name. */
bool meansNothingThere(int failure) noexcept
{
    return failure == platform::error::notFound || failure == platform::error::notADirectory;
}

void mustSucceed(int failure, const std::string& path)
{
    require(failure == 0, "Error checking %s\n%s", path.c_str(), platform::systemErrorText(failure).c_str());
}

using LookUp = int (*)(std::string_view, platform::FileStatus&);

long presence(const char* function, LookUp lookUp, const char* name, Efio_Status* status, Eerr_ErrorReport** err)
{
    return guarded<long>(err, function, -1, [&] {
        const std::string path = expandedName(name);
        platform::FileStatus found;
        const int failure = lookUp(path, found);
        if (meansNothingThere(failure)) {
            return 0;
        }
        mustSucceed(failure, path);
        if (status != nullptr) {
            *status = statusOf(found);
        }
        return 1;
    });
}

bool isTextByte(unsigned char byte) noexcept
{
    return byte >= 0x20 ? byte != 0x7f : (byte >= '\t' && byte <= '\r') || byte == 0x1a;
}

}  // namespace

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API Emsc_Boolean efio_Access(const char* name, long rights, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "efio_Access", 0, [&] {
        return platform::checkAccess(expandedName(name), static_cast<unsigned>(rights & 7)) == 0;
    });
}

EMANTLE_API long efio_Chmod(const char* name, long mode, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_Chmod", -1, [&] {
        const std::string path = expandedName(name);
        const int failure = platform::changeMode(path, static_cast<std::uint32_t>(mode & 07777));
        require(failure == 0, "Cannot change the permissions of %s\n%s", path.c_str(),
                platform::systemErrorText(failure).c_str());
        return 0;
    });
}

EMANTLE_API Emsc_Boolean efio_IsFileReadOnly(const char* name, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "efio_IsFileReadOnly", 0, [&] {
        const std::string path = expandedName(name);
        return platform::checkAccess(path, 0) == 0 && platform::checkAccess(path, platform::rightToWrite) != 0;
    });
}

EMANTLE_API long efio_Stat(const char* name, Efio_Status* status, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_Stat", -1, [&] {
        const std::string path = expandedName(name);
        platform::FileStatus found;
        mustSucceed(platform::fileStatus(path, found), path);
        if (status != nullptr) {
            *status = statusOf(found);
        }
        return 0;
    });
}

EMANTLE_API long efio_StatIfPresent(const char* name, Efio_Status* status, Eerr_ErrorReport** err)
{
    return presence("efio_StatIfPresent", platform::fileStatus, name, status, err);
}

EMANTLE_API long efio_LstatIfPresent(const char* name, Efio_Status* status, Eerr_ErrorReport** err)
{
    return presence("efio_LstatIfPresent", platform::linkStatus, name, status, err);
}

EMANTLE_API long efio_SetModTime(const char* name, int64_t seconds, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_SetModTime", -1, [&] {
        const std::string path = expandedName(name);
        platform::FileStatus found;
        mustSucceed(platform::fileStatus(path, found), path);
        const int failure = platform::setFileTimes(path, found.accessed, {seconds, 0});
        require(failure == 0, "utime failed: %s", platform::systemErrorText(failure).c_str());
        return 0;
    });
}

EMANTLE_API Emsc_Boolean efio_IsSymbolicLink(const char*)
{
    return 0;
}

EMANTLE_API Emsc_Boolean efio_IsFileAscii(const char* name, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "efio_IsFileAscii", 0, [&] {
        const std::string path = expandedName(name);
        platform::File file;
        int failure = file.open(path, platform::Disposition::openExisting, platform::Access::read);
        require(failure == 0, "Error opening file %s\nError %d", path.c_str(), failure);
        unsigned char bytes[4096];
        const platform::Transfer read = file.read(bytes, sizeof bytes);
        require(read.error == 0, "Error trying to read %d bytes from %s\n", static_cast<int>(sizeof bytes),
                path.c_str());
        return std::all_of(bytes, bytes + read.bytes, isTextByte);
    });
}

EMANTLE_API long efio_AddAllUserPermissions(const char* name, long flags, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_AddAllUserPermissions", -1, [&] {
        const std::string path = expandedName(name);
        constexpr long all = 8;
        unsigned rights = 0;
        rights |= (flags & (1 | all)) != 0 ? platform::rightToRead : 0;
        rights |= (flags & (2 | all)) != 0 ? platform::rightToWrite : 0;
        rights |= (flags & (4 | all)) != 0 ? platform::rightToExecute : 0;
        platform::FileStatus found;
        int failure = platform::fileStatus(path, found);
        require(failure == 0, "Error getting security information%s", platform::systemErrorText(failure).c_str());
        failure = platform::grantToAll(path, rights);
        require(failure == 0, "Error setting named security (%s)", platform::systemErrorText(failure).c_str());
        return 0;
    });
}

EMANTLE_API char* efio_GetFileVersionInfoField(const char* name, const char* field, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_GetFileVersionInfoField", nullptr, [&]() -> char* {
        const std::string path = expandedName(name);
        fail("%s has no version information, so no field %s", path.c_str(), field == nullptr ? "" : field);
    });
}
