#include "cli/picture_reader.h"
#include "cli/tiff_maker.h"
#include "cli/tool_runner.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

const std::string kSample = std::string(EMANTLE_SAMPLES) + "/landsat7_olinda.tif";

std::string pageOf(const std::string& store, const std::string& page)
{
    const Outcome outcome = run({"report", store, "-o", page, "--force"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return contentsOf(page);
}

/* What a browser makes of a page; empty where there is none. */
std::string renderedBy(const std::string& page, const ScratchDirectory& scratch)
{
    const std::string command = "command -v chromium >/dev/null && HOME='" + scratch.path() +
                                "' timeout 100 chromium --headless --no-sandbox --disable-gpu --user-data-dir='" +
                                scratch / "profile" + "' --dump-dom 'file://" + page + "' 2>/dev/null > '" +
                                scratch / "dom.html" + "'";
    return std::system(command.c_str()) == 0 ? contentsOf(scratch / "dom.html") : std::string();
}

/* The cells of the row that a name begins, in the table of a caption. */
std::vector<std::string> cellsOf(const std::string& dom, const std::string& caption, const std::string& row)
{
    const std::size_t table = dom.find("<caption>" + caption);
    const std::size_t begin = dom.find("<bdi>" + row + "</bdi></th>", dom.find("<tbody>", table));
    EXPECT_TRUE(table != std::string::npos && begin != std::string::npos) << caption << ", " << row;
    if (table == std::string::npos || begin == std::string::npos) {
        return {};
    }
    const std::string line = dom.substr(begin, dom.find("</tr>", begin) - begin);
    static const RE2 pattern("<td[^>]*>([^<]*)</td>");
    std::vector<std::string> cells;
    re2::StringPiece rest(line);
    for (std::string cell; RE2::FindAndConsume(&rest, pattern, &cell);) {
        cells.push_back(cell);
    }
    return cells;
}

TEST(Report, ABrowserShowsTheFiguresOfTheScene)
{
    const ScratchDirectory scratch;
    const Outcome described = run({"describe", kSample, "-o", scratch / "scene.img", "--json"});
    ASSERT_EQ(described.status, 0) << described.err;
    pageOf(scratch / "scene.img", scratch / "report.html");
    const std::string dom = renderedBy(scratch / "report.html", scratch);
    if (dom.empty()) {
        GTEST_SKIP() << "chromium is not installed";
    }
    const json image = described.json()["images"][0];
    for (std::size_t i = 0; i < 6; ++i) {
        const json& layer = image["layers"][i];
        const auto cells = cellsOf(dom, "Statistics of the layers", layer["name"]);
        ASSERT_EQ(cells.size(), 8U);
        EXPECT_EQ(cells[1], "122,848");
        const char* names[] = {"minimum", "maximum", "mean", "median", "mode", "stddev"};
        for (std::size_t k = 0; k < 6; ++k) {
            EXPECT_NEAR(std::stod(cells[k + 2]), layer[names[k]].get<double>(), 1e-7) << names[k];
        }
        const auto covariances = cellsOf(dom, "Covariance of the layers", layer["name"]);
        const auto correlations = cellsOf(dom, "Correlation of the layers", layer["name"]);
        ASSERT_TRUE(covariances.size() == 6 && correlations.size() == 6);
        for (std::size_t k = 0; k < 6; ++k) {
            const double covariance = image["covariance"][i][k];
            EXPECT_NEAR(std::stod(covariances[k]), covariance, 1e-6);
            const double spread = layer["stddev"].get<double>() * image["layers"][k]["stddev"].get<double>();
            EXPECT_NEAR(std::stod(correlations[k]), covariance / spread, 6e-4);
        }
    }
    std::size_t pictures = 0;
    for (std::size_t at = dom.find("<svg"); at != std::string::npos; at = dom.find("<svg", at + 1)) {
        ++pictures;
        EXPECT_EQ(dom.compare(dom.find("role=", at), 10, "role=\"img\""), 0);
    }
    EXPECT_EQ(pictures, 6U);
}

/* The page asks nothing of a network and runs nothing, whatever the names in the store are. */
TEST(Report, NamesAreTextWhateverTheyAre)
{
    const ScratchDirectory scratch;
    const std::vector<std::string> names{"<script>alert(1)<", "\"onload='x'&amp;", "\xff\xc3(\xed\xa0\x80", "\xe2\x80\xae rev",
                                         "]]>--><style>"};
    std::vector<std::string> arguments{"describe", "-o", scratch / "hostile.img"};
    for (const std::string& name : names) {
        arguments.push_back(scratch / (name + ".tif"));
        writeTiff(arguments.back(), makeRaster(8, 8, 2, 8, SAMPLEFORMAT_UINT, [](auto layer, auto x, auto y) {
                      return layer == 0 ? x : y;
                  }));
    }
    ASSERT_EQ(run(arguments).status, 0);
    const std::string page = pageOf(scratch / "hostile.img", scratch / "report.html");
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("\"onload")));
    EXPECT_THAT(page, Not(HasSubstr("]]>")));
    EXPECT_EQ(page.find('\xff'), std::string::npos);
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert_1_&lt;"));
    std::size_t tags = 0;
    for (std::size_t at = page.find("<style"); at != std::string::npos; at = page.find("<style", at + 1)) {
        ++tags;
    }
    EXPECT_EQ(tags, 1U);
    for (std::size_t at = page.find("http"); at != std::string::npos; at = page.find("http", at + 1)) {
        const bool known = page.compare(at, 26, "http://www.w3.org/2000/svg") == 0 || page.compare(at, 10, "http-equiv") == 0;
        EXPECT_TRUE(known) << page.substr(at, 60);
    }
    /* Every picture is well-formed by itself. */
    int number = 0;
    for (std::size_t at = page.find("<svg"); at != std::string::npos; at = page.find("<svg", at + 1)) {
        const std::string path = scratch / ("picture" + std::to_string(++number) + ".svg");
        std::ofstream(path, std::ios::binary) << page.substr(at, page.find("</svg>", at) + 6 - at);
        expectXml(path);
    }
    EXPECT_EQ(number, 10);
}

TEST(Report, OfADamagedStoreTellsWhatIsLeft)
{
    const ScratchDirectory scratch;
    ASSERT_EQ(run({"describe", kSample, "-o", scratch / "scene.img"}).status, 0);
    const std::string whole = contentsOf(scratch / "scene.img");
    int told = 0;
    for (std::size_t at = 64; at < whole.size(); at += whole.size() / 40) {
        std::string damaged = whole;
        for (std::size_t i = at; i < std::min(at + 24, damaged.size()); ++i) {
            damaged[i] = static_cast<char>(damaged[i] ^ 0x5a);
        }
        std::ofstream(scratch / "damaged.img", std::ios::binary) << damaged;
        const Outcome outcome = run({"report", scratch / "damaged.img", "-o", scratch / "report.html", "--force"});
        ASSERT_EQ(outcome.signal, 0) << at;
        ASSERT_TRUE(outcome.status == 0 || (outcome.status == 1 && !outcome.err.empty())) << at;
        if (std::filesystem::remove(scratch / "report.html")) {
            ++told;
        }
    }
    EXPECT_GT(told, 20);
    EXPECT_EQ(run({"report", scratch / "scene.img"}).status, 2);
    EXPECT_EQ(run({"report", scratch / "none.img", "-o", scratch / "none.html"}).status, 1);
    EXPECT_FALSE(std::filesystem::exists(scratch / "none.html"));
}

}  // namespace
