#include "support/captured_stderr.h"
#include "support/chain.h"

#include <emantle/tables/ehst.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numeric>

namespace {

using Points = std::vector<std::pair<int, int>>;

struct Delete {
    void operator()(Ehst_LUT* lut) const { ehst_LUTDelete(lut); }
    void operator()(Ehst_Histogram* histogram) const { ehst_HistogramDelete(histogram); }
};
using Lut = std::unique_ptr<Ehst_LUT, Delete>;
using Histogram = std::unique_ptr<Ehst_Histogram, Delete>;

Lut lutOf(long maxInput, long maxOutput, const Points& points)
{
    Lut lut(ehst_LUTCreate(maxInput, maxOutput, static_cast<long>(points.size()), nullptr));
    for (std::size_t at = 0; at < points.size(); ++at) {
        lut->breakPoints[at] = {points[at].first, points[at].second};
    }
    return lut;
}

Lut lutOf(long maxOutput, const std::vector<int>& table)
{
    Lut lut(ehst_LUTCreate(static_cast<long>(table.size()) - 1, maxOutput, 0, nullptr));
    std::copy(table.begin(), table.end(), lut->table);
    return lut;
}

Points pointsOf(const Lut& lut)
{
    Points points;
    for (int at = 0; at < lut->numBreakPoints; ++at) {
        points.emplace_back(lut->breakPoints[at].input, lut->breakPoints[at].output);
    }
    return points;
}

std::vector<int> tableOf(const Lut& lut) { return {lut->table, lut->table + lut->maxInput + 1}; }

Histogram histogramOf(const std::vector<std::uint32_t>& counts)
{
    Histogram histogram(ehst_HistogramCreate(static_cast<long>(counts.size()), nullptr));
    std::copy(counts.begin(), counts.end(), histogram->counts);
    return histogram;
}

std::vector<std::uint32_t> countsOf(const Histogram& histogram)
{
    return {histogram->counts, histogram->counts + histogram->maxValue - histogram->minValue + 1};
}

std::string messageOf(const Report& report)
{
    return report.get() == nullptr ? "" : report.records().back().message.value_or("");
}

TEST(BreakPointsToTable, RoundsClipsAndLeavesWhatLiesBelow)
{
    const struct {
        Points points;
        std::vector<int> expected;
    } cases[] = {
        {{{0, 0}, {5, 10}}, {0, 2, 4, 6, 8, 10}},
        {{{0, 0}, {4, 2}}, {0, 1, 1, 2, 2, 2}},     /* halves go up; the last output goes on */
        {{{2, 5}, {4, 7}}, {-9, -9, 5, 6, 7, 7}},   /* below the first point nothing is written */
        {{{0, -4}, {4, 12}}, {0, 0, 4, 8, 10, 10}}, /* outside outputs bend at the limits */
        {{{-3, 0}, {9, 12}}, {3, 4, 5, 6, 7, 8}},   /* points may lie outside of the inputs */
        {{{1, 3}, {1, 8}, {3, 8}}, {-9, 8, 8, 8, 8, 8}},
        {{{-7, 4}}, {4, 4, 4, 4, 4, 4}},
    };
    for (const auto& one : cases) {
        const Lut lut = lutOf(5, 10, one.points);
        std::fill_n(lut->table, 6, -9);
        ASSERT_TRUE(ehst_BreakPointsToTable(lut.get(), nullptr));
        EXPECT_EQ(tableOf(lut), one.expected);
        EXPECT_EQ(pointsOf(lut), one.points); /* what is clipped in the table stays in the list */
    }
    Report report;
    EXPECT_FALSE(ehst_BreakPointsToTable(lutOf(5, 10, Points{}).get(), report));
    EXPECT_EQ(messageOf(report), "Args");
}

TEST(TableToBreakPoints, FindsTheCorners)
{
    const struct {
        std::vector<int> table;
        double tolerance;
        Points expected;
    } cases[] = {
        {{0, 2, 4, 6, 8}, 0.5, {{0, 0}, {4, 8}}},
        {{5, 5, 5, 5}, 0, {{0, 5}, {3, 5}}},
        {{0, 0, 0, 10, 10}, 1, {{0, 0}, {2, 0}, {3, 10}, {4, 10}}},
        {{0, 3, 6, 4, 2}, 1, {{0, 0}, {2, 6}, {4, 2}}},
        {{0, 3, 6, 4, 2}, 100, {{0, 0}, {4, 2}}},
        {{0, 0, 9, 0, 0}, 1.9, {{0, 0}, {1, 0}, {2, 9}, {3, 0}, {4, 0}}},
        {{0, 0, 9, 0, 0}, 2, {{0, 0}, {4, 0}}}, /* beside a level line every output is 1 away */
    };
    for (const auto& one : cases) {
        const Lut lut = lutOf(10, one.table);
        ASSERT_TRUE(ehst_TableToBreakPoints(lut.get(), one.tolerance, nullptr));
        EXPECT_EQ(pointsOf(lut), one.expected) << one.tolerance;
    }
    Report report;
    EXPECT_FALSE(ehst_TableToBreakPoints(lutOf(3, std::vector<int>{1, 2}).get(), -1, report));
    EXPECT_EQ(messageOf(report), "The tolerance is -1; it must not be below 0");
}

/* Cuts within cuts as deep as the table is long; and a table of points is the table again. */
TEST(TableToBreakPoints, ComesBackFromAnyTable)
{
    std::vector<int> table(4000);
    for (std::size_t at = 0; at < table.size(); ++at) {
        table[at] = static_cast<int>(at % 2 != 0 ? at : 4000 - at / 2);
    }
    const Lut lut = lutOf(4000, table);
    ASSERT_TRUE(ehst_TableToBreakPoints(lut.get(), 0, nullptr));
    std::fill_n(lut->table, lut->maxInput + 1, 0);
    ASSERT_TRUE(ehst_BreakPointsToTable(lut.get(), nullptr));
    EXPECT_EQ(tableOf(lut), table);
}

TEST(BreakPoints, AreInsertedDeletedAndSorted)
{
    const Lut lut = lutOf(10, 10, {{2, 0}, {6, 5}});
    EXPECT_EQ(ehst_BreakPointInsert(lut.get(), 2, 1), 0);
    EXPECT_EQ(ehst_BreakPointInsert(lut.get(), 9, -3), 2);
    EXPECT_EQ(ehst_BreakPointInsert(lut.get(), 4, 7), 1);
    EXPECT_EQ(ehst_BreakPointInsert(lut.get(), 6, 8), 2);
    EXPECT_EQ(ehst_BreakPointInsert(lut.get(), 0, 2), 0);
    EXPECT_EQ(pointsOf(lut), (Points{{0, 2}, {2, 1}, {4, 7}, {6, 8}, {9, -3}}));
    EXPECT_TRUE(ehst_BreakPointDelete(lut.get(), 1));
    EXPECT_FALSE(ehst_BreakPointDelete(lut.get(), 4));
    EXPECT_FALSE(ehst_BreakPointDelete(lut.get(), -1));
    EXPECT_EQ(pointsOf(lut), (Points{{0, 2}, {4, 7}, {6, 8}, {9, -3}}));
    while (ehst_BreakPointDelete(lut.get(), 0)) {
    }
    EXPECT_EQ(pointsOf(lut), (Points{{9, -3}}));

    const Lut mixed = lutOf(10, 10, {{7, 1}, {3, 2}, {7, 3}, {3, 4}, {-2147483647, 5}, {2147483647, 6}});
    ehst_BreakPointSort(mixed.get());
    EXPECT_EQ(pointsOf(mixed), (Points{{-2147483647, 5}, {3, 2}, {3, 4}, {7, 1}, {7, 3}, {2147483647, 6}}));
    ehst_BreakPointDeleteRedundants(mixed.get());
    EXPECT_EQ(pointsOf(mixed), (Points{{-2147483647, 5}, {3, 2}, {7, 1}, {2147483647, 6}}));
}

TEST(LutClip, EndsOnTheEdges)
{
    const struct {
        Points points;
        Points expected;
    } cases[] = {
        {{{0, 0}, {255, 100}}, {{0, 0}, {255, 100}}},
        {{{-10, -10}, {300, 300}}, {{0, 0}, {100, 100}, {255, 100}}},
        {{{50, 20}, {100, 80}}, {{0, 20}, {50, 20}, {100, 80}, {255, 80}}},
        {{{50, 80}, {100, 80}}, {{0, 80}, {50, 80}, {255, 80}}},            /* the level end is drawn out */
        {{{10, 150}, {20, 200}}, {{10, 150}, {20, 200}}},                   /* nothing is inside */
        {{{40, 60}}, {{40, 60}}},
        {{{0, 50}, {50, 150}, {100, 50}}, {{0, 50}, {25, 100}, {75, 100}, {100, 50}, {255, 50}}},
    };
    for (const auto& one : cases) {
        const Lut lut = lutOf(255, 100, one.points);
        ehst_LUTClip(lut.get());
        EXPECT_EQ(pointsOf(lut), one.expected);
    }
    const Lut atLimit = lutOf(20, 50, {{5, 20}, {10, 30}});
    ehst_LUTClip(atLimit.get());
    EXPECT_EQ(pointsOf(atLimit), (Points{{0, 20}, {10, 30}, {20, 30}}));
}

TEST(Ramp, IsReadBackFromItsPoints)
{
    const struct {
        Points points;
        std::vector<double> expected;
    } cases[] = {
        {{{3, 9}, {7, 2}}, {3, 9, 7, 2}},
        {{{0, 0}, {50, 0}, {200, 255}}, {50, 0, 200, 255}},
        {{{0, 0}, {50, 255}, {200, 255}}, {0, 0, 50, 255}},
        {{{5, 0}, {50, 100}, {200, 255}}, {5, 0, 5, 0}},
        {{{0, 7}, {50, 7}, {200, 7}}, {0, 7, 0, 7}},
        {{{0, 0}, {10, 0}, {90, 255}, {255, 255}}, {10, 0, 90, 255}},
        {{{0, 0}, {10, 0}, {50, 100}, {90, 255}, {255, 255}}, {10, 0, 90, 255}},
        {{{0, 0}, {10, 5}, {20, 0}, {30, 9}, {40, 255}}, {20, 0, 40, 255}},
        {{{0, 5}, {10, 90}, {20, 200}, {30, 255}}, {0, 0, 0, 0}},
        {{{1, 1}}, {0, 0, 0, 0}},
    };
    for (const auto& one : cases) {
        const Lut lut = lutOf(255, 255, one.points);
        Ehst_Ramp ramp{9, 9, 9, 9};
        const bool isFound = one.expected != std::vector<double>(4, 0);
        EXPECT_EQ(ehst_SetRamp(lut.get(), &ramp, nullptr) != 0, isFound);
        EXPECT_EQ((std::vector{ramp.startInput, ramp.startOutput, ramp.endInput, ramp.endOutput}), one.expected);
    }
    const Lut lut = lutOf(255, 255, {{1, 1}, {2, 2}, {3, 3}});
    const Ehst_Ramp falling{200.9, 3.9, 10.2, 1e300};
    ehst_RampToBreakPoints(&falling, lut.get());
    EXPECT_EQ(pointsOf(lut), (Points{{10, 2147483647}, {200, 3}}));
}

TEST(Equalize, PlacesEachValueByTheMiddleOfItsShare)
{
    const struct {
        std::vector<std::uint32_t> counts;
        int levels;
        std::vector<std::uint32_t> expected;
    } cases[] = {
        {{10, 10, 10, 10}, 4, {0, 1, 2, 3}},
        {{10, 10, 10, 10}, 2, {0, 0, 1, 1}},
        {{100, 0, 0, 0}, 4, {2, 3, 3, 3}}, /* behind all counts the last level is held */
        {{1, 1, 2}, 8, {0, 2, 6}},         /* the middle of an odd count is cut */
        {{4294967295U, 4294967295U}, 2, {0, 1}},
        {{0, 0}, 5, {0, 0}},
    };
    for (const auto& one : cases) {
        const Histogram histogram = histogramOf(one.counts);
        ehst_HistogramEqualize(histogram.get(), histogram.get(), one.levels);
        EXPECT_EQ(countsOf(histogram), one.expected);
    }
}

TEST(MapHistogramThruLut, AddsCountsAtTheOutputs)
{
    const Histogram input = histogramOf({5, 7, 4294967290U, 9});
    const Histogram output = histogramOf({1, 1});
    const Lut lut = lutOf(3, std::vector<int>{-4, 2, 2, 99});
    Report report;
    EXPECT_EQ(ehst_MapHistogramThruLUT(input.get(), output.get(), lut.get(), report), 4294967295U);
    EXPECT_EQ(countsOf(output), (std::vector<std::uint32_t>{5, 0, 4294967295U, 9}));

    const Histogram longer = histogramOf({1, 2, 3, 4, 5, 6});
    const std::string told = stderrOf([&] {
        EXPECT_EQ(ehst_MapHistogramThruLUT(longer.get(), output.get(), lut.get(), report), 5U);
    });
    EXPECT_NE(told.find("The histogram has 6 values, and the lookup table 4"), std::string::npos);
    EXPECT_EQ(countsOf(output), (std::vector<std::uint32_t>{1, 0, 5, 4}));

    EXPECT_EQ(ehst_MapHistogramThruLUT(nullptr, output.get(), lut.get(), report), 0U);
    EXPECT_EQ(messageOf(report), "Invalid input histogram");
    Report second;
    EXPECT_EQ(ehst_MapHistogramThruLUT(input.get(), input.get(), lut.get(), second), 0U);
    EXPECT_EQ(messageOf(second), "Invalid output histogram");
    Report third;
    EXPECT_EQ(ehst_MapHistogramThruLUT(input.get(), output.get(), nullptr, third), 0U);
    EXPECT_EQ(messageOf(third), "Invalid lookup table");
}

TEST(Copies, AreDeepAndHoldTheirSizes)
{
    const Histogram source = histogramOf({1, 9, 3});
    source->mean = 4.5;
    source->deviation = 2;
    const Histogram copy(ehst_HistogramCopy(source.get(), nullptr, nullptr));
    source->counts[1] = 0;
    EXPECT_EQ(countsOf(copy), (std::vector<std::uint32_t>{1, 9, 3}));
    EXPECT_EQ(copy->deviation, 2);
    EXPECT_EQ(ehst_GetHistogramMaxCount(copy.get()), 9U);
    Report report;
    EXPECT_EQ(ehst_HistogramCopy(source.get(), histogramOf({1, 2}).get(), report), nullptr);
    EXPECT_EQ(messageOf(report), "A histogram of 0 to 2 cannot be copied into one of 0 to 1");

    const Lut lut = lutOf(9, std::vector<int>{4, 5, 6});
    ehst_BreakPointInsert(lut.get(), 1, 2);
    const Lut target = lutOf(100, 7, {{1, 1}, {2, 2}});
    EXPECT_EQ(ehst_LUTCopy(lut.get(), target.get()), target.get());
    const Lut fresh(ehst_LUTCopy(lut.get(), nullptr));
    lut->table[0] = 0;
    for (const Lut* one : {&target, &fresh}) {
        EXPECT_EQ(tableOf(*one), (std::vector<int>{4, 5, 6}));
        EXPECT_EQ(pointsOf(*one), (Points{{1, 2}}));
        EXPECT_EQ((*one)->maxOutput, 9);
    }
}

}  // namespace
