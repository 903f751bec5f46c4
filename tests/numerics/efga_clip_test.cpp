#include <emantle/numerics/efga/clip.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

struct Line {
    double x0, y0, x1, y1;
    bool operator==(const Line&) const = default;
};

TEST(ClipLine, CutsToTheRectangle)
{
    const double inf = std::numeric_limits<double>::infinity();
    const struct {
        Line line;
        bool isInside;
        Line expected;
    } cases[] = {
        {{1, 1, 9, 4}, true, {1, 1, 9, 4}},
        {{-5, 2, 15, 2}, true, {0, 2, 10, 2}},
        {{3, 25, 3, -25}, true, {3, 5, 3, 0}},
        {{-5, -5, 20, 20}, true, {0, 0, 5, 5}},
        {{-5, 5, 5, 15}, false, {-5, 5, 5, 15}}, /* passes the corner */
        {{-5, 0, 5, 10}, true, {0, 5, 0, 5}},    /* meets the corner alone */
        {{0, 5, 10, 5}, true, {0, 5, 10, 5}},    /* along the edge */
        {{11, 0, 11, 5}, false, {11, 0, 11, 5}},
        {{4, 4, 4, 4}, true, {4, 4, 4, 4}},
        {{4, 6, 4, 6}, false, {4, 6, 4, 6}},
        {{-inf, 2, 5, 2}, false, {-inf, 2, 5, 2}},
    };
    for (const auto& one : cases) {
        Line line = one.line;
        EXPECT_EQ(efga_ClipLine(&line.x0, &line.y0, &line.x1, &line.y1, 0, 0, 10, 5), one.isInside)
            << one.line.x0 << ' ' << one.line.y0;
        EXPECT_EQ(line, one.expected) << line.x0 << ' ' << line.y0 << ' ' << line.x1 << ' ' << line.y1;
    }
    Line line{1, 1, 2, 2};
    EXPECT_FALSE(efga_ClipLine(&line.x0, &line.y0, &line.x1, &line.y1, 5, 0, 4, 9));
    EXPECT_FALSE(efga_ClipLine(nullptr, &line.y0, &line.x1, &line.y1, 0, 0, 9, 9));
}

TEST(ClipLine, EndsLieOnTheLineAndInTheRectangle)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> anywhere(-300, 600);
    for (int turn = 0; turn < 20000; ++turn) {
        const Line line{anywhere(random), anywhere(random), anywhere(random), anywhere(random)};
        Line cut = line;
        if (!efga_ClipLine(&cut.x0, &cut.y0, &cut.x1, &cut.y1, 0, 0, 255, 100)) {
            continue;
        }
        for (const auto& [x, y] : {std::pair(cut.x0, cut.y0), std::pair(cut.x1, cut.y1)}) {
            EXPECT_TRUE(x >= 0 && x <= 255 && y >= 0 && y <= 100);
            const double across = (x - line.x0) * (line.y1 - line.y0) - (y - line.y0) * (line.x1 - line.x0);
            EXPECT_LT(std::fabs(across), 1e-7);
        }
    }
}

}  // namespace
