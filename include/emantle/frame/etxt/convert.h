#ifndef EMANTLE_FRAME_ETXT_CONVERT_H
#define EMANTLE_FRAME_ETXT_CONVERT_H

#include <emantle/frame/export.h>

/* etxt: conversion between narrow (UTF-8) and wide (UTF-16) text.
 *  1. With `dst` null the result is a new heap text, the caller's. With `dst` set it is filled, and returned, only where
 *     the text with its terminator takes at most `dstBytes` bytes; else the result is null, without a report.
 *  2. A null source gives null. Malformed sequences and lone surrogates become U+FFFD.
 *  3. Null is also the answer when memory is out. */

EMANTLE_API Etxt_TextU* etxt_Text_Ascii2Unicode(Etxt_TextU* dst, const char* src, long dstBytes);
EMANTLE_API char* etxt_Text_Unicode2Ascii(char* dst, const Etxt_TextU* src, long dstBytes);

/* Bytes for the wide form of a narrow text: twice its length, and the terminator's 2. Null gives 0. */
EMANTLE_API long etxt_Text_UBufferSizeForAText(const char* src);
/* Bytes for the narrow form of a wide text with its terminator. Null gives 0. */
EMANTLE_API long etxt_Text_ABufferSizeForUText(const Etxt_TextU* src);

/* Conversion in the run-time library's locale, to a new heap text. Where the library refuses the text, a report is
 * printed and the result is what was converted so far. */
EMANTLE_API char* etxt_Text_Unicode2UnixMBS(const Etxt_TextU* src);
EMANTLE_API Etxt_TextU* etxt_Text_UnixMBS2Unicode(const char* src);

#ifdef __cplusplus

#include <locale>
#include <string>

namespace NUBRUtil {

/* Converts whole strings and single characters by the codecvt and ctype facets of a locale. A string that the facet
 * refuses throws an EerrException; a character without a narrow form becomes '?'. */
template <class From, class To>
class EMANTLE_CLASS basic_converter {
public:
    basic_converter();
    explicit basic_converter(const std::locale& locale);
    virtual ~basic_converter();

    virtual std::basic_string<To> convert(const std::basic_string<From>& text) const;
    virtual To convert(From character) const;

private:
    std::locale locale_;
};

extern template class basic_converter<char, wchar_t>;
extern template class basic_converter<wchar_t, char>;

}  // namespace NUBRUtil

/* String forms, in the classic locale. `twiden` gives the build's width, which is narrow. */
namespace etxt {
EMANTLE_CLASS std::wstring widen(const std::string& text);
EMANTLE_CLASS std::wstring widen(const std::wstring& text);
EMANTLE_CLASS std::string narrow(const std::wstring& text);
EMANTLE_CLASS std::string narrow(const std::string& text);
EMANTLE_CLASS std::string twiden(const std::string& text);
EMANTLE_CLASS std::string twiden(const std::wstring& text);
}  // namespace etxt

#endif
#endif
