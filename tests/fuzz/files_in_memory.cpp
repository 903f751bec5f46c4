// Files below /memory/ that have no place on a disk: the calls that the library makes on files go through here (the
// linker leads them, see CMakeLists.txt), and what does not concern such a file goes on to the system. A run of a
// target makes no system call, and so many more of them a second.

#include "files_in_memory.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>
#include <vector>

namespace fuzz {

namespace {

constexpr std::string_view kFolder = "/memory";
constexpr std::size_t kMostBytes = std::size_t{1} << 26; /* of one file: the disk is full behind them */
constexpr int kFirstDescriptor = 1 << 20;

struct Stored {
    std::string name; /* empty for one that is not there */
    std::vector<unsigned char> bytes;
    timespec modified{};
    int openings = 0;
};

struct Opening {
    Stored* file = nullptr;
    std::size_t position = 0;
};

std::array<Stored, 16> files;
std::array<Opening, 16> openings;

bool isBelow(const char* name)
{
    return std::string_view(name).starts_with(kFolder);
}

Stored* find(std::string_view name)
{
    for (Stored& file : files) {
        if (file.name == name) {
            return &file;
        }
    }
    return nullptr;
}

Stored* made(const char* name)
{
    for (Stored& file : files) {
        if (file.name.empty() && file.openings == 0) {
            file.name = name;
            file.bytes.clear();
            return &file;
        }
    }
    std::abort();
}

Opening* opening(int descriptor)
{
    const int index = descriptor - kFirstDescriptor;
    return index >= 0 && index < static_cast<int>(openings.size()) ? &openings[static_cast<std::size_t>(index)]
                                                                   : nullptr;
}

int absent()
{
    errno = ENOENT;
    return -1;
}

int tell(const Stored& file, struct stat* status)
{
    *status = {};
    status->st_mode = S_IFREG | 0666;
    status->st_nlink = 1;
    status->st_dev = 1;
    status->st_ino = static_cast<ino_t>(&file - files.data() + 1);
    status->st_size = static_cast<off_t>(file.bytes.size());
    status->st_atim = status->st_mtim = status->st_ctim = file.modified;
    return 0;
}

int tellByName(const char* name, struct stat* status)
{
    if (name == kFolder) {
        *status = {};
        status->st_mode = S_IFDIR | 0777;
        status->st_dev = 1;
        return 0;
    }
    const Stored* file = find(name);
    return file == nullptr ? absent() : tell(*file, status);
}

} // namespace

void putFile(const char* name, const std::uint8_t* data, std::size_t size)
{
    Stored* file = find(name);
    (file == nullptr ? made(name) : file)->bytes.assign(data, data + size);
}

std::size_t sizeOfFile(const char* name)
{
    const Stored* file = find(name);
    return file == nullptr ? 0 : file->bytes.size();
}

bool isFile(const char* name, const std::uint8_t* data, std::size_t size)
{
    const Stored* file = find(name);
    return file != nullptr && std::equal(file->bytes.begin(), file->bytes.end(), data, data + size);
}

} // namespace fuzz

using namespace fuzz;

extern "C" {

int __real_open(const char*, int, ...);
int __real_close(int);
ssize_t __real_read(int, void*, size_t);
ssize_t __real_write(int, const void*, size_t);
ssize_t __real_pread(int, void*, size_t, off_t);
ssize_t __real_pwrite(int, const void*, size_t, off_t);
off_t __real_lseek(int, off_t, int);
int __real_fstat(int, struct stat*);
int __real_ftruncate(int, off_t);
int __real_fcntl(int, int, void*);
int __real_stat(const char*, struct stat*);
int __real_lstat(const char*, struct stat*);
int __real_access(const char*, int);
int __real_rename(const char*, const char*);
int __real_unlink(const char*);
int __real_utimensat(int, const char*, const timespec*, int);
int __real_statfs(const char*, struct statfs*);
int __real_sigaltstack(const stack_t*, stack_t*);

int __wrap_open(const char* name, int flags, int mode)
{
    if (!isBelow(name)) {
        return __real_open(name, flags, mode);
    }
    Stored* file = find(name);
    if (file == nullptr && (flags & O_CREAT) == 0) {
        return absent();
    }
    file = file == nullptr ? made(name) : file;
    if ((flags & O_TRUNC) != 0) {
        file->bytes.clear();
    }
    for (std::size_t i = 0; i < openings.size(); ++i) {
        if (openings[i].file == nullptr) {
            openings[i] = {file, 0};
            ++file->openings;
            return kFirstDescriptor + static_cast<int>(i);
        }
    }
    std::abort();
}

int __wrap_close(int descriptor)
{
    Opening* one = opening(descriptor);
    if (one == nullptr) {
        return __real_close(descriptor);
    }
    --one->file->openings;
    one->file = nullptr;
    return 0;
}

ssize_t __wrap_pread(int descriptor, void* bytes, size_t count, off_t offset)
{
    const Opening* one = opening(descriptor);
    if (one == nullptr) {
        return __real_pread(descriptor, bytes, count, offset);
    }
    const std::vector<unsigned char>& from = one->file->bytes;
    const auto at = std::min(static_cast<std::size_t>(offset), from.size());
    count = std::min(count, from.size() - at);
    std::memcpy(bytes, from.data() + at, count);
    return static_cast<ssize_t>(count);
}

ssize_t __wrap_pwrite(int descriptor, const void* bytes, size_t count, off_t offset)
{
    const Opening* one = opening(descriptor);
    if (one == nullptr) {
        return __real_pwrite(descriptor, bytes, count, offset);
    }
    std::vector<unsigned char>& to = one->file->bytes;
    const auto at = static_cast<std::size_t>(offset);
    if (at + count > kMostBytes) {
        errno = ENOSPC;
        return -1;
    }
    to.resize(std::max(to.size(), at + count));
    std::memcpy(to.data() + at, bytes, count);
    return static_cast<ssize_t>(count);
}

ssize_t __wrap_read(int descriptor, void* bytes, size_t count)
{
    Opening* one = opening(descriptor);
    if (one == nullptr) {
        return __real_read(descriptor, bytes, count);
    }
    const ssize_t done = __wrap_pread(descriptor, bytes, count, static_cast<off_t>(one->position));
    one->position += static_cast<std::size_t>(done);
    return done;
}

ssize_t __wrap_write(int descriptor, const void* bytes, size_t count)
{
    Opening* one = opening(descriptor);
    if (one == nullptr) {
        return __real_write(descriptor, bytes, count);
    }
    const ssize_t done = __wrap_pwrite(descriptor, bytes, count, static_cast<off_t>(one->position));
    one->position += done > 0 ? static_cast<std::size_t>(done) : 0;
    return done;
}

off_t __wrap_lseek(int descriptor, off_t distance, int from)
{
    Opening* one = opening(descriptor);
    if (one == nullptr) {
        return __real_lseek(descriptor, distance, from);
    }
    const std::size_t origin = from == SEEK_SET ? 0 : from == SEEK_CUR ? one->position : one->file->bytes.size();
    const off_t position = static_cast<off_t>(origin) + distance;
    if (position < 0) {
        errno = EINVAL;
        return -1;
    }
    one->position = static_cast<std::size_t>(position);
    return position;
}

int __wrap_fstat(int descriptor, struct stat* status)
{
    const Opening* one = opening(descriptor);
    return one == nullptr ? __real_fstat(descriptor, status) : tell(*one->file, status);
}

int __wrap_ftruncate(int descriptor, off_t size)
{
    const Opening* one = opening(descriptor);
    if (one == nullptr) {
        return __real_ftruncate(descriptor, size);
    }
    if (static_cast<std::size_t>(size) > kMostBytes) {
        errno = ENOSPC;
        return -1;
    }
    one->file->bytes.resize(static_cast<std::size_t>(size));
    return 0;
}

int __wrap_fcntl(int descriptor, int command, void* argument)
{
    return opening(descriptor) == nullptr ? __real_fcntl(descriptor, command, argument) : 0;
}

int __wrap_stat(const char* name, struct stat* status)
{
    return isBelow(name) ? tellByName(name, status) : __real_stat(name, status);
}

int __wrap_lstat(const char* name, struct stat* status)
{
    return isBelow(name) ? tellByName(name, status) : __real_lstat(name, status);
}

int __wrap_access(const char* name, int mode)
{
    if (!isBelow(name)) {
        return __real_access(name, mode);
    }
    return name == kFolder || find(name) != nullptr ? 0 : absent();
}

int __wrap_unlink(const char* name)
{
    if (!isBelow(name)) {
        return __real_unlink(name);
    }
    Stored* file = find(name);
    if (file == nullptr) {
        return absent();
    }
    file->name.clear();
    return 0;
}

int __wrap_rename(const char* from, const char* to)
{
    if (!isBelow(from)) {
        return __real_rename(from, to);
    }
    Stored* file = find(from);
    if (file == nullptr) {
        return absent();
    }
    if (Stored* old = find(to)) {
        old->name.clear();
    }
    file->name = to;
    return 0;
}

int __wrap_utimensat(int folder, const char* name, const timespec* times, int flags)
{
    if (!isBelow(name)) {
        return __real_utimensat(folder, name, times, flags);
    }
    Stored* file = find(name);
    if (file == nullptr) {
        return absent();
    }
    file->modified = times[1];
    return 0;
}

int __wrap_statfs(const char* name, struct statfs* system)
{
    if (!isBelow(name)) {
        return __real_statfs(name, system);
    }
    *system = {};
    return 0;
}

/* The address sanitizer asks for the stack of signals at every throw, which is as good as never another one. */
int __wrap_sigaltstack(const stack_t* fresh, stack_t* old)
{
    thread_local stack_t kept{};
    thread_local bool isKnown = false;
    if (fresh != nullptr || !isKnown) {
        const int failure = __real_sigaltstack(fresh, old);
        isKnown = fresh == nullptr && old != nullptr && failure == 0;
        if (isKnown) {
            kept = *old;
        }
        return failure;
    }
    if (old != nullptr) {
        *old = kept;
    }
    return 0;
}
}
