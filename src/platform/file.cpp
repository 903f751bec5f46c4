#include "platform/file.h"

#include "platform/errors.h"
#include "platform/faults.h"
#include "platform/paths.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace emantle::platform {
namespace {

constexpr std::uint64_t kLargestOffset = INT64_MAX;
// The kernel moves no more in one call.
constexpr std::size_t kMostPerCall = 0x7ffff000;

int openFlags(Disposition disposition, Access access, bool writeThrough)
{
    int flags = O_CLOEXEC | O_NOCTTY;
    flags |= access == Access::read ? O_RDONLY : access == Access::write ? O_WRONLY : O_RDWR;
    if (disposition != Disposition::openExisting)
        flags |= O_CREAT;
    if (disposition == Disposition::createAlways)
        flags |= O_TRUNC;
    return writeThrough ? flags | O_DSYNC : flags;
}

bool isDirectory(int descriptor)
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

// Repeats `call(done, count)`, which moves bytes from `done` on and answers as read(2) does, until `count` bytes have
// moved, one moves nothing, or one fails.
template <class Call> Transfer transferAll(Operation operation, const std::string& name, std::size_t count, Call call)
{
    Transfer done;
    while (done.bytes < count) {
        const Interference fault = interference(operation, name);
        const std::size_t step = std::min({count - done.bytes, kMostPerCall, fault.limit});
        const ssize_t moved = step == 0 ? 0 : call(done.bytes, step);
        if (moved < 0) {
            if (errno == EINTR)
                continue;
            done.error = systemError();
            return done;
        }
        done.bytes += static_cast<std::size_t>(moved);
        if (fault.error == error::interrupted)
            continue;
        if (fault.error != 0) {
            done.error = failWith(fault.error);
            return done;
        }
        if (moved == 0) {
            if (operation == Operation::write)
                done.error = failWith(error::inputOutput);
            return done;
        }
    }
    return done;
}

bool beyondFiles(std::uint64_t offset, std::size_t count)
{
    return offset > kLargestOffset || count > kLargestOffset - offset;
}

template <class Call> int failing(Operation operation, const std::string& name, Call call)
{
    for (;;) {
        const Interference fault = interference(operation, name);
        if (fault.error != 0 && fault.error != error::interrupted)
            return failWith(fault.error);
        if (fault.error == 0) {
            if (call() == 0)
                return 0;
            if (errno != EINTR)
                return systemError();
        }
    }
}

} // namespace

File::File(File&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)), name_(std::move(other.name_)) {}

File& File::operator=(File&& other) noexcept
{
    if (this != &other) {
        close();
        descriptor_ = std::exchange(other.descriptor_, -1);
        name_ = std::move(other.name_);
    }
    return *this;
}

File::~File()
{
    close();
}

int File::open(std::string_view name, Disposition disposition, Access access, bool writeThrough)
{
    close();
    std::string kernel = kernelName(name);
    if (strcasecmp(kernel.c_str(), "nul") == 0)
        kernel = "/dev/null";
    if (kernel.empty() || kernel.find('\0') != kernel.npos)
        return failWith(error::notFound);
    int descriptor = -1;
    const int failure = failing(Operation::open, kernel, [&] {
        descriptor = ::open(kernel.c_str(), openFlags(disposition, access, writeThrough), 0666);
        return descriptor < 0 ? -1 : 0;
    });
    if (failure != 0)
        return failWith(failure == error::isADirectory ? error::accessDenied : failure);
    if (isDirectory(descriptor)) {
        ::close(descriptor);
        return failWith(error::accessDenied);
    }
    descriptor_ = descriptor;
    name_ = std::move(kernel);
    if (disposition == Disposition::createAlways)
        recordWrite(RecordedWrite::Kind::truncate, name_);
    return 0;
}

int File::close() noexcept
{
    if (descriptor_ < 0)
        return 0;
    // The descriptor is gone whatever close answers, so an interruption is no failure and nothing is tried again.
    const int kept = errno;
    if (::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR)
        return systemError();
    errno = kept;
    return 0;
}

int File::detach() noexcept
{
    return std::exchange(descriptor_, -1);
}

Transfer File::readAt(void* bytes, std::size_t count, std::uint64_t offset) const
{
    if (beyondFiles(offset, count))
        return {0, failWith(error::invalidArgument)};
    return transferAll(Operation::read, name_, count, [&](std::size_t done, std::size_t step) {
        return pread(descriptor_, static_cast<char*>(bytes) + done, step, static_cast<off_t>(offset + done));
    });
}

Transfer File::writeAt(const void* bytes, std::size_t count, std::uint64_t offset)
{
    if (beyondFiles(offset, count))
        return {0, failWith(error::fileTooLarge)};
    return transferAll(Operation::write, name_, count, [&](std::size_t done, std::size_t step) {
        const char* const from = static_cast<const char*>(bytes) + done;
        const ssize_t moved = pwrite(descriptor_, from, step, static_cast<off_t>(offset + done));
        if (moved > 0)
            recordWrite(RecordedWrite::Kind::write, name_, offset + done, from, static_cast<std::size_t>(moved));
        return moved;
    });
}

Transfer File::read(void* bytes, std::size_t count)
{
    return transferAll(Operation::read, name_, count, [&](std::size_t done, std::size_t step) {
        return ::read(descriptor_, static_cast<char*>(bytes) + done, step);
    });
}

Transfer File::write(const void* bytes, std::size_t count)
{
    return transferAll(Operation::write, name_, count, [&](std::size_t done, std::size_t step) {
        const char* const from = static_cast<const char*>(bytes) + done;
        const ssize_t moved = ::write(descriptor_, from, step);
        if (moved > 0 && !seamIsIdle()) {
            const off_t after = lseek(descriptor_, 0, SEEK_CUR);
            recordWrite(RecordedWrite::Kind::write, name_,
                        static_cast<std::uint64_t>(std::max<off_t>(after - moved, 0)), from,
                        static_cast<std::size_t>(moved));
        }
        return moved;
    });
}

std::int64_t File::seek(std::int64_t distance, Origin origin)
{
    const int from = origin == Origin::start ? SEEK_SET : origin == Origin::current ? SEEK_CUR : SEEK_END;
    std::int64_t position = -1;
    const int failure = failing(Operation::seek, name_, [&] {
        position = lseek(descriptor_, distance, from);
        return position < 0 ? -1 : 0;
    });
    return failure == 0 ? position : -1;
}

std::int64_t File::size() const
{
    struct stat status;
    const int failure = failing(Operation::status, name_, [&] { return fstat(descriptor_, &status); });
    return failure == 0 ? status.st_size : -1;
}

int File::truncate(std::uint64_t size)
{
    if (size > kLargestOffset)
        return failWith(error::fileTooLarge);
    const int failure =
        failing(Operation::truncate, name_, [&] { return ftruncate(descriptor_, static_cast<off_t>(size)); });
    if (failure == 0)
        recordWrite(RecordedWrite::Kind::truncate, name_, size);
    return failure;
}

int File::lock()
{
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    for (;;) {
        if (fcntl(descriptor_, F_OFD_SETLK, &whole) == 0)
            return 0;
        if (errno == EAGAIN || errno == EACCES)
            return failWith(error::tryAgain);
        if (errno != EINTR)
            return 0;
    }
}

int File::sync()
{
    const int failure = failing(Operation::sync, name_, [&] { return fsync(descriptor_); });
    if (failure == 0)
        recordWrite(RecordedWrite::Kind::sync, name_);
    return failure;
}

void File::advise(Advice advice, std::uint64_t offset, std::uint64_t length) const noexcept
{
    constexpr int kAdvice[] = {POSIX_FADV_NORMAL, POSIX_FADV_SEQUENTIAL, POSIX_FADV_RANDOM, POSIX_FADV_WILLNEED,
                               POSIX_FADV_DONTNEED};
    posix_fadvise(descriptor_, static_cast<off_t>(offset), static_cast<off_t>(length),
                  kAdvice[static_cast<int>(advice)]);
}

} // namespace emantle::platform
