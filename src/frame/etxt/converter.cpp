#include "frame/guard/failure.h"

#include <emantle/frame/eerr.h>
#include <emantle/frame/etxt/convert.h>

#include <cwchar>
#include <string>
#include <type_traits>

namespace emantle {

namespace {

using Facet = std::codecvt<wchar_t, char, std::mbstate_t>;

/* Reports name the width that is made first. */
template <class To>
[[noreturn]] void refuse()
{
    const std::string function = std::is_same_v<To, char> ? "basic_converter<char,wchar_t>::convert"
                                                          : "basic_converter<wchar_t,char>::convert";
    EerrException(".\\etxt", function.c_str()).Throw(__LINE__, (function + " failed").c_str());
}

/* Runs one direction of a facet over the whole text, in pieces of a fixed size. `step` converts from the position on.
 */
template <class To, class From, class Step>
std::basic_string<To> converted(const std::basic_string<From>& text, Step step)
{
    std::basic_string<To> result;
    const From* from = text.data();
    const From* const end = from + text.size();
    std::mbstate_t state{};
    while (from != end) {
        To piece[256];
        To* to = piece;
        const From* const before = from;
        const auto answer = step(state, before, end, from, piece, piece + std::size(piece), to);
        if (answer == std::codecvt_base::error || answer == std::codecvt_base::noconv ||
            (from == before && to == piece)) {
            refuse<To>();
        }
        result.append(piece, to);
    }
    /* A facet may hold back the first bytes of a character that the text does not end. */
    if (std::mbsinit(&state) == 0) {
        refuse<To>();
    }
    return result;
}

template <class To, class From> To convertedCharacter(From character, const std::locale& locale)
{
    const auto& facet = std::use_facet<std::ctype<wchar_t>>(locale);
    if constexpr (std::is_same_v<From, char>) {
        return facet.widen(character);
    } else {
        return facet.narrow(character, '?');
    }
}

} // namespace

} // namespace emantle

using namespace emantle;

namespace NUBRUtil {

template <class From, class To> basic_converter<From, To>::basic_converter() = default;

template <class From, class To> basic_converter<From, To>::basic_converter(const std::locale& locale) : locale_(locale)
{}

template <class From, class To> basic_converter<From, To>::~basic_converter() = default;

template <class From, class To>
std::basic_string<To> basic_converter<From, To>::convert(const std::basic_string<From>& text) const
{
    const auto& facet = std::use_facet<Facet>(locale_);
    return converted<To>(text, [&](auto&&... arguments) {
        if constexpr (std::is_same_v<From, char>) {
            return facet.in(arguments...);
        } else {
            return facet.out(arguments...);
        }
    });
}

template <class From, class To> To basic_converter<From, To>::convert(From character) const
{
    return convertedCharacter<To>(character, locale_);
}

template class basic_converter<char, wchar_t>;
template class basic_converter<wchar_t, char>;

} // namespace NUBRUtil

namespace etxt {

std::wstring widen(const std::string& text)
{
    return NUBRUtil::basic_converter<char, wchar_t>(std::locale::classic()).convert(text);
}

std::wstring widen(const std::wstring& text)
{
    return text;
}

std::string narrow(const std::wstring& text)
{
    return NUBRUtil::basic_converter<wchar_t, char>(std::locale::classic()).convert(text);
}

std::string narrow(const std::string& text)
{
    return text;
}

std::string twiden(const std::string& text)
{
    return text;
}

std::string twiden(const std::wstring& text)
{
    return narrow(text);
}

} // namespace etxt
