#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/frame/etxt/convert.h>

#include <boost/locale/encoding_utf.hpp>
#include <cstring>
#include <cwchar>

namespace emantle {

namespace {

using boost::locale::utf::code_point;
using boost::locale::utf::illegal;
using boost::locale::utf::incomplete;
using boost::locale::utf::utf_traits;

constexpr code_point kReplacement = 0xFFFD;

/* Writes `source` in the other width to `target`, which may be null to measure. Returns the units, the terminator not
 * among them. */
template <class To, class From>
std::size_t transcode(To* target, const From* source)
{
    const From* end = source + std::char_traits<From>::length(source);
    std::size_t units = 0;
    while (source != end) {
        const From* start = source;
        code_point point = utf_traits<From>::decode(source, end);
        if (point == illegal || point == incomplete) {
            point = kReplacement;
            source = start + 1;
        }
        if (target != nullptr) {
            utf_traits<To>::encode(point, target + units);
        }
        units += static_cast<std::size_t>(utf_traits<To>::width(point));
    }
    return units;
}

template <class To, class From>
To* convert(To* dst, const From* src, long dstBytes)
{
    if (src == nullptr) {
        return nullptr;
    }
    const std::size_t units = transcode<To>(nullptr, src) + 1;
    if (dst == nullptr) {
        dst = static_cast<To*>(emsc_HeapMalloc(static_cast<long>(units * sizeof(To))));
        if (dst == nullptr) {
            return nullptr;
        }
    } else if (dstBytes < 0 || units * sizeof(To) > static_cast<std::size_t>(dstBytes)) {
        return nullptr;
    }
    transcode(dst, src);
    dst[units - 1] = To();
    return dst;
}

}  // namespace

}  // namespace emantle

using namespace emantle;

EMANTLE_API Etxt_TextU* etxt_Text_Ascii2Unicode(Etxt_TextU* dst, const char* src, long dstBytes)
{
    return convert(dst, src, dstBytes);
}

EMANTLE_API char* etxt_Text_Unicode2Ascii(char* dst, const Etxt_TextU* src, long dstBytes)
{
    return convert(dst, src, dstBytes);
}

EMANTLE_API long etxt_Text_UBufferSizeForAText(const char* src)
{
    return src == nullptr ? 0 : static_cast<long>(std::strlen(src)) * 2 + 2;
}

EMANTLE_API long etxt_Text_ABufferSizeForUText(const Etxt_TextU* src)
{
    return src == nullptr ? 0 : static_cast<long>(transcode<char>(nullptr, src)) + 1;
}

EMANTLE_API char* etxt_Text_Unicode2UnixMBS(const Etxt_TextU* src)
{
    HeapPtr<char> text;
    guarded(nullptr, "etxt_Text_Unicode2UnixMBS", [&] {
        if (src == nullptr) {
            return;
        }
        std::wstring wide(transcode<wchar_t>(nullptr, src), L'\0');
        transcode(wide.data(), src);
        const std::size_t size = wide.size() * static_cast<std::size_t>(MB_CUR_MAX) + 1;
        text = allocate<char>(size, "emsc_New failed");
        const wchar_t* from = wide.c_str();
        std::mbstate_t state{};
        require(std::wcsrtombs(text.get(), &from, size, &state) != static_cast<std::size_t>(-1), "wcstombs failed");
    });
    return text.release();
}

EMANTLE_API Etxt_TextU* etxt_Text_UnixMBS2Unicode(const char* src)
{
    HeapPtr<Etxt_TextU> text;
    guarded(nullptr, "etxt_Text_UnixMBS2Unicode", [&] {
        if (src == nullptr) {
            return;
        }
        std::wstring wide(std::strlen(src), L'\0');
        const char* from = src;
        std::mbstate_t state{};
        const std::size_t length = std::mbsrtowcs(wide.data(), &from, wide.size() + 1, &state);
        /* A refusal leaves what it converted in front of the zeros. */
        text = allocate<Etxt_TextU>(transcode<Etxt_TextU>(nullptr, wide.c_str()) + 1, "emsc_New failed");
        transcode(text.get(), wide.c_str());
        require(length != static_cast<std::size_t>(-1), "mbstowcs failed");
    });
    return text.release();
}
