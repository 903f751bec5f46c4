#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/frame/estr/build.h>
#include <emantle/frame/estr/parse.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

namespace emantle {

namespace {

struct NamedCharacter {
    const char* name;
    char value;
};

constexpr NamedCharacter kCharacters[] = {
    {"<NUL>", 0},  {"<SOH>", 1},  {"<STX>", 2},  {"<ETX>", 3},  {"<EOT>", 4},  {"<ENQ>", 5},  {"<ACK>", 6},
    {"<BEL>", 7},  {"<BS>", 8},   {"<HT>", 9},   {"<TAB>", 9},  {"<LF>", 10},  {"<NL>", 10},  {"<VT>", 11},
    {"<FF>", 12},  {"<CR>", 13},  {"<SO>", 14},  {"<SI>", 15},  {"<DLE>", 16}, {"<DC1>", 17}, {"<DC2>", 18},
    {"<DC3>", 19}, {"<DC4>", 20}, {"<NAK>", 21}, {"<SYN>", 22}, {"<ETB>", 23}, {"<CAN>", 24}, {"<EM>", 25},
    {"<SUB>", 26}, {"<ESC>", 27}, {"<FS>", 28},  {"<GS>", 29},  {"<RS>", 30},  {"<US>", 31},  {"<DEL>", 127},
};
static_assert(std::size(kCharacters) == 35);

/* A list of a few characters may stand for any number of values: more than this is taken for a mistake. */
constexpr std::size_t kMostNumbers = std::size_t{1} << 24;

const NamedCharacter* characterNamedAt(const char* s) noexcept
{
    for (const NamedCharacter& character : kCharacters) {
        if (std::strncmp(s, character.name, std::strlen(character.name)) == 0) {
            return &character;
        }
    }
    return nullptr;
}

/* The slice in the form of the C library: exponents with "D" become ones with "E". Null where there is no slice. */
HeapPtr<char> numberText(const char* s, long start, long length) noexcept
{
    HeapPtr<char> slice(s == nullptr || start < 0 ? nullptr : estr_StringToA(s, start, length, nullptr));
    if (slice != nullptr) {
        std::replace(slice.get(), slice.get() + std::strlen(slice.get()), 'D', 'E');
    }
    return slice;
}

/* One end of a range, as atoi reads it, but with a number that does not fit as a failure. */
std::int32_t bound(const std::string& text)
{
    const long value = std::strtol(text.c_str(), nullptr, 10);
    require(value != 0 && value >= std::numeric_limits<std::int32_t>::min() &&
                value <= std::numeric_limits<std::int32_t>::max(),
            "List parse error");
    return static_cast<std::int32_t>(value);
}

void appendItem(std::vector<std::int32_t>& numbers, const std::string& item)
{
    const std::size_t colon = item.find(':');
    const std::int64_t first = bound(item);
    const std::int64_t last = colon == std::string::npos ? first : bound(item.substr(colon + 1));
    require(last < first || static_cast<std::size_t>(last - first) < kMostNumbers - numbers.size(), "List parse error");
    for (std::int64_t value = first; value <= last; ++value) {
        numbers.push_back(static_cast<std::int32_t>(value));
    }
}

std::vector<std::int32_t> numbersOf(const char* s, const char* delimiters)
{
    std::vector<std::int32_t> numbers;
    for (s += std::strspn(s, delimiters); *s != 0; s += std::strspn(s, delimiters)) {
        const std::string item(s, std::strcspn(s, delimiters));
        appendItem(numbers, item);
        s += item.size();
    }
    return numbers;
}

void clear(char* buf) noexcept
{
    if (buf != nullptr) {
        *buf = 0;
    }
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API Emsc_Boolean estr_StringToBoolean(const char* s)
{
    for (const char* word : {"yes", "Yes", "YES", "true", "True", "TRUE", "on", "On", "ON", "1"}) {
        if (s != nullptr && std::strcmp(s, word) == 0) {
            return 1;
        }
    }
    return 0;
}

EMANTLE_API long estr_StringToL(const char* s, long start, long length)
{
    const HeapPtr<char> text = numberText(s, start, length);
    return text == nullptr ? 0 : std::strtol(text.get(), nullptr, 10);
}

EMANTLE_API double estr_StringToD(const char* s, long start, long length)
{
    const HeapPtr<char> text = numberText(s, start, length);
    return text == nullptr ? std::numeric_limits<double>::quiet_NaN() : std::strtod(text.get(), nullptr);
}

EMANTLE_API char estr_StringToChar(const char* s)
{
    if (s == nullptr || *s == 0 || s[1] == 0) {
        return s == nullptr ? '\0' : *s;
    }
    const NamedCharacter* named = characterNamedAt(s);
    return named == nullptr ? '\0' : named->value;
}

EMANTLE_API char* estr_MetaStringToString(char* dst, const char* src)
{
    if (dst == nullptr || src == nullptr) {
        return dst;
    }
    char* to = dst;
    while (*src != 0) {
        const NamedCharacter* named = *src == '<' ? characterNamedAt(src) : nullptr;
        if (named == nullptr) {
            *to++ = *src++;
        } else {
            *to++ = named->value;
            src += std::strlen(named->name);
        }
    }
    *to = 0;
    return dst;
}

EMANTLE_API long estr_StringToIntList(const char* s, const char* delimiters, int32_t** list, Eerr_ErrorReport** err)
{
    if (list != nullptr) {
        *list = nullptr;
    }
    return guarded<long>(err, "estr_StringToIntList", -1, [&]() -> long {
        require(s != nullptr && list != nullptr, "Args");
        std::vector<std::int32_t> numbers;
        try {
            numbers = numbersOf(s, delimiters == nullptr ? "" : delimiters);
        } catch (const std::bad_alloc&) {
            fail("Memory allocation error");
        }
        HeapPtr<std::int32_t> array = allocate<std::int32_t>(numbers.size(), "Memory allocation error");
        std::copy(numbers.begin(), numbers.end(), array.get());
        *list = array.release();
        return static_cast<long>(numbers.size());
    });
}

EMANTLE_API const char* estr_GetLine(const char* s, char* buf, long size)
{
    clear(buf);
    if (s == nullptr || buf == nullptr || size < 1 || *s == 0) {
        return nullptr;
    }
    char* const end = buf + size - 1;
    for (; *s != 0 && *s != '\n'; ++s) {
        if (*s != '\r' && buf != end) {
            *buf++ = *s;
        }
    }
    *buf = 0;
    return *s == '\n' ? s + 1 : s;
}

EMANTLE_API const char* estr_GetQuotedString(const char* s, char* buf, long size)
{
    clear(buf);
    const char* open = s == nullptr || buf == nullptr || size < 1 ? nullptr : std::strchr(s, '"');
    const char* close = open == nullptr ? nullptr : std::strchr(open + 1, '"');
    if (close == nullptr) {
        return nullptr;
    }
    const long length = std::min<long>(close - open - 1, size - 1);
    std::memcpy(buf, open + 1, static_cast<std::size_t>(length));
    buf[length] = 0;
    return close + 1;
}
