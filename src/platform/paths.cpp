#include "platform/paths.h"

#include "platform/errors.h"
#include "platform/faults.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace emantle::platform {
namespace {

// One call on a name: the seam, the name in the kernel's form, the number of the failure. The kernel takes no longer names,
// and what cleans up when memory is out must not ask for any.
template <class Call> int onName(Operation operation, std::string_view name, Call call)
{
    char kernel[PATH_MAX];
    if (name.size() >= sizeof kernel)
        return failWith(error::nameTooLong);
    *std::replace_copy(name.begin(), name.end(), kernel, '\\', '/') = '\0';
    if (const Interference fault = interference(operation, {kernel, name.size()}); fault.error != 0)
        return failWith(fault.error);
    if (name.find('\0') != name.npos)
        return failWith(error::notFound);
    return call(kernel) == 0 ? 0 : systemError();
}

FileTime timeOf(const timespec& time)
{
    return {time.tv_sec, static_cast<std::int32_t>(time.tv_nsec)};
}

FileKind kindOf(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFREG:
        return FileKind::file;
    case S_IFDIR:
        return FileKind::directory;
    case S_IFLNK:
        return FileKind::symbolicLink;
    default:
        return FileKind::other;
    }
}

FileStatus statusOf(const struct stat& from)
{
    FileStatus status;
    status.size = static_cast<std::uint64_t>(std::max<off_t>(from.st_size, 0));
    status.accessed = timeOf(from.st_atim);
    status.modified = timeOf(from.st_mtim);
    status.changed = timeOf(from.st_ctim);
    status.mode = from.st_mode;
    status.links = static_cast<std::uint32_t>(from.st_nlink);
    status.owner = from.st_uid;
    status.group = from.st_gid;
    status.device = from.st_dev;
    status.serial = from.st_ino;
    status.kind = kindOf(from.st_mode);
    return status;
}

// Cuts parts off the end until something of the name exists.
std::string existingPart(std::string_view name)
{
    std::string part = kernelName(name);
    while (!part.empty() && ::access(part.c_str(), F_OK) != 0) {
        const auto slash = part.find_last_of('/', part.size() - 1);
        if (slash == part.npos)
            part.clear();
        else
            part.resize(slash == 0 && part.size() > 1 ? 1 : slash);
    }
    return part.empty() ? "." : part;
}

// The kernel's numbers of the file systems whose files another computer holds.
constexpr std::uint32_t kRemoteFileSystems[] = {
    0x00006969, // nfs
    0x0000517B, // smb
    0xFF534D42, // cifs
    0xFE534D42, // smb2
    0x0000564C, // ncp
    0x5346414F, // afs
    0x6B414653, // afs of the kernel
    0x73757245, // coda
    0x00C36400, // ceph
    0x01021997, // 9p
    0x47504653, // gpfs
    0x0BD00BD0, // lustre
    0x19830326, // fhgfs
    0x20030528, // pvfs2
};
constexpr std::uint32_t kUserSpaceFileSystem = 0x65735546;

} // namespace

std::string kernelName(std::string_view name)
{
    std::string kernel(name);
    std::replace(kernel.begin(), kernel.end(), '\\', '/');
    return kernel;
}

int fileStatus(std::string_view name, FileStatus& status)
{
    struct stat found;
    const int failure = onName(Operation::status, name, [&](const char* kernel) { return ::stat(kernel, &found); });
    if (failure == 0)
        status = statusOf(found);
    return failure;
}

int linkStatus(std::string_view name, FileStatus& status)
{
    struct stat found;
    const int failure = onName(Operation::status, name, [&](const char* kernel) { return ::lstat(kernel, &found); });
    if (failure == 0)
        status = statusOf(found);
    return failure;
}

int checkAccess(std::string_view name, unsigned rights)
{
    // With the effective user, as an open would be judged.
    const int wanted =
        (rights & rightToRead ? R_OK : 0) | (rights & rightToWrite ? W_OK : 0) | (rights & rightToExecute ? X_OK : 0);
    return onName(Operation::status, name,
                  [&](const char* kernel) { return faccessat(AT_FDCWD, kernel, wanted, AT_EACCESS); });
}

int changeMode(std::string_view name, std::uint32_t mode)
{
    return onName(Operation::status, name, [&](const char* kernel) { return ::chmod(kernel, mode & 07777); });
}

int grantToAll(std::string_view name, unsigned rights)
{
    FileStatus status;
    if (const int failure = fileStatus(name, status); failure != 0)
        return failure;
    const std::uint32_t each = rights & 7u;
    const std::uint32_t mode = status.mode | each << 6 | each << 3 | each;
    return mode == status.mode ? 0 : changeMode(name, mode);
}

int setFileTimes(std::string_view name, FileTime accessed, FileTime modified)
{
    const timespec times[] = {{accessed.seconds, accessed.nanoseconds}, {modified.seconds, modified.nanoseconds}};
    return onName(Operation::status, name, [&](const char* kernel) { return utimensat(AT_FDCWD, kernel, times, 0); });
}

int renameFile(std::string_view from, std::string_view to, Existing existing)
{
    const std::string target = kernelName(to);
    return onName(Operation::rename, from, [&](const char* kernel) {
        if (existing == Existing::replace)
            return ::rename(kernel, target.c_str());
        if (renameat2(AT_FDCWD, kernel, AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
            return 0;
        if (errno != EINVAL && errno != ENOSYS)
            return -1;
        // A file system without that call, as over a network: look, then rename.
        if (::access(target.c_str(), F_OK) == 0) {
            errno = EEXIST;
            return -1;
        }
        return ::rename(kernel, target.c_str());
    });
}

int unlinkFile(std::string_view name)
{
    const int failure = onName(Operation::unlink, name, [](const char* kernel) { return ::unlink(kernel); });
    return failure == error::isADirectory ? failWith(error::accessDenied) : failure;
}

int realPath(std::string_view name, std::string& result)
{
    std::unique_ptr<char, void (*)(void*)> real(nullptr, std::free);
    const int failure = onName(Operation::status, name, [&](const char* kernel) {
        real.reset(::realpath(kernel, nullptr));
        return real ? 0 : -1;
    });
    if (failure == 0)
        result = real.get();
    return failure;
}

int freeSpace(std::string_view name, SpaceStatus& space)
{
    struct statvfs found;
    const int failure =
        onName(Operation::status, existingPart(name), [&](const char* kernel) { return ::statvfs(kernel, &found); });
    if (failure == 0)
        space = {found.f_bavail * found.f_frsize, found.f_blocks * found.f_frsize, found.f_frsize};
    return failure;
}

bool isLocalFileSystem(std::string_view name)
{
    const std::string part = existingPart(name);
    struct statfs system;
    struct stat status;
    if (::statfs(part.c_str(), &system) != 0 || ::stat(part.c_str(), &status) != 0)
        return false;
    const auto magic = static_cast<std::uint32_t>(system.f_type);
    // A program in user space that serves a disk of this machine has the disk's device number, any other has none.
    if (magic == kUserSpaceFileSystem)
        return major(status.st_dev) != 0;
    return std::find(std::begin(kRemoteFileSystems), std::end(kRemoteFileSystems), magic) ==
           std::end(kRemoteFileSystems);
}

bool isRemovableDrive(std::string_view) noexcept
{
    return false;
}

long processId() noexcept
{
    return getpid();
}

} // namespace emantle::platform
