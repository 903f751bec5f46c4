#include "files/efio/record.h"
#include "frame/guard/plain_scope.h"
#include "platform/errors.h"

#include <cerrno>
#include <cstring>
#include <new>

/* Seeking, reading and writing through the buffers of a record. */

namespace emantle::files {

namespace {

/* From here on a write costs less directly than through the gather buffer. */
constexpr std::int64_t directWrite = gatherSize / 4;
constexpr std::int32_t seeksToShrink = 3, sweepsToGrow = 3;

void noteSeek(OpenFile& file) noexcept
{
    ++file.seekCount;
    file.sequentialCount = 0;
    if (file.seekCount >= seeksToShrink && file.readSize > EFIO_SMALLEST_READ) {
        file.readSize = std::max<std::int32_t>(file.readSize / 2, EFIO_SMALLEST_READ);
        file.seekCount = 0;
    }
}

/* A sweep wins back the read-ahead that random probes took. */
void noteSweep(OpenFile& file) noexcept
{
    if (++file.sequentialCount >= sweepsToGrow && file.readSize < EFIO_BUFFER_SIZE) {
        file.readSize = std::min<std::int32_t>(file.readSize * 2, EFIO_BUFFER_SIZE);
        file.seekCount = file.sequentialCount = 0;
    }
}

bool target(const OpenFile& file, std::int64_t offset, std::int64_t whence, std::int64_t& result)
{
    std::int64_t origin = 0;
    if (whence == EFIO_SEEK_CUR) {
        origin = file.position;
    } else if (whence == EFIO_SEEK_END) {
        origin = sizeOf(file);
        if (origin < 0) {
            return false;
        }
    } else if (whence != EFIO_SEEK_SET) {
        return platform::failWith(platform::error::invalidArgument), false;
    }
    if (__builtin_add_overflow(origin, offset, &result) || result < 0) {
        return platform::failWith(platform::error::invalidArgument), false;
    }
    return true;
}

void placeInBuffer(OpenFile& file) noexcept
{
    if (file.bufferFlag >= 0) {
        file.bufferIndex = static_cast<std::int32_t>(file.position - file.bufferStart);
    }
}

std::int64_t takeFromBuffer(OpenFile& file, unsigned char* out, std::int64_t size) noexcept
{
    const std::int64_t count = std::min(size, file.bufferStart + file.bufferValid - file.position);
    std::memcpy(out, file.buffer + (file.position - file.bufferStart), static_cast<std::size_t>(count));
    file.position += count;
    placeInBuffer(file);
    return count;
}

bool readPastBuffer(OpenFile& file, unsigned char* out, std::int64_t size, std::int64_t& done, PlainScope& scope)
{
    if (!flushGathered(file, scope)) {
        scope.raise("Unable to flush %s before reading.", file.name);
        return false;
    }
    const bool sweeping = file.position == file.systemPosition;
    const bool read = readSystem(file, out, size, file.position, done, scope);
    file.position += done;
    if (!read) {
        scope.raise("Error trying to read %d bytes from %s\n", shown(size), file.name);
        return false;
    }
    if (sweeping) {
        noteSweep(file);
    }
    file.ended = done < size;
    return true;
}

/* Adds to what is gathered; false where it does not fit there. */
bool gatherMore(OpenFile& file, const void* bytes, std::int64_t size) noexcept
{
    if (file.gatherFill == 0) {
        file.gatherStart = file.position;
        if (file.gather == nullptr) {
            file.gather.reset(new (std::nothrow) unsigned char[gatherSize]);
        }
    }
    const std::int64_t at = file.position - file.gatherStart;
    if (file.gather == nullptr || at < 0 || at > file.gatherFill || size > gatherSize - at) {
        return false;
    }
    std::memcpy(file.gather.get() + at, bytes, static_cast<std::size_t>(size));
    file.gatherFill = std::max(file.gatherFill, static_cast<std::int32_t>(at + size));
    file.position += size;
    return true;
}

bool writeDirectly(OpenFile& file, const void* bytes, std::int64_t size, PlainScope& scope)
{
    std::int64_t done = 0;
    const bool written = writeSystem(file, bytes, size, file.position, done, scope);
    file.position += done;
    if (!written) {
        if (file.writeThrough) {
            scope.raise("Unable to flush buffers for %s after writing.", file.name);
        } else {
            scope.raise("Could not write %d bytes to %s", shown(size), file.name);
        }
    }
    return written;
}

bool mayWrite(const OpenFile& file, const void* bytes, std::int64_t size, PlainScope& scope)
{
    std::int64_t end = 0;
    if (size > 0 && bytes == nullptr) {
        scope.raise("Invalid attempt to write NULL buffer.");
    } else if (file.readOnly) {
        scope.raise("File I/O operation failed: Unable to write to Read-Only file:\n %s", file.name);
    } else if (size < 0 || __builtin_add_overflow(file.position, size, &end)) {
        scope.raise("Could not write %d bytes to %s", shown(size), file.name);
    } else {
        return true;
    }
    return false;
}

}  // namespace

bool seekTo(OpenFile& file, std::int64_t offset, std::int64_t whence, Eerr_ErrorReport** err, NameGone nameGone)
{
    std::int64_t wanted = 0;
    if (!target(file, offset, whence, wanted)) {
        const int failure = errno;
        PlainScope scope("efio_Seek", err);
        scope.raise("Unable to perform seek on %s", file.name);
        errno = failure;
        return false;
    }
    const bool gathered = file.gatherFill > 0 && wanted >= file.gatherStart && wanted <= file.gatherEnd();
    if (gathered || file.bufferHolds(wanted)) {
        file.position = wanted;
        placeInBuffer(file);
    } else {
        PlainScope scope("efio_Seek", err);
        if (!flushGathered(file, scope)) {
            scope.raise("Unable to flush %s before seeking.", file.name);
            return false;
        }
        const std::int64_t before = file.systemPosition;
        file.emptyBuffer();
        if (!moveSystem(file, wanted, scope, nameGone)) {
            scope.raise("Unable to perform seek on %s", file.name);
            return false;
        }
        file.position = wanted;
        if (wanted != before) {
            noteSeek(file);
        }
    }
    file.forgetPushedBack();
    file.ended = false;
    return true;
}

bool fillBuffer(OpenFile& file, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_BufferFill", err);
    if (!flushGathered(file, scope)) {
        scope.raise("Unable to flush %s before reading.", file.name);
        return false;
    }
    const bool sweeping = file.position == file.systemPosition;
    const std::int64_t start = file.position;
    std::int64_t done = 0;
    file.emptyBuffer();
    if (!readSystem(file, file.buffer, file.readSize, start, done, scope)) {
        scope.raise("Error trying to read %d bytes into buffer for %s", file.readSize, file.name);
        return false;
    }
    if (done == 0) {
        file.ended = true;
        return false;
    }
    file.bufferStart = start;
    file.bufferValid = static_cast<std::int32_t>(done);
    file.bufferIndex = file.bufferFlag = 0;
    if (sweeping) {
        noteSweep(file);
    }
    return true;
}

bool readUpTo(OpenFile& file, void* bytes, std::int64_t size, std::int64_t& done, Eerr_ErrorReport** err)
{
    unsigned char* const out = static_cast<unsigned char*>(bytes);
    done = 0;
    if (size > 0 && file.ungetCount > 0) {
        out[done++] = static_cast<unsigned char>(file.ungetMark);
        file.forgetPushedBack();
        ++file.position;
    }
    while (done < size) {
        if (file.bufferHolds(file.position)) {
            done += takeFromBuffer(file, out + done, size - done);
        } else if (size - done >= file.readSize) {
            PlainScope scope("efio_Read", err);
            std::int64_t moved = 0;
            const bool read = readPastBuffer(file, out + done, size - done, moved, scope);
            done += moved;
            return read;
        } else if (!fillBuffer(file, err)) {
            return *err == nullptr;
        }
    }
    return true;
}

bool writeAll(OpenFile& file, const void* bytes, std::int64_t size, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_Write", err);
    if (!mayWrite(file, bytes, size, scope)) {
        return false;
    }
    if (size == 0) {
        return true;
    }
    file.forgetPushedBack();
    file.emptyBuffer();
    file.ended = false;
    const bool gathers = !file.writeThrough && size < directWrite;
    if (gathers && gatherMore(file, bytes, size)) {
        return true;
    }
    if (!flushGathered(file, scope)) {
        scope.raise("Could not flush buffer for %s before writing more data.", file.name);
        return false;
    }
    return (gathers && gatherMore(file, bytes, size)) || writeDirectly(file, bytes, size, scope);
}

std::int64_t sizeOf(const OpenFile& file)
{
    const std::int64_t size = file.system.size();
    return size < 0 || file.gatherFill == 0 ? size : std::max(size, file.gatherEnd());
}

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

namespace {

OpenFile* usable(Efio_File* file, PlainScope& scope)
{
    if (file == nullptr) {
        scope.raise("Invalid file handle");
    }
    return opened(file);
}

void clear(Eerr_ErrorReport** err) noexcept
{
    if (err != nullptr) {
        *err = nullptr;
    }
}

long readExactly(OpenFile& file, void* buffer, long size, PlainScope& scope)
{
    if (size < 0 || (buffer == nullptr && size > 0)) {
        scope.raise("Error trying to read %d bytes from %s\n", shown(size), file.name);
        return -1;
    }
    std::int64_t done = 0;
    if (!readUpTo(file, buffer, size, done, scope)) {
        scope.raise({nullptr, 1});
        return -1;
    }
    if (done < size) {
        scope.raise("Read %d bytes from %s, %d were requested.", shown(done), file.name, shown(size));
    }
    return static_cast<long>(done);
}

long writeWhole(OpenFile& file, const void* buffer, long size, PlainScope& scope)
{
    if (!writeAll(file, buffer, size, scope)) {
        scope.raise({nullptr, 1});
        return -1;
    }
    return size;
}

long writeSequential(const char* function, Efio_File* handle, const void* buffer, long size, Eerr_ErrorReport** err)
{
    PlainScope scope(function, err);
    OpenFile* const file = usable(handle, scope);
    return file == nullptr ? -1 : writeWhole(*file, buffer, size, scope);
}

long writeDirect(const char* function, Efio_File* handle, long offset, const void* buffer, long size,
                 Eerr_ErrorReport** err)
{
    PlainScope scope(function, err);
    OpenFile* const file = usable(handle, scope);
    if (file == nullptr) {
        return -1;
    }
    if (!seekTo(*file, offset, EFIO_SEEK_SET, scope)) {
        scope.raise({nullptr, 1});
        return -1;
    }
    return writeWhole(*file, buffer, size, scope);
}

}  // namespace

EMANTLE_API long efio_Seek(Efio_File* handle, long offset, long whence, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_Seek", err);
    OpenFile* const file = usable(handle, scope);
    return file != nullptr && seekTo(*file, offset, whence, scope) ? 0 : -1;
}

EMANTLE_API long efio_Tell(Efio_File* handle, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_Tell", err);
    OpenFile* const file = usable(handle, scope);
    return file == nullptr ? -1 : static_cast<long>(file->position);
}

EMANTLE_API long efio_ReadSeq(Efio_File* handle, void* buffer, long size, Eerr_ErrorReport** err)
{
    if (handle != nullptr && buffer != nullptr && size >= 0 && handle->ungetCount == 0 && handle->bufferFlag >= 0) {
        const std::int64_t at = handle->position - handle->bufferStart;
        if (at >= 0 && at <= handle->bufferValid && size <= handle->bufferValid - at) {
            std::memcpy(buffer, handle->buffer + at, static_cast<std::size_t>(size));
            handle->position += size;
            handle->bufferIndex = static_cast<std::int32_t>(at + size);
            clear(err);
            return size;
        }
    }
    PlainScope scope("efio_ReadSeq", err);
    OpenFile* const file = usable(handle, scope);
    return file == nullptr ? -1 : readExactly(*file, buffer, size, scope);
}

EMANTLE_API long efio_ReadDirect(Efio_File* handle, long offset, void* buffer, long size, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_ReadDirect", err);
    OpenFile* const file = usable(handle, scope);
    if (file == nullptr) {
        return -1;
    }
    if (!seekTo(*file, offset, EFIO_SEEK_SET, scope)) {
        scope.raise({nullptr, 1});
        return -1;
    }
    return readExactly(*file, buffer, size, scope);
}

EMANTLE_API long efio_WriteSeq(Efio_File* file, const void* buffer, long size, Eerr_ErrorReport** err)
{
    return writeSequential("efio_WriteSeq", file, buffer, size, err);
}

EMANTLE_API long efio_WriteDirect(Efio_File* file, long offset, const void* buffer, long size, Eerr_ErrorReport** err)
{
    return writeDirect("efio_WriteDirect", file, offset, buffer, size, err);
}

EMANTLE_API long efio_FileWriteSequential(Efio_File* file, const void* buffer, long size, Eerr_ErrorReport** err)
{
    return writeSequential("efio_FileWriteSequential", file, buffer, size, err);
}

EMANTLE_API long efio_FileWriteDirect(Efio_File* file, long offset, const void* buffer, long size,
                                      Eerr_ErrorReport** err)
{
    return writeDirect("efio_FileWriteDirect", file, offset, buffer, size, err);
}

EMANTLE_API long efio_Flush(Efio_File* handle, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_Flush", err);
    OpenFile* const file = usable(handle, scope);
    if (file == nullptr) {
        return -1;
    }
    if (!flushGathered(*file, scope)) {
        scope.raise("Could not write %d bytes to %s", file->gatherFill, file->name);
        return -1;
    }
    return 0;
}

EMANTLE_API long efio_FileFlush(Efio_File* file, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_FileFlush", err);
    if (efio_Flush(file, scope) != 0) {
        scope.raise({nullptr, 1});
        return -1;
    }
    return 0;
}

EMANTLE_API long efio_BufferFlush(Efio_File* file, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_BufferFlush", err);
    if (efio_Flush(file, scope) != 0) {
        scope.raise({nullptr, 1});
        return -1;
    }
    opened(file)->emptyBuffer();
    return 0;
}
