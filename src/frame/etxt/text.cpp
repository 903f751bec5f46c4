#include "frame/estr/letters.h"

#include <emantle/frame/etxt/text.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace emantle {

namespace {

constexpr int kNotComparable = std::numeric_limits<int>::max();

/* The classes of the C library are defined for 0 to 255 only. */
bool isByte(int c) noexcept
{
    return c >= 0 && c <= 255;
}

long lengthOf(const char* s) noexcept
{
    return s == nullptr ? 0 : static_cast<long>(std::strlen(s));
}

/* Pads with zeros up to `n` units, and reads no further than `n`. */
template <class Unit>
Unit* boundedCopy(Unit* dst, const Unit* src, long n) noexcept
{
    if (dst == nullptr || src == nullptr || n < 0) {
        return nullptr;
    }
    Unit* to = dst;
    for (; to != dst + n && *src != 0; ++to, ++src) {
        *to = *src;
    }
    std::fill(to, dst + n, Unit());
    return dst;
}

int compareIgnoringCase(const char* a, const char* b, long n) noexcept
{
    if (a == nullptr || b == nullptr) {
        return kNotComparable;
    }
    for (; n > 0; ++a, ++b, --n) {
        const auto first = static_cast<unsigned char>(lower(*a));
        const auto second = static_cast<unsigned char>(lower(*b));
        if (first != second || first == 0) {
            return first - second;
        }
    }
    return 0;
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API long etxt_Text_strlen(const char* s)
{
    return lengthOf(s);
}

EMANTLE_API long etxt_Text_strlenA(const char* s)
{
    return lengthOf(s);
}

EMANTLE_API long etxt_Text_strlenU(const Etxt_TextU* s)
{
    return s == nullptr ? 0 : static_cast<long>(std::char_traits<Etxt_TextU>::length(s));
}

EMANTLE_API char* etxt_Text_strcat(char* dst, long size, const char* src)
{
    if (dst != nullptr && src != nullptr && size > 0) {
        const auto used = static_cast<long>(strnlen(dst, static_cast<std::size_t>(size)));
        etxt_Text_strncat(dst, src, size - used - 1);
    }
    return dst;
}

EMANTLE_API char* etxt_Text_strcat_unchecked(char* dst, const char* src)
{
    return etxt_Text_strcat(dst, lengthOf(dst) + lengthOf(src) + 1, src);
}

EMANTLE_API char* etxt_Text_strncat(char* dst, const char* src, long n)
{
    if (dst != nullptr && src != nullptr && n >= 1) {
        char* end = dst + std::strlen(dst);
        const std::size_t appended = strnlen(src, static_cast<std::size_t>(n));
        std::memcpy(end, src, appended);
        end[appended] = 0;
    }
    return dst;
}

EMANTLE_API char* etxt_Text_strncpy(char* dst, const char* src, long n)
{
    return etxt_Text_strncpyA(dst, src, n);
}

EMANTLE_API char* etxt_Text_strncpyA(char* dst, const char* src, long n)
{
    return boundedCopy(dst, src, n);
}

EMANTLE_API Etxt_TextU* etxt_Text_strncpyU(Etxt_TextU* dst, const Etxt_TextU* src, long n)
{
    return boundedCopy(dst, src, n);
}

EMANTLE_API char* etxt_Text_strcpy(char* dst, const char* src)
{
    return std::strcpy(dst, src);
}

EMANTLE_API char* etxt_Text_strchr(const char* s, int c)
{
    return const_cast<char*>(std::strchr(s, c));
}

EMANTLE_API char* etxt_Text_strrchr(const char* s, int c)
{
    return const_cast<char*>(std::strrchr(s, c));
}

EMANTLE_API char* etxt_Text_strpbrk(const char* s, const char* set)
{
    return const_cast<char*>(std::strpbrk(s, set));
}

EMANTLE_API char* etxt_Text_strstr(const char* s, const char* sub)
{
    return const_cast<char*>(std::strstr(s, sub));
}

EMANTLE_API long etxt_Text_strcspn(const char* s, const char* set)
{
    return static_cast<long>(std::strcspn(s, set));
}

EMANTLE_API long etxt_Text_strspn(const char* s, const char* set)
{
    return static_cast<long>(std::strspn(s, set));
}

EMANTLE_API char* etxt_Text_strtok(char* s, const char* delimiters)
{
    static thread_local char* place = nullptr;
    return strtok_r(s, delimiters, &place);
}

EMANTLE_API char* etxt_Text_strtok_r(char* s, const char* delimiters, char** place)
{
    return strtok_r(s, delimiters, place);
}

EMANTLE_API int etxt_Text_strcmp(const char* a, const char* b)
{
    return std::strcmp(a, b);
}

EMANTLE_API int etxt_Text_strncmp(const char* a, const char* b, long n)
{
    return n < 1 ? 0 : std::strncmp(a, b, static_cast<std::size_t>(n));
}

EMANTLE_API int etxt_Text__stricmp(const char* a, const char* b)
{
    return compareIgnoringCase(a, b, std::numeric_limits<long>::max());
}

EMANTLE_API int etxt_Text__strnicmp(const char* a, const char* b, long n)
{
    return compareIgnoringCase(a, b, n);
}

EMANTLE_API int etxt_Text_isalpha(int c)
{
    return isByte(c) && std::isalpha(c) != 0;
}

EMANTLE_API int etxt_Text_isupper(int c)
{
    return isByte(c) && std::isupper(c) != 0;
}

EMANTLE_API int etxt_Text_islower(int c)
{
    return isByte(c) && std::islower(c) != 0;
}

EMANTLE_API int etxt_Text_isspace(int c)
{
    return isByte(c) && std::isspace(c) != 0;
}

EMANTLE_API int etxt_Text_isprint(int c)
{
    return isByte(c) && std::isprint(c) != 0;
}

EMANTLE_API int etxt_Text_tolower(int c)
{
    return isByte(c) ? std::tolower(c) : c;
}

EMANTLE_API int etxt_Text_toupper(int c)
{
    return isByte(c) ? std::toupper(c) : c;
}

EMANTLE_API int etxt_Text_atoi(const char* s)
{
    return std::atoi(s);
}

EMANTLE_API long etxt_Text_atol(const char* s)
{
    return std::atol(s);
}

EMANTLE_API double etxt_Text_atof(const char* s)
{
    return std::atof(s);
}

EMANTLE_API double etxt_Text_strtod(const char* s, char** end)
{
    return std::strtod(s, end);
}

EMANTLE_API long etxt_Text_strtol(const char* s, char** end, int base)
{
    return std::strtol(s, end, base);
}

EMANTLE_API unsigned long etxt_Text_strtoul(const char* s, char** end, int base)
{
    return std::strtoul(s, end, base);
}

EMANTLE_API int etxt_Text_sprintf(char* dst, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsprintf(dst, format, arguments);
    va_end(arguments);
    return length;
}

EMANTLE_API int etxt_Text_vsprintf(char* dst, const char* format, va_list arguments)
{
    return std::vsprintf(dst, format, arguments);
}

EMANTLE_API int etxt_Text_vsprintf_s(char* dst, long size, const char* format, va_list arguments)
{
    if (dst == nullptr || size < 1) {
        return -1;
    }
    const int length = std::vsnprintf(dst, static_cast<std::size_t>(size), format, arguments);
    if (length < 0 || length >= size) {
        *dst = 0;
        return -1;
    }
    return length;
}

EMANTLE_API int etxt_Text_sscanf(const char* s, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int fields = std::vsscanf(s, format, arguments);
    va_end(arguments);
    return fields;
}
