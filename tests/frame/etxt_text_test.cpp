#include <emantle/frame/eerr.h>
#include <emantle/frame/etxt.h>

#include <cstdarg>
#include <gtest/gtest.h>
#include <limits>
#include <locale>
#include <string>

namespace {

int boundedPrint(char* dst, long size, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = etxt_Text_vsprintf_s(dst, size, format, arguments);
    va_end(arguments);
    return length;
}

/* The text of the report that `action` throws. */
template <class Action>
std::string refusal(Action action)
{
    try {
        action();
        return "nothing thrown";
    } catch (EerrException& thrown) {
        const std::string text = thrown.get_What();
        thrown.Clear();
        return text;
    }
}

} // namespace

TEST(TextWrappers, AppendOnlyWhatFits)
{
    char text[8] = "ab";
    EXPECT_STREQ(etxt_Text_strcat(text, 4, "cdef"), "abc");
    EXPECT_STREQ(etxt_Text_strcat(text, 4, "x"), "abc");
    EXPECT_STREQ(etxt_Text_strcat(text, 2, "x"), "abc") << "a capacity that is already passed";
    EXPECT_STREQ(etxt_Text_strcat(text, 0, "x"), "abc");
    EXPECT_STREQ(etxt_Text_strcat_unchecked(text, "de"), "abcde");
    EXPECT_STREQ(etxt_Text_strncat(text, "xyz", 1), "abcdex");
    EXPECT_STREQ(etxt_Text_strncat(text, "xyz", -1), "abcdex");
    EXPECT_EQ(etxt_Text_strncat(nullptr, "x", 1), nullptr);
}

TEST(TextWrappers, TakeNullsAndOddCharacters)
{
    char buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(etxt_Text_strncpy(buffer, "abcd", 2), buffer);
    EXPECT_EQ(std::string(buffer, 4), "ab##");
    EXPECT_EQ(etxt_Text_strncpy(buffer, nullptr, 2), nullptr);
    EXPECT_EQ(etxt_Text_strncpy(buffer, "a", -1), nullptr);
    Etxt_TextU wide[4] = {9, 9, 9, 9};
    EXPECT_EQ(etxt_Text_strncpyU(wide, u"a", 3), wide);
    EXPECT_EQ(std::u16string(wide, 4), std::u16string({u'a', 0, 0, 9})) << "padded, counted in units";
    EXPECT_EQ(etxt_Text_strncpyU(wide, nullptr, 3), nullptr);
    EXPECT_EQ(etxt_Text_strlen(nullptr) + etxt_Text_strlenU(nullptr), 0);
    for (const int c : {-1, -100, 256, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_FALSE(etxt_Text_isalpha(c) || etxt_Text_isspace(c) || etxt_Text_isprint(c)) << c;
        EXPECT_EQ(etxt_Text_toupper(c), c);
    }
    EXPECT_EQ(etxt_Text__stricmp(nullptr, "a"), 2147483647);
    EXPECT_EQ(etxt_Text__stricmp("aB", "Ab"), 0);
    EXPECT_LT(etxt_Text__strnicmp("ax", "Ay", 2), 0);
    EXPECT_EQ(etxt_Text__strnicmp("ax", "Ay", 1), 0);
}

TEST(TextWrappers, ABoundedPrintThatDoesNotFitIsEmpty)
{
    char buffer[4];
    EXPECT_EQ(boundedPrint(buffer, 4, "%d", 123), 3);
    EXPECT_EQ(boundedPrint(buffer, 4, "%d", 1234), -1);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(boundedPrint(buffer, 0, "x"), -1);
}

TEST(Converter, WholeStringsWithZerosAndLongOnes)
{
    const std::string text = std::string("a\0b", 3) + std::string(1000, 'c');
    const std::wstring wide = etxt::widen(text);
    EXPECT_EQ(wide, std::wstring(L"a\0b", 3) + std::wstring(1000, L'c'));
    EXPECT_EQ(etxt::narrow(wide), text);
    EXPECT_EQ(etxt::twiden(wide), text);
    EXPECT_EQ(etxt::narrow(std::wstring()), "");
}

TEST(Converter, FollowsItsLocale)
{
    const std::locale utf8("C.UTF-8");
    const NUBRUtil::basic_converter<char, wchar_t> widen(utf8);
    const NUBRUtil::basic_converter<wchar_t, char> narrow(utf8);
    const std::string text = std::string(255, 'x') + "\xE2\x82\xAC" + std::string(300, 'y');
    EXPECT_EQ(widen.convert(text)[255], L'\x20AC') << "a character across the end of a piece";
    EXPECT_EQ(narrow.convert(widen.convert(text)), text);
    const char* const noWide = "basic_converter<wchar_t,char>::convert failed\n";
    EXPECT_EQ(refusal([&] { widen.convert(std::string("\xE2\x82")); }), noWide) << "cut";
    EXPECT_EQ(refusal([&] { widen.convert(std::string("a\xFFz")); }), noWide);
    EXPECT_EQ(refusal([&] { etxt::narrow(L"\x20AC"); }), "basic_converter<char,wchar_t>::convert failed\n");
    EXPECT_EQ(narrow.convert(L'\x20AC'), '?');
    EXPECT_EQ(widen.convert('a'), L'a');
}
