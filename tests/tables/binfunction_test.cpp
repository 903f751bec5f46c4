#include "tables/binfunction_helpers.h"

#include "tables/edsc/binfunction/bulk.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

double below(double value) { return std::nextafter(value, -kInfinity); }

struct Binning {
    double value;
    std::int32_t bin;
};

void expectBins(const Edsc_BinFunction* binFunction, const std::vector<Binning>& cases)
{
    ASSERT_NE(binFunction, nullptr);
    for (const auto& [value, bin] : cases) {
        Report report;
        EXPECT_EQ(edsc_BinFunctionApply(binFunction, value, report), bin) << value;
        EXPECT_EQ(report.get(), nullptr) << rootCause(report);
    }
}

TEST(BinFunctionApply, DirectBinsAreOneUnitWide)
{
    expectBins(direct(-3, 5).get(), {{-3, 0}, {below(-3), -1}, {-2.5, 0}, {-2, 1}, {1.999, 4}, {2, 5}, {1e300, 5},
                                     {kInfinity, 5}, {-kInfinity, -1}, {kNaN, -1}});
    expectBins(direct(0.5, 1).get(), {{0.5, 0}, {1.5, 1}, {0.49, -1}});
    expectBins(direct(0, 0x7fffffff).get(), {{2147483646.0, 2147483646}, {2147483647.0, 2147483647}, {1e10, 2147483647}});
}

TEST(BinFunctionApply, TheMaximumFallsIntoTheLastLinearBin)
{
    expectBins(linear(0, 255, 256).get(), {{0, 0}, {255, 255}, {256, 256}, {below(0), -1}, {kNaN, -1}, {kInfinity, 256},
                                           {127.49, 127}});
    /* Here the span has no room for the step above the maximum. */
    expectBins(linear(-10, 10, 4).get(), {{-10, 0}, {-5.1, 0}, {-4.99, 1}, {9.99, 3}, {10, 3}, {10.1, 4}});
    expectBins(linear(-10, 0, 4).get(), {{-10, 0}, {-2.6, 2}, {below(0), 3}, {0, 3}, {1e-3, 4}});
    expectBins(linear(7, 7, 3).get(), {{7, 0}, {8, 3}, {6, -1}});
    expectBins(linear(0, 0, 2).get(), {{0, 0}, {1, 2}, {-1, -1}});
}

/* `value` by itself, in a run, into another record, and in place. */
std::vector<double> binEachWay(const Edsc_BinFunction* binFunction, double value)
{
    std::vector<double> bins{static_cast<double>(edsc_BinFunctionApply(binFunction, value, nullptr))};
    const std::vector<double> values(19, value);
    const auto below = -1.0;
    const auto above = static_cast<double>(binFunction->binCount);
    const BaseData data = doubles(values);
    const BaseData places = tableOf(EGDA_TYPE_S32, std::vector<std::int32_t>(19));
    EXPECT_TRUE(edsc_BinFunctionApplyToValues(binFunction, data.get(), below, above, nullptr, places.get(), nullptr));
    EXPECT_TRUE(edsc_BinFunctionApplyToValues(binFunction, data.get(), below, above, nullptr, data.get(), nullptr));
    for (std::size_t i = 0; i < values.size(); ++i) {
        bins.push_back(static_cast<const std::int32_t*>(places->data)[i]);
        bins.push_back(static_cast<const double*>(data->data)[i]);
    }
    return bins;
}

TEST(BinFunctionApply, TheMaximumOfAnyRangeIsInTheLastBin)
{
    std::mt19937_64 random(31);
    std::uniform_real_distribution<double> mantissa(-1, 1);
    const auto number = [&] { return std::ldexp(mantissa(random), static_cast<int>(random() % 40) - 20); };
    for (int round = 0; round < 2000; ++round) {
        const double one = round % 3 == 0 ? std::round(number()) : number();
        const double other = round % 5 == 0 ? 0 : number();
        const auto count = static_cast<std::uint32_t>(1 + random() % (round % 2 == 0 ? 300 : 70000));
        const double maximum = std::max(one, other);
        if (one == other) {
            continue;
        }
        for (const BinFunction& binFunction : {linear(one, other, count), logarithmic(one, other, count)}) {
            for (const double value : {maximum, below(maximum)}) {
                const std::vector<double> bins = binEachWay(binFunction.get(), value);
                /* The value below may be in the bin below, where a bin is that thin. */
                EXPECT_EQ(*std::max_element(bins.begin(), bins.end()), count - 1) << one << " to " << other;
                EXPECT_GE(*std::min_element(bins.begin(), bins.end()), count - 2.0) << one << " to " << other;
            }
            /* What is well above stays there, and a span that ends before the last bin ends there. */
            const double beyond = maximum + (maximum - std::min(one, other)) * 1e-3;
            for (const double bin : binEachWay(binFunction.get(), beyond)) {
                EXPECT_EQ(bin, count);
            }
            if (count > 1) {
                ASSERT_TRUE(edsc_BinFunctionBinCountModify(binFunction.get(), 0, static_cast<int>(count - 1), nullptr));
                for (const double bin : binEachWay(binFunction.get(), maximum)) {
                    EXPECT_EQ(bin, count - 1);
                }
            }
        }
    }
}

TEST(BinFunctionApply, LimitsGivenTheWrongWayRoundAreSwapped)
{
    const BinFunction swapped = linear(100, -100, 10);
    EXPECT_TRUE(edsc_BinFunctionIsSame(swapped.get(), linear(-100, 100, 10).get(), nullptr));
    EXPECT_EQ(swapped->minLimit, -100);
    EXPECT_EQ(swapped->maxLimit, 100);
    EXPECT_EQ(logarithmic(8, 1, 3)->minLimit, 1);
}

TEST(BinFunctionApply, LogarithmicBinsGrowByPowersOfTwo)
{
    /* log2(1 + k / 4) of the span: 0, 0.3219, 0.5850, 0.8074. */
    expectBins(logarithmic(0, 1, 4).get(),
               {{0, 0}, {0.32, 0}, {0.323, 1}, {0.58, 1}, {0.586, 2}, {0.807, 2}, {0.808, 3}, {1, 3}, {1.01, 4}, {-0.01, -1},
                {kNaN, -1}, {kInfinity, 4}});
}

TEST(BinFunctionApply, ExplicitLimitsAreSortedAndTheSurplusIsNotUsed)
{
    const std::vector<double> shuffled{50, 0, 100, 30, 10, 20, 90, 60, 70, 80, 40};
    const BinFunction binFunction = explicitLimits(shuffled, 5);
    expectBins(binFunction.get(), {{0, 0}, {below(0), -1}, {10, 1}, {below(10), 0}, {49, 4}, {50, 5}, {55, 5}, {1000, 5},
                                   {-kInfinity, -1}, {kInfinity, 5}});
    EXPECT_EQ(binFunction->binLimits->numrows, 11);
    EXPECT_EQ(binFunction->minLimit, 0);
    EXPECT_EQ(binFunction->maxLimit, 50);
    expectBins(explicitLimits({1, 2}, 1).get(), {{1, 0}, {2, 1}, {0.9, -1}, {1.5, 0}});
}

TEST(BinFunctionApply, AUniqueFunctionKnowsItsValuesOnly)
{
    expectBins(unique({30, 10, 20}).get(), {{10, 0}, {20, 1}, {30, 2}, {15, -1}, {20.0001, 3}, {19.9999, -1}, {5, -1},
                                            {31, 3}, {kNaN, -1}});
    expectBins(unique({7}).get(), {{7, 0}, {6.9, -1}, {7.1, 1}});
    expectBins(unique({-1, 1}).get(), {{-1, 0}, {1, 1}, {0, -1}, {0.1, 2}});
}

struct KindCase {
    std::string name;
    std::function<BinFunction()> make;

    friend void PrintTo(const KindCase& kind, std::ostream* out) { *out << kind.name; }
};

const std::vector<KindCase>& everyKind()
{
    static const std::vector<KindCase> cases{
        {"Direct", [] { return direct(-3, 40); }},
        {"Linear", [] { return linear(-1.5, 77.25, 33); }},
        {"Logarithmic", [] { return logarithmic(0.1, 50, 21); }},
        {"Explicit", [] { return explicitLimits({-5, -1, 0, 0.5, 3, 12, 13, 40.5, 41, 60}, 9); }},
        {"Unique", [] { return unique({-2, 0, 1, 5, 12, 13, 20, 21.5, 30}); }},
    };
    return cases;
}

class EachKind : public testing::TestWithParam<KindCase> {
protected:
    void SetUp() override { binFunction_ = GetParam().make(); }
    BinFunction binFunction_;
};
INSTANTIATE_TEST_SUITE_P(BuiltIn, EachKind, testing::ValuesIn(everyKind()),
                         [](const auto& parameter) { return parameter.param.name; });

TEST_P(EachKind, ABinHoldsItsOwnLowerLimit)
{
    for (std::int32_t bin = 0; bin < static_cast<std::int32_t>(binFunction_->binCount); ++bin) {
        double lower = 0;
        double upper = 0;
        ASSERT_TRUE(edsc_BinFunctionApplyInverse(binFunction_.get(), bin, &lower, &upper, nullptr));
        EXPECT_LT(lower, upper);
        /* The inverse of the rounding kinds meets its own limit to within rounding. */
        const double inside = GetParam().name == "Unique" ? lower : lower + (upper - lower) * 1e-6;
        EXPECT_EQ(edsc_BinFunctionApply(binFunction_.get(), inside, nullptr), bin);
    }
}

TEST_P(EachKind, InverseRefusesWhatIsNoBin)
{
    for (const std::int32_t bin : {-1, static_cast<std::int32_t>(binFunction_->binCount)}) {
        Report report;
        EXPECT_FALSE(edsc_BinFunctionApplyInverse(binFunction_.get(), bin, nullptr, nullptr, report));
        EXPECT_EQ(rootCause(report), "bin out of range for bin function");
    }
}

TEST_P(EachKind, ANarrowedFunctionShiftsItsBinsAndCanBeWidenedAgain)
{
    BinFunction narrow(edsc_BinFunctionCopy(binFunction_.get(), nullptr, nullptr));
    ASSERT_TRUE(edsc_BinFunctionBinCountModify(narrow.get(), 2, 4, nullptr));
    double lower = 0;
    double upper = 0;
    for (std::int32_t bin = 0; bin < static_cast<std::int32_t>(binFunction_->binCount); ++bin) {
        edsc_BinFunctionApplyInverse(binFunction_.get(), bin, &lower, &upper, nullptr);
        const double inside = GetParam().name == "Unique" ? lower : (lower + upper) / 2;
        EXPECT_EQ(edsc_BinFunctionApply(narrow.get(), inside, nullptr), bin < 2 ? -1 : bin < 6 ? bin - 2 : 4);
    }
    edsc_BinFunctionApplyInverse(binFunction_.get(), 2, &lower, nullptr, nullptr);
    edsc_BinFunctionApplyInverse(binFunction_.get(), 5, nullptr, &upper, nullptr);
    EXPECT_EQ(edsc_BinFunctionMinLimit(narrow.get(), nullptr), lower);
    EXPECT_EQ(edsc_BinFunctionMaxLimit(narrow.get(), nullptr), upper);

    const BinFunction copy(edsc_BinFunctionCopy(narrow.get(), nullptr, nullptr));
    EXPECT_TRUE(edsc_BinFunctionIsSame(copy.get(), narrow.get(), nullptr));
    EXPECT_FALSE(edsc_BinFunctionIsSame(binFunction_.get(), narrow.get(), nullptr));
    ASSERT_TRUE(edsc_BinFunctionBinCountModify(narrow.get(), -2, static_cast<std::int32_t>(binFunction_->binCount),
                                               nullptr));
    EXPECT_TRUE(edsc_BinFunctionIsSame(binFunction_.get(), narrow.get(), nullptr));
}

TEST_P(EachKind, RunsGiveTheBinsOfSingleValues)
{
    edsc_BinFunctionBinCountModify(binFunction_.get(), 1, 7, nullptr);
    std::vector<double> values{kNaN, kInfinity, -kInfinity, 0.0, -0.0, 1e300, -1e300, 5e-324};
    for (std::int32_t bin = 0; bin < 7; ++bin) {
        double lower = 0;
        double upper = 0;
        edsc_BinFunctionApplyInverse(binFunction_.get(), bin, &lower, &upper, nullptr);
        for (const double limit : {lower, upper}) {
            values.insert(values.end(), {limit, below(limit), std::nextafter(limit, kInfinity)});
        }
    }
    std::mt19937 random(1);
    std::uniform_real_distribution<double> spread(-20, 100);
    while (values.size() < 5000) {
        values.push_back(values.size() % 2 == 0 ? spread(random) : std::round(spread(random)));
    }
    EerrException scope(OrvikLog::Literal{"test"});
    const emantle::tables::BulkBins bulk(scope, binFunction_.get());
    std::vector<std::int32_t> bins(values.size());
    bulk.apply(scope, values.data(), static_cast<long>(values.size()), bins.data());
    for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_EQ(bins[i], edsc_BinFunctionApply(binFunction_.get(), values[i], nullptr)) << values[i];
    }
    std::vector<std::int16_t> pixels(3000);
    std::generate(pixels.begin(), pixels.end(), [&] { return static_cast<std::int16_t>(spread(random)); });
    bulk.apply(scope, EGDA_TYPE_S16, pixels.data(), 3000, bins.data());
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        ASSERT_EQ(bins[i], edsc_BinFunctionApply(binFunction_.get(), pixels[i], nullptr)) << pixels[i];
    }
    EXPECT_THROW(bulk.apply(scope, EGDA_TYPE_STRING, pixels.data(), 1, bins.data()), emantle::Failure);
}

TEST_P(EachKind, ACopyReplacesTheContentOfARecord)
{
    BinFunction target = direct(1, 2);
    ASSERT_EQ(edsc_BinFunctionCopy(binFunction_.get(), target.get(), nullptr), target.get());
    EXPECT_TRUE(edsc_BinFunctionIsSame(binFunction_.get(), target.get(), nullptr));
    EXPECT_EQ(target->binFunction, target.get());
    const std::string title = binFunction_->title;
    const std::unique_ptr<char, decltype(&emsc_HeapFree)> copied(edsc_BinFunctionTitle(target.get(), nullptr),
                                                                 emsc_HeapFree);
    EXPECT_EQ(copied.get(), title);
    EXPECT_EQ(edsc_BinFunctionTypeFromTitle(title.c_str()), edsc_BinFunctionType(binFunction_.get()));
    EXPECT_EQ(edsc_BinFunctionCopy(target.get(), target.get(), nullptr), target.get());
}

TEST(BinFunctionCreate, SaysWhatIsWrong)
{
    const BaseData five = doubles({1, 2, 3, 4, 5});
    const BaseData twice = doubles({1, 2, 2, 4, 5});
    const BaseData hole = doubles({1, kNaN, 3, 4, 5});
    Egda_BaseData empty{};
    empty.numrows = 9;
    empty.datatype = EGDA_TYPE_F64;
    const struct {
        std::function<Edsc_BinFunction*(Eerr_ErrorReport**)> make;
        const char* text;
    } cases[] = {
        {[](auto err) { return edsc_BinFunctionCreateDirect(0, 0, err); }, "The number of bins must be a positive integer"},
        {[](auto err) { return edsc_BinFunctionCreateLinear(0, 1, 0x80000000, err); },
         "The number of bins must be a positive integer"},
        {[](auto err) { return edsc_BinFunctionCreateExplicit(nullptr, 3, err); }, "NULL bin limits given"},
        {[&](auto err) { return edsc_BinFunctionCreateExplicit(five.get(), 5, err); }, "Not enough data in bin limit table"},
        {[&](auto err) { return edsc_BinFunctionCreateExplicit(twice.get(), 4, err); }, "Non-increasing bin limit data"},
        {[&](auto err) { return edsc_BinFunctionCreateExplicit(hole.get(), 4, err); }, "Non-increasing bin limit data"},
        {[&](auto err) { return edsc_BinFunctionCreateExplicit(&empty, 1, err); }, "NULL bin limit data"},
        {[&](auto err) {
             return edsc_BinFunctionCreateFromTitle(EDSC_TITLE_UNIQUE, 6, err, static_cast<const Egda_BaseData*>(five.get()));
         },
         "Not enough data in bin limit table"},
        {[](auto err) { return edsc_BinFunctionCreateLinear(0, kNaN, 4, err); },
         "A limit of a bin function is not a number"},
        {[](auto err) { return edsc_BinFunctionCreateFromTitle("../evil", 4, err); },
         "Could not find instance ../evil of class BinFunctions"},
    };
    for (const auto& [make, text] : cases) {
        Report report;
        EXPECT_EQ(make(report), nullptr);
        EXPECT_EQ(rootCause(report), text);
    }
    Report report;
    edsc_BinFunctionCreateExplicit(nullptr, 3, report);
    EXPECT_EQ(textsOf(report),
              (std::vector<std::string>{"edsc_BinFunctionCreateFromTitle failed",
                                        "edsc_BinFunctionCreateFromTitleInternal failed", "BinFunctionCreate failed",
                                        "edsc_BFExplicitBinLimitTableCheck failed", "NULL bin limits given"}));
    EXPECT_EQ(static_cast<const double*>(twice->data)[1], 2) << "the caller's table stays";
}

TEST(BinFunctionQuestions, AnswerForNull)
{
    Report report;
    EXPECT_EQ(edsc_BinFunctionApply(nullptr, 1, report), -2);
    EXPECT_EQ(rootCause(report), "NULL bin function");
    EXPECT_EQ(edsc_BinFunctionType(nullptr), -1);
    EXPECT_TRUE(std::isnan(edsc_BinFunctionMinLimit(nullptr, Report())));
    EXPECT_TRUE(edsc_BinFunctionIsSame(nullptr, nullptr, nullptr));
    EXPECT_FALSE(edsc_BinFunctionIsSame(nullptr, direct(0, 1).get(), nullptr));
    Report none;
    edsc_BinFunctionDelete(nullptr, none);
    EXPECT_EQ(none.get(), nullptr);
}

TEST(BinFunctionSpan, IsHeldInsideTheBinsOfTheKind)
{
    const BinFunction binFunction = direct(0, 10);
    for (const auto& [shift, count] : {std::pair{-1, 3}, {8, 3}, {0, 11}, {INT32_MAX, INT32_MAX}, {INT32_MIN, 1}}) {
        Report report;
        EXPECT_FALSE(edsc_BinFunctionBinCountModify(binFunction.get(), shift, count, report));
        EXPECT_EQ(rootCause(report), "Resulting bin function range is undefined by original bin function");
    }
    Report report;
    EXPECT_FALSE(edsc_BinFunctionBinCountModify(binFunction.get(), 0, 0, report));
    EXPECT_EQ(rootCause(report), "Args");
    EXPECT_EQ(binFunction->binCount, 10U);
}

/* Old records, as callers fill them in. */

Edsc_BinFunction oldRecord(std::uint32_t numBins, std::int32_t type, double minimum = 0, double maximum = 0,
                           Egda_BaseData* limits = nullptr)
{
    Edsc_BinFunction record{};
    record.numBins = numBins;
    record.binFunctionType = type;
    record.minLimit = minimum;
    record.maxLimit = maximum;
    record.binLimits = limits;
    return record;
}

TEST(OldRecord, WorksEverywhereAndIsLeftAlone)
{
    const BaseData limits = doubles({0, 10, 20, 40});
    const struct {
        Edsc_BinFunction record;
        BinFunction same;
    } cases[] = {
        {oldRecord(5, EDSC_BIN_DIRECT, 3, 7), direct(3, 5)},
        {oldRecord(4, EDSC_BIN_LINEAR, 0, 8), linear(0, 8, 4)},
        {oldRecord(4, EDSC_BIN_LOGARITHMIC, 0, 8), logarithmic(0, 8, 4)},
        {oldRecord(3, EDSC_BIN_EXPLICIT, 0, 40, limits.get()), explicitLimits({0, 10, 20, 40}, 3)},
    };
    for (const auto& [record, same] : cases) {
        Edsc_BinFunction before;
        std::memcpy(&before, &record, sizeof before);
        EXPECT_TRUE(edsc_BinFunctionIsSame(&record, same.get(), nullptr));
        EXPECT_EQ(edsc_BinFunctionBinCount(&record, nullptr), record.numBins);
        EXPECT_EQ(edsc_BinFunctionMaxLimit(&record, nullptr), record.maxLimit);
        for (double value = -2; value < 45; value += 0.75) {
            EXPECT_EQ(edsc_BinFunctionApply(&record, value, nullptr), edsc_BinFunctionApply(same.get(), value, nullptr));
        }
        const BinFunction copy(edsc_BinFunctionCopy(&record, nullptr, nullptr));
        EXPECT_TRUE(edsc_BinFunctionIsSame(copy.get(), same.get(), nullptr));
        EXPECT_EQ(copy->maxLimit, record.maxLimit);
        EXPECT_EQ(std::memcmp(&before, &record, sizeof before), 0);

        Report report;
        EXPECT_FALSE(edsc_BinFunctionBinCountModify(const_cast<Edsc_BinFunction*>(&record), 0, 1, report));
        EXPECT_EQ(rootCause(report), "Rogue bin function");
    }
}

TEST(OldRecord, OfAnUnknownTypeOrWithoutItsLimitsIsRefused)
{
    const Edsc_BinFunction unknown = oldRecord(5, 4);
    Report report;
    EXPECT_EQ(edsc_BinFunctionApply(&unknown, 1, report), -2);
    EXPECT_EQ(rootCause(report), "edsc_BinFunctionMethodsTitleFromMIFable failed");

    const Edsc_BinFunction bare = oldRecord(5, EDSC_BIN_EXPLICIT);
    Report second;
    EXPECT_EQ(edsc_BinFunctionApply(&bare, 1, second), -2);
    EXPECT_EQ(rootCause(second), "NULL bin limits given");
}

TEST(OldRecord, IsReplacedByACopyOfAKindWithAnOldFormOnly)
{
    auto* target = static_cast<Edsc_BinFunction*>(emsc_HeapMalloc(sizeof(Edsc_BinFunction)));
    Report report;
    EXPECT_EQ(edsc_BinFunctionCopy(unique({1, 2}).get(), target, report), nullptr);
    EXPECT_EQ(rootCause(report), "Rogue destination bin function");
    EXPECT_EQ(edsc_BinFunctionCopy(linear(0, 1, 2).get(), target, nullptr), target);
    EXPECT_EQ(edsc_BinFunctionApply(target, 0.9, nullptr), 1);
    edsc_BinFunctionDelete(target, nullptr);
}

TEST(OldPart, FollowsTheKind)
{
    const BinFunction binFunction = direct(10, 5);
    EXPECT_EQ(binFunction->numBins, 5U);
    EXPECT_EQ(binFunction->maxLimit, 14) << "the last bin's lowest value, not its upper limit";
    EXPECT_EQ(edsc_BinFunctionMaxLimit(binFunction.get(), nullptr), 15);
    EXPECT_EQ(unique({1, 2})->binFunctionType, -1);
    EXPECT_EQ(linear(0, 255, 256)->maxLimit, 255);
}

/* Translation. */

std::vector<std::int32_t> translated(std::int32_t count, const BinFunction& source, const BinFunction& target,
                                     Egda_PixelType type)
{
    Report report;
    const std::unique_ptr<std::int32_t, decltype(&emsc_HeapFree)> map(
        edsc_BinFunctionTranslate(count, source.get(), target.get(), type, report), emsc_HeapFree);
    EXPECT_EQ(report.get(), nullptr) << rootCause(report);
    return map == nullptr ? std::vector<std::int32_t>{} : std::vector<std::int32_t>(map.get(), map.get() + count);
}

using Map = std::vector<std::int32_t>;

TEST_P(EachKind, TranslatesToItselfByIdentityAndBackFromASpan)
{
    const auto count = static_cast<std::int32_t>(binFunction_->binCount);
    Map identity(static_cast<std::size_t>(count));
    std::iota(identity.begin(), identity.end(), 0);
    EXPECT_EQ(translated(count, binFunction_, GetParam().make(), EGDA_TYPE_F64), identity);
    if (GetParam().name == "Linear" || GetParam().name == "Logarithmic") {
        return; /* the computed lower limit may lie a rounding below its bin */
    }
    BinFunction narrow = GetParam().make();
    edsc_BinFunctionBinCountModify(narrow.get(), 3, 4, nullptr);
    EXPECT_EQ(translated(4, narrow, binFunction_, EGDA_TYPE_F64), (Map{3, 4, 5, 6}));
    const Map there = translated(8, binFunction_, narrow, EGDA_TYPE_F64);
    EXPECT_EQ(there, (Map{-1, -1, -1, 0, 1, 2, 3, -1}));
}

TEST(BinFunctionTranslate, WholeNumbersMakeBinsAlike)
{
    /* [0.5, 1.5) and [1, 2) hold the same whole number, and no other bins do. */
    EXPECT_EQ(translated(3, direct(0.5, 3), direct(1, 3), EGDA_TYPE_U8), (Map{0, 1, 2}));
    EXPECT_EQ(translated(3, direct(0.5, 3), direct(1, 3), EGDA_TYPE_F32), Map{});
    EXPECT_EQ(translated(5, direct(2, 4), direct(0, 4), EGDA_TYPE_U8), (Map{2, 3, -1, -1, -1}));
    /* A bin without a whole number has no like. */
    EXPECT_EQ(translated(3, explicitLimits({0, 1.2, 1.8, 3}, 3), explicitLimits({0, 1.2, 1.8, 3, 4}, 4), EGDA_TYPE_S16),
              (Map{0, -1, 2}));
    EXPECT_EQ(translated(2, direct(0, 2), direct(100, 2), EGDA_TYPE_U8), Map{});
    Report report;
    EXPECT_EQ(edsc_BinFunctionTranslate(0, direct(0, 2).get(), direct(0, 2).get(), EGDA_TYPE_U8, report), nullptr);
    EXPECT_EQ(report.get(), nullptr);
}

TEST(BinFunctionPrint, ShowsBothFacesAndTheBinning)
{
    testing::internal::CaptureStdout();
    edsc_BinFunctionPrint(direct(1, 2).get(), nullptr);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(text.rfind("Old Bin Function:\n\tnumBins:\t2\n\ttype:\t\t0\n\tminLimit:\t1\n\tmaxLimit:\t2\n"
                         "New Bin Function:\n\tfunctions:\t0x",
                         0),
              0U);
    EXPECT_NE(text.find("\ttitle:\t\tDirect\n"), std::string::npos);
    EXPECT_NE(text.find("\tinternals:\n"), std::string::npos);
    EXPECT_NE(text.find("Binning:\n0:\t                        1 <= k <                         2\n"), std::string::npos);
}

}  // namespace
