#include "files/efio/record.h"
#include "frame/guard/plain_scope.h"
#include "platform/errors.h"

#include <cerrno>

/* The file beneath the buffers: moving, reading and writing with recovery from a network that went away. */

namespace emantle::files {

namespace {

using platform::isNetworkError;
using platform::systemErrorText;
using platform::Transfer;

/* A file that opens and yet moves nothing, time after time, is given up. */
constexpr int fruitlessReopens = 16;

bool mayReopen(int failure, NameGone nameGone) noexcept
{
    return isNetworkError(failure) && (nameGone == NameGone::reopens || failure != platform::error::networkNameGone);
}

void tellOfMove(PlainScope& scope, const OpenFile& file, std::int64_t offset, int failure, NameGone nameGone,
                bool reopenFailed)
{
    const std::string reason = systemErrorText(failure);
    if (nameGone == NameGone::isFinal) {
        /* The wide move tells its origin and both halves of the offset. */
        const int low = static_cast<int>(offset), high = static_cast<int>(offset >> 32);
        if (reopenFailed) {
            scope.raise("Unable to reopen file to retry seek (%d) to byte offset d:%d in %s\n%s", EFIO_SEEK_SET, low,
                        file.name, reason.c_str());
        } else {
            scope.raise("Unable to seek (%d) to byte offset %d:%d in %s\n%s", EFIO_SEEK_SET, high, low, file.name,
                        reason.c_str());
        }
    } else if (reopenFailed) {
        scope.raise("Unable to reopen file to retry seek to byte offset %d in %s\n%s", shown(offset), file.name,
                    reason.c_str());
    } else {
        scope.raise("Unable to seek to byte offset %d in %s\n%s", shown(offset), file.name, reason.c_str());
    }
    errno = failure;
}

/* Repeats `call(done, offset)`, which moves what is still missing, for as long as a lost network comes back. */
template <class Call>
bool transfer(OpenFile& file, const char* verb, std::int64_t size, std::int64_t offset, std::int64_t& done,
              PlainScope& scope, Call call)
{
    int fruitless = 0;
    done = 0;
    for (;;) {
        if (!moveSystem(file, offset + done, scope)) {
            scope.raise({nullptr, 1});
            return false;
        }
        const Transfer moved = call(done);
        done += static_cast<std::int64_t>(moved.bytes);
        file.systemPosition += static_cast<std::int64_t>(moved.bytes);
        if (moved.error == 0) {
            return true;
        }
        fruitless = moved.bytes == 0 ? fruitless + 1 : 0;
        if (!isNetworkError(moved.error) || fruitless > fruitlessReopens) {
            errno = moved.error;
            return false;
        }
        if (!reopen(file, scope)) {
            scope.raise("Unable to reopen file %s to retry %s after failure %d:  only %d of %d bytes processed.",
                        file.name, verb, moved.error, shown(done), shown(size));
            errno = moved.error;
            return false;
        }
    }
}

void tellOfTransfer(PlainScope& scope, std::int64_t done, std::int64_t size, int failure)
{
    scope.raise("File I/O operation failed: only %d of %d bytes processed.\n Error no. %d: %s", shown(done),
                shown(size), failure, systemErrorText(failure).c_str());
    errno = failure;
}

}  // namespace

void OpenFile::emptyBuffer() noexcept
{
    bufferIndex = bufferFlag = -1;
    bufferStart = -1;
    bufferValid = 0;
}

bool moveSystem(OpenFile& file, std::int64_t offset, Eerr_ErrorReport** err, NameGone nameGone)
{
    if (offset == file.systemPosition) {
        return true;
    }
    PlainScope scope("efio_LowLevelSeek", err);
    for (;;) {
        if (file.system.seek(offset, platform::Origin::start) >= 0) {
            file.systemPosition = offset;
            return true;
        }
        const int failure = errno;
        if (!mayReopen(failure, nameGone)) {
            tellOfMove(scope, file, offset, failure, nameGone, false);
            return false;
        }
        if (!reopen(file, scope)) {
            tellOfMove(scope, file, offset, failure, nameGone, true);
            return false;
        }
    }
}

bool readSystem(OpenFile& file, void* bytes, std::int64_t size, std::int64_t offset, std::int64_t& done,
                Eerr_ErrorReport** err)
{
    PlainScope scope("efio_LowLevelRead", err);
    const bool complete = transfer(file, "read", size, offset, done, scope, [&](std::int64_t from) {
        return file.system.read(static_cast<unsigned char*>(bytes) + from, static_cast<std::size_t>(size - from));
    });
    if (!complete && *err == nullptr) {
        tellOfTransfer(scope, done, size, errno);
    }
    return complete;
}

bool writeSystem(OpenFile& file, const void* bytes, std::int64_t size, std::int64_t offset, std::int64_t& done,
                 Eerr_ErrorReport** err)
{
    PlainScope scope("efio_LowLevelWrite", err);
    const bool complete = transfer(file, "write", size, offset, done, scope, [&](std::int64_t from) {
        return file.system.write(static_cast<const unsigned char*>(bytes) + from,
                                 static_cast<std::size_t>(size - from));
    });
    if (!complete && *err == nullptr) {
        const int failure = errno;
        if (file.readOnly) {
            scope.raise("File I/O operation failed: Unable to write to Read-Only file:\n %s", file.name);
        } else if (failure == platform::error::fileTooLarge || failure == platform::error::noMemory) {
            scope.raise("Insufficient system resources for extending %s\n. The file may be too large for the current "
                        "system context.\nThis error in unrelated to available disk space.",
                        file.name);
        } else {
            tellOfTransfer(scope, done, size, failure);
        }
        errno = failure;
    }
    return complete;
}

bool flushGathered(OpenFile& file, Eerr_ErrorReport** err)
{
    if (file.gatherFill == 0) {
        return true;
    }
    std::int64_t done = 0;
    const bool complete = writeSystem(file, file.gather.get(), file.gatherFill, file.gatherStart, done, err);
    if (done > 0) {
        std::copy(file.gather.get() + done, file.gather.get() + file.gatherFill, file.gather.get());
        file.gatherStart += done;
        file.gatherFill -= static_cast<std::int32_t>(done);
    }
    return complete;
}

}  // namespace emantle::files
