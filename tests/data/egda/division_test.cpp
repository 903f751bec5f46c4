#include "data/egda/operators_support.h"

namespace {

using namespace operators_test;

/* At whole quotients and beside them, where a quotient by way of floating numbers is at its limits. */
TEST(Division, QuotientsOf32BitsAreExact)
{
    std::mt19937 random(23);
    constexpr long count = 200003;
    std::vector<std::int32_t> a(count), b(count), out(count);
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto divisor = static_cast<std::int32_t>(random()) >> random() % 31;
        b[i] = divisor == 0 ? 1 : divisor;
        const std::int64_t whole = static_cast<std::int32_t>(random()) / b[i];
        a[i] = static_cast<std::int32_t>(whole * b[i] + static_cast<std::int64_t>(random() % 3) - 1);
    }
    a[0] = INT32_MIN, b[0] = -1, a[1] = INT32_MIN, b[1] = 1, a[2] = INT32_MAX, b[2] = 1;
    const auto recordOver = [](void* data, int type) {
        return Base(egda_BaseDataCreate(1, count, type, EGDA_RASTER_OBJECT, data, nullptr));
    };
    for (const int type : {EGDA_TYPE_S32, EGDA_TYPE_U32}) {
        Base records[] = {recordOver(a.data(), type), recordOver(b.data(), type), recordOver(out.data(), type)};
        Egda_BaseData* layers[] = {records[0].get(), records[1].get(), records[2].get()};
        Egda_BaseDataStack stacks[] = {{1, 1, &layers[0], 0}, {1, 1, &layers[1], 0}, {1, 1, &layers[2], 0}};
        Egda_BaseDataStack* pointers[] = {&stacks[0], &stacks[1]};
        const Egda_BaseDataStackArray array{2, pointers, nullptr};
        for (const InstructionSet set : instructionSets()) {
            Report report;
            withSet("egda_MaoDiv", set)(type, &stacks[2], &array, report);
            EXPECT_EQ(report.text(), "");
            for (std::size_t i = 0; i < a.size(); ++i) {
                const std::int64_t wrap = type == EGDA_TYPE_S32 ? 0 : std::int64_t{1} << 32;
                const std::int64_t over = a[i] + (a[i] < 0 ? wrap : 0);
                const std::int64_t by = b[i] + (b[i] < 0 ? wrap : 0);
                ASSERT_EQ(out[i], static_cast<std::int32_t>(over / by)) << a[i] << " / " << b[i];
            }
        }
    }
}

const char* const kDivided = "egda_BaseDataStackOperation 2 - | EGDA_Div 6 Divided by zero";

TEST(Division, StopsAtTheFirstZeroWithAllBeforeItWritten)
{
    for (const long op : {EGDA_OP_DIV, EGDA_OP_REM}) {
        for (const long at : {0L, 1L, 63L, 64L, 700L, 1999L}) {
            std::vector<std::int32_t> divisors(2000, 3);
            divisors[static_cast<std::size_t>(at)] = 0;
            const Row a(EGDA_TYPE_S32, std::vector<std::int32_t>(2000, 10));
            const Row b(EGDA_TYPE_S32, divisors);
            const Row dest(EGDA_TYPE_S32, std::vector<std::int32_t>(2000, -7));
            EXPECT_EQ(operate(op, dest, {&a, &b}), kDivided);
            const auto values = elements<std::int32_t>(*dest.base);
            EXPECT_EQ(std::count(values.begin(), values.begin() + at, op == EGDA_OP_DIV ? 3 : 1), at);
            EXPECT_EQ(std::count(values.begin() + at, values.end(), -7), 2000 - at);
        }
    }
}

TEST(Division, ZerosOutsideTheMaskAreNoDivisors)
{
    const Row a(EGDA_TYPE_U8, std::vector<std::uint8_t>{10, 20, 30, 40});
    const Row b(EGDA_TYPE_U8, std::vector<std::uint8_t>{2, 0, 5, 0});
    const Row mask(EGDA_TYPE_U8, std::vector<std::uint8_t>{1, 0, 9, 0});
    const Row all(EGDA_TYPE_U8, std::vector<std::uint8_t>{1, 0, 9, 9});
    const Row dest(EGDA_TYPE_U8, std::vector<std::uint8_t>{7, 7, 7, 7});
    EXPECT_EQ(operate(EGDA_OP_DIV, dest, {&a, &b}, &mask), "");
    EXPECT_EQ(elements<std::uint8_t>(*dest.base), (std::vector<std::uint8_t>{5, 7, 6, 7}));
    EXPECT_EQ(operate(EGDA_OP_DIV, dest, {&a, &b}, &all), kDivided);
    EXPECT_EQ(elements<std::uint8_t>(*dest.base), (std::vector<std::uint8_t>{5, 7, 6, 7}));
}

TEST(Division, AComplexDivisorNearZeroStopsAndAFloatingOneDoesNot)
{
    const Row a(EGDA_TYPE_C64, std::vector<Egda_Complex64>{{4, 2}, {1, 1}});
    const Row b(EGDA_TYPE_C64, std::vector<Egda_Complex64>{{2, 0}, {0.003F, 0.0005F}});
    const Row dest(EGDA_TYPE_C64, std::vector<Egda_Complex64>{{9, 9}, {9, 9}});
    EXPECT_EQ(operate(EGDA_OP_DIV, dest, {&a, &b}), kDivided);
    const auto values = elements<Egda_Complex64>(*dest.base);
    EXPECT_EQ(values[0].real, 2);
    EXPECT_EQ(values[0].imaginary, 1);
    EXPECT_EQ(values[1].real, 9);
    const Row x(EGDA_TYPE_F32, std::vector<float>{1, -1});
    const Row zero(EGDA_TYPE_F32, std::vector<float>{0, 0});
    EXPECT_EQ(operate(EGDA_OP_DIV, x, {&x, &zero}), "");
    EXPECT_EQ(elements<float>(*x.base), (std::vector<float>{HUGE_VALF, -HUGE_VALF}));
}

}  // namespace
