#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Calls on names. In a name each `\` counts as `/`; names that come back have `/`. An int result is 0 or the error's
// number, which errno holds too (errors.h).
namespace emantle::platform {

enum class FileKind { file, directory, symbolicLink, other };

struct FileTime {
    std::int64_t seconds = 0; // since 1970-01-01 UTC
    std::int32_t nanoseconds = 0;
};

struct FileStatus {
    std::uint64_t size = 0;
    FileTime accessed, modified, changed;
    std::uint32_t mode = 0; // the kernel's mode word: 0170000 the kind, 0777 the permissions
    std::uint32_t links = 0, owner = 0, group = 0;
    std::uint64_t device = 0, serial = 0; // together one file, under whatever name
    FileKind kind = FileKind::other;
};

struct SpaceStatus {
    std::uint64_t available = 0; // bytes that this user may still write
    std::uint64_t total = 0;     // bytes of the file system
    std::uint64_t blockSize = 0;
};

// Rights for `checkAccess` and `grantToAll`, or-ed.
inline constexpr unsigned rightToExecute = 1, rightToWrite = 2, rightToRead = 4;

// `name` with each `\` turned into `/`.
std::string kernelName(std::string_view name);

int fileStatus(std::string_view name, FileStatus& status);
// The same, of the link itself where `name` is one.
int linkStatus(std::string_view name, FileStatus& status);

// Whether the process has the rights; none asks for existence alone.
int checkAccess(std::string_view name, unsigned rights);
int changeMode(std::string_view name, std::uint32_t mode);
// Adds the rights to owner, group and others, who stand in for the trustees of an access list.
int grantToAll(std::string_view name, unsigned rights);
int setFileTimes(std::string_view name, FileTime accessed, FileTime modified);

// Atomic. A file of the new name is replaced, or refused with 17.
enum class Existing { replace, refuse };
int renameFile(std::string_view from, std::string_view to, Existing existing = Existing::replace);
// 13 for a directory.
int unlinkFile(std::string_view name);

int realPath(std::string_view name, std::string& result);

// The next two look at the nearest part of the name that exists.
int freeSpace(std::string_view name, SpaceStatus& space);
// False where another computer, or a program in user space, holds the files.
bool isLocalFileSystem(std::string_view name);

// Stands in for the kinds of drives, which do not exist here: no path lies on a removable one.
bool isRemovableDrive(std::string_view name) noexcept;

long processId() noexcept;

} // namespace emantle::platform
