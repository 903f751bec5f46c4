#include "data/epxm/convert.h"
#include "data/epxm/streaming.h"

#include "data/data_support.h"

#include <emantle/data/epxm/convert.h>
#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/estr/build.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace {

using namespace emantle;

constexpr int kNumbers = EGDA_TYPE_STRING;
constexpr int kSizes[kNumbers] = {1, 1, 1, 1, 1, 2, 2, 4, 4, 4, 8, 8, 16};
constexpr double kLow[] = {0, 0, 0, 0, -128, 0, -32768, 0, -2147483648.0};
constexpr double kHigh[] = {1, 3, 15, 255, 127, 65535, 32767, 4294967295.0, 2147483647.0};

/* One element, one at a time, in the widest types there are. */
std::complex<long double> load(Egda_PixelType type, const unsigned char* p)
{
    const auto as = [&](auto value, int part = 0) {
        std::memcpy(&value, p + part * static_cast<int>(sizeof(value)), sizeof(value));
        return static_cast<long double>(value);
    };
    switch (type) {
    case EGDA_TYPE_S8: return as(std::int8_t{});
    case EGDA_TYPE_U16: return as(std::uint16_t{});
    case EGDA_TYPE_S16: return as(std::int16_t{});
    case EGDA_TYPE_U32: return as(std::uint32_t{});
    case EGDA_TYPE_S32: return as(std::int32_t{});
    case EGDA_TYPE_F32: return as(float{});
    case EGDA_TYPE_F64: return as(double{});
    case EGDA_TYPE_C64: return {as(float{}), as(float{}, 1)};
    case EGDA_TYPE_C128: return {as(double{}), as(double{}, 1)};
    default: return as(std::uint8_t{});
    }
}

void store(Egda_PixelType type, std::complex<long double> value, unsigned char* p)
{
    const auto put = [&](auto part, int index = 0) {
        std::memcpy(p + index * static_cast<int>(sizeof(part)), &part, sizeof(part));
    };
    switch (type) {
    case EGDA_TYPE_F32: return put(static_cast<float>(value.real()));
    case EGDA_TYPE_F64: return put(static_cast<double>(value.real()));
    case EGDA_TYPE_C64: return put(static_cast<float>(value.real())), put(static_cast<float>(value.imag()), 1);
    case EGDA_TYPE_C128: return put(static_cast<double>(value.real())), put(static_cast<double>(value.imag()), 1);
    default: break;
    }
    const auto whole = static_cast<std::int64_t>(value.real());
    std::memcpy(p, &whole, static_cast<std::size_t>(kSizes[type])); /* little-endian, two's complement */
}

bool isComplexType(Egda_PixelType type)
{
    return type == EGDA_TYPE_C64 || type == EGDA_TYPE_C128;
}

void expected(Egda_PixelType from, Egda_PixelType to, const unsigned char* in, unsigned char* out)
{
    std::complex<long double> value = load(from, in);
    if (from == to) {
        std::memcpy(out, in, static_cast<std::size_t>(kSizes[to]));
        return;
    }
    if (isComplexType(from) && !isComplexType(to)) {
        const auto real = static_cast<double>(value.real());
        const auto imaginary = static_cast<double>(value.imag());
        value = std::sqrt(real * real + imaginary * imaginary);
    }
    if (to <= EGDA_TYPE_S32) {
        auto real = static_cast<double>(value.real());
        real = !(real > kLow[to]) ? kLow[to] : real > kHigh[to] ? kHigh[to] : real;
        value = std::trunc(real < 0 ? real - 0.5 : real + 0.5);
    }
    store(to, value, out);
}

/* Each part bit for bit; any NaN equals any other. */
bool same(Egda_PixelType type, const unsigned char* a, const unsigned char* b)
{
    if (std::memcmp(a, b, static_cast<std::size_t>(kSizes[type])) == 0) {
        return true;
    }
    const std::complex<long double> x = load(type, a);
    const std::complex<long double> y = load(type, b);
    const auto alike = [](long double p, long double q) {
        return (std::isnan(p) && std::isnan(q)) || (p == q && std::signbit(p) == std::signbit(q));
    };
    return type >= EGDA_TYPE_F32 && alike(x.real(), y.real()) && alike(x.imag(), y.imag());
}

/* Where some rule changes: each limit, the values beside it and half way to them, and what is no number at all. */
std::vector<double> edges()
{
    std::vector<double> values{0.49999999999999994, 0.4999999701976776, 1e-310, 1e-40, 3.5, 254.5, 1e30, 1e300, 70000,
                               std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()};
    for (const double limit : {0.0, 1.0, 3.0, 15.0, 127.0, 255.0, 32767.0, 65535.0, 2147483647.0, 4294967295.0}) {
        for (const double step : {-1.0, -0.5, -0.25, 0.0, 0.25, 0.5, 1.0}) {
            values.push_back(limit + step);
            values.push_back(std::nextafter(limit + step, 0));
            values.push_back(std::nextafterf(static_cast<float>(limit + step), 0));
            values.push_back(std::nextafterf(static_cast<float>(limit + step), 1e30f));
        }
    }
    for (std::size_t i = 0, count = values.size(); i < count; ++i) {
        values.push_back(-values[i]);
    }
    return values;
}

/* The edges that `type` can hold. */
Bytes samples(Egda_PixelType type)
{
    Bytes bytes;
    const auto add = [&](std::complex<long double> value) {
        bytes.resize(bytes.size() + static_cast<std::size_t>(kSizes[type]));
        store(type, value, &bytes[bytes.size() - static_cast<std::size_t>(kSizes[type])]);
    };
    const std::vector<double> values = edges();
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (type >= EGDA_TYPE_F32) {
            add({values[i], values[(i * 7 + 3) % values.size()]});
            add({values[i], 0});
        } else if (const int storage = type < EGDA_TYPE_U8 ? EGDA_TYPE_U8 : type;
                   values[i] >= kLow[storage] && values[i] <= kHigh[storage]) {
            add(std::trunc(values[i]));
        }
    }
    add({3, 4});
    return bytes;
}

class ConvertTable : public testing::TestWithParam<platform::InstructionSet> {};

INSTANTIATE_TEST_SUITE_P(EveryInstructionSet, ConvertTable, testing::ValuesIn(instructionSets()),
                         [](const auto& set) { return "set" + std::to_string(static_cast<int>(set.param)); });

TEST_P(ConvertTable, EveryCellAgreesWithTheRuleAtTheEdges)
{
    for (Egda_PixelType from = 0; from < kNumbers; ++from) {
        const Bytes in = samples(from);
        const long count = static_cast<long>(in.size()) / kSizes[from];
        for (Egda_PixelType to = 0; to < kNumbers; ++to) {
            Bytes out(static_cast<std::size_t>(count * kSizes[to]));
            convertTable(GetParam())[from][to](in.data(), out.data(), count);
            for (long i = 0; i < count; ++i) {
                unsigned char wanted[16] = {};
                expected(from, to, &in[static_cast<std::size_t>(i * kSizes[from])], wanted);
                const unsigned char* got = &out[static_cast<std::size_t>(i * kSizes[to])];
                ASSERT_TRUE(same(to, got, wanted))
                    << egda_PixelNameFromType(from) << " to " << egda_PixelNameFromType(to) << ": "
                    << load(from, &in[static_cast<std::size_t>(i * kSizes[from])]) << " became " << load(to, got)
                    << ", not " << load(to, wanted);
            }
        }
    }
}

/* Lengths around every width of vector, from addresses that are aligned to nothing. */
TEST_P(ConvertTable, WritesItsElementsAndNothingBeside)
{
    constexpr unsigned char kGuard = 0xA5;
    for (Egda_PixelType from = 0; from < kNumbers; ++from) {
        for (Egda_PixelType to = 0; to < kNumbers; ++to) {
            for (const long count : {-1L, 0L, 1L, 3L, 15L, 17L, 33L, 64L, 67L, 131L}) {
                const long used = count < 0 ? 0 : count * kSizes[to];
                Bytes in(static_cast<std::size_t>(3 + 131 * kSizes[from]), 0);
                Bytes out(static_cast<std::size_t>(5 + used + 64), kGuard);
                convertTable(GetParam())[from][to](in.data() + 3, out.data() + 5, count);
                Bytes wanted(out.size(), kGuard);
                std::fill_n(wanted.begin() + 5, used, 0);
                ASSERT_EQ(out, wanted) << from << " to " << to << ", " << count << " elements";
            }
        }
    }
}

/* Every half in the range, and the floats on both sides of it: float arithmetic has to round as double does. */
TEST_P(ConvertTable, FloatsRoundHalfAwayFromZeroExactly)
{
    std::vector<float> in;
    for (int whole = -32770; whole < 65540; ++whole) {
        const float half = static_cast<float>(whole) + 0.5f;
        in.insert(in.end(), {half, std::nextafterf(half, -1e9f), std::nextafterf(half, 1e9f)});
    }
    for (const Egda_PixelType to : {EGDA_TYPE_U8, EGDA_TYPE_S8, EGDA_TYPE_U16, EGDA_TYPE_S16, EGDA_TYPE_S32}) {
        Bytes out(in.size() * static_cast<std::size_t>(kSizes[to]));
        convertTable(GetParam())[EGDA_TYPE_F32][to](in.data(), out.data(), static_cast<long>(in.size()));
        for (std::size_t i = 0; i < in.size(); ++i) {
            unsigned char wanted[16] = {};
            expected(EGDA_TYPE_F32, to, reinterpret_cast<const unsigned char*>(&in[i]), wanted);
            ASSERT_TRUE(same(to, &out[i * static_cast<std::size_t>(kSizes[to])], wanted)) << in[i] << " to " << to;
        }
    }
}

/* Blocks beyond the cache are written another way, in pieces, from wherever a line of memory starts. */
TEST(Streaming, AgreesWithTheLoopsItCalls)
{
    const auto* table = convertTable(platform::InstructionSet::baseline);
    constexpr Egda_PixelType cells[][2] = {{EGDA_TYPE_U8, EGDA_TYPE_F32},
                                           {EGDA_TYPE_F32, EGDA_TYPE_U8},
                                           {EGDA_TYPE_U8, EGDA_TYPE_C128},
                                           {EGDA_TYPE_F64, EGDA_TYPE_S16}};
    for (const auto& [from, to] : cells) {
        for (const long count : {0L, 5L, 4096L, 10007L}) {
            for (const long offset : {0L, 1L, 16L, 63L}) {
                const Bytes in = samples(from);
                Bytes source;
                while (static_cast<long>(source.size()) < count * kSizes[from]) {
                    source.insert(source.end(), in.begin(), in.end());
                }
                Bytes wanted(static_cast<std::size_t>(offset + count * kSizes[to] + 64), 0xA5);
                Bytes got = wanted;
                table[from][to](source.data(), wanted.data() + offset, count);
                convertStreaming(table[from][to], source.data(), kSizes[from], got.data() + offset, kSizes[to], count);
                ASSERT_EQ(got, wanted) << from << " to " << to << ' ' << count << ' ' << offset;
            }
        }
    }
    std::vector<float> inPlace(5000, 1.5f);
    convertStreaming(table[EGDA_TYPE_F32][EGDA_TYPE_S32], inPlace.data(), 4, inPlace.data(), 4, 5000);
    std::vector<std::int32_t> whole(5000);
    std::memcpy(whole.data(), inPlace.data(), 20000);
    EXPECT_EQ(whole, std::vector<std::int32_t>(5000, 2));
}

/* Types of one size convert in place; equal types may overlap in any way. */
TEST_P(ConvertTable, ConvertsInPlace)
{
    std::vector<float> values(100, -7.5f);
    convertTable(GetParam())[EGDA_TYPE_F32][EGDA_TYPE_S32](values.data(), values.data(), 100);
    for (const float& value : values) {
        std::int32_t whole = 0;
        std::memcpy(&whole, &value, sizeof(whole));
        ASSERT_EQ(whole, -8);
    }
    std::vector<std::uint16_t> shifted{1, 2, 3, 4, 5};
    convertTable(GetParam())[EGDA_TYPE_U16][EGDA_TYPE_U16](shifted.data(), shifted.data() + 1, 4);
    EXPECT_EQ(shifted, (std::vector<std::uint16_t>{1, 1, 2, 3, 4}));
}

TEST(ConvertIncTable, AgreesWithTheContiguousTableWhateverTheSteps)
{
    const auto* inc = emsc_AddressOf_epxm_ConvertInc();
    for (Egda_PixelType from = 0; from < kNumbers; ++from) {
        const Bytes in = samples(from);
        const long count = static_cast<long>(in.size()) / kSizes[from];
        for (Egda_PixelType to = 0; to < kNumbers; ++to) {
            const long size = kSizes[to];
            Bytes wanted(static_cast<std::size_t>(count * size));
            convertTable(platform::InstructionSet::baseline)[from][to](in.data(), wanted.data(), count);
            /* Forwards with gaps of 3 bytes into the same order, then backwards into the reverse. */
            for (const bool backwards : {false, true}) {
                const long step = size + 3;
                Bytes out(static_cast<std::size_t>(count * step), 0xA5);
                Bytes spread(out.size(), 0xA5);
                for (long i = 0; i < count; ++i) {
                    std::memcpy(&spread[static_cast<std::size_t>((backwards ? count - 1 - i : i) * step)],
                                &wanted[static_cast<std::size_t>(i * size)], static_cast<std::size_t>(size));
                }
                inc[from][to](in.data(), out.data() + (backwards ? (count - 1) * step : 0), count, kSizes[from],
                              backwards ? -step : step);
                ASSERT_EQ(out, spread) << from << " to " << to;
            }
        }
    }
    double three = 3.5;
    unsigned char repeated[4] = {};
    inc[EGDA_TYPE_F64][EGDA_TYPE_U8](&three, repeated, 3, 0, 1);
    EXPECT_EQ(Bytes(repeated, repeated + 4), (Bytes{4, 4, 4, 0}));
}

TEST(FillTables, FillTheirElementsAndNothingBeside)
{
    for (Egda_PixelType type = 0; type < kNumbers; ++type) {
        const auto size = static_cast<std::size_t>(kSizes[type]);
        const Bytes value{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
        Bytes run(size * 21 + 2, 0xA5);
        Bytes stepped = run;
        Bytes wantedRun = run;
        Bytes wantedStepped = run;
        for (std::size_t i = 0; i < 20; ++i) {
            std::memcpy(&wantedRun[1 + i * size], value.data(), size);
            std::memcpy(&wantedStepped[1 + i / 2 * 2 * size], value.data(), size);
        }
        emsc_AddressOf_epxm_Fill()[type](run.data() + 1, value.data(), 20);
        emsc_AddressOf_epxm_FillInc()[type](stepped.data() + 1, value.data(), 10, static_cast<long>(2 * size));
        EXPECT_EQ(run, wantedRun) << type;
        EXPECT_EQ(stepped, wantedStepped) << type;
    }
}

TEST(StringCells, CopyTheTextAndStandAlone)
{
    char* in[] = {estr_Duplicate("one"), nullptr, estr_Duplicate("three")};
    char* out[] = {estr_Duplicate("long gone text"), estr_Duplicate("gone"), nullptr};
    emsc_AddressOf_epxm_Convert()[EGDA_TYPE_STRING][EGDA_TYPE_STRING](in, out, 3);
    EXPECT_STREQ(out[0], "one");
    EXPECT_EQ(out[1], nullptr);
    EXPECT_STREQ(out[2], "three");
    EXPECT_NE(out[2], in[2]);
    emsc_AddressOf_epxm_FillInc()[EGDA_TYPE_STRING](out, in, 2, 2 * sizeof(char*));
    EXPECT_STREQ(out[2], "one");
    for (int i = 0; i < 3; ++i) {
        emsc_HeapFree(in[i]);
        emsc_HeapFree(out[i]);
    }
    for (Egda_PixelType type = 0; type < kNumbers; ++type) {
        EXPECT_EQ(emsc_AddressOf_epxm_Convert()[type][EGDA_TYPE_STRING], nullptr);
        EXPECT_EQ(emsc_AddressOf_epxm_Convert()[EGDA_TYPE_STRING][type], nullptr);
        EXPECT_EQ(emsc_AddressOf_epxm_ConvertInc()[type][EGDA_TYPE_STRING], nullptr);
        EXPECT_EQ(emsc_AddressOf_epxm_ConvertInc()[EGDA_TYPE_STRING][type], nullptr);
    }
}

TEST(Pixels, CheckedCallsReport)
{
    float in[] = {300, -1};
    unsigned char out[] = {9, 9};
    Report report;
    const auto convert = [&](void* dest, int to, const void* src, int from) {
        epxm_ConvertPixels(dest, to, src, from, 2, report);
        return report.text();
    };
    EXPECT_EQ(convert(out, 3, nullptr, 9), "epxm_ConvertPixels 1 Invalid source pointer");
    EXPECT_EQ(convert(nullptr, 3, in, 9), "epxm_ConvertPixels 2 Invalid destination");
    EXPECT_EQ(convert(out, 3, in, 14), "epxm_ConvertPixels 3 Invalid source pixel type");
    EXPECT_EQ(convert(out, -1, in, 9), "epxm_ConvertPixels 4 Invalid destination pixel type");
    EXPECT_EQ(convert(out, EGDA_TYPE_STRING, in, 9), "epxm_ConvertPixels 4 Invalid destination pixel type");
    EXPECT_EQ(epxm_ConvertPixels(out, EGDA_TYPE_U8, in, EGDA_TYPE_F32, 2, nullptr), 0);
    EXPECT_EQ(Bytes(out, out + 2), (Bytes{9, 9}));
    EXPECT_EQ(epxm_ConvertPixels(out, EGDA_TYPE_U8, in, EGDA_TYPE_F32, 2, report), 1);
    EXPECT_EQ(Bytes(out, out + 2), (Bytes{255, 0}));

    const auto fill = [&](void* dest, int type, const void* value, long count) {
        epxm_FillPixels(dest, type, value, count, report);
        return report.text();
    };
    EXPECT_EQ(fill(nullptr, 3, out, 1), "epxm_FillPixels 1 Invalid pointer");
    EXPECT_EQ(fill(out, 14, out, 1), "epxm_FillPixels 2 Invalid pixel type");
    EXPECT_EQ(fill(out, 3, nullptr, 1), "epxm_FillPixels 3 Invalid value pointer");
    EXPECT_EQ(fill(out, 3, out, -1), "epxm_FillPixels 4 Invalid count");
    EXPECT_EQ(fill(out, 3, out, 2), "");
    EXPECT_EQ(Bytes(out, out + 2), (Bytes{255, 255}));

    EXPECT_EQ(epxm_StringToType("u8", report), EGDA_TYPE_U8);
    EXPECT_EQ(epxm_StringToType("U8", report), -1);
    EXPECT_EQ(report.text(), "epxm_StringToType 1 Invalid pixel type:  U8");
    EXPECT_EQ(epxm_StringToType(nullptr, report), -1);
}

}  // namespace
