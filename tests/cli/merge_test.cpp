#include "cli/oracle.h"
#include "cli/tiff_maker.h"
#include "cli/tool_runner.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace {

using nlohmann::json;
using testing::HasSubstr;

const std::string kSample = std::string(EMANTLE_SAMPLES) + "/landsat7_olinda.tif";

using Arguments = std::vector<std::string>;

Arguments joined(Arguments first, const Arguments& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/* Equal to the last bit but for sums, whose order of adding differs. */
void expectSame(const json& merged, const json& whole)
{
    ASSERT_EQ(merged["layers"].size(), whole["layers"].size());
    for (std::size_t i = 0; i < whole["layers"].size(); ++i) {
        const json& a = merged["layers"][i];
        const json& b = whole["layers"][i];
        for (const char* name : {"name", "type", "count", "minimum", "maximum", "median", "mode", "bins", "histogram"}) {
            EXPECT_EQ(a[name], b[name]) << name << " of layer " << i + 1;
        }
        for (const char* name : {"mean", "stddev"}) {
            expectNear(a[name], number(b[name]), 1e-12, 0, name);
        }
    }
    for (std::size_t i = 0; i < whole["covariance"].size(); ++i) {
        for (std::size_t k = 0; k < whole["covariance"].size(); ++k) {
            const long double spread = std::sqrt(number(whole["covariance"][i][i]) * number(whole["covariance"][k][k]));
            expectNear(merged["covariance"][i][k], number(whole["covariance"][i][k]), 1e-12, spread, "covariance");
        }
    }
}


class MergeOf : public testing::Test {
protected:
    /* Strips whose limits are no limits of blocks, merged in another order. */
    void expectPartsMakeTheWhole(const std::string& image, const Arguments& options, std::uint32_t height)
    {
        const std::uint32_t limits[] = {0, height / 7, height / 7 + 1, height / 2 - 3, height - 5, height};
        Arguments states;
        for (std::size_t i = 0; i + 1 < std::size(limits); ++i) {
            states.insert(states.begin() + static_cast<std::ptrdiff_t>(i / 2), scratch_ / ("part" + std::to_string(i)));
            const std::string rows = std::to_string(limits[i]) + ":" + std::to_string(limits[i + 1] - 1);
            const Outcome part = run(joined({"describe", image, "--partial", scratch_ / ("part" + std::to_string(i)),
                                             "--rows", rows, "--force"},
                                            options));
            ASSERT_EQ(part.status, 0) << part.err;
            EXPECT_EQ(part.out, "");
            const Outcome sound = run({"check", scratch_ / ("part" + std::to_string(i))});
            EXPECT_EQ(sound.status, 0) << sound.out;
        }
        const Outcome whole = run(joined({"describe", image, "-o", scratch_ / "whole.img", "--json", "--force"}, options));
        const Outcome merged =
            run(joined(joined({"merge"}, states), {"-o", scratch_ / "merged.img", "--json", "--force"}));
        ASSERT_EQ(whole.status, 0) << whole.err;
        ASSERT_EQ(merged.status, 0) << merged.err;
        expectSame(merged.json()["images"][0], whole.json()["images"][0]);
        expectSameNodes();
    }

    /* The stores have the same nodes, and the tables in them are the same. */
    void expectSameNodes()
    {
        const json whole = run({"ls", scratch_ / "whole.img", "--json"}).json()["nodes"];
        const json merged = run({"ls", scratch_ / "merged.img", "--json"}).json()["nodes"];
        ASSERT_EQ(merged.size(), whole.size());
        for (std::size_t i = 0; i < whole.size(); ++i) {
            for (const char* name : {"path", "type", "size"}) {
                EXPECT_EQ(merged[i][name], whole[i][name]);
            }
            if (whole[i]["type"] == "Edsc_Table") {
                const std::string path = whole[i]["path"];
                EXPECT_EQ(run({"table", scratch_ / "merged.img", path, "--csv"}).out,
                          run({"table", scratch_ / "whole.img", path, "--csv"}).out);
            }
        }
    }

    const ScratchDirectory scratch_;
};

TEST_F(MergeOf, StripsOfASceneGivesTheStoreOfTheWhole)
{
    const Arguments options[] = {{},
                                 {"--bins", "unique"},
                                 {"--bins", "linear:50", "--exclude", "13,60", "--skip", "3,2"},
                                 {"--bins", "log:20", "--exclude", "255"}};
    for (const Arguments& one : options) {
        SCOPED_TRACE(testing::PrintToString(one));
        expectPartsMakeTheWhole(kSample, one, 352);
    }
}

/* Bins that follow the range follow that of the whole image; a part without any pixel, and one below 0 throughout. */
TEST_F(MergeOf, StripsOfFloatsWithHolesBelowZero)
{
    const Raster raster = makeRaster(90, 120, 2, 32, SAMPLEFORMAT_IEEEFP, [](auto layer, auto x, auto y) -> Raster::Value {
        if (y < 17 || (layer == 1 && (x + y) % 13 == 0)) {
            return -9999;
        }
        return y < 60 ? -5.L - noise(y * 4099ULL + x) % 1000 / 7.L : noise(y * 977ULL + x) % 1000 / 3.L - 400;
    });
    writeTiff(scratch_ / "holes.tif", raster, {.rowsPerStrip = 11, .noData = "-9999"});
    expectPartsMakeTheWhole(scratch_ / "holes.tif", {}, 120);
    expectPartsMakeTheWhole(scratch_ / "holes.tif", {"--bins", "unique", "--skip", "2,5"}, 120);
    writeTiff(scratch_ / "tiles.tif", raster, {.tile = 32, .noData = "-9999"});
    expectPartsMakeTheWhole(scratch_ / "tiles.tif", {}, 120);
}

TEST_F(MergeOf, PartsThatDoNotMakeAnImageAreRefused)
{
    const auto part = [&](const char* name, const Arguments& options) {
        const Outcome outcome = run(joined({"describe", kSample, "--force", "--partial", scratch_ / name}, options));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return scratch_ / name;
    };
    const std::string top = part("top", {"--rows", "0:99"});
    const std::string middle = part("middle", {"--rows", "100:200"});
    const std::string rest = part("rest", {"--rows", "201:351"});
    const std::string across = part("across", {"--rows", "99:120"});
    const std::string binned = part("binned", {"--rows", "100:200", "--bins", "linear:9"});
    const std::string skipped = part("skipped", {"--rows", "100:200", "--skip", "2,2"});
    const std::string store = scratch_ / "out.img";
    const struct {
        Arguments states;
        const char* told;
    } cases[] = {{{top, rest}, "landsat7_olinda: no part has rows 100 to 200"},
                 {{middle, rest}, "landsat7_olinda: no part has rows 0 to 99"},
                 {{middle, top}, "landsat7_olinda: no part has rows 201 to 351"},
                 {{top, middle, across, rest}, "landsat7_olinda: row 99 are in"},
                 {{top, top}, "rows 0 to 99 are in"},
                 {{top, binned, rest}, "does not fit to the other parts"},
                 {{top, skipped, rest}, "or looks at it in another way"},
                 {{kSample}, "is not an EHFA file"}};
    for (const auto& one : cases) {
        const Outcome outcome = run(joined(joined({"merge"}, one.states), {"-o", store}));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr(one.told));
        EXPECT_FALSE(std::filesystem::exists(store));
    }
    EXPECT_EQ(run({"describe", kSample, "--partial", top, "--rows", "300:352", "--force"}).status, 1);
    EXPECT_EQ(run({"describe", kSample, "--rows", "0:9"}).status, 2);
    for (const char* rows : {"9", "9:", ":9", "9:8", "-1:5", "1:2:3", "a:b"}) {
        EXPECT_EQ(run({"describe", kSample, "--partial", top, "--rows=" + std::string(rows), "--force"}).status, 2) << rows;
    }
}

/* A state comes from anywhere. */
TEST_F(MergeOf, DamagedStatesAreRefusedOrHarmless)
{
    ASSERT_EQ(run({"describe", kSample, "--partial", scratch_ / "state", "--skip", "9,9"}).status, 0);
    const std::string whole = contentsOf(scratch_ / "state");
    for (std::size_t at = 16; at < whole.size(); at += whole.size() / 60) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 0xff);
        std::ofstream(scratch_ / "damaged", std::ios::binary) << damaged;
        const Outcome outcome = run({"merge", scratch_ / "damaged", "-o", scratch_ / "out.img", "--force"});
        ASSERT_EQ(outcome.signal, 0) << at;
        EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << at << ": " << outcome.err;
    }
}

}  // namespace
