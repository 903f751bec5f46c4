#include "support/chain.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/estr/format.h>
#include <limits>
#include <memory>
#include <random>
#include <tuple>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLargest = std::numeric_limits<double>::max();

struct Free {
    void operator()(Estr_XLFormat* format) const { estr_XLFormatFree(format); }
};
using Format = std::unique_ptr<Estr_XLFormat, Free>;

Format made(const std::string& format)
{
    return Format(estr_XLFormatCreate(format.c_str(), nullptr));
}

std::string printed(const Format& format, double number)
{
    char* text = estr_XLFormatPrintNumber(format.get(), number, nullptr, 0, nullptr);
    const std::string copy = text == nullptr ? "(null)" : text;
    emsc_HeapFree(text);
    return copy;
}

std::string printed(const std::string& format, double number)
{
    return printed(made(format), number);
}

std::string byPrintf(const char* format, double number)
{
    char text[400];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

struct Case {
    const char* format;
    double number;
    const char* expected;
};

template <std::size_t Count> void check(const Case (&cases)[Count])
{
    for (const Case& each : cases) {
        EXPECT_EQ(printed(each.format, each.number), each.expected) << each.format << " of " << each.number;
    }
}

std::string refusal(const std::string& format)
{
    Report report;
    EXPECT_EQ(estr_XLFormatCreate(format.c_str(), report), nullptr) << format;
    const auto records = report.records();
    return records.size() == 1 ? *records[0].message : "no report";
}

} // namespace

TEST(XLFormat, PlacesForDigits)
{
    check({
        {"0", 0, "0"},
        {"0", 1234, "1234"},
        {"000", 7, "007"},
        {"#", 0, ""},
        {"#", 12, "12"},
        {"0#", 5, "05"}, // right of a zero every place prints
        {"???", 5, "  5"},
        {"0.00", 3, "3.00"},
        {"0.##", 3, "3."},
        {"0.0#", 3.14159, "3.14"},
        {"0.?0?", 1.5, "1.50 "},
        {"#.##", 0, "."},
        {".00", 0.5, ".50"},
        {".00", 12.5, "12.50"}, // no place for whole digits, but they are there
        {"000-00-0000", 123456789, "123-45-6789"},
        {"0-0", 1234, "123-4"},
    });
}

TEST(XLFormat, HalvesGoAwayFromZeroInDecimal)
{
    check({
        {"0", 0.5, "1"},
        {"0", 2.5, "3"},
        {"0", -2.5, "-3"},
        {"0.00", 1.005, "1.01"}, // below the half in binary
        {"0.0", 0.05, "0.1"},
        {"0.0", 0.04999, "0.0"},
        {"0", 0.05, "0"},
        {"0.00", 9.996, "10.00"},
        {"0", 999.5, "1000"},
        {"0.000", 0.0000001, "0.000"},
    });
}

TEST(XLFormat, CommasSeparateOrDivide)
{
    check({
        {"#,##0", 1234567, "1,234,567"},
        {"#,##0", 123, "123"},
        {"#,#", 0, ""},
        {"0,000", 5, "0,005"},
        {"?,???", 12, "   12"}, // a blank for the comma, too
        {"#,##0.00", -1234.5, "-1,234.50"},
        {"#,##0,", 1234567, "1,235"},
        {"0.0,,", 1234567, "1.2"},
        {"0,,.0", 1234567, "1.2"},
        {"0,", 499, "0"},
        {"#,###,", 1e9, "1,000,000"},
        {",0", 1234, ",1234"}, // behind no digit: itself
    });
}

TEST(XLFormat, PercentAndExponent)
{
    check({
        {"0%", 0.256, "26%"},
        {"0.0%%", 0.5, "5000.0%%"},
        {"0%", 0.285, "29%"}, // 28.499999999999996 when multiplied in binary
        {"0.00E+00", 12345, "1.23E+04"},
        {"0.00E+00", -0.00012345, "-1.23E-04"},
        {"0.00e-00", 12345, "1.23e04"},
        {"0E+0", 9.5, "1E+1"},
        {"##0.0E+0", 12345, "12.3E+3"},
        {"##0.0E+0", 999960, "1.0E+6"}, // rounding moves on by three
        {"##0.0E+0", 0.00123, "1.2E-3"},
        {"##0.0E+0", 0.000123, "123.0E-6"},
        {"000.0E+0", 1, "001.0E+0"},
        {"0.0E+0", 0, "0.0E+0"},
        {"0E+0", 5e-324, "5E-324"},
        {".0E+0", 123, "1.2E+2"},
        {"0E+0%", 1, "1E+2%"},
    });
}

TEST(XLFormat, LiteralsAndBrackets)
{
    check({
        {"\"0;#\"0\\0", 5, "0;#50"},
        {"$ #,##0", -1234, "-$ 1,234"},
        {"0_)*x", 5, "5 "},
        {"0_\xc3\xa9*\xc3\xa9\\\xc3\xa9", 5, "5 \xc3\xa9"}, // whole characters
        {"0 \xe2\x82\xac", 5, "5 \xe2\x82\xac"},
        {"[Red][>100]0.0", 5, "5.0"},
        {"[$CHF-807] 0", 5, "CHF 5"},
        {"[$-409]0[$x]", 5, "5x"},
        {"\"text\"", -5, "text"},
    });
}

TEST(XLFormat, SectionsBySign)
{
    check({
        {"0;(0)", -5, "(5)"},
        {"0;(0)", 0, "0"},
        {"0;(0);\"none\"", 0, "none"},
        {"0;(0);\"none\"", -0.0, "none"},
        {"0;(0);\"none\"", 0.1, "0"}, // the number chooses, not what is printed of it
        {"0;(0);\"none\";@", -1, "(1)"},
        {"0;(0);\"none\";\"text\"", 1, "1"},
        {"0;;", 0, ""},
        {";;;", 5, ""},
        {"0;@", -5, "-5"}, // the section for text is no section for numbers
        {"0.0;-0.0;;", -1.25, "-1.3"},
        {"0.0", -0.04, "0.0"}, // no minus before what is zero
        {"0", -0.0, "0"},
    });
}

TEST(XLFormat, General)
{
    check({
        {"", 1.5, "1.5"},
        {"General", 0, "0"},
        {"General", -0.0, "0"},
        {"general", 0.1 + 0.2, "0.3"},
        {"General", -123456789012.0, "-123456789012"},
        {"General", 999999999999999.0, "999999999999999"},
        {"General", 1e15, "1E+15"},
        {"General", 9999999999999999.0, "1E+16"},
        {"General", 0.0001, "0.0001"},
        {"General", 0.0000125, "1.25E-05"},
        {"General", 0.00009999999999999999, "0.0001"},
        {"General", 5e-324, "5E-324"},
        {"General\" m\";\"under \"General", -2, "under 2"},
        {"General%", 0.5, "50%"},
        {"@", -2.5, "-2.5"},
    });
}

TEST(XLFormat, GeneralAndWidePlacesAgreeWithPrintf)
{
    std::mt19937_64 random(7);
    const Format general = made("General"), exponent = made("0.0000000000000000E+00"), thousandths = made("0.000");
    for (int i = 0; i < 20000; ++i) {
        const auto bits = random();
        const double any = std::bit_cast<double>(bits);
        if (std::isfinite(any)) {
            EXPECT_EQ(std::strtod(printed(exponent, any).c_str(), nullptr), any);
        }
        const double eighths = static_cast<double>(static_cast<std::int64_t>(bits) >> 20) / 8;
        EXPECT_EQ(printed(thousandths, eighths), byPrintf("%.3f", eighths));
        const std::string decimal = std::to_string(static_cast<std::int64_t>(bits) / 10000) + "e" +
                                    std::to_string(static_cast<int>(bits % 580) - 300);
        const double number = std::strtod(decimal.c_str(), nullptr);
        EXPECT_EQ(printed(general, number), byPrintf("%.15G", number)) << decimal;
    }
}

TEST(XLFormat, ExtremesStayText)
{
    for (const char* format : {"0", "General", "0.0E+0;(0)", "\"x\"0%", "@", ""}) {
        EXPECT_EQ(printed(format, kInfinity), "inf");
        EXPECT_EQ(printed(format, -kInfinity), "-inf");
        EXPECT_EQ(printed(format, kNaN), "nan");
    }
    EXPECT_EQ(printed("0", kLargest), "17976931348623157" + std::string(292, '0'));
    EXPECT_EQ(printed("0%", kLargest), "17976931348623157" + std::string(294, '0') + "%");
    EXPECT_EQ(printed("0E+0,", kLargest), "2E+308,");
    EXPECT_EQ(printed("0" + std::string(4095, ','), kLargest), "0");
    EXPECT_EQ(printed("0" + std::string(4095, '%'), 1), "1" + std::string(2 * 4095, '0') + std::string(4095, '%'));
    EXPECT_EQ(printed("." + std::string(4095, '0'), 5e-324).substr(320, 6), "000050");
    EXPECT_EQ(printed(std::string(4096, '0'), 1), std::string(4095, '0') + "1");
}

TEST(XLFormat, WhatCannotBeReadIsRefusedWithItsPlace)
{
    const struct {
        const char* format;
        const char* message;
    } cases[] = {
        {"0.0.0", "Number format, position 4: a second decimal point"},
        {"0E", "Number format, position 3: \"+\" or \"-\" is expected behind the letter of an exponent"},
        {"0E+;0", "Number format, position 4: a place for a digit of the exponent is expected"},
        {"0E+0E+0", "Number format, position 5: a second exponent"},
        {"0E+0.0", "Number format, position 5: a second decimal point"},
        {"0\"m", "Number format, position 3: the text has no second quote"},
        {"0\\", "Number format, position 3: a character is expected"},
        {"0_", "Number format, position 3: a character is expected"},
        {"0*", "Number format, position 3: a character is expected"},
        {"[Red0", "Number format, position 2: the bracket is not closed"},
        {"yyyy", "Number format, position 1: the character must stand in quotes"},
        {"# ?/?", "Number format, position 4: the character must stand in quotes"},
        {"0\n", "Number format, position 2: the character must stand in quotes"},
        {"Gen", "Number format, position 1: the character must stand in quotes"},
        {"General0", "Number format, position 9: General does not stand beside places for digits"},
        {"@;0", "Number format, position 3: \"@\" stands in the last section only"},
        {"0;0;0;0;0", "Number format, position 9: a format has at most four sections"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(refusal(each.format), each.message) << each.format;
    }
    EXPECT_EQ(refusal(std::string(4097, '0')), "The number format is longer than 4096 bytes");
    Report report;
    EXPECT_EQ(estr_XLFormatCreate(nullptr, report), nullptr);
    EXPECT_EQ(report.records(), (std::vector<Record>{{"estr_XLFormatCreate", "Args"}}));
    estr_XLFormatFree(nullptr);
}

TEST(XLFormat, BuffersAreFilledWholeOrNotAtAll)
{
    const Format format = made("0.00");
    char buffer[6] = "#####";
    Report report;
    EXPECT_EQ(estr_XLFormatPrintNumber(format.get(), 12, buffer, 5, report), nullptr);
    EXPECT_EQ(*report.records().at(0).message, "The text takes 6 bytes; the buffer has 5");
    EXPECT_STREQ(buffer, "#####");
    EXPECT_EQ(estr_XLFormatPrintNumber(format.get(), 1, buffer, 5, nullptr), buffer);
    EXPECT_STREQ(buffer, "1.00");
    for (const long size : {0L, -1L, std::numeric_limits<long>::min()}) {
        Report none;
        EXPECT_EQ(estr_XLFormatPrintNumber(format.get(), 1, buffer, size, none), nullptr);
        EXPECT_NE(none.get(), nullptr);
    }
    Report args;
    EXPECT_EQ(estr_XLFormatPrintNumber(nullptr, 1, buffer, 5, args), nullptr);
    EXPECT_EQ(*args.records().at(0).message, "Args");
}

TEST(XLFormat, GroupsPrintInOrder)
{
    const Format format = made("0.0;(0.0)");
    const double numbers[] = {1, -2, kNaN};
    EstrStringList list(estr_XLFormatPrintNumberGroup(format.get(), 3, numbers, nullptr));
    ASSERT_EQ(list->count, 3);
    EXPECT_STREQ(list->strings[0], "1.0");
    EXPECT_STREQ(list->strings[1], "(2.0)");
    EXPECT_STREQ(list->strings[2], "nan");
    list = estr_XLFormatPrintNumberGroup(format.get(), 0, nullptr, nullptr);
    EXPECT_EQ(list->count, 0);
    for (const auto& [handle, count, source] : {std::tuple{format.get(), -1L, numbers},
                                                {format.get(), 1L, nullptr},
                                                {static_cast<Estr_XLFormat*>(nullptr), 1L, numbers}}) {
        Report report;
        EXPECT_EQ(estr_XLFormatPrintNumberGroup(handle, count, source, report), nullptr);
        EXPECT_EQ(report.records(), (std::vector<Record>{{"estr_XLFormatPrintNumberGroup", "Args"}}));
    }
}
