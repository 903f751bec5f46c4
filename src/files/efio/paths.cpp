#include "platform/paths.h"
#include "files/efio/names.h"
#include "frame/guard/guard.h"
#include "platform/errors.h"

#include <cerrno>
#include <emantle/files/efio/host.h>
#include <emantle/files/efio/paths.h>
#include <emantle/siblings/ethr.h>

namespace emantle::files {

namespace {

using platform::FileKind;
using platform::FileStatus;

/* What a name leads to; other failures than that there is nothing are thrown. */
bool lookUp(const char* name, FileStatus& status)
{
    const std::string path = expandedName(name);
    const int failure = platform::fileStatus(path, status);
    require(failure == 0 || failure == platform::error::notFound || failure == platform::error::notADirectory ||
                failure == platform::error::nameTooLong,
            "Error checking %s\n%s", path.c_str(), platform::systemErrorText(failure).c_str());
    return failure == 0;
}

std::int64_t sizeOfName(const char* name)
{
    const std::string path = expandedName(name);
    FileStatus status;
    const int failure = platform::fileStatus(path, status);
    require(failure == 0, "Cannot determine the size of file %s\n%s", path.c_str(),
            platform::systemErrorText(failure).c_str());
    return static_cast<std::int64_t>(status.size);
}

/* Whether the user wants another try at deleting. */
bool askAboutDeleting(const std::string& path, int failure)
{
    using namespace platform::error;
    constexpr char inUse[] =
        "The file %s cannot be deleted\nbecause it is in use by another application.\n\nClose the file "
        "and then press 'Retry' to continue,\nor press 'Cancel'.";
    constexpr char readOnlySet[] =
        "The file %s cannot be deleted\nbecause the read-only attribute is set.\n\nChange the "
        "access permissions and then press 'Retry' to continue,\nor press 'Cancel'.";
    if (failure == busy) {
        return efio::ExecuteQuery(formatted(inUse, path.c_str()), {"Retry", "Cancel"}) == "Retry";
    }
    if (failure == accessDenied || failure == noPermission || failure == readOnly) {
        return efio::ExecuteQuery(formatted(readOnlySet, path.c_str()), {"Retry", "Cancel"}) == "Retry";
    }
    return false;
}

}  // namespace

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API Emsc_Boolean efio_FileExists(const char* name, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "efio_FileExists", 0, [&] {
        platform::FileStatus status;
        return lookUp(name, status) && status.kind != platform::FileKind::directory;
    });
}

EMANTLE_API long efio_FileNameExistAsFileOrDir(const char* name, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_FileNameExistAsFileOrDir", 0, [&] {
        platform::FileStatus status;
        return !lookUp(name, status) ? 0 : status.kind == platform::FileKind::directory ? 1 : 2;
    });
}

EMANTLE_API Emsc_Boolean efio_IsDirectory(const char* name, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "efio_IsDirectory", 0, [&] {
        platform::FileStatus status;
        return lookUp(name, status) && status.kind == platform::FileKind::directory;
    });
}

EMANTLE_API long efio_FileSizeGet(const char* name, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_FileSizeGet", -1, [&] { return sizeOfName(name); });
}

EMANTLE_API efio_off_t efio_FileSizeExtendedGet(const char* name, Eerr_ErrorReport** err)
{
    return guarded<efio_off_t>(err, "efio_FileSizeExtendedGet", -1, [&] { return sizeOfName(name); });
}

EMANTLE_API Emsc_Boolean efio_FileSystemIsLocal(const char* name, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "efio_FileSystemIsLocal", 0,
                                 [&] { return platform::isLocalFileSystem(expandedName(name)); });
}

EMANTLE_API long efio_FileUnlink(const char* name, Eerr_ErrorReport** err)
{
    int failure = 0;
    const long status = guarded<long>(err, "efio_FileUnlink", -1, [&] {
        const EthrMTUnsafeCode unsafe;
        const std::string path = expandedName(name);
        do {
            failure = platform::unlinkFile(path);
        } while (failure != 0 && askAboutDeleting(path, failure));
        require(failure == 0, "Unable to delete the file %s\n%s", path.c_str(),
                platform::systemErrorText(failure).c_str());
        return 0;
    });
    errno = failure;
    return status;
}

EMANTLE_API long efio_FileNameChange(const char* from, const char* to, Eerr_ErrorReport** err)
{
    int failure = 0;
    const long status = guarded<long>(err, "efio_FileNameChange", -1, [&] {
        const std::string source = expandedName(from), target = expandedName(to);
        failure = platform::renameFile(source, target);
        require(failure == 0, "Unable to rename the file %s to %s\n%s", source.c_str(), target.c_str(),
                platform::systemErrorText(failure).c_str());
        return 0;
    });
    errno = failure;
    return status;
}
