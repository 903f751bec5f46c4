#include "store/hfa/store_fixture.h"
#include "support/captured_stderr.h"
#include "tables/esta_support.h"

#include <emantle/store/emif.h>

namespace {

/* Six layers of one scene, as a scan by tiles meets them. */
struct Scene {
    static constexpr long kSide = 96;
    static constexpr long kTiles = 8; /* a side */

    std::vector<Picture> layers;
    std::vector<Picture> masks;

    explicit Scene(bool isMasked)
    {
        unsigned seed = 7;
        for (const Egda_PixelType type : {EGDA_TYPE_U8, EGDA_TYPE_S8, EGDA_TYPE_U16, EGDA_TYPE_S32, EGDA_TYPE_F32,
                                          EGDA_TYPE_C128}) {
            layers.emplace_back(type, kSide, kSide, seed++);
        }
        if (isMasked) {
            masks.push_back(maskFor(layers.front(), 99));
        }
    }

    void take(Esta_AllStatsStack* stack, long row, long column, long side) const
    {
        const auto views = [&](const std::vector<Picture>& pictures) {
            std::vector<BaseData> parts;
            for (const Picture& picture : pictures) {
                parts.emplace_back(egda_BaseDataDerived(picture.get(), row, column, side, side, nullptr));
            }
            return parts;
        };
        const auto borrowed = [](const std::vector<BaseData>& parts) {
            std::vector<Egda_BaseData*> list;
            for (const BaseData& part : parts) {
                list.push_back(part.get());
            }
            return Layers(list);
        };
        const std::vector<BaseData> data = views(layers);
        const std::vector<BaseData> ofMasks = views(masks);
        Layers rectangles = borrowed(data);
        Layers maskStack = borrowed(ofMasks);
        if (!masks.empty()) {
            esta_RectanglesSetMasks(&rectangles.stack, &maskStack.stack);
        }
        Report report;
        ASSERT_TRUE(esta_AllStatsAccumulate(stack, &rectangles.stack, report));
    }
};

/* An accumulator for a part of the scene: histograms, or every distinct value up to `maxUnique`. */
AllStatsStack accumulator(double maxUnique)
{
    const BinFunction bins = linear(-100, 60000, 256);
    AllStatsStack stack(esta_AllStatsStackCreate(6, maxUnique > 0 ? 0 : 256, bins.get(), nullptr));
    for (int layer = 0; maxUnique > 0 && layer < 6; ++layer) {
        constexpr Egda_PixelType kTypes[] = {EGDA_TYPE_U8,  EGDA_TYPE_S8,  EGDA_TYPE_U16,
                                             EGDA_TYPE_S32, EGDA_TYPE_F32, EGDA_TYPE_C128};
        esta_AllStatsUVHistogramBegin(stack->allStats[layer], maxUnique, kTypes[layer], nullptr);
    }
    return stack;
}

AllStatsStack throughBytes(const AllStatsStack& stack)
{
    Report report;
    void* object = nullptr;
    const Emif_Design* design = nullptr;
    EXPECT_TRUE(esta_AllStatsStackConvertToMIF(stack.get(), &object, &design, report)) << rootCause(report);
    Emif_MIFObject packed{};
    emif_MIFableObjectConvertToMIFObject(object, design, &packed, report);
    emif_ObjectFree(&object, design, nullptr);
    void* read = nullptr;
    Emif_Design* readDesign = nullptr;
    EXPECT_TRUE(emif_MIFableObjectConvertFromMIFObject(&read, &readDesign, &packed, report)) << rootCause(report);
    emif_MIFObjectFreeContents(&packed);
    AllStatsStack copy(esta_AllStatsStackConvertFromMIF(read, readDesign, report));
    EXPECT_NE(copy, nullptr) << rootCause(report);
    emif_ObjectFree(&read, readDesign, nullptr);
    emif_DesignDestroy(readDesign);
    return copy;
}

void expectNear(double actual, double expected, const std::string& what)
{
    EXPECT_LE(std::fabs(actual - expected), 1e-12 * std::max(1.0, std::fabs(expected))) << what;
}

std::vector<double> keptValues(Eahg_Histogram* kept)
{
    Egda_BaseData* values = nullptr;
    Egda_BaseData* counts = nullptr;
    eahg_HistogramConvertToValuesAndCounts(kept, &values, &counts, nullptr);
    const BaseData ownedValues(values);
    const BaseData ownedCounts(counts);
    std::vector<double> all = rowsOf(counts);
    const long parts = values->datatype == EGDA_TYPE_C128 ? 2 : 1;
    const auto* first = static_cast<const double*>(values->data);
    all.insert(all.end(), first, first + parts * values->numelements);
    return all;
}

void expectSame(const Esta_AllStatsStack& actual, const Esta_AllStatsStack& expected)
{
    EXPECT_EQ(actual.count, expected.count);
    for (int layer = 0; layer < expected.numLayers; ++layer) {
        const std::string where = "layer " + std::to_string(layer);
        const Esta_AllStats& a = *actual.allStats[layer];
        const Esta_AllStats& b = *expected.allStats[layer];
        EXPECT_EQ(a.count, b.count) << where;
        EXPECT_EQ(a.statistics->minimum, b.statistics->minimum) << where;
        EXPECT_EQ(a.statistics->maximum, b.statistics->maximum) << where;
        expectNear(a.statistics->mean, b.statistics->mean, where + " sum");
        expectNear(a.statistics->stddev, b.statistics->stddev, where + " squares");
        ASSERT_EQ(a.histogram == nullptr, b.histogram == nullptr) << where;
        if (b.histogram != nullptr) {
            EXPECT_EQ(rowsOf(a.histogram), rowsOf(b.histogram)) << where;
            EXPECT_TRUE(edsc_BinFunctionIsSame(a.histogram->binfunction, b.histogram->binfunction, nullptr));
        }
        ASSERT_EQ(a.uvHistogram == nullptr, b.uvHistogram == nullptr) << where;
        if (b.uvHistogram != nullptr) {
            EXPECT_EQ(a.uvHistogram->totalCount, b.uvHistogram->totalCount) << where;
            EXPECT_EQ(a.uvHistogram->maxUnique, b.uvHistogram->maxUnique) << where;
            EXPECT_EQ(keptValues(a.uvHistogram), keptValues(b.uvHistogram)) << where;
        }
    }
    for (int at = 0; at < expected.covariance->numelements; ++at) {
        expectNear(rowsOf(actual.covariance)[static_cast<std::size_t>(at)],
                   rowsOf(expected.covariance)[static_cast<std::size_t>(at)], "product " + std::to_string(at));
    }
    for (int at = 0; at < expected.numLayers; ++at) {
        expectNear(rowsOf(actual.means)[static_cast<std::size_t>(at)],
                   rowsOf(expected.means)[static_cast<std::size_t>(at)], "value " + std::to_string(at));
    }
}

struct Split {
    bool isMasked;
    double maxUnique; /* 0 for histograms */
    const char* what;
};

class MergedParts : public testing::TestWithParam<Split> {};

/* The parts meet in random trees, every third one after a way through bytes. */
TEST_P(MergedParts, AreAsOneScan)
{
    const Split& split = GetParam();
    const Scene scene(split.isMasked);
    const AllStatsStack whole = accumulator(split.maxUnique);
    scene.take(whole.get(), 0, 0, Scene::kSide);
    for (unsigned tree = 0; tree < 5; ++tree) {
        std::mt19937 random(tree);
        std::vector<AllStatsStack> parts;
        constexpr long kSide = Scene::kSide / Scene::kTiles;
        for (long tile = 0; tile < Scene::kTiles * Scene::kTiles; ++tile) {
            parts.push_back(accumulator(split.maxUnique));
            scene.take(parts.back().get(), tile / Scene::kTiles * kSide, tile % Scene::kTiles * kSide, kSide);
        }
        parts.push_back(accumulator(split.maxUnique)); /* a part that never met a pixel */
        while (parts.size() > 1) {
            std::swap(parts[random() % parts.size()], parts.back());
            AllStatsStack source = std::move(parts.back());
            parts.pop_back();
            if (random() % 3 == 0) {
                source = throughBytes(source);
            }
            Report report;
            AllStatsStack& target = parts[random() % parts.size()];
            ASSERT_TRUE(esta_AllStatsStackMerge(target.get(), source.get(), report)) << rootCause(report);
        }
        expectSame(*parts.front(), *whole);
    }
}

INSTANTIATE_TEST_SUITE_P(Splits, MergedParts,
                         testing::Values(Split{true, 0, "HistogramsUnderAMask"}, Split{false, 0, "Histograms"},
                                         Split{false, 20000, "EveryValueKept"}, Split{false, 200, "LimitMetInTheMerge"},
                                         Split{false, 100, "LimitMetInTheParts"}),
                         [](const auto& split) { return std::string(split.param.what); });

AllStats layerOf(const std::vector<double>& pixels, const Picture* mask = nullptr)
{
    AllStats allStats(esta_AllStatsCreate(0, nullptr, nullptr));
    const BaseData table = doubles(pixels);
    const BaseData raster(
        egda_BaseDataCreate(1, table->numrows, EGDA_TYPE_F64, EGDA_RASTER_OBJECT, table->data, nullptr));
    const Egda_BaseData* const set = mask == nullptr ? nullptr : mask->get();
    EXPECT_TRUE(esta_RasterAccumulateStats(allStats.get(), raster.get(), set, nullptr));
    return allStats;
}

TEST(Merge, KeepsTheQuirksOfTheExtremes)
{
    Picture none(EGDA_TYPE_U8, 1, 2, 1);
    none.fill<std::uint8_t>(0);
    const AllStats empty = layerOf({-7, -3}, &none);
    const AllStats negative = layerOf({-7, -3});
    ASSERT_TRUE(esta_AllStatsMerge(empty.get(), negative.get(), nullptr));
    EXPECT_EQ(empty->statistics->minimum, -7);
    EXPECT_EQ(empty->statistics->maximum, std::numeric_limits<double>::min());

    const AllStats fresh(esta_AllStatsCreate(0, nullptr, nullptr));
    ASSERT_TRUE(esta_AllStatsMerge(negative.get(), fresh.get(), nullptr));
    EXPECT_EQ(negative->statistics->minimum, -7);
    EXPECT_EQ(negative->count, 2);

    const AllStats spoilt = layerOf({std::nan(""), 5});
    ASSERT_TRUE(esta_AllStatsMerge(negative.get(), spoilt.get(), nullptr));
    EXPECT_TRUE(std::isnan(negative->statistics->minimum));
}

TEST(Merge, RefusesWhatDoesNotAgreeAndLeavesTheTargetAlone)
{
    const BinFunction byTens = linear(0, 100, 10);
    const BinFunction others = linear(0, 101, 10);
    const auto stackOf = [&](long layers, const BinFunction& bins) {
        return AllStatsStack(esta_AllStatsStackCreate(layers, 10, bins.get(), nullptr));
    };
    const AllStatsStack target = stackOf(2, byTens);
    target->allStats[0]->count = 17;
    const auto failure = [&](const AllStatsStack& source) {
        Report report;
        source->allStats[0]->count = 4;
        EXPECT_FALSE(esta_AllStatsStackMerge(target.get(), source.get(), report));
        EXPECT_EQ(target->allStats[0]->count, 17);
        return rootCause(report);
    };
    EXPECT_EQ(failure(stackOf(3, byTens)), "The accumulators have different numbers of layers (2 vs. 3)");
    EXPECT_EQ(failure(stackOf(2, others)), "The histograms of the accumulators have different bin functions");

    const AllStatsStack bare = stackOf(2, byTens);
    esta_CovarianceDestroy(&bare->covariance, nullptr);
    EXPECT_EQ(failure(bare), "One of the accumulators has a covariance, and the other has none");
    const AllStatsStack sampled = stackOf(2, byTens);
    sampled->skipFactorY = 3;
    EXPECT_EQ(failure(sampled), "The accumulators have different skip factors, 1 by 1 and 1 by 3");
    const AllStatsStack excluding = stackOf(2, byTens);
    excluding->excludedValues = doubles({0}).release();
    EXPECT_EQ(failure(excluding), "The accumulators exclude different values");
    const AllStatsStack holed = stackOf(2, byTens);
    esta_AllStatsDelete(holed->allStats[1], nullptr);
    holed->allStats[1] = nullptr;
    EXPECT_EQ(failure(holed), "Layer 1 is missing in one of the accumulators");
    Report twice;
    EXPECT_FALSE(esta_AllStatsStackMerge(target.get(), target.get(), twice));
}

class MergeStore : public StoreTest {};

TEST_F(MergeStore, AStateGoesThroughAStore)
{
    const Scene scene(true);
    const AllStatsStack stack = accumulator(0);
    stack->excludedValues = doubles({3, 5}).release();
    stack->skipFactorX = 2;
    scene.take(stack.get(), 0, 0, 16);
    esta_AllStatsDelete(stack->allStats[4], nullptr);
    stack->allStats[4] = nullptr;

    create();
    void* object = nullptr;
    const Emif_Design* design = nullptr;
    ASSERT_TRUE(esta_AllStatsStackConvertToMIF(stack.get(), &object, &design, expected()));
    ASSERT_TRUE(ehfa_ObjectWrite(file_, ":", "West", ESTA_ALL_STATS_STACK_STATE, EHFA_WRITE_LAST_CHILD, object, design,
                                 expected()));
    emif_ObjectFree(&object, design, nullptr);
    close();
    open();
    Emif_Design* own = esta_AllStatsStackStateDesignFetch(expected());
    object = emif_ObjectAllocate(own, expected());
    ASSERT_NE(ehfa_ObjectRead(file_, ":", "West", EHFA_SEEK_CHILD_NAME, object, own, expected()), nullptr);
    const AllStatsStack read(esta_AllStatsStackConvertFromMIF(object, own, expected()));
    emif_ObjectFree(&object, own, nullptr);
    emif_DesignDestroy(own);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->allStats[4], nullptr);
    EXPECT_EQ(rowsOf(read->excludedValues), (std::vector<double>{3, 5}));
    EXPECT_EQ(read->skipFactorX, 2);
    EXPECT_EQ(rowsOf(read->covariance), rowsOf(stack->covariance));
    EXPECT_EQ(rowsOf(read->allStats[2]->histogram), rowsOf(stack->allStats[2]->histogram));
}

TEST(State, KeepsTheValuesOfAThousandLayersAtMost)
{
    const AllStatsStack stack(esta_AllStatsStackCreate(1025, 0, nullptr, nullptr));
    for (int layer = 0; layer < 1025; ++layer) {
        esta_AllStatsUVHistogramBegin(stack->allStats[layer], 10, EGDA_TYPE_U8, nullptr);
    }
    void* object = nullptr;
    const Emif_Design* design = nullptr;
    Report report;
    EXPECT_FALSE(esta_AllStatsStackConvertToMIF(stack.get(), &object, &design, report));
    EXPECT_EQ(rootCause(report),
              "The state of an accumulation keeps the values of 1025 layers; at most 1024 can be kept");
    eahg_HistogramDestroy(&stack->allStats[0]->uvHistogram, nullptr);
    EXPECT_TRUE(esta_AllStatsStackConvertToMIF(stack.get(), &object, &design, Report()));
    emif_ObjectFree(&object, design, nullptr);
}

void finish(Esta_AllStatsStack* stack)
{
    for (int layer = 0; stack != nullptr && layer < stack->numLayers; ++layer) {
        Esta_AllStats* const allStats = stack->allStats[layer];
        if (allStats != nullptr && allStats->uvHistogram != nullptr) {
            esta_AllStatsUVHistogramEnd(allStats, nullptr, nullptr);
        }
    }
    esta_AllStatsStackFinish(stack, nullptr);
}

/* Every byte of a state is changed in turn: the answer is a report or a stack that can be finished. */
TEST(State, DamagedBytesDoNoHarm)
{
    const AllStatsStack stack(esta_AllStatsStackCreate(2, 4, linear(0, 100, 4).get(), nullptr));
    esta_AllStatsUVHistogramBegin(stack->allStats[1], 100, EGDA_TYPE_U32, nullptr);
    const std::vector<std::uint32_t> values{1, 1, 70000, 9};
    const BaseData pixels = tableOf(EGDA_TYPE_U32, values);
    ASSERT_EQ(eahg_HistogramAccumulateValues(stack->allStats[1]->uvHistogram, pixels.get(), nullptr, nullptr), 0);
    void* object = nullptr;
    const Emif_Design* design = nullptr;
    ASSERT_TRUE(esta_AllStatsStackConvertToMIF(stack.get(), &object, &design, nullptr));
    Emif_MIFObject packed{};
    emif_MIFableObjectConvertToMIFObject(object, design, &packed, nullptr);
    emif_ObjectFree(&object, design, nullptr);
    auto* const bytes = static_cast<unsigned char*>(packed.MIFObject.pointer);
    int refused = 0;
    stderrOf([&] {
        for (std::int32_t at = 0; at < packed.MIFObject.count; ++at) {
            for (const unsigned char flip : {0x01, 0x80, 0xff}) {
                bytes[at] = static_cast<unsigned char>(bytes[at] ^ flip);
                Report report;
                void* read = nullptr;
                Emif_Design* readDesign = nullptr;
                if (emif_MIFableObjectConvertFromMIFObject(&read, &readDesign, &packed, report)) {
                    const AllStatsStack damaged(esta_AllStatsStackConvertFromMIF(read, readDesign, report));
                    refused += damaged == nullptr;
                    EXPECT_EQ(damaged == nullptr, report.get() != nullptr);
                    finish(damaged.get());
                    emif_ObjectFree(&read, readDesign, nullptr);
                    emif_DesignDestroy(readDesign);
                }
                bytes[at] = static_cast<unsigned char>(bytes[at] ^ flip);
            }
        }
    });
    EXPECT_GT(refused, 50);
    emif_MIFObjectFreeContents(&packed);
}

}  // namespace
