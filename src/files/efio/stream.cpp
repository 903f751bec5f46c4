#include "files/efio/record.h"
#include "platform/errors.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <emantle/files/efio/stream.h>
#include <memory>

using namespace emantle;
using namespace emantle::files;

namespace {

/* The error argument of a stream function: what it holds at the end is printed and dropped, and errno is kept. */
class Told {
public:
    ~Told()
    {
        if (chain_ != nullptr) {
            const int kept = errno;
            eerr_PrintErrorReport(chain_, EERR_PRINT_ALL);
            eerr_DeleteErrorReportEx(&chain_);
            errno = kept;
        }
    }
    operator Eerr_ErrorReport**() noexcept { return &chain_; }

private:
    Eerr_ErrorReport* chain_ = nullptr;
};

/* size * count, or -1 where nothing is to be moved or the product is beyond all files. */
std::int64_t product(std::size_t size, std::size_t count) noexcept
{
    std::int64_t bytes = 0;
    return __builtin_mul_overflow(size, count, &bytes) || bytes == 0 ? -1 : bytes;
}

int invalid() noexcept
{
    platform::failWith(platform::error::badHandle);
    return -1;
}

std::uint64_t whole(Efio_UInt64 value) noexcept
{
    return (std::uint64_t{value.high} << 32) | value.low;
}

Efio_UInt64 halves(std::uint64_t value) noexcept
{
    return {static_cast<std::uint32_t>(value), static_cast<std::uint32_t>(value >> 32)};
}

}  // namespace

EMANTLE_API Efio_File* efio_fopen(const char* name, const char* mode)
{
    Told told;
    return efio_Open(name, mode, told);
}

EMANTLE_API Efio_File* efio_freopen(const char* name, const char* mode, Efio_File* file)
{
    if (file == nullptr) {
        return efio_fopen(name, mode);
    }
    Told told;
    efio_Flush(file, told);
    Told opening;
    Efio_File* const second = efio_Open(name == nullptr ? file->name : name, mode, opening);
    if (second == nullptr) {
        efio_fclose(file);
        return nullptr;
    }
    std::swap(*opened(file), *opened(second));
    efio_fclose(second);
    return file;
}

EMANTLE_API int efio_fclose(Efio_File* file)
{
    if (file == nullptr) {
        return EOF;
    }
    Told told;
    Eerr_ErrorReport** const err = told;
    const bool flushed = efio_Flush(file, err) == 0;
    if (!flushed) {
        eerr_DeleteErrorReportEx(err); /* the close tells of it */
    }
    efio_Close(file, err);
    return flushed && *err == nullptr ? 0 : EOF;
}

EMANTLE_API int efio_fflush(Efio_File* file)
{
    Told told;
    return file == nullptr ? invalid() : static_cast<int>(efio_Flush(file, told));
}

EMANTLE_API int efio_ftruncate(Efio_File* file, efio_off_t size)
{
    Told told;
    if (file == nullptr || size < 0 || efio_BufferFlush(file, told) != 0) {
        return invalid();
    }
    return opened(file)->system.truncate(static_cast<std::uint64_t>(size)) == 0 ? 0 : -1;
}

EMANTLE_API int efio_feof(Efio_File* file)
{
    return efio_Feof(file);
}

EMANTLE_API efio_off_t efio_ftello(Efio_File* file)
{
    return file == nullptr ? invalid() : file->position;
}

EMANTLE_API int efio_fseeko(Efio_File* file, efio_off_t offset, int whence)
{
    Told told;
    return file == nullptr ? invalid() : seekTo(*opened(file), offset, whence, told, NameGone::isFinal) ? 0 : -1;
}

EMANTLE_API int efio_fgetpos(Efio_File* file, efio_off_t* position)
{
    if (file == nullptr || position == nullptr) {
        return invalid();
    }
    *position = file->position;
    return 0;
}

EMANTLE_API int efio_fsetpos(Efio_File* file, const efio_off_t* position)
{
    return position == nullptr ? invalid() : efio_fseeko(file, *position, EFIO_SEEK_SET);
}

EMANTLE_API size_t efio_fread(void* buffer, size_t size, size_t count, Efio_File* file)
{
    const std::int64_t bytes = product(size, count);
    if (file == nullptr || buffer == nullptr || bytes < 0) {
        return 0;
    }
    Told told;
    std::int64_t done = 0;
    readUpTo(*opened(file), buffer, bytes, done, told);
    return static_cast<std::size_t>(done) / size;
}

EMANTLE_API size_t efio_fwrite(const void* buffer, size_t size, size_t count, Efio_File* file)
{
    const std::int64_t bytes = product(size, count);
    if (file == nullptr || buffer == nullptr || bytes < 0) {
        return 0;
    }
    Told told;
    const std::int64_t before = file->position;
    writeAll(*opened(file), buffer, bytes, told);
    return static_cast<std::size_t>(file->position - before) / size;
}

EMANTLE_API int efio_fprintf(Efio_File* file, const char* format, ...)
{
    if (file == nullptr || format == nullptr) {
        return invalid();
    }
    va_list arguments;
    va_start(arguments, format);
    char* text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length < 0) {
        return -1;
    }
    Told told;
    const std::unique_ptr<char, void (*)(void*)> owner(text, std::free);
    return writeAll(*opened(file), text, length, told) ? length : -1;
}

EMANTLE_API void efio_off_tHODWSet(efio_off_t* offset, uint32_t high)
{
    if (offset != nullptr) {
        *offset = static_cast<efio_off_t>(whole({efio_off_tLODWGet(offset), high}));
    }
}

EMANTLE_API uint32_t efio_off_tHODWGet(const efio_off_t* offset)
{
    return offset == nullptr ? 0 : halves(static_cast<std::uint64_t>(*offset)).high;
}

EMANTLE_API void efio_off_tLODWSet(efio_off_t* offset, uint32_t low)
{
    if (offset != nullptr) {
        *offset = static_cast<efio_off_t>(whole({low, efio_off_tHODWGet(offset)}));
    }
}

EMANTLE_API uint32_t efio_off_tLODWGet(const efio_off_t* offset)
{
    return offset == nullptr ? 0 : halves(static_cast<std::uint64_t>(*offset)).low;
}

EMANTLE_API Efio_UInt64 efio_UInt64MultiplyFromUInt32(uint32_t a, uint32_t b)
{
    return halves(std::uint64_t{a} * b);
}

EMANTLE_API Efio_UInt64 efio_UInt64Add(Efio_UInt64 a, Efio_UInt64 b)
{
    return halves(whole(a) + whole(b));
}

EMANTLE_API Efio_UInt64 efio_UInt64Sub(Efio_UInt64 a, Efio_UInt64 b)
{
    return halves(whole(a) - whole(b));
}
