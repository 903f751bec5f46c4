#include "support/captured_stderr.h"
#include "tables/esta_support.h"

#include <emantle/frame/emsc/heap.h>
#include <emantle/settings/edll.h>
#include <emantle/store/emif.h>
#include <filesystem>
#include <fstream>

/* A kind of bin function from outside, whole, in part, and broken. */

namespace {

constexpr const char* kModule = EMANTLE_TEST_MODULES "/whims_module.so";

class ForeignKindOnItsOwn : public testing::Test {
protected:
    ForeignKindOnItsOwn()
    {
        setenv("ORVIK_BIN_FUNCTIONS_PATH", EMANTLE_TEST_MODULES, 1);
        library_ = edll_Open(EMANTLE_TEST_MODULES "/whims_module.dll", nullptr);
        reinterpret_cast<void (*)(void* (*)(long))>(edll_Find(library_, "whimsUseHeap", nullptr))(
            [](long size) { return emsc_HeapMalloc(size); });
        spoil_ = reinterpret_cast<void (*)(const char*)>(edll_Find(library_, "whimsSpoil", nullptr));
        living_ = reinterpret_cast<long (*)()>(edll_Find(library_, "whimsLiving", nullptr));
        spoil_("");
    }
    ~ForeignKindOnItsOwn() override
    {
        spoil_("");
        EXPECT_EQ(living_(), 0) << "what a kind made goes back to it";
        edll_Close(library_, nullptr);
        unsetenv("ORVIK_BIN_FUNCTIONS_PATH");
    }

    static BinFunction create(Eerr_ErrorReport** err)
    {
        return BinFunction(edsc_BinFunctionCreateFromTitle("whims_module", 5, err));
    }
    /* A narrower one is stored as the kind has it. */
    static BinFunction narrow()
    {
        BinFunction function = create(nullptr);
        edsc_BinFunctionBinCountModify(function.get(), 1, 3, nullptr);
        return function;
    }

    EdllHandle library_;
    void (*spoil_)(const char*) = nullptr;
    long (*living_)() = nullptr;
};

/* The function after it has been stored and read; null where a report tells why not. */
BinFunction throughBytes(const Edsc_BinFunction* function, Eerr_ErrorReport** err)
{
    void* object = nullptr;
    const Emif_Design* design = nullptr;
    if (!edsc_BinFunctionConvertToMIFable(function, &object, &design, err)) {
        return nullptr;
    }
    Emif_MIFObject packed{};
    Report unheard;
    emif_MIFableObjectConvertToMIFObject(object, design, &packed, err);
    emif_ObjectFree(&object, design, unheard);
    Edsc_BinFunction* read = nullptr;
    if (*err == nullptr) {
        void* copy = nullptr;
        Emif_Design* copyDesign = nullptr;
        emif_MIFableObjectConvertFromMIFObject(&copy, &copyDesign, &packed, err);
        if (copy != nullptr) {
            edsc_BinFunctionConvertFromMIFable(&read, copy, copyDesign, err);
            emif_ObjectFree(&copy, copyDesign, unheard);
        }
        emif_DesignDestroy(copyDesign);
    }
    emsc_HeapFree(packed.type.string);
    emsc_HeapFree(packed.MIFDictionary.string);
    emsc_HeapFree(packed.MIFObject.pointer);
    return BinFunction(read);
}

TEST_F(ForeignKindOnItsOwn, IsStoredInItsOwnForm)
{
    Report report;
    const BinFunction read = throughBytes(narrow().get(), report);
    ASSERT_NE(read, nullptr) << rootCause(report);
    EXPECT_STREQ(read->title, "whims_module");
    EXPECT_EQ(edsc_BinFunctionApply(read.get(), 7, nullptr), 1);
    EXPECT_TRUE(edsc_BinFunctionIsSame(read.get(), narrow().get(), nullptr));
}

TEST_F(ForeignKindOnItsOwn, IsNotFetchedFromElsewhereByAStoredTitle)
{
    const BinFunction function = narrow();
    constexpr char kTitle[] = "../modules/whims_module";
    emsc_HeapFree(function->title);
    function->title = static_cast<char*>(std::memcpy(emsc_HeapMalloc(sizeof kTitle), kTitle, sizeof kTitle));
    Report report;
    EXPECT_EQ(throughBytes(function.get(), report), nullptr);
    EXPECT_EQ(rootCause(report), "Could not find instance ../modules/whims_module of class BinFunctions");
}

/* A copy of the module in which one entry point bears another name. */
class LackingKind : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(LackingKind, IsRefusedOrDoesWithout)
{
    const auto& [entry, expected] = GetParam();
    std::ifstream in(kModule, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(in), {});
    const std::string symbol = std::string("\0", 1) + entry + '\0';
    std::size_t renamed = 0;
    for (std::size_t at = bytes.find(symbol); at != std::string::npos; at = bytes.find(symbol, at + 1)) {
        bytes[at + 1] = '_';
        ++renamed;
    }
    ASSERT_GT(renamed, 0U);
    const std::string folder = testing::TempDir() + "foreign_kind_" + std::to_string(getpid()) + "_" + entry;
    const std::string title = std::string("no") + entry;
    std::filesystem::create_directory(folder);
    std::ofstream(folder + "/" + title + ".so", std::ios::binary) << bytes;
    setenv("ORVIK_BIN_FUNCTIONS_PATH", folder.c_str(), 1);

    Report report;
    const BinFunction function(edsc_BinFunctionCreateFromTitle(title.c_str(), 5, report));
    std::string outcome = rootCause(report);
    if (function != nullptr) {
        EXPECT_EQ(edsc_BinFunctionApply(function.get(), 7, nullptr), 2);
        void* object = nullptr;
        const Emif_Design* design = nullptr;
        outcome = edsc_BinFunctionConvertToMIFable(function.get(), &object, &design, report) ? "whole"
                                                                                            : rootCause(report);
        if (object != nullptr) {
            emif_ObjectFree(&object, design, nullptr);
        }
        testing::internal::CaptureStdout();
        edsc_BinFunctionPrint(function.get(), nullptr);
        outcome += testing::internal::GetCapturedStdout().find("internals") != std::string::npos ? ", prints" : "";
    }
    EXPECT_EQ(outcome, expected);
    unsetenv("ORVIK_BIN_FUNCTIONS_PATH");
    std::filesystem::remove_all(folder);
}

INSTANTIATE_TEST_SUITE_P(
    EachEntryInTurn, LackingKind,
    testing::Values(
        std::pair("BinFunctionCreate", "Title noBinFunctionCreate does not support BinFunctionCreate"),
        std::pair("BinFunctionConvertToMIF", "Conversion to MIFable not supported, prints"),
        std::pair("BinFunctionConvertFromMIF",
                  "Function BinFunctionConvertFromMIF not found in noBinFunctionConvertFromMIF"),
        std::pair("BinFunctionCopy", "Function BinFunctionCopy not found in noBinFunctionCopy"),
        std::pair("BinFunctionPrint", "whole"),
        std::pair("BinFunctionDestroy", "Function BinFunctionDestroy not found in noBinFunctionDestroy"),
        std::pair("BinFunctionIsSame", "Function BinFunctionIsSame not found in noBinFunctionIsSame"),
        std::pair("BinFunctionApply", "noBinFunctionApply is no kind of bin function"),
        std::pair("BinFunctionApplyInverse",
                  "Function BinFunctionApplyInverse not found in noBinFunctionApplyInverse")),
    [](const auto& entry) { return std::string(entry.param.first); });

/* What a broken kind answers is a report; the function is as good as before once the kind is. */
TEST_F(ForeignKindOnItsOwn, MayReturnGarbage)
{
    const BinFunction whole = narrow();
    const auto copies = [&](Eerr_ErrorReport** err) {
        return BinFunction(edsc_BinFunctionCopy(whole.get(), nullptr, err)) != nullptr;
    };
    const auto applies = [&](Eerr_ErrorReport** err) { return edsc_BinFunctionApply(whole.get(), 7, err) != -2; };
    const auto appliesAll = [&](Eerr_ErrorReport** err) {
        const BaseData values = doubles({1, 4, 7});
        return edsc_BinFunctionApplyToValues(whole.get(), values.get(), 0, 9, nullptr, values.get(), err) != 0;
    };
    const auto inverts = [&](Eerr_ErrorReport** err) {
        double lower = 0;
        return edsc_BinFunctionApplyInverse(whole.get(), 0, &lower, nullptr, err) != 0;
    };
    const auto invertsAll = [&](Eerr_ErrorReport** err) {
        const BaseData bins = doubles({0, 1, 2});
        return edsc_BinFunctionApplyInverseToValues(whole.get(), bins.get(), nullptr, bins.get(), nullptr, err) != 0;
    };
    const auto compares = [&](Eerr_ErrorReport** err) {
        return edsc_BinFunctionIsSame(whole.get(), narrow().get(), err) != 0;
    };
    const auto translates = [&](Eerr_ErrorReport** err) {
        std::int32_t* map = edsc_BinFunctionTranslate(3, whole.get(), direct(0, 9).get(), EGDA_TYPE_U8, err);
        emsc_HeapFree(map);
        return *err == nullptr;
    };
    const auto creates = [](Eerr_ErrorReport** err) { return create(err) != nullptr; };
    const auto stores = [&](Eerr_ErrorReport** err) { return throughBytes(whole.get(), err) != nullptr; };
    const auto prints = [&](Eerr_ErrorReport** err) {
        testing::internal::CaptureStdout();
        edsc_BinFunctionPrint(whole.get(), err);
        testing::internal::GetCapturedStdout();
        return *err == nullptr;
    };
    const struct {
        const char* spoilt;
        std::function<bool(Eerr_ErrorReport**)> call;
        const char* cause; /* null for a reason of the library's reader */
    } cases[] = {
        {"create: null", creates, "BinFunctionCreate failed"},
        {"create: throws", creates, "the kind is broken"},
        {"old: throws", creates, "the kind is broken"},
        {"copy: null", copies, "BinFunctionCopy failed"},
        {"copy: throws", copies, "the kind is broken"},
        {"same: throws", compares, "the kind is broken"},
        {"print: throws", prints, "the kind is broken"},
        {"apply: throws", applies, "the kind is broken"},
        {"apply: throws", appliesAll, "the kind is broken"},
        {"limits: throw", inverts, "the kind is broken"},
        {"limits: throw", invertsAll, "the kind is broken"},
        {"limits: none", inverts, "BinFunctionApplyInverse failed"},
        {"limits: none", invertsAll, "BinFunctionApplyInverse failed"},
        {"limits: none", translates, "BinFunctionApplyInverse failed"},
        {"store: throws", stores, "the kind is broken"},
        {"store: no object", stores, "BinFunctionConvertToMIF failed"},
        {"store: negative", stores, "BinFunctionConvertToMIF failed"},
        {"store: no names", stores, nullptr},
        {"store: a dictionary of noise", stores, nullptr},
        {"store: short", stores, nullptr},
        {"restore: null", stores, "BinFunctionConvertFromMIF failed"},
        {"restore: throws", stores, "the kind is broken"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.spoilt);
        spoil_(one.spoilt);
        Report report;
        EXPECT_FALSE(one.call(report));
        EXPECT_NE(report.get(), nullptr);
        if (one.cause != nullptr) {
            EXPECT_EQ(rootCause(report), one.cause);
        }
        spoil_("");
        Report after;
        EXPECT_TRUE(one.call(after)) << rootCause(after);
    }
    spoil_("destroy: throws");
    Report report;
    edsc_BinFunctionDelete(create(nullptr).release(), report);
    EXPECT_EQ(rootCause(report), "the kind is broken");
}

/* Bins beyond the count are bins outside; limits that are no numbers go no further than the answers. */
TEST_F(ForeignKindOnItsOwn, MayBeWild)
{
    const BinFunction function = narrow();
    spoil_("apply: wild");
    EXPECT_EQ(edsc_BinFunctionApply(function.get(), 4, nullptr), 3);
    EXPECT_EQ(edsc_BinFunctionApply(function.get(), 5, nullptr), -1);
    const BaseData values = doubles({4, 5});
    ASSERT_TRUE(edsc_BinFunctionApplyToValues(function.get(), values.get(), -50, 50, nullptr, values.get(), nullptr));
    EXPECT_EQ(rowsOf(values.get()), (std::vector<double>{50, -50}));
    for (const Egda_PixelType type : kAllNumbers) {
        SCOPED_TRACE(type);
        const Picture picture(type, 31, 37, 5);
        const Picture mask = maskFor(picture, 6);
        const Histogram histogram(esta_HistogramCreate(7, function.get(), nullptr));
        ASSERT_TRUE(esta_RasterAccumulateHistogram(histogram.get(), picture.get(), mask.get(), nullptr));
        const std::vector<double> counts = rowsOf(histogram.get());
        EXPECT_EQ(counts.front() + counts.back(), Expected(picture, &mask).count);

        /* A value that no bin takes is dropped where distinct values are sorted into bins. */
        const AllStats allStats(esta_AllStatsCreate(3, function.get(), nullptr));
        ASSERT_TRUE(esta_AllStatsUVHistogramBegin(allStats.get(), 1e6, type, nullptr));
        ASSERT_TRUE(esta_AllStatsUVHistogramAccumulate(allStats.get(), picture.get(), mask.get(), nullptr));
        ASSERT_TRUE(esta_AllStatsUVHistogramEnd(allStats.get(), nullptr, nullptr));
        EXPECT_EQ(rowsOf(allStats->histogram), std::vector<double>(3, 0));
    }
    EXPECT_EQ(edsc_BinFunctionTranslate(3, direct(0, 9).get(), function.get(), EGDA_TYPE_U8, nullptr), nullptr);

    spoil_("limits: NaN");
    EXPECT_TRUE(std::isnan(edsc_BinFunctionMaxLimit(function.get(), nullptr)));
    EXPECT_EQ(edsc_BinFunctionTranslate(3, function.get(), direct(0, 9).get(), EGDA_TYPE_U8, nullptr), nullptr);
    EXPECT_EQ(edsc_BinFunctionTranslate(3, function.get(), direct(0, 9).get(), EGDA_TYPE_F64, nullptr), nullptr);
    const AllStats allStats(esta_AllStatsCreate(3, function.get(), nullptr));
    const Picture picture(EGDA_TYPE_U8, 4, 4, 5);
    ASSERT_TRUE(esta_RasterAccumulateStats(allStats.get(), picture.get(), nullptr, nullptr));
    ASSERT_TRUE(esta_AllStatsFinish(allStats.get(), nullptr));
    EXPECT_TRUE(std::isnan(allStats->statistics->median));
    const BaseData lut(
        esta_LUTCreateForNStdDevStretch(allStats->statistics, function.get(), 2, nullptr, nullptr, nullptr));
    ASSERT_NE(lut, nullptr);
    EXPECT_EQ(lut->numrows, 3);
}

/* What the kind says of the old form is told to those who ask, and is not believed. */
TEST_F(ForeignKindOnItsOwn, MayHaveAWildOldForm)
{
    spoil_("old: wild");
    const BinFunction function = create(nullptr);
    EXPECT_EQ(function->numBins, 0xffffffff);
    EXPECT_EQ(edsc_BinFunctionType(function.get()), 77);
    EXPECT_EQ(edsc_BinFunctionBinCount(function.get(), nullptr), 5U);
    EXPECT_EQ(edsc_BinFunctionApply(function.get(), 7, nullptr), 2);
    const Histogram histogram(esta_HistogramCreate(5, function.get(), nullptr));
    const Picture picture(EGDA_TYPE_U8, 4, 4, 5);
    EXPECT_TRUE(esta_AoiFeatRasterAccumHistogram(histogram.get(), picture.get(), nullptr, nullptr));
    Report report;
    EXPECT_EQ(throughBytes(function.get(), report), nullptr) << "of a type that there is not";
    EXPECT_NE(report.get(), nullptr);
}

}  // namespace
