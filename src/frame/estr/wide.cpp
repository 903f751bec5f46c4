#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/frame/estr/wide.h>
#include <emantle/frame/etxt/convert.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace emantle {

namespace {

std::size_t lengthOf(const Etxt_TextU* s) noexcept
{
    return s == nullptr ? 0 : std::char_traits<Etxt_TextU>::length(s);
}

/* The unit behind \u, or -1 where no four hexadecimal digits follow. */
int escapedUnit(std::string_view text) noexcept
{
    if (text.size() < 6 || text[0] != '\\' || text[1] != 'u') {
        return -1;
    }
    int unit = 0;
    for (const char digit : text.substr(2, 4)) {
        const int lower = digit | 0x20;
        if (digit >= '0' && digit <= '9') {
            unit = unit * 16 + (digit - '0');
        } else if (lower >= 'a' && lower <= 'f') {
            unit = unit * 16 + (lower - 'a' + 10);
        } else {
            return -1;
        }
    }
    return unit;
}

std::u16string decoded(std::string_view text)
{
    std::u16string units;
    while (!text.empty()) {
        std::size_t taken = 1;
        auto unit = static_cast<char16_t>(static_cast<unsigned char>(text[0]));
        if (const int escaped = escapedUnit(text); escaped >= 0) {
            unit = static_cast<char16_t>(escaped);
            taken = 6;
        } else if (text.substr(0, 2) == "\\\\") {
            taken = 2;
        }
        units += unit;
        text.remove_prefix(taken);
    }
    return units;
}

Etxt_TextU* duplicate(const Etxt_TextU* s, std::size_t length) noexcept
{
    auto* copy = static_cast<Etxt_TextU*>(emsc_HeapMalloc(static_cast<long>((length + 1) * sizeof(Etxt_TextU))));
    if (copy != nullptr) {
        std::copy_n(s, length, copy);
    }
    return copy;
}

/* Owns a wide list that is being made; its items are as many as `count`. */
struct WideListDeleter {
    void operator()(Estr_StringListU* list) const noexcept
    {
        for (std::int32_t index = 0; list->strings != nullptr && index < list->count; ++index) {
            emsc_HeapFree(list->strings[index]);
        }
        emsc_HeapFree(list->strings);
        emsc_HeapFree(list);
    }
};

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API Etxt_TextU* estr_DuplicateU(const Etxt_TextU* s)
{
    return s == nullptr ? nullptr : duplicate(s, lengthOf(s));
}

EMANTLE_API Etxt_TextU* estr_UnicodeStrDup(const Etxt_TextU* s)
{
    return estr_DuplicateU(s);
}

EMANTLE_API long estr_UnicodeStrLen(const Etxt_TextU* s)
{
    return static_cast<long>(lengthOf(s));
}

EMANTLE_API Etxt_TextU* estr_UnicodeStrCat(Etxt_TextU* dst, const Etxt_TextU* src)
{
    if (dst != nullptr && src != nullptr) {
        std::copy_n(src, lengthOf(src) + 1, dst + lengthOf(dst));
    }
    return dst;
}

EMANTLE_API Etxt_TextU* estr_UnicodeStrNCopy(Etxt_TextU* dst, const Etxt_TextU* src, long n)
{
    if (dst != nullptr) {
        for (long index = 0; index < n; ++index) {
            const Etxt_TextU unit = src == nullptr ? u'\0' : *src;
            dst[index] = unit;
            src += src != nullptr && unit != 0 ? 1 : 0;
        }
    }
    return dst;
}

EMANTLE_API char* estr_Unicode2Ascii(const Etxt_TextU* src)
{
    return etxt_Text_Unicode2Ascii(nullptr, src, 0);
}

EMANTLE_API Etxt_TextU* estr_Ascii2Unicode(const char* src)
{
    return etxt_Text_Ascii2Unicode(nullptr, src, 0);
}

EMANTLE_API char* estr_EncodeUnicode(const Etxt_TextU* src)
{
    return guarded<char*>(nullptr, "estr_EncodeUnicode", nullptr, [&]() -> char* {
        if (src == nullptr) {
            return nullptr;
        }
        std::string text;
        for (const Etxt_TextU* unit = src; *unit != 0; ++unit) {
            if (*unit == u'\\') {
                text += "\\\\";
            } else if (*unit >= 0x20 && *unit < 0x7F) {
                text += static_cast<char>(*unit);
            } else {
                text += formatted("\\u%04X", static_cast<unsigned>(*unit));
            }
        }
        return heapText(text).release();
    });
}

EMANTLE_API Etxt_TextU* estr_DecodeUnicode(const char* src)
{
    return guarded<Etxt_TextU*>(nullptr, "estr_DecodeUnicode", nullptr, [&]() -> Etxt_TextU* {
        if (src == nullptr) {
            return nullptr;
        }
        const std::u16string units = decoded(src);
        return duplicate(units.data(), units.size());
    });
}

EMANTLE_API Estr_StringList* estr_StringListU2A(const Estr_StringListU* list, Eerr_ErrorReport** err)
{
    return guarded<Estr_StringList*>(err, "estr_StringListU2A", nullptr, [&](EerrException& scope) -> Estr_StringList* {
        if (list == nullptr) {
            return nullptr;
        }
        EstrStringList narrow(checked(scope, estr_StringListCreate(list->count, scope)));
        for (std::int32_t index = 0; index < list->count; ++index) {
            narrow->strings[index] = estr_Unicode2Ascii(list->strings[index]);
            require(list->strings[index] == nullptr || narrow->strings[index] != nullptr, "No memory");
        }
        return narrow.Release();
    });
}

EMANTLE_API Estr_StringListU* estr_StringListA2U(const Estr_StringList* list, Eerr_ErrorReport** err)
{
    return guarded<Estr_StringListU*>(err, "estr_StringListA2U", nullptr, [&]() -> Estr_StringListU* {
        if (list == nullptr) {
            return nullptr;
        }
        std::unique_ptr<Estr_StringListU, WideListDeleter> wide(allocate<Estr_StringListU>().release());
        wide->strings = allocate<Etxt_TextU*>(static_cast<std::size_t>(list->count)).release();
        wide->allocated = list->count;
        for (; wide->count < list->count; ++wide->count) {
            const char* item = list->strings[wide->count];
            wide->strings[wide->count] = estr_Ascii2Unicode(item);
            require(item == nullptr || wide->strings[wide->count] != nullptr, "No memory");
        }
        return wide.release();
    });
}
