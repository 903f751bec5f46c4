#include <emantle/frame/etxt.h>

#include "frame/memory/heap_ptr.h"
#include "platform/faults.h"

#include <emantle/frame/eerr.h>
#include <gtest/gtest.h>

#include <clocale>
#include <string>

using namespace emantle;

namespace {

std::u16string wideOf(const std::string& text)
{
    const HeapPtr<Etxt_TextU> wide(etxt_Text_Ascii2Unicode(nullptr, text.c_str(), 0));
    return wide == nullptr ? u"(null)" : wide.get();
}

std::string narrowOf(const std::u16string& text)
{
    const HeapPtr<char> narrow(etxt_Text_Unicode2Ascii(nullptr, text.c_str(), 0));
    return narrow == nullptr ? "(null)" : narrow.get();
}

/* Straight from the definition of the encoding, one character at a time. */
std::string utf8Of(char32_t c)
{
    const auto tail = [](char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3F)); };
    if (c < 0x80) return {static_cast<char>(c)};
    if (c < 0x800) return {static_cast<char>(0xC0 | c >> 6), tail(c)};
    if (c < 0x10000) return {static_cast<char>(0xE0 | c >> 12), tail(c >> 6), tail(c)};
    return {static_cast<char>(0xF0 | c >> 18), tail(c >> 12), tail(c >> 6), tail(c)};
}

std::u16string utf16Of(char32_t c)
{
    if (c < 0x10000) return {static_cast<char16_t>(c)};
    return {static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)), static_cast<char16_t>(0xDC00 + (c & 0x3FF))};
}

}  // namespace

TEST(TextConvert, EveryCharacterCrossesBothWays)
{
    for (char32_t c = 1; c <= 0x10FFFF; c += c < 0x3000 || c > 0x10FF00 ? 1 : 61) {
        if (c >= 0xD800 && c < 0xE000) {
            continue;
        }
        ASSERT_EQ(wideOf("a" + utf8Of(c)), u"a" + utf16Of(c)) << static_cast<long>(c);
        ASSERT_EQ(narrowOf(utf16Of(c) + u"z"), utf8Of(c) + "z") << static_cast<long>(c);
    }
}

TEST(TextConvert, MalformedBytesBecomeTheReplacement)
{
    const struct {
        const char* bytes;
        const char16_t* expected;
        const char* why;
    } cases[] = {
        {"a\x80" "b", u"a\uFFFDb", "a tail without a head"},
        {"\xC3", u"\uFFFD", "cut behind the head"},
        {"\xE2\x82" "a", u"\uFFFD\uFFFDa", "cut before the last tail"},
        {"\xC0\xAF", u"\uFFFD\uFFFD", "longer than needed, two bytes"},
        {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD", "longer than needed, three bytes"},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", "a surrogate in narrow text"},
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", "above the last character"},
        {"\xFF\xFE", u"\uFFFD\uFFFD", "bytes that no text has"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(wideOf(each.bytes), each.expected) << each.why;
        EXPECT_LE(static_cast<long>(2 * wideOf(each.bytes).size() + 2), etxt_Text_UBufferSizeForAText(each.bytes)) << each.why;
    }
}

TEST(TextConvert, LoneSurrogatesBecomeTheReplacement)
{
    EXPECT_EQ(narrowOf({0xD800}), "\xEF\xBF\xBD");
    EXPECT_EQ(narrowOf({0xD800, u'a'}), "\xEF\xBF\xBD" "a");
    EXPECT_EQ(narrowOf({0xDC00, u'a'}), "\xEF\xBF\xBD" "a");
    EXPECT_EQ(narrowOf({0xD800, 0xD800, 0xDC00}), "\xEF\xBF\xBD\xF0\x90\x80\x80");
}

TEST(TextConvert, FillsABufferOnlyWhereTheTextFits)
{
    Etxt_TextU wide[5] = {9, 9, 9, 9, 9};
    EXPECT_EQ(etxt_Text_Ascii2Unicode(wide, "abc", 7), nullptr);
    EXPECT_EQ(etxt_Text_Ascii2Unicode(wide, "abc", -1), nullptr);
    EXPECT_EQ(wide[0], 9);
    EXPECT_EQ(etxt_Text_Ascii2Unicode(wide, "abc", 8), wide);
    EXPECT_EQ(std::u16string(wide), u"abc");
    EXPECT_EQ(wide[4], 9);
    char narrow[5] = {9, 9, 9, 9, 9};
    EXPECT_EQ(etxt_Text_Unicode2Ascii(narrow, u"\u20AC", 3), nullptr);
    EXPECT_EQ(etxt_Text_Unicode2Ascii(narrow, u"\u20AC", 4), narrow);
    EXPECT_STREQ(narrow, "\xE2\x82\xAC");
    EXPECT_EQ(narrow[4], 9);
}

TEST(TextConvert, SizesAndNull)
{
    EXPECT_EQ(etxt_Text_UBufferSizeForAText("abc"), 8);
    EXPECT_EQ(etxt_Text_UBufferSizeForAText(""), 2);
    EXPECT_EQ(etxt_Text_ABufferSizeForUText(u"a\u20AC"), 5);
    EXPECT_EQ(etxt_Text_UBufferSizeForAText(nullptr), 0);
    EXPECT_EQ(etxt_Text_ABufferSizeForUText(nullptr), 0);
    EXPECT_EQ(etxt_Text_Ascii2Unicode(nullptr, nullptr, 10), nullptr);
    EXPECT_EQ(etxt_Text_Unicode2Ascii(nullptr, nullptr, 10), nullptr);
    EXPECT_EQ(etxt_Text_Unicode2UnixMBS(nullptr), nullptr);
    EXPECT_EQ(etxt_Text_UnixMBS2Unicode(nullptr), nullptr);
    platform::FaultInjection noMemory(platform::Operation::allocate, 1, platform::Outcome::noMemory());
    EXPECT_EQ(etxt_Text_Ascii2Unicode(nullptr, "abc", 0), nullptr);
}

TEST(TextConvert, LocaleForms)
{
    const HeapPtr<char> narrow(etxt_Text_Unicode2UnixMBS(u"abc"));
    EXPECT_STREQ(narrow.get(), "abc");
    const HeapPtr<Etxt_TextU> wide(etxt_Text_UnixMBS2Unicode("abc"));
    EXPECT_EQ(std::u16string(wide.get()), u"abc");
    testing::internal::CaptureStderr();
    const HeapPtr<char> refused(etxt_Text_Unicode2UnixMBS(u"a\u20ACb"));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("wcstombs failed"), std::string::npos);
    EXPECT_STREQ(refused.get(), "a");
}

TEST(TextConvert, LocaleFormsInUtf8)
{
    const std::string before = std::setlocale(LC_CTYPE, nullptr);
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    const Etxt_TextU lone[] = {u'a', 0xD800, u'b', 0xD83D, 0xDE00, 0};
    const HeapPtr<char> narrow(etxt_Text_Unicode2UnixMBS(lone));
    const HeapPtr<Etxt_TextU> wide(etxt_Text_UnixMBS2Unicode("a\xF0\x9F\x98\x80" "b"));
    testing::internal::CaptureStderr();
    const HeapPtr<Etxt_TextU> refused(etxt_Text_UnixMBS2Unicode("a\xF0\x9F\x98\x80\xFF" "b"));
    const std::string told = testing::internal::GetCapturedStderr();
    std::setlocale(LC_CTYPE, before.c_str());
    EXPECT_STREQ(narrow.get(), "a\xEF\xBF\xBD" "b\xF0\x9F\x98\x80") << "a lone surrogate is replaced";
    EXPECT_EQ(std::u16string(wide.get()), u"a\U0001F600b");
    EXPECT_NE(told.find("mbstowcs failed"), std::string::npos) << told;
    EXPECT_EQ(std::u16string(refused.get()), u"a\U0001F600") << "what was converted so far";
}

TEST(TextHolder, OwnsItsPointer)
{
    EtxtTextA text(heapText("one").release());
    EXPECT_TRUE(text ? true : false);
    text = heapText("two").release();
    const EtxtTextA copy(text);
    EXPECT_NE(static_cast<const char*>(copy), static_cast<const char*>(text));
    EtxtTextA assigned(heapText("old").release());
    assigned = copy;
    const HeapPtr<char> released(text.Release());
    EXPECT_TRUE(!text);
    EXPECT_STREQ(released.get(), "two");
    EXPECT_STREQ(static_cast<const char*>(assigned), "two");
    assigned = text;
    EXPECT_TRUE(!assigned);
}

TEST(TextHolder, CopyWithoutMemoryThrowsAndKeepsTheTarget)
{
    const EtxtTextA source(heapText("new").release());
    EtxtTextA target(heapText("old").release());
    platform::FaultInjection noMemory(platform::Operation::allocate, 1, platform::Outcome::noMemory());
    try {
        target = source;
        FAIL();
    } catch (EerrException& thrown) {
        EXPECT_STREQ(thrown.get_What(), "emsc_New failed\n");
        thrown.Clear();
    }
    EXPECT_STREQ(static_cast<const char*>(target), "old");
}
