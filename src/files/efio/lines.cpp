#include "files/efio/record.h"
#include "frame/guard/plain_scope.h"
#include "platform/errors.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

/* Bytes, lines and formatted text on a record. */

using namespace emantle;
using namespace emantle::files;

namespace {

/* The next byte, or -1 with a chain in `scope` or the end met. */
long nextByte(OpenFile& file, PlainScope& scope)
{
    unsigned char byte = 0;
    std::int64_t done = 0;
    return readUpTo(file, &byte, 1, done, scope) && done == 1 ? byte : -1;
}

/* Copies what the buffer holds of the line, and says whether its line feed was there. */
bool takeLine(OpenFile& file, char* out, long room, long& taken)
{
    const unsigned char* const from = file.buffer + (file.position - file.bufferStart);
    const long there = std::min<long>(room, static_cast<long>(file.bufferStart + file.bufferValid - file.position));
    const void* const feed = std::memchr(from, '\n', static_cast<std::size_t>(there));
    taken = feed == nullptr ? there : static_cast<const unsigned char*>(feed) - from + 1;
    std::memcpy(out, from, static_cast<std::size_t>(taken));
    file.position += taken;
    file.bufferIndex = static_cast<std::int32_t>(file.position - file.bufferStart);
    return feed != nullptr;
}

}  // namespace

EMANTLE_API long efio_Fgetc(Efio_File* handle, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_Fgetc", err);
    if (handle == nullptr) {
        scope.raise("Invalid file handle");
        return -1;
    }
    OpenFile& file = *opened(handle);
    if (file.ungetCount == 0 && file.bufferHolds(file.position)) {
        const long byte = file.buffer[file.position - file.bufferStart];
        ++file.position;
        ++file.bufferIndex;
        return byte;
    }
    const long byte = nextByte(file, scope);
    if (scope.failed()) {
        scope.raise({nullptr, 1});
    }
    return byte;
}

EMANTLE_API char* efio_Fgets(char* buffer, long size, Efio_File* handle, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_Fgets", err);
    if (handle == nullptr || buffer == nullptr || size < 1) {
        scope.raise(handle == nullptr ? "Invalid file handle" : "Invalid buffer for a line");
        return nullptr;
    }
    OpenFile& file = *opened(handle);
    long length = 0;
    bool complete = false;
    if (file.ungetCount > 0 && size > 1) {
        buffer[length++] = static_cast<char>(nextByte(file, scope));
        complete = buffer[0] == '\n';
    }
    while (!complete && length < size - 1) {
        if (!file.bufferHolds(file.position) && !fillBuffer(file, scope)) {
            break;
        }
        long taken = 0;
        complete = takeLine(file, buffer + length, size - 1 - length, taken);
        length += taken;
    }
    buffer[length] = '\0';
    if (scope.failed()) {
        scope.raise({nullptr, 1});
        return nullptr;
    }
    return length > 0 || size == 1 ? buffer : nullptr;
}

EMANTLE_API long efio_Ungetc(long byte, Efio_File* handle, Eerr_ErrorReport** err)
{
    PlainScope scope("efio_Ungetc", err);
    if (handle == nullptr) {
        scope.raise("Invalid file handle");
        return -1;
    }
    OpenFile& file = *opened(handle);
    if (byte < 0 || file.ungetCount > 0 || file.position == 0) {
        return -1;
    }
    file.ungetCount = 1;
    file.ungetMark = static_cast<unsigned char>(byte);
    --file.position;
    file.ended = false;
    return file.ungetMark;
}

EMANTLE_API long efio_FileWriteFormatted(Efio_File* file, const char* format, Eerr_ErrorReport** err, ...)
{
    PlainScope scope("efio_FileWriteFormatted", err);
    if (file == nullptr || format == nullptr) {
        scope.raise(file == nullptr ? "Invalid file handle" : "Invalid attempt to write NULL buffer.");
        return -1;
    }
    va_list arguments, again;
    va_start(arguments, err);
    va_copy(again, arguments);
    char small[512];
    const int length = std::vsnprintf(small, sizeof small, format, arguments);
    va_end(arguments);
    std::unique_ptr<char[]> large;
    if (length >= static_cast<int>(sizeof small)) {
        large.reset(new (std::nothrow) char[static_cast<std::size_t>(length) + 1]);
        if (large != nullptr) {
            std::vsnprintf(large.get(), static_cast<std::size_t>(length) + 1, format, again);
        }
    }
    va_end(again);
    if (length < 0 || (length >= static_cast<int>(sizeof small) && large == nullptr)) {
        scope.raise("Could not write %d bytes to %s", length, file->name);
        return -1;
    }
    if (!writeAll(*opened(file), large == nullptr ? small : large.get(), length, scope)) {
        scope.raise({nullptr, 1});
        return -1;
    }
    return length;
}
