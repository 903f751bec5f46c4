#include "data/egda/operators_support.h"

namespace {

using namespace operators_test;

/* What a function owes in double: this many units in the last place of the exact value. */
constexpr double kMostUlps = 1;

using Real = long double (*)(long double);
struct Function {
    const char* table;
    Real exact;
    /* Arguments come from the whole of each range; those of magnitudes by powers of 2. */
    std::vector<std::pair<double, double>> ranges;
    std::vector<std::pair<int, int>> magnitudes;
    bool odd;
};
const Function kFunctions[] = {
    {"egda_FuncSin", std::sin, {{-4, 4}, {-1e5, 1e5}, {-1e9, 1e9}}, {{-1060, 0}}, true},
    {"egda_FuncCos", std::cos, {{-4, 4}, {-1e5, 1e5}, {-1e9, 1e9}}, {{-1060, 0}}, false},
    {"egda_FuncTan", std::tan, {{-4, 4}, {-1e5, 1e5}, {-1e9, 1e9}}, {{-1060, 0}}, true},
    {"egda_FuncSinh", std::sinh, {{-0.1, 0.1}, {-3, 3}, {-711, 711}}, {{-1060, 0}}, true},
    {"egda_FuncCosh", std::cosh, {{-0.1, 0.1}, {-3, 3}, {-711, 711}}, {{-1060, 0}}, false},
    {"egda_FuncTanh", std::tanh, {{-0.1, 0.1}, {-3, 3}, {-30, 30}}, {{-1060, 1000}}, true},
    {"egda_FuncAsin", std::asin, {{-1, 1}}, {{-1060, 0}}, true},
    {"egda_FuncAcos", std::acos, {{-1, 1}}, {{-1060, 0}}, false},
    {"egda_FuncAtan", std::atan, {{-0.1, 0.1}, {-2, 2}, {-100, 100}}, {{-1060, 1000}}, true},
    {"egda_FuncAsinh", std::asinh, {{-2, 2}, {-100, 100}}, {{-1060, 1000}}, true},
    {"egda_FuncAcosh", std::acosh, {{1, 1.1}, {1, 100}}, {{1, 1000}}, false},
    {"egda_FuncExp", std::exp, {{-0.1, 0.1}, {-40, 40}, {-744, 709.7}}, {{-1060, 0}}, false},
    {"egda_FuncLog", std::log, {{0.74, 1.49}, {0.99, 1.01}, {0, 1e5}}, {{-1074, 1023}}, false},
    {"egda_FuncLog10", std::log10, {{0.74, 1.49}, {0.99, 1.01}, {0, 1e5}}, {{-1074, 1023}}, false}};

std::vector<double> argumentsOf(const Function& function)
{
    std::mt19937_64 random(31);
    std::vector<double> all;
    for (const auto& [low, high] : function.ranges) {
        std::uniform_real_distribution<double> pick(low, high);
        std::generate_n(std::back_inserter(all), 20000, [&] { return pick(random); });
    }
    std::uniform_real_distribution<double> mantissa(1, 2);
    for (const auto& [low, high] : function.magnitudes) {
        std::uniform_int_distribution<int> exponent(low, high);
        std::generate_n(std::back_inserter(all), 20000, [&] { return std::ldexp(mantissa(random), exponent(random)); });
    }
    return all;
}

/* Where sines and cosines have their zeros, and where the parts meet of which logarithms and powers are made. */
void addMeetingPoints(const Function& function, std::vector<double>& arguments)
{
    const double most = function.ranges.back().second;
    for (long i = 1; i < 4000; ++i) {
        const double sixteenth = static_cast<double>(i) * std::log(2.0) / 32;
        const double at[] = {static_cast<double>(i) * M_PI_2, static_cast<double>(i * i) * M_PI_2, sixteenth, -sixteenth,
                             std::ldexp(1 + static_cast<double>(i % 64) / 64, static_cast<int>(i / 64) - 32)};
        for (const double x : at) {
            for (const double beside : {x, std::nextafter(x, 0.0), std::nextafter(x, HUGE_VAL)}) {
                if (beside >= function.ranges.back().first && beside <= most) {
                    arguments.push_back(beside);
                }
            }
        }
    }
}

Base recordOver(std::vector<double>& values)
{
    return Base(egda_BaseDataCreate(1, static_cast<long>(values.size()), EGDA_TYPE_F64, EGDA_RASTER_OBJECT,
                                    values.data(), nullptr));
}

std::vector<double> computed(const char* table, InstructionSet set, std::vector<std::vector<double>> operands)
{
    std::vector<double> out(operands[0].size());
    const Base dest = recordOver(out);
    std::vector<Base> records;
    std::vector<Egda_BaseData*> layers{dest.get()};
    for (std::vector<double>& operand : operands) {
        records.push_back(recordOver(operand));
        layers.push_back(records.back().get());
    }
    std::vector<Egda_BaseDataStack> stacks;
    for (Egda_BaseData*& layer : layers) {
        stacks.push_back({1, 1, &layer, 0});
    }
    Egda_BaseDataStack* sources[] = {&stacks[1], &stacks.back()};
    const Egda_BaseDataStackArray array{static_cast<int32_t>(operands.size()), sources, nullptr};
    Report report;
    withSet(table, set)(EGDA_TYPE_F64, stacks.data(), &array, report);
    EXPECT_EQ(report.text(), "");
    return out;
}

/* In units in the last place, which below the normal numbers are all alike. */
double ulpsOff(double value, long double exact)
{
    if (value == static_cast<double>(exact) || (std::isnan(value) && std::isnan(exact))) {
        return 0;
    }
    const int exponent = std::max(std::ilogb(exact), -1022);
    return static_cast<double>(std::abs(value - exact) / std::ldexp(1.0L, exponent - 52));
}

void expectNear(const char* table, const std::vector<std::vector<double>>& operands,
                const std::function<long double(std::size_t)>& exact)
{
    std::vector<double> wide;
    for (const InstructionSet set : instructionSets()) {
        const std::vector<double> out = computed(table, set, operands);
        double worst = 0;
        std::size_t at = 0;
        for (std::size_t i = 0; i < out.size(); ++i) {
            const double off = ulpsOff(out[i], exact(i));
            at = off > worst ? i : at;
            worst = std::max(worst, off);
        }
        EXPECT_LE(worst, kMostUlps) << table << " of " << operands[0][at] << " set " << static_cast<int>(set);
        /* With fused multiplication all sets agree to the bit. */
        if (set != InstructionSet::baseline) {
            EXPECT_TRUE(wide.empty() || std::memcmp(wide.data(), out.data(), out.size() * sizeof(double)) == 0) << table;
            wide = out;
        }
    }
}

TEST(Functions, LieWithinOneUnitInTheLastPlace)
{
    for (const Function& function : kFunctions) {
        std::vector<double> arguments = argumentsOf(function);
        addMeetingPoints(function, arguments);
        std::vector<long double> exact;
        for (const double x : arguments) {
            exact.push_back(function.exact(x));
        }
        expectNear(function.table, {arguments}, [&](std::size_t i) { return exact[i]; });
    }
}

/* Bases and exponents over all that has a power; then bases so near 1 that all of their logarithm counts. */
TEST(Functions, PowersLieWithinOneUnitInTheLastPlace)
{
    std::mt19937_64 random(37);
    std::uniform_real_distribution<double> part(-1, 1);
    std::vector<double> bases;
    std::vector<double> exponents;
    std::vector<long double> exact;
    for (int i = 0; i < 60000; ++i) {
        const double logarithm = i % 2 == 0 ? 709 * part(random) : std::ldexp(part(random), -(i % 50));
        bases.push_back(std::exp(logarithm));
        exponents.push_back(i % 3 == 0 ? 744 * part(random) / std::log(bases.back()) : 20 * part(random));
        exact.push_back(std::pow(static_cast<long double>(bases.back()), static_cast<long double>(exponents.back())));
    }
    expectNear("egda_MaoPow", {bases, exponents}, [&](std::size_t i) { return exact[i]; });
}

/* What is left to the C library must reach no lane beside it, and zeros keep their sign. */
TEST(Functions, LimitsStayInTheirLane)
{
    const double limits[] = {0.0, -0.0, HUGE_VAL, -HUGE_VAL, std::nan(""), 5e-324, -1.0, 1e308, 2.0};
    for (const Function& function : kFunctions) {
        for (const InstructionSet set : instructionSets()) {
            const double plain = computed(function.table, set, {{1.25}})[0];
            for (const double limit : limits) {
                for (std::size_t lane = 0; lane < 19; ++lane) {
                    std::vector<double> arguments(19, 1.25);
                    arguments[lane] = limit;
                    std::vector<double> out = computed(function.table, set, {arguments});
                    EXPECT_LE(ulpsOff(out[lane], function.exact(limit)), kMostUlps) << function.table << limit;
                    if (limit == 0 && function.odd) {
                        EXPECT_EQ(std::signbit(out[lane]), std::signbit(limit)) << function.table;
                    }
                    out[lane] = plain;
                    EXPECT_EQ(std::count_if(out.begin(), out.end(), [&](double x) {
                        return std::memcmp(&x, &plain, sizeof(x)) == 0;
                    }), 19) << function.table << limit;
                }
            }
        }
    }
}

/* Exponents that all are alike take the processor's own roots and products. */
TEST(Operators, PowersOfOneExponentAreAsGoodAsAnyOthers)
{
    std::vector<double> bases(200), exponents(200), out(200);
    for (const double exponent : {2.0, 0.5, -1.0, 1.0, 3.0}) {
        for (std::size_t i = 0; i < bases.size(); ++i) {
            bases[i] = 0.013 + static_cast<double>(i) * 0.37;
            exponents[i] = i == 150 && exponent == 0.5 ? 2.0 : exponent;
        }
        bases[199] = -0.0; /* has the sign of the C library's result */
        bases[198] = -HUGE_VAL;
        const Base base = recordOver(bases), by = recordOver(exponents), dest = recordOver(out);
        Egda_BaseData* sources[] = {base.get(), by.get()};
        egda_BaseDataOperation(EGDA_OP_POW, dest.get(), sources, 2, nullptr);
        for (std::size_t i = 0; i < bases.size(); ++i) {
            const double exact = static_cast<double>(
                std::pow(static_cast<long double>(bases[i]), static_cast<long double>(exponents[i])));
            EXPECT_DOUBLE_EQ(out[i], exact) << bases[i];
            EXPECT_EQ(std::signbit(out[i]), std::signbit(exact)) << exponent;
        }
    }
}

TEST(Operators, AComplexPowerReadsItsExponentsAsARunOfDoubles)
{
    const Row a(EGDA_TYPE_C128, std::vector<Egda_Complex128>{{0, 2}, {3, 0}});
    const Row b(EGDA_TYPE_C128, std::vector<Egda_Complex128>{{2, 0.5}, {99, 99}});
    const Row dest(EGDA_TYPE_C128, std::vector<Egda_Complex128>(2));
    EXPECT_EQ(operate(EGDA_OP_POW, dest, {&a, &b}), "");
    const auto values = elements<Egda_Complex128>(*dest.base);
    EXPECT_NEAR(values[0].real, -4, 1e-14);
    EXPECT_NEAR(values[0].imaginary, 0, 1e-14);
    EXPECT_NEAR(values[1].real, std::sqrt(3.0), 1e-15);
}

}  // namespace
