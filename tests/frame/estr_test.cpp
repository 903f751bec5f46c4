#include "platform/faults.h"
#include "support/chain.h"

#include <emantle/frame/edbl.h>
#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/estr.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using emantle::platform::FaultInjection;
using emantle::platform::Operation;
using emantle::platform::Outcome;

namespace {

/* The text of a heap text, which is freed; "(null)" for null. */
std::string taken(char* text)
{
    const std::string copy = text == nullptr ? "(null)" : text;
    emsc_HeapFree(text);
    return copy;
}

std::vector<std::string> itemsOf(const Estr_StringList* list)
{
    std::vector<std::string> items;
    for (std::int32_t index = 0; index < list->count; ++index) {
        items.push_back(list->strings[index] == nullptr ? "(null)" : list->strings[index]);
    }
    return items;
}

Estr_StringList* listOf(const std::vector<const char*>& items)
{
    Estr_StringList* list = estr_StringListCreate(0, nullptr);
    for (const char* item : items) {
        estr_StringListAppend(list, item, nullptr);
    }
    return list;
}

using Texts = std::vector<std::string>;

} // namespace

TEST(Environment, AnApplicationDomainHasVariablesOfItsOwn)
{
    estr_PutEnv("APPDOMAIN", "X");
    estr_PutEnv("X_QEL_HOME", "domain");
    estr_PutEnv("X_qel_home", "lower");
    estr_PutEnv("QEL_HOME", "plain");
    EXPECT_EQ(taken(estr_GetEnv("QEL_HOME")), "domain");
    EXPECT_EQ(taken(estr_GetEnv("qel_home")), "lower");
    estr_PutEnv("X_QEL_HOME", nullptr);
    EXPECT_FALSE(estr_CheckEnv("QEL_HOME"));
    estr_PutEnv("APPDOMAIN", std::string(261, 'X').c_str());
    EXPECT_EQ(taken(estr_GetEnv("QEL_HOME")), "plain");
    estr_PutEnv("APPDOMAIN", "");
    EXPECT_EQ(taken(estr_GetEnv("QEL_HOME")), "plain");
    const std::string longValue(5000, 'v');
    estr_PutEnv("EMANTLE_LONG", longValue.c_str());
    EXPECT_EQ(taken(estr_GetEnv("EMANTLE_LONG")), longValue);
    EXPECT_EQ(estr_PutEnv("A=B", "c"), -1);
    EXPECT_EQ(estr_GetEnv(nullptr), nullptr);
    for (const char* name : {"X_qel_home", "QEL_HOME", "EMANTLE_LONG"}) {
        estr_PutEnv(name, nullptr);
    }
}

TEST(Texts, BoundedCopiesStayInTheirBuffer)
{
    struct Case {
        long (*copy)(char*, const char*, long);
        const char* before;
        long n;
        const char* after;
        long result;
    };
    const auto nCopy = [](char* dst, const char* src, long n) { return estr_StringNCopy(dst, src, n, 100); };
    const auto withNull = [](char* dst, const char* src, long n) { return estr_StringNCopyWithNull(dst, src, n, 3); };
    const Case cases[] = {
        {estr_StringCopyEx, "########", 4, "abc\0####", 6},
        {estr_StringCopyEx, "########", 8, "abcdef\0#", 6},
        {estr_StringCopyEx, "########", 0, "########", 6},
        {estr_StringCopyEx, "########", -2, "########", -1},
        {estr_StringCatEx, "xy\0#####", 5, "xyab\0###", 6},
        {estr_StringCatEx, "xyz#####", 3, "xyz#####", 6},
        {nCopy, "########", 4, "abcd####", 6},
        {nCopy, "########", -1, "########", -1},
        {withNull, "########", 8, "ab\0#####", 6},
        {withNull, "########", 2, "a\0######", 6},
    };
    for (const Case& c : cases) {
        char buffer[8];
        std::copy_n(c.before, 8, buffer);
        EXPECT_EQ(c.copy(buffer, "abcdef", c.n), c.result) << c.n;
        EXPECT_EQ(std::string(buffer, 8), std::string(c.after, 8)) << c.n;
    }
    EXPECT_EQ(estr_StringCopyEx(nullptr, "abc", 4), 3);
    EXPECT_EQ(estr_StringCopyEx(nullptr, nullptr, 4), -1);
}

TEST(Texts, PiecesAreCutToTheText)
{
    char buffer[8] = "#######";
    EXPECT_STREQ(estr_StringToA("abc", 1, 100, buffer), "bc");
    EXPECT_STREQ(estr_StringToA("abc", 50, 2, buffer), "");
    EXPECT_STREQ(estr_StringToA("abc", 0, -1, buffer), "");
    EXPECT_EQ(taken(estr_StringToA("abc", 1, 1, nullptr)), "b");
    EXPECT_EQ(taken(estr_GetSubString("abc", 1, std::numeric_limits<long>::max(), nullptr)), "bc");
    EXPECT_EQ(taken(estr_GetSubString("abc", 3, 1, nullptr)), "");
    Report report;
    EXPECT_EQ(estr_GetSubString("abc", 4, 1, report), nullptr);
    EXPECT_EQ(report.records(), (std::vector<Record>{{"estr_GetSubString", "Args"}}));
}

TEST(Texts, JoinsMayReadWhatTheyReplace)
{
    char* text = estr_Duplicate("ab");
    text = estr_StringCat(text, text, text);
    EXPECT_STREQ(text, "abab");
    text = estr_StringCat(text, nullptr, text);
    EXPECT_STREQ(text, "abab");
    EXPECT_EQ(estr_StringCopy(text, nullptr), nullptr);
    text = estr_StringCopy(text, "c");
    const FaultInjection full(Operation::allocate, 1, Outcome::noMemory());
    EXPECT_EQ(estr_StringCat(text, "x", "y"), nullptr);
    EXPECT_EQ(taken(text), "c");
}

TEST(Texts, FormatsHaveALimit)
{
    const std::string longest(15999, 'x');
    EXPECT_EQ(taken(estr_Sprintf(nullptr, "%s", nullptr, longest.c_str())), longest);
    Report report;
    EXPECT_EQ(estr_Sprintf(nullptr, "%s+", report, longest.c_str()), nullptr);
    EXPECT_EQ(report.records(), (std::vector<Record>{{"estr_Vsprintf", "The text is longer than 15999 bytes"}}));
    char buffer[8];
    EXPECT_EQ(estr_Sprintf(buffer, "%d%%", nullptr, 12), buffer);
    EXPECT_STREQ(buffer, "12%");
}

TEST(Texts, QuotesAndLineEnds)
{
    EXPECT_EQ(taken(estr_QuoteString("a\"b'c", 1, nullptr)), "\"a\\\"b'c\"");
    EXPECT_EQ(taken(estr_QuoteString("a\"b'c", 0, nullptr)), "'a\"b\\'c'");
    Report report;
    EXPECT_EQ(estr_QuoteString("", 1, report), nullptr);
    EXPECT_EQ(report.records(), (std::vector<Record>{{"estr_QuoteString", "Invalid argument!"}}));
    EXPECT_EQ(taken(estr_QuotedDuplicate("")), "\"\"");
    EXPECT_EQ(taken(estr_AddCR("\r\na\n\nb\r", nullptr)), "\r\na\r\n\r\nb");
    Report empty;
    EXPECT_EQ(estr_AddCR("", empty), nullptr);
    EXPECT_EQ(empty.get(), nullptr);
    char text[] = "xABAabBabax";
    EXPECT_STREQ(estr_RemoveChars(text, "aba"), "xabBx") << "what closes up is not searched again";
}

TEST(Comparison, IgnoresCaseAndKeepsToItsLimits)
{
    EXPECT_TRUE(estr_Eqic("aBc", "AbC") && estr_Eqic(nullptr, nullptr));
    EXPECT_FALSE(estr_Eqic("ab", "abc") || estr_Eqic("ab", nullptr) || estr_Eqic("\xC4", "\xE4"));
    const char unterminated[2] = {'a', 'B'};
    EXPECT_TRUE(estr_Eqnic(unterminated, "Abc", 2) && estr_Eqnic("a", "A", 100));
    EXPECT_FALSE(estr_Eqnic("a", "a", 0) || estr_Eqnic("ab", "ac", 2));
    EXPECT_TRUE(estr_LooseMatch(" a B", "Ab ") && estr_MatchSequence("AB", "abc"));
    EXPECT_FALSE(estr_LooseMatch("a", "ab") || estr_MatchSequence("abc", "ab"));
    EXPECT_STREQ(estr_SubStringic("xxAbAbcd", "aBC"), "Abcd");
    EXPECT_EQ(estr_SubString("abc", ""), nullptr);
    EXPECT_GT(estr_CompareString("\xFF", "a"), 0);
    EXPECT_LT(estr_CompareString(nullptr, ""), 0);
    Report report;
    const char* const none = nullptr;
    EXPECT_EQ(estr_StringEnum("b", report, "a", "b", none), 2);
    EXPECT_EQ(estr_StringEnum("B", report, "a", "b", none), 0);
    *static_cast<Eerr_ErrorReport**>(report) = eerr_CreateErrorReport("f", 1, EERR_ERROR, nullptr, "set");
    EXPECT_EQ(estr_StringEnum("a", report, "a", none), 0);
}

TEST(Comparison, AbbreviationsLeaveOutVowelsAndFillers)
{
    for (const char* full : {"kilometer", "klmtr", "kilometer [km]", "kilometer]"}) {
        EXPECT_TRUE(estr_AbbrevCompare("klmtr", full)) << full;
    }
    for (const char* full : {"kilometers", "kilogram", "klmt", ""}) {
        EXPECT_FALSE(estr_AbbrevCompare("klmtr", full)) << full;
    }
}

TEST(Parsing, NumbersOutOfSlices)
{
    EXPECT_EQ(estr_StringToD("1.5D3", 0, 5), 1500);
    EXPECT_EQ(estr_StringToL("xx-12345", 2, 3), -12);
    EXPECT_TRUE(std::isnan(estr_StringToD(nullptr, 0, 5)));
    EXPECT_EQ(estr_StringToL("12", 9, 5), 0);
    EXPECT_TRUE(estr_StringToBoolean("YES") && estr_StringToBoolean("1"));
    EXPECT_FALSE(estr_StringToBoolean("yEs") || estr_StringToBoolean(nullptr) || estr_StringToBoolean("11"));
}

TEST(Parsing, ControlCharactersHaveNames)
{
    EXPECT_EQ(estr_StringToChar("<TAB>"), 9);
    EXPECT_EQ(estr_StringToChar("<ESC>[1m"), 27);
    EXPECT_EQ(estr_StringToChar("<"), '<');
    EXPECT_EQ(estr_StringToChar("<tab>"), 0);
    char text[] = "a<LF>b<NO><DEL>";
    EXPECT_STREQ(estr_MetaStringToString(text, text), "a\nb<NO>\x7F");
}

TEST(Parsing, NumberLists)
{
    const auto parsed = [](const char* text) -> std::string {
        Report report;
        std::int32_t* numbers = nullptr;
        const long count = estr_StringToIntList(text, ", ", &numbers, report);
        std::string all = count < 0 ? report.records().front().message.value_or("") : "";
        for (long index = 0; index < count; ++index) {
            all += std::to_string(numbers[index]) + ' ';
        }
        emsc_HeapFree(numbers);
        return all;
    };
    EXPECT_EQ(parsed("1,3:5"), "1 3 4 5 ");
    EXPECT_EQ(parsed(", -2:-1 ,,7"), "-2 -1 7 ");
    EXPECT_EQ(parsed("2147483646:2147483647"), "2147483646 2147483647 ");
    EXPECT_EQ(parsed("5:3"), "");
    for (const char* wrong : {"0", "a", "1:0", "1:", "1,x", "99999999999", "-2147483648:2147483647", "1:16777216,1"}) {
        EXPECT_EQ(parsed(wrong), "List parse error") << wrong;
    }
}

TEST(Parsing, LinesAndQuotedRuns)
{
    char line[4];
    Texts lines;
    const char* text = "ab\r\n\ncdefg\nx";
    for (const char* at = estr_GetLine(text, line, sizeof line); at != nullptr;
         at = estr_GetLine(at, line, sizeof line)) {
        lines.emplace_back(line);
    }
    EXPECT_EQ(lines, (Texts{"ab", "", "cde", "x"}));
    line[0] = 'z';
    EXPECT_EQ(estr_GetLine("a", line, 0), nullptr);
    EXPECT_STREQ(line, "");
    EXPECT_STREQ(estr_GetQuotedString("a \"long one\" b", line, sizeof line), " b");
    EXPECT_STREQ(line, "lon");
    EXPECT_EQ(estr_GetQuotedString("a \"open", line, sizeof line), nullptr);
    EXPECT_STREQ(line, "");
}

TEST(StringLists, GrowAndShrink)
{
    Estr_StringList* list = nullptr;
    for (int item = 0; item < 17; ++item) {
        list = estr_StringListAppend(list, std::to_string(item).c_str(), nullptr);
        EXPECT_EQ(list->allocated, item < 16 ? 16 : 32);
    }
    EXPECT_EQ(estr_StringListAppendUniq(list, "16", nullptr)->count, 17);
    EXPECT_TRUE(estr_StringListRemoveItem(list, "0"));
    EXPECT_FALSE(estr_StringListRemoveItem(list, "0"));
    EXPECT_STREQ(list->strings[0], "1");
    EXPECT_EQ(estr_FindOnStringList("16", list, nullptr), 15);
    estr_StringListTruncate(list, -3);
    EXPECT_EQ(list->count, 0);
    EXPECT_EQ(list->allocated, 32);
    {
        const FaultInjection full(Operation::allocate, 1, Outcome::noMemory());
        Report report;
        EXPECT_EQ(estr_StringListAppend(list, "x", report), list);
        EXPECT_EQ(report.records(), (std::vector<Record>{{"estr_StringListAppend", "No memory"}}));
        EXPECT_EQ(list->count, 0);
    }
    estr_StringListDelete(list, nullptr);
}

TEST(StringLists, CopiesLeaveTheTargetAloneWhenTheyFail)
{
    Estr_StringList* src = listOf({"a", nullptr, "c"});
    Estr_StringList* dst = listOf({"1", "2", "3", "4"});
    {
        const FaultInjection full(Operation::allocate, 4, Outcome::noMemory());
        Report report;
        EXPECT_EQ(estr_StringListQuotedCopy(src, dst, report), nullptr);
        EXPECT_EQ(report.records(), (std::vector<Record>{{"estr_StringListCopy", "No memory"}}));
        EXPECT_EQ(itemsOf(dst), (Texts{"1", "2", "3", "4"}));
    }
    EXPECT_EQ(estr_StringListQuotedCopy(src, dst, nullptr), dst);
    EXPECT_EQ(itemsOf(dst), (Texts{"\"a\"", "(null)", "\"c\"", "(null)"}));
    Report report;
    EXPECT_EQ(estr_StringListCopy(dst, src, report), nullptr);
    EXPECT_EQ(report.records(), (std::vector<Record>{{"estr_StringListCopy", "Destination string list too small"}}));
    EXPECT_EQ(report.get()->number, 1);
    Estr_StringList* copy = estr_StringListCopy(src, nullptr, nullptr);
    EXPECT_EQ(itemsOf(estr_StringListQuote(copy, 0, nullptr)), (Texts{"'a'", "(null)", "'c'"}));
    EXPECT_EQ(estr_StringListCopy(nullptr, dst, nullptr), dst);
    for (Estr_StringList* list : {src, dst, copy}) {
        estr_StringListDelete(list, nullptr);
    }
}

TEST(StringLists, AreMadeOfManyThings)
{
    const long longs[] = {std::numeric_limits<long>::min(), 7};
    const double doubles[] = {-0.1};
    const char* const texts[] = {"b/z", nullptr, "a/y(l/a)", "c/x"};
    Estr_StringList* lists[] = {estr_LongToStringList(2, longs, nullptr), estr_DoubleToStringList(1, doubles, nullptr),
                                estr_StringToStringList(4, texts, nullptr), estr_SplitString(",a,,b,", ",")};
    EXPECT_EQ(itemsOf(lists[0]), (Texts{"-9223372036854775808", "7"}));
    EXPECT_EQ(itemsOf(lists[1]), (Texts{"-1.0000000000000001e-01  "}));
    estr_StringListSort(lists[2]);
    EXPECT_EQ(itemsOf(lists[2]), (Texts{"(null)", "a/y(l/a)", "b/z", "c/x"}));
    estr_StringListSortByNamePart(lists[2]);
    EXPECT_EQ(itemsOf(lists[2]), (Texts{"(null)", "c/x", "a/y(l/a)", "b/z"}));
    EXPECT_EQ(taken(estr_StringListToDelimString(lists[3], "\" \"")), "a\" \"b");
    EXPECT_EQ(taken(estr_StringListToString(lists[3])), "a b");
    for (Estr_StringList* list : lists) {
        estr_StringListDelete(list, nullptr);
    }
    EXPECT_EQ(estr_StringListToString(nullptr), nullptr);
}

TEST(StringLists, FailuresSayWhatIsWrong)
{
    const auto failureOf = [](auto call) {
        Report report;
        call(static_cast<Eerr_ErrorReport**>(report));
        const auto records = report.records();
        return records.empty() ? "" : records[0].message.value_or("") + ' ' + std::to_string(report.get()->number);
    };
    using Err = Eerr_ErrorReport**;
    Estr_StringList* list = listOf({"a"});
    EXPECT_EQ(failureOf([](Err err) { estr_FindOnStringList("a", nullptr, err); }).substr(0, 16), "NULL string list");
    EXPECT_EQ(failureOf([&](Err err) { estr_FindOnStringList(nullptr, list, err); }).substr(0, 12), "NULL string ");
    for (const int nth : {1, 2}) {
        const FaultInjection full(Operation::allocate, static_cast<std::uint64_t>(nth), Outcome::noMemory());
        EXPECT_EQ(failureOf([](Err err) { estr_StringListCreate(3, err); }),
                  "Unable to allocate storage for string list " + std::to_string(nth));
    }
    EXPECT_EQ(failureOf([](Err err) { estr_StringListCreate(1L << 40, err); }),
              "Unable to allocate storage for string list 2");
    estr_StringListDelete(list, nullptr);
}

TEST(WideTexts, EscapesReadBack)
{
    const Etxt_TextU text[] = {u'a', u'\\', 0x00E9, 0xD83D, u'\n', 0};
    char* encoded = estr_EncodeUnicode(text);
    EXPECT_STREQ(encoded, "a\\\\\\u00E9\\uD83D\\u000A");
    Etxt_TextU* decoded = estr_DecodeUnicode(encoded);
    EXPECT_EQ(std::u16string(decoded), std::u16string(text));
    emsc_HeapFree(decoded);
    emsc_HeapFree(encoded);
    decoded = estr_DecodeUnicode("\\u00g1\\\\u0041\\u00");
    EXPECT_EQ(std::u16string(decoded), u"\\u00g1\\u0041\\u00");
    emsc_HeapFree(decoded);
    Etxt_TextU buffer[4] = {u'#', u'#', u'#', u'#'};
    estr_UnicodeStrNCopy(buffer, u"abcdef", 2);
    EXPECT_EQ(std::u16string(buffer, 4), u"ab##");
}

TEST(WideTexts, ListsKeepTheirGaps)
{
    Estr_StringList* list = listOf({"\xC3\xA9", nullptr});
    Estr_StringListU* wide = estr_StringListA2U(list, nullptr);
    EXPECT_EQ(wide->strings[0][0], 0x00E9);
    EXPECT_EQ(wide->strings[1], nullptr);
    Estr_StringList* back = estr_StringListU2A(wide, nullptr);
    EXPECT_EQ(itemsOf(back), itemsOf(list));
    emsc_HeapFree(wide->strings[0]);
    emsc_HeapFree(wide->strings);
    emsc_HeapFree(wide);
    estr_StringListDelete(back, nullptr);
    estr_StringListDelete(list, nullptr);
}

TEST(Doubles, ReadBackInAnyLocale)
{
    const char* const locale = std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    EXPECT_EQ(edbl::StringToDouble("-1.5e3"), -1500);
    EXPECT_EQ(edbl::StringToDouble("+2"), 2);
    EXPECT_EQ(edbl::StringToDouble("-INF"), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(edbl::StringToDouble("nan")));
    double value = 7;
    for (const char* wrong : {"", " 1", "1 ", "1,5", "+-1", "1e999", "0x10", "one"}) {
        EXPECT_FALSE(edbl::TryStringToDouble(value, wrong)) << wrong;
    }
    EXPECT_FALSE(edbl::TryStringToDouble(value, nullptr));
    EXPECT_EQ(value, 7);
    EXPECT_THROW(edbl::StringToDouble("x"), EerrException);
    for (const char* text : {"1,5 m", "1.5"}) {
        std::string scanned = text;
        EXPECT_EQ(localeIndependentDoubleScan(scanned.data(), ",.", &value), 1);
        EXPECT_EQ(value, 1.5);
        EXPECT_EQ(scanned[1], *std::localeconv()->decimal_point);
    }
    char none[] = "";
    EXPECT_EQ(localeIndependentDoubleScan(none, nullptr, &value), -1);
    if (locale != nullptr) {
        std::setlocale(LC_NUMERIC, "C");
    }
}
