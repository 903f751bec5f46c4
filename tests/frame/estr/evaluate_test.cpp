#include "support/chain.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/estr/build.h>
#include <emantle/frame/estr/parse.h>
#include <limits>
#include <random>

namespace {

/* An expression of random shape together with its value, each operation in parentheses and computed as it is written.
 */
struct Random {
    std::mt19937 engine{11};

    std::pair<std::string, double> expression(int depth)
    {
        const auto draw = engine() % 6;
        if (depth == 0 || draw == 5) {
            const double value = static_cast<double>(engine() % 1000) / 8;
            char text[32];
            std::snprintf(text, sizeof text, "%.3f", value);
            return {text, value};
        }
        const auto [left, a] = expression(depth - 1);
        if (draw == 4) {
            return {"-(" + left + ")", -a};
        }
        const auto [right, b] = expression(depth - 1);
        const double value = draw == 0 ? a + b : draw == 1 ? a - b : draw == 2 ? a * b : a / b;
        return {"(" + left + ")" + "+-*/"[draw] + "(" + right + ")", value};
    }
};

std::string refusal(const std::string& text)
{
    Report report;
    EXPECT_TRUE(std::isnan(estr_EvaluateString(text.c_str(), report))) << text;
    const auto records = report.records();
    return records.size() == 1 ? *records[0].message : "no report";
}

std::vector<std::string> arguments(const std::string& line)
{
    EstrStringList list(estr_ArgsGet(line.c_str(), nullptr));
    std::vector<std::string> items;
    for (long i = 0; i < estr_StringListCount(list); ++i) {
        items.emplace_back(list->strings[i]);
    }
    return items;
}

} // namespace

TEST(EvaluateString, BindsAsTold)
{
    const struct {
        const char* text;
        double expected;
    } cases[] = {
        {"1+2*3", 7},
        {"8-4-2", 2},
        {"64/4/2", 8},
        {"2^3^2", 512},
        {"-2^2", -4},
        {"2^-1", 0.5},
        {"2*-3", -6},
        {"2--3", 5},
        {"-+-2", 2},
        {"(1 + 2) * 3\t\n", 9},
        {".5+5.", 5.5},
        {"1.5D3", 1500},
        {"1.5d+3-1e-1", 1499.9},
        {"2E2-1", 199},
        {"1/0", std::numeric_limits<double>::infinity()},
        {"PI", 3.141592653589793},
        {"Sqrt(16)+abs(-1)", 5},
        {"atan2(1, -1) / pi", 0.75},
        {"atan2(0,1)", 0},
        {"mod(-7,4)", -3},
        {"pow(2,10)-max(1,2)-min(1,2)", 1021},
        {"log10(1000)+log(exp(2))", 5},
        {"round(2.5)+trunc(-2.5)+floor(-2.5)+ceil(2.1)", 1},
    };
    for (const auto& each : cases) {
        EXPECT_DOUBLE_EQ(estr_EvaluateString(each.text, nullptr), each.expected) << each.text;
    }
    Report report;
    EXPECT_TRUE(std::isnan(estr_EvaluateString("sqrt(-1)", report)));
    EXPECT_EQ(report.get(), nullptr);
}

TEST(EvaluateString, AgreesWithTheSameOperationsInDouble)
{
    Random random;
    for (int i = 0; i < 2000; ++i) {
        const auto [text, value] = random.expression(6);
        const double evaluated = estr_EvaluateString(text.c_str(), nullptr);
        EXPECT_TRUE(evaluated == value || (std::isnan(evaluated) && std::isnan(value))) << text;
    }
}

TEST(EvaluateString, ReportsSayWhereAndWhat)
{
    const struct {
        const char* text;
        const char* message;
    } cases[] = {
        {"", "Position 1: a number, a function or \"(\" expected, the end found"},
        {"1+*2", "Position 3: a number, a function or \"(\" expected, \"*\" found"},
        {"1 2", "Position 3: an operator or the end expected, \"2\" found"},
        {"(1", "Position 3: an operator or \")\" expected, the end found"},
        {"1)", "Position 2: an operator or the end expected, \")\" found"},
        {".", "Position 2: a digit expected, the end found"},
        {"1e+", "Position 4: a digit of the exponent expected, the end found"},
        {"1e999", "Position 1: the number is out of range"},
        {"2+Foo(1)", "Position 3: there is no function \"foo\""},
        {"sin 1", "Position 5: \"(\" expected, \"1\" found"},
        {"sin(1,2)", "Position 6: an operator or \")\" expected, \",\" found"},
        {"atan2(1)", "Position 8: an operator or \",\" expected, \")\" found"},
        {"1\xff", "Position 2: an operator or the end expected, the byte FF found"},
        {"0x10", "Position 2: an operator or the end expected, \"x\" found"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(refusal(each.text), each.message) << each.text;
    }
    Report report;
    EXPECT_TRUE(std::isnan(estr_EvaluateString(nullptr, report)));
    EXPECT_EQ(report.records(), (std::vector<Record>{{"estr_EvaluateString", "Args"}}));
}

TEST(EvaluateString, DepthIsLimited)
{
    const auto nested = [](const char* open, const char* close, int count) {
        std::string text, end;
        for (int i = 0; i < count; ++i) {
            text += open;
            end += close;
        }
        return text + "1" + end;
    };
    EXPECT_EQ(estr_EvaluateString(nested("(", ")", 200).c_str(), nullptr), 1);
    EXPECT_EQ(estr_EvaluateString(nested("-", "", 100000).c_str(), nullptr), 1);
    EXPECT_EQ(estr_EvaluateString(nested("1+", "", 100000).c_str(), nullptr), 100001);
    EXPECT_EQ(refusal(nested("(", ")", 100000)), "Position 202: more than 200 levels");
    EXPECT_EQ(refusal(nested("abs(", ")", 100000)), "Position 805: more than 200 levels");
    EXPECT_EQ(refusal(nested("1^", "", 100000)), "Position 403: more than 200 levels");
}

TEST(ArgsGet, SplitsAndProtects)
{
    const struct {
        const char* line;
        std::vector<std::string> expected;
    } cases[] = {
        {"", {}},
        {" \t\r\n", {}},
        {"  a  b\tc ", {"a", "b", "c"}},
        {"\"a b\" 'c \"d'", {"a b", "c \"d"}},
        {"\"\" x ''", {"", "x", ""}},
        {"a\"b c\"'d e'f", {"ab cd ef"}},
        {"a\\ b \\\"c \\'d", {"a b", "\"c", "'d"}},
        {"\"a\\\"b\\'c\" 'a\\'b\\\"c'", {"a\"b\\'c", "a'b\\\"c"}},
        {"C:\\data\\x.img \"C:\\my data\\x\"", {"C:\\data\\x.img", "C:\\my data\\x"}},
        {"a\\\\ b\\", {"a\\", "b\\"}},
        {"\"a\\\\\"", {"a\\"}},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(arguments(each.line), each.expected) << each.line;
    }
}

TEST(ArgsGet, ReadsBackWhatWasQuoted)
{
    const std::vector<std::string> items = {"plain", "two words", "it's", "say \"so\"", "C:\\my data", "\t"};
    for (const Emsc_Boolean doubleQuotes : {0, 1}) {
        std::string line;
        for (const std::string& item : items) {
            char* quoted = estr_QuoteString(item.c_str(), doubleQuotes, nullptr);
            line += std::string(quoted) + ' ';
            emsc_HeapFree(quoted);
        }
        EXPECT_EQ(arguments(line), items);
    }
}

TEST(ArgsGet, AnOpenQuoteIsReportedWithItsPlace)
{
    for (const auto& [line, message] : {std::pair{"a \"b' c", "The quote at position 3 is not closed"},
                                        {"'a' 'b", "The quote at position 5 is not closed"},
                                        {"\"a\\\"", "The quote at position 1 is not closed"},
                                        {static_cast<const char*>(nullptr), "Args"}}) {
        Report report;
        EXPECT_EQ(estr_ArgsGet(line, report), nullptr);
        EXPECT_EQ(report.records(), (std::vector<Record>{{"estr_ArgsGet", message}}));
    }
}
