#include "files/efio/names.h"
#include "frame/guard/guard.h"
#include "platform/errors.h"
#include "platform/paths.h"

#include <cerrno>
#include <cstring>
#include <emantle/files/efio/host.h>
#include <emantle/files/efio/text.h>

using namespace emantle;
using namespace emantle::files;

namespace {

bool isStandard(std::FILE* stream) noexcept
{
    return stream == stdout || stream == stderr;
}

/* Runs `call`, which answers with an error's number, on names that may fail to expand. */
template <class Call> int byName(Call call) noexcept
{
    try {
        return call() == 0 ? 0 : -1;
    } catch (const std::exception&) {
        platform::failWith(platform::error::notFound);
        return -1;
    }
}

}  // namespace

EMANTLE_API size_t efio_Fread(void* buffer, size_t size, size_t count, FILE* stream)
{
    return buffer == nullptr || stream == nullptr ? 0 : std::fread(buffer, size, count, stream);
}

EMANTLE_API size_t efio_Fwrite(const void* buffer, size_t size, size_t count, FILE* stream)
{
    return buffer == nullptr || stream == nullptr ? 0 : std::fwrite(buffer, size, count, stream);
}

EMANTLE_API int efio_Fputc(int c, FILE* stream)
{
    return isStandard(stream)  ? (efio_Fprintf(stream, "%c", c) < 0 ? EOF : static_cast<unsigned char>(c))
           : stream == nullptr ? EOF
                               : std::fputc(c, stream);
}

EMANTLE_API int efio_Fputs(const char* text, FILE* stream)
{
    return text == nullptr || stream == nullptr ? EOF
           : isStandard(stream)                 ? efio_Fprintf(stream, "%s", text)
                                                : std::fputs(text, stream);
}

EMANTLE_API int efio_Puts(const char* text)
{
    return text == nullptr ? EOF : efio_Fprintf(stdout, "%s\n", text);
}

EMANTLE_API int efio_Printf(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = efio_Vfprintf(stdout, format, arguments);
    va_end(arguments);
    return length;
}

EMANTLE_API int efio_Fprintf(FILE* stream, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = efio_Vfprintf(stream, format, arguments);
    va_end(arguments);
    return length;
}

EMANTLE_API int efio_Vfprintf(FILE* stream, const char* format, va_list arguments)
{
    if (stream == nullptr || format == nullptr) {
        return -1;
    }
    if (!isStandard(stream) || efio_GetLogFunction() == nullptr) {
        return std::vfprintf(stream, format, arguments);
    }
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    try {
        EerrDispatcher::Dispatch(format, arguments);
    } catch (...) {
        return -1;
    }
    return length;
}

EMANTLE_API int efio_Sprintf(char* buffer, const char* format, ...)
{
    if (buffer == nullptr || format == nullptr) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsprintf(buffer, format, arguments);
    va_end(arguments);
    return length;
}

EMANTLE_API int efio_Fscanf(FILE* stream, const char* format, ...)
{
    if (stream == nullptr || format == nullptr) {
        return EOF;
    }
    va_list arguments;
    va_start(arguments, format);
    const int count = std::vfscanf(stream, format, arguments);
    va_end(arguments);
    return count;
}

EMANTLE_API int efio_Sscanf(const char* text, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int count = efio_Vsscanf(text, format, arguments);
    va_end(arguments);
    return count;
}

EMANTLE_API int efio_Vsscanf(const char* text, const char* format, va_list arguments)
{
    return text == nullptr || format == nullptr ? EOF : std::vsscanf(text, format, arguments);
}

EMANTLE_API char* efio_ANSIfgets(char* buffer, int size, FILE* stream)
{
    return buffer == nullptr || stream == nullptr || size < 1 ? nullptr : std::fgets(buffer, size, stream);
}

EMANTLE_API int efio_ANSIfscanf(FILE* stream, const char* format, ...)
{
    if (stream == nullptr || format == nullptr) {
        return EOF;
    }
    va_list arguments;
    va_start(arguments, format);
    const int count = std::vfscanf(stream, format, arguments);
    va_end(arguments);
    return count;
}

EMANTLE_API int efio_CompatibleFseek(FILE* stream, long offset, int whence)
{
    return stream == nullptr ? -1 : std::fseek(stream, offset, whence);
}

EMANTLE_API int efio_CompatibleRemove(const char* name)
{
    return byName([&] { return platform::unlinkFile(expandedName(name)); });
}

EMANTLE_API int efio_Funlink(const char* name)
{
    return efio_CompatibleRemove(name);
}

EMANTLE_API int efio_Fchmod(const char* name, int mode)
{
    return byName([&] { return platform::changeMode(expandedName(name), static_cast<std::uint32_t>(mode)); });
}

EMANTLE_API int efio_Frename(const char* from, const char* to)
{
    return byName([&] { return platform::renameFile(expandedName(from), expandedName(to)); });
}

EMANTLE_API long efio_SkipWhiteSpace(Efio_File* file, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_SkipWhiteSpace", -1, [&](EerrException& scope) {
        long byte = 0;
        do {
            byte = checked(scope, efio_Fgetc(file, scope));
        } while (byte >= 0 && std::strchr(" \t\r\n\v\f", static_cast<int>(byte)) != nullptr && byte != 0);
        return byte < 0 ? -1 : efio_Ungetc(byte, file, scope);
    });
}

EMANTLE_API char* efio_GetTaggedData(Efio_File* file, const char* tag, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_GetTaggedData", nullptr, [&](EerrException& scope) -> char* {
        require(tag != nullptr, "NULL tag");
        constexpr std::string_view blanks = " \t\r\n";
        const std::string_view wanted = tag;
        std::string line;
        char piece[512];
        while (checked(scope, efio_Fgets(piece, sizeof piece, file, scope)) != nullptr) {
            line += piece;
            if (line.back() != '\n' && !efio_Feof(file)) {
                continue;
            }
            const std::size_t begin = line.find_first_not_of(blanks);
            const std::string_view rest = std::string_view(line).substr(begin == line.npos ? line.size() : begin);
            const bool tagged = rest.substr(0, wanted.size()) == wanted &&
                                (rest.size() == wanted.size() || blanks.find(rest[wanted.size()]) != blanks.npos);
            if (tagged) {
                std::string_view data = rest.substr(wanted.size());
                data.remove_prefix(std::min(data.find_first_not_of(blanks), data.size()));
                return heapText(data.substr(0, data.find_last_not_of(blanks) + 1)).release();
            }
            line.clear();
        }
        return nullptr;
    });
}
