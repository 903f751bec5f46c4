#include "cli/tiff_maker.h"
#include "cli/tool_runner.h"
#include "support/chain.h"

#include <emantle/frame/eint.h>
#include <emantle/store/ehfa.h>
#include <emantle/tables/edsc.h>
#include <emantle/tables/esta.h>

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <thread>

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::StartsWith;

/* A scene of two layers of floats with holes, of which one lies in the first layer only. */
Raster scene()
{
    return makeRaster(60, 50, 2, 32, SAMPLEFORMAT_IEEEFP, [](auto layer, auto x, auto y) -> Raster::Value {
        if (x < 4 || (layer == 0 && y == 7)) {
            return -9999;
        }
        return std::sin(x / 9.0 + layer) * 40 + noise(x * 991 + y) % 100;
    });
}

std::set<std::string> namesIn(const std::string& folder)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.insert(entry.path().filename());
    }
    return names;
}

/* The paths of the nodes right below the root. */
std::vector<std::string> imagesIn(const std::string& store)
{
    std::vector<std::string> images;
    const Outcome outcome = run({"ls", store, "-R", "--json"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const json listed = outcome.json();
    for (const json& node : listed["nodes"]) {
        if (node["type"] == "Emantle_Image") {
            images.push_back(node["name"]);
        }
    }
    return images;
}

/* A store opened as any program opens it. */
class Store {
public:
    explicit Store(const std::string& path)
        : file_(ehfa_FileOpen(path.c_str(), "rb", eint_InitToolkit(report_), report_))
    {
        EXPECT_NE(file_, nullptr);
    }
    ~Store() { ehfa_FileClose(file_, report_); }

    Ehfa_File* get() const { return file_; }

private:
    Report report_;
    Ehfa_File* file_;
};

void expectStatistics(const Store& store, const std::string& node, const json& layer)
{
    Report report;
    Esta_Statistics statistics{};
    ASSERT_NE(esta_StatisticsRead(store.get(), node.c_str(), &statistics, 0, report), nullptr);
    EXPECT_EQ(statistics.minimum, layer["minimum"]);
    EXPECT_EQ(statistics.maximum, layer["maximum"]);
    EXPECT_EQ(statistics.mean, layer["mean"]);
    EXPECT_EQ(statistics.median, layer["median"]);
    EXPECT_EQ(statistics.mode, layer["mode"]);
    EXPECT_EQ(statistics.stddev, layer["stddev"]);
    EXPECT_THAT(report.records(), testing::IsEmpty());
}

void expectTable(const Store& store, const std::string& node, const json& layer)
{
    Report report;
    Edsc_TableInstance* table =
        edsc_TableOpen(store.get(), nullptr, (node + ":Descriptor_Table").c_str(), EHFA_SEEK_PATH, nullptr, report);
    ASSERT_NE(table, nullptr) << node;
    EXPECT_EQ(table->numRows, layer["bins"]["count"]);
    Esta_Histogram* histogram = esta_HistogramRead(table, nullptr, 0, ESTA_ALL_BINS, report);
    ASSERT_NE(histogram, nullptr);
    EXPECT_EQ(histogram->binfunction->title, layer["bins"]["function"].get<std::string>());
    EXPECT_EQ(edsc_BinFunctionMinLimit(histogram->binfunction, report), layer["bins"]["minimum"]);
    EXPECT_EQ(edsc_BinFunctionMaxLimit(histogram->binfunction, report), layer["bins"]["maximum"]);
    const auto* counts = static_cast<const double*>(histogram->data);
    EXPECT_EQ(std::vector<double>(counts, counts + histogram->numrows), layer["histogram"].get<std::vector<double>>());
    esta_HistogramDelete(histogram, report);
    edsc_TableClose(table, report);
    EXPECT_THAT(report.records(), testing::IsEmpty());
}

void expectCovariance(const Store& store, const std::string& node, const json& covariance)
{
    Report report;
    Esta_Covariance* matrix = esta_CovarianceRead(store.get(), node.c_str(), nullptr, report);
    ASSERT_NE(matrix, nullptr);
    ASSERT_EQ(matrix->numrows, static_cast<int>(covariance.size()));
    for (int column = 0; column < matrix->numcolumns; ++column) {
        const auto* values =
            reinterpret_cast<const double*>(static_cast<const char*>(matrix->firstelement) + column * matrix->pitch);
        for (int row = 0; row < matrix->numrows; ++row) {
            EXPECT_EQ(values[row], covariance[row][column]);
        }
    }
    esta_CovarianceDelete(matrix, report);
}

class StoreOfBins : public testing::TestWithParam<const char*> {};

TEST_P(StoreOfBins, ReadsBackWhatDescribePrinted)
{
    const ScratchDirectory scratch;
    writeTiff(scratch / "scene.tif", scene(), {.noData = "-9999"});
    const std::string path = scratch / "made.store";
    const json image =
        describe(scratch / "scene.tif", {"-o", path, "--bins", GetParam(), "--exclude", "5", "--skip", "2,3"});
    ASSERT_TRUE(image.is_object());
    EXPECT_EQ(namesIn(scratch.path()), (std::set<std::string>{"made.store", "scene.tif"}));
    EXPECT_EQ(run({"check", path}).status, 0);

    const Store store(path);
    for (int layer = 0; layer < 2; ++layer) {
        const std::string node = ":scene:Layer_" + std::to_string(layer + 1);
        expectStatistics(store, node, image["layers"][layer]);
        expectTable(store, node, image["layers"][layer]);
        Report report;
        Egda_BaseData* excluded = esta_StatisticsAreValuesExcluded(store.get(), node.c_str(), 0, report);
        ASSERT_NE(excluded, nullptr);
        ASSERT_EQ(excluded->numrows, 2);
        EXPECT_EQ(static_cast<const double*>(excluded->data)[0], -9999);
        EXPECT_EQ(static_cast<const double*>(excluded->data)[1], 5);
        egda_BaseDataDelete(excluded, report);
        int32_t skipX = 0;
        int32_t skipY = 0;
        EXPECT_TRUE(esta_StatisticsGetSkipFactors(store.get(), node.c_str(), &skipX, &skipY, report));
        EXPECT_EQ(skipX, 2);
        EXPECT_EQ(skipY, 3);
    }
    expectCovariance(store, ":scene", image["covariance"]);
}

INSTANTIATE_TEST_SUITE_P(Kinds, StoreOfBins,
                         testing::Values("direct:-50:300", "linear:40", "log:20", "unique", "unique:3"),
                         [](const auto& one) { return "Kind" + std::to_string(one.index); });

TEST(StoreVerbs, LsShowAndCheckAgreeWithDescribe)
{
    const ScratchDirectory scratch;
    writeTiff(scratch / "scene.tif", scene(), {.noData = "-9999"});
    const std::string path = scratch / "made.store";
    const json image = describe(scratch / "scene.tif", {"-o", path, "--bins", "linear:9"});
    ASSERT_TRUE(image.is_object());

    std::set<std::string> nodes;
    const json listed = run({"ls", path, "-R", "--json"}).json();
    for (const json& node : listed["nodes"]) {
        nodes.insert(node["path"]);
        const Outcome shown = run({"show", path, node["path"].get<std::string>(), "--json"});
        EXPECT_EQ(shown.status, 0) << node << shown.err;
        EXPECT_EQ(shown.json()["type"], node["type"]);
        EXPECT_EQ(run({"show", path, node["path"].get<std::string>()}).status, 0) << node;
    }
    for (const char* expected : {":scene", ":scene:Layer_1", ":scene:Layer_2:Statistics",
                                 ":scene:Layer_2:Descriptor_Table:Histogram", ":scene:Covariance"}) {
        EXPECT_TRUE(nodes.count(expected)) << expected;
    }

    const json record = run({"show", path, "scene:Layer_1:Statistics", "--json"}).json()["object"];
    for (const char* figure : {"minimum", "maximum", "mean", "median", "mode", "stddev"}) {
        EXPECT_EQ(record[figure], image["layers"][0][figure]) << figure;
    }
    EXPECT_EQ(run({"show", path, "scene:Layer_1", "--json"}).json()["object"]["pixelType"], "f32");
    EXPECT_EQ(run({"show", path, ":scene:Covariance", "--json"}).json()["object"]["covariance"]["values"],
              image["covariance"]);
    const json table = run({"show", path, "scene:Layer_1:Descriptor_Table", "--json"}).json()["table"];
    EXPECT_EQ(table["columns"][0]["name"], "Histogram");
    EXPECT_EQ(table["columns"][0]["values"], image["layers"][0]["histogram"]);
    EXPECT_EQ(table["bins"]["limits"].size(), 9U);
    EXPECT_EQ(table["bins"]["limits"][0][0], image["layers"][0]["bins"]["minimum"]);
    EXPECT_EQ(run({"show", path, "scene:Layer_1:Descriptor_Table:Histogram", "--json"}).json()["table"], table);

    const json below = run({"ls", "-R", path, "scene:Layer_2:", "--json"}).json()["nodes"];
    EXPECT_EQ(below[0]["path"], ":scene:Layer_2");
    EXPECT_LT(below.size(), listed["nodes"].size());
    const json checked = run({"check", path, "--json"}).json();
    EXPECT_EQ(checked["sound"], true);
    EXPECT_EQ(checked["entries"], listed["nodes"].size());
    EXPECT_EQ(checked["size"], std::filesystem::file_size(path));
    EXPECT_EQ(checked["lost"], 0);
}

TEST(StoreVerbs, ALayerWithNothingLeftIsKeptAsSuch)
{
    const ScratchDirectory scratch;
    writeTiff(scratch / "flat.tif", makeRaster(20, 20, 2, 16, SAMPLEFORMAT_UINT,
                                               [](auto layer, auto x, auto) { return layer == 0 ? 3 : x; }));
    const std::string path = scratch / "made.store";
    for (const char* bins : {"linear", "log", "direct", "unique"}) {
        SCOPED_TRACE(bins);
        const json image = describe(scratch / "flat.tif", {"-o", path, "--force", "--exclude", "3", "--bins", bins});
        ASSERT_TRUE(image.is_object());
        EXPECT_EQ(image["layers"][0]["count"], 0);
        EXPECT_EQ(run({"check", path}).status, 0);
        expectStatistics(Store(path), ":flat:Layer_1", image["layers"][0]);
        expectTable(Store(path), ":flat:Layer_2", image["layers"][1]);
    }
}

TEST(StoreNames, AreUniqueAndFitTheirEntry)
{
    const ScratchDirectory scratch;
    const std::string longName(80, 'n');
    std::string accents;
    for (int i = 0; i < 40; ++i) {
        accents += "\xc3\xa9";
    }
    const std::string names[] = {"a.tif",          "deep/a.tif",      "a_2.tif",
                                 "deep/a.b.tiff",  longName + ".tif", "deep/" + longName + ".tif",
                                 accents + ".tif", "o:(d),d\\.tif",   "noending"};
    std::filesystem::create_directory(scratch / "deep");
    std::vector<std::string> arguments{"describe", "-o", scratch / "names.store"};
    for (const std::string& name : names) {
        writeTiff(scratch / name, smallRaster());
        arguments.push_back(scratch / name);
    }
    const Outcome outcome = run(arguments);
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(imagesIn(scratch / "names.store"),
                ElementsAre("a", "a_2", "a_2_2", "a.b", std::string(63, 'n'), std::string(61, 'n') + "_2",
                            accents.substr(0, 62), "o__d__d_", "noending"));
    EXPECT_EQ(run({"show", scratch / "names.store", ":a_2_2:Layer_2:Statistics"}).status, 0);
    EXPECT_EQ(run({"check", scratch / "names.store"}).status, 0);
}

TEST(StoreReplacing, HappensOnlyWithForceAndOnlyWhenAllIsWell)
{
    const ScratchDirectory scratch;
    writeTiff(scratch / "first.tif", smallRaster());
    writeTiff(scratch / "second.tif", smallRaster());
    const std::string path = scratch / "made.store";
    ASSERT_EQ(run({"describe", scratch / "first.tif", "-o", path}).status, 0);
    const std::string before = contentsOf(path);

    const Outcome refused = run({"describe", scratch / "second.tif", "-o", path});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "emantle: " + path + ": exists; --force replaces it\n");
    EXPECT_EQ(run({"describe", scratch / "second.tif", scratch / "absent.tif", "-o", path, "--force"}).status, 1);
    EXPECT_EQ(contentsOf(path), before);

    EXPECT_EQ(run({"describe", scratch / "second.tif", "-o", path, "--force"}).status, 0);
    EXPECT_THAT(imagesIn(path), ElementsAre("second"));
    EXPECT_EQ(namesIn(scratch.path()), (std::set<std::string>{"first.tif", "second.tif", "made.store"}));
}

/* A store need not be named with its folder. */
TEST(StoreReplacing, WorksInTheCurrentFolder)
{
    const ScratchDirectory scratch;
    writeTiff(scratch / "first.tif", smallRaster());
    const Outcome outcome = run({"describe", "first.tif", "-o", "made.store"}, {.directory = scratch.path()});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(run({"check", "made.store"}, {.directory = scratch.path()}).status, 0);
    EXPECT_EQ(namesIn(scratch.path()), (std::set<std::string>{"first.tif", "made.store"}));
}

class Interrupted : public testing::TestWithParam<int> {};

TEST_P(Interrupted, TakesBackWhatWasBegun)
{
    const ScratchDirectory scratch;
    std::filesystem::create_directory(scratch / "out");
    writeTiff(scratch / "scene.tif",
              makeRaster(1000, 1000, 1, 8, SAMPLEFORMAT_UINT, [](auto, auto x, auto y) { return (x ^ y) & 0xff; }));
    std::vector<std::string> arguments{"describe", "-o", scratch / "out/made.store"};
    arguments.insert(arguments.end(), 3000, scratch / "scene.tif");
    Running running(arguments);
    const auto begun = std::chrono::steady_clock::now();
    while (namesIn(scratch / "out").empty() && std::chrono::steady_clock::now() - begun < std::chrono::seconds(60)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    running.kill(GetParam());
    const Outcome outcome = running.finish();
    EXPECT_EQ(outcome.status, 1) << outcome.signal;
    EXPECT_EQ(outcome.err, "emantle: interrupted\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(namesIn(scratch / "out"), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Signals, Interrupted, testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto& one) { return "Signal" + std::to_string(one.param); });

} // namespace
