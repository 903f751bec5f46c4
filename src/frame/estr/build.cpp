#include "frame/guard/guard.h"
#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/frame/estr/build.h>
#include <emantle/frame/estr/compare.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace emantle {

namespace {

constexpr std::size_t kFormatBuffer = 16000;

char* copyOf(const char* s, std::size_t length) noexcept
{
    auto* copy = static_cast<char*>(emsc_HeapMalloc(static_cast<long>(length) + 1));
    if (copy != nullptr) {
        std::memcpy(copy, s, length);
    }
    return copy;
}

/* The slice of a text that `start` and `length` name, cut to the text. */
std::string_view sliceOf(const char* s, long start, long length) noexcept
{
    if (start < 0 || length <= 0) {
        return {};
    }
    const std::size_t skipped = strnlen(s, static_cast<std::size_t>(start));
    if (skipped < static_cast<std::size_t>(start)) {
        return {};
    }
    return {s + start, strnlen(s + start, static_cast<std::size_t>(length))};
}

/* Copies into `dst` of capacity `n`, with a terminator where `n` is the complement of the capacity. */
long boundedCopy(char* dst, const char* src, long n, long maxCopy) noexcept
{
    if (src == nullptr) {
        return -1;
    }
    const bool terminate = n < 0;
    const long capacity = terminate ? ~n : n;
    const auto length = static_cast<long>(std::strlen(src));
    const long counted = terminate ? length + 1 : length;
    if (dst == nullptr || capacity == 0 || counted < 1 || maxCopy <= 0) {
        return length;
    }
    const long copied = std::min({maxCopy, counted, capacity});
    std::memmove(dst, src, static_cast<std::size_t>(copied));
    if (terminate) {
        dst[copied - 1] = 0;
    }
    return length;
}

std::string quoted(const char* s, char quote)
{
    std::string text(1, quote);
    for (; *s != 0; ++s) {
        if (*s == quote) {
            text += '\\';
        }
        text += *s;
    }
    return text += quote;
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API char* estr_Duplicate(const char* s)
{
    return s == nullptr ? nullptr : copyOf(s, std::strlen(s));
}

EMANTLE_API char* estr_StringCopy(char* dst, const char* src)
{
    if (src == nullptr || src == dst) {
        return src == nullptr ? nullptr : dst;
    }
    const std::size_t size = std::strlen(src) + 1;
    auto* copy = static_cast<char*>(emsc_HeapRealloc(dst, static_cast<long>(size)));
    if (copy != nullptr) {
        std::memcpy(copy, src, size);
    }
    return copy;
}

EMANTLE_API char* estr_StringCat(char* dst, const char* a, const char* b)
{
    const std::size_t first = a == nullptr ? 0 : std::strlen(a);
    const std::size_t second = b == nullptr ? 0 : std::strlen(b);
    auto* joined = static_cast<char*>(emsc_HeapMalloc(static_cast<long>(first + second + 1)));
    if (joined == nullptr) {
        return nullptr;
    }
    std::copy_n(a, first, joined);
    std::copy_n(b, second, joined + first);
    emsc_HeapFree(dst);
    return joined;
}

EMANTLE_API char* estr_Sprintf(char* dst, const char* format, Eerr_ErrorReport** err, ...)
{
    va_list arguments;
    va_start(arguments, err);
    char* text = estr_Vsprintf(dst, format, err, arguments);
    va_end(arguments);
    return text;
}

EMANTLE_API char* estr_Vsprintf(char* dst, const char* format, Eerr_ErrorReport** err, va_list arguments)
{
    PlainScope scope("estr_Vsprintf", err);
    if (format == nullptr) {
        return scope.raise("Args"), nullptr;
    }
    if (dst != nullptr) {
        return std::vsprintf(dst, format, arguments) < 0 ? (scope.raise("vsprintf failed"), nullptr) : dst;
    }
    char buffer[kFormatBuffer];
    const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    if (length < 0) {
        return scope.raise("vsprintf failed"), nullptr;
    }
    if (static_cast<std::size_t>(length) >= sizeof buffer) {
        return scope.raise("The text is longer than %d bytes", static_cast<int>(sizeof buffer) - 1), nullptr;
    }
    char* text = copyOf(buffer, static_cast<std::size_t>(length));
    if (text == nullptr) {
        scope.raise("No memory");
    }
    return text;
}

EMANTLE_API char* estr_QuotedDuplicate(const char* s)
{
    if (s == nullptr) {
        return nullptr;
    }
    const std::size_t length = std::strlen(s);
    auto* copy = static_cast<char*>(emsc_HeapMalloc(static_cast<long>(length) + 3));
    if (copy != nullptr) {
        copy[0] = '"';
        std::memcpy(copy + 1, s, length);
        copy[length + 1] = '"';
    }
    return copy;
}

EMANTLE_API char* estr_QuoteString(const char* s, Emsc_Boolean doubleQuotes, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "estr_QuoteString", nullptr, [&] {
        require(s != nullptr && *s != 0, "Invalid argument!");
        return heapText(quoted(s, doubleQuotes != 0 ? '"' : '\''), "Not enough memory!").release();
    });
}

EMANTLE_API char* estr_AddCR(const char* s, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "estr_AddCR", nullptr, [&]() -> char* {
        if (s == nullptr || *s == 0) {
            return nullptr;
        }
        std::string text;
        for (; *s != 0; ++s) {
            if (*s == '\n') {
                text += "\r\n";
            } else if (*s != '\r') {
                text += *s;
            }
        }
        return heapText(text).release();
    });
}

EMANTLE_API char* estr_GetSubString(const char* s, long start, long length, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "estr_GetSubString", nullptr, [&] {
        require(s != nullptr && start >= 0 && length >= 0, "Args");
        require(strnlen(s, static_cast<std::size_t>(start)) == static_cast<std::size_t>(start), "Args");
        return heapText(sliceOf(s, start, length)).release();
    });
}

EMANTLE_API char* estr_StringToA(const char* s, long start, long length, char* dst)
{
    if (s == nullptr) {
        return dst;
    }
    const std::string_view slice = sliceOf(s, start, length);
    if (dst == nullptr) {
        return copyOf(slice.data() == nullptr ? "" : slice.data(), slice.size());
    }
    if (!slice.empty()) {
        std::memmove(dst, slice.data(), slice.size());
    }
    dst[slice.size()] = 0;
    return dst;
}

EMANTLE_API long estr_StringNCopy(char* dst, const char* src, long n, long maxCopy)
{
    return n < 0 ? -1 : boundedCopy(dst, src, n, maxCopy);
}

EMANTLE_API long estr_StringNCopyWithNull(char* dst, const char* src, long n, long maxCopy)
{
    return n < 0 ? -1 : boundedCopy(dst, src, ~n, maxCopy);
}

EMANTLE_API long estr_StringCopyEx(char* dst, const char* src, long n)
{
    return n < 0 ? -1 : boundedCopy(dst, src, ~n, n);
}

EMANTLE_API long estr_StringCatEx(char* dst, const char* src, long n)
{
    if (n < 0) {
        return -1;
    }
    const long used = dst == nullptr ? 0 : static_cast<long>(strnlen(dst, static_cast<std::size_t>(n)));
    return boundedCopy(dst == nullptr ? nullptr : dst + used, src, ~(n - used), n - used);
}

EMANTLE_API char* estr_RemoveChars(char* s, const char* sub)
{
    if (s == nullptr || sub == nullptr || *sub == 0) {
        return s;
    }
    const auto length = static_cast<long>(std::strlen(sub));
    char* to = s;
    for (const char* from = s; *from != 0;) {
        if (estr_Eqnic(from, sub, length) != 0) {
            from += length;
        } else {
            *to++ = *from++;
        }
    }
    *to = 0;
    return s;
}
