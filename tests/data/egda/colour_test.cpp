#include "data/egda/number_records.h"

#include <emantle/data/egda/group.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>

namespace {

using Triple = std::array<double, 3>;
using Tables = std::array<Egda_OperatorTable, 3>;

const Tables kToIhs{emsc_AddressOf_egda_GpfInten(), emsc_AddressOf_egda_GpfHue(), emsc_AddressOf_egda_GpfSatur()};
const Tables kToRgb{emsc_AddressOf_egda_GpfRed(), emsc_AddressOf_egda_GpfGreen(), emsc_AddressOf_egda_GpfBlue()};
const Tables kHsvToRgb{emsc_AddressOf_egda_GpfHSVtoRed(), emsc_AddressOf_egda_GpfHSVtoGreen(),
                       emsc_AddressOf_egda_GpfHSVtoBlue()};

/* Channels over their maxima, each in a record of `type`. */
Triple transform(const Tables& tables, Egda_PixelType type, const Triple& channels, const Triple& maxima)
{
    std::vector<Base> owned;
    std::vector<Egda_BaseData*> list;
    for (std::size_t i = 0; i < 6; ++i) {
        owned.push_back(i < 3 ? scalarOf(EGDA_TYPE_F64, maxima[i])
                              : recordOf(1, 2, type, {channels[i - 3], channels[i - 3]}));
        list.push_back(owned.back().get());
    }
    Triple result{};
    for (std::size_t i = 0; i < 3; ++i) {
        const Base dest = recordOf(1, 2, EGDA_TYPE_F64);
        EXPECT_EQ(apply(tables[i], dest.get(), list), "");
        result[i] = numberAt(*dest, 0, 1);
    }
    return result;
}

void expectNear(const Triple& a, const Triple& b, double tolerance = 1e-13)
{
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(a[i], b[i], tolerance) << i;
    }
}

TEST(Colour, TheCornersOfTheHexconeAreWhereTheyAreTold)
{
    const struct {
        Triple rgb, ihs;
    } corners[] = {
        {{1, 0, 0}, {0.5, 120, 1}}, {{0, 1, 0}, {0.5, 240, 1}}, {{0, 0, 1}, {0.5, 0, 1}},
        {{1, 1, 1}, {1, 0, 0}},     {{0, 0, 0}, {0, 0, 0}},     {{1, 0, 1}, {0.5, 60, 1}},
        {{1, 1, 0}, {0.5, 180, 1}}, {{0, 1, 1}, {0.5, 300, 1}}, {{0.75, 0.5, 0.5}, {0.625, 120, 1 / 3.0}},
    };
    for (const auto& corner : corners) {
        expectNear(transform(kToIhs, EGDA_TYPE_F64, corner.rgb, {1, 1, 1}), corner.ihs);
        expectNear(transform(kToRgb, EGDA_TYPE_F64, corner.ihs, {1, 360, 1}), corner.rgb);
    }
    expectNear(transform(kToIhs, EGDA_TYPE_U8, {255, 0, 0}, {255, 255, 255}), {0.5, 120, 1});
    expectNear(transform(kToRgb, EGDA_TYPE_F32, {0.5, 480, 1}, {1, 360, 1}), {1, 0, 0}); /* once around */
    expectNear(transform(kToRgb, EGDA_TYPE_F32, {0.5, -240, 1}, {1, 360, 1}), {1, 0, 0});
}

TEST(Colour, GoesThereAndBack)
{
    for (const int type : {EGDA_TYPE_U8, EGDA_TYPE_S32, EGDA_TYPE_F64}) {
        for (int r = 0; r <= 200; r += 25) {
            for (int g = 0; g <= 200; g += 25) {
                for (int b = 0; b <= 200; b += 40) {
                    const Triple rgb{r / 200.0, g / 200.0, b / 200.0};
                    const Triple ihs = transform(kToIhs, type, {double(r), double(g), double(b)}, {200, 200, 200});
                    EXPECT_TRUE(ihs[1] >= 0 && ihs[1] < 360);
                    expectNear(transform(kToRgb, EGDA_TYPE_F64, ihs, {1, 360, 1}), rgb);
                }
            }
        }
    }
}

/* The value channel stands in a sector as the definition of the single hexcone has it. */
TEST(Colour, HueSaturationAndValueMakeTheColourOfTheirSector)
{
    for (int degrees = 0; degrees <= 360; degrees += 15) {
        for (const double s : {0.0, 0.25, 1.0}) {
            const double v = 0.8;
            const int sector = degrees / 60 % 6;
            const double f = degrees % 360 / 60.0 - sector;
            const double p = (1 - s) * v, q = (1 - s * f) * v, t = (1 - (1 - f) * s) * v;
            const Triple sectors[] = {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}};
            expectNear(transform(kHsvToRgb, EGDA_TYPE_F64, {double(degrees), s * 10, v * 100}, {360, 10, 100}),
                       sectors[sector]);
        }
    }
}

TEST(Colour, InksTakeTheirLightTogetherWithBlack)
{
    const double inks[] = {10, 20, 30, 40}; /* cyan, yellow, magenta, black */
    const double maxima[] = {100, 50, 40, 80};
    std::vector<Base> owned;
    std::vector<Egda_BaseData*> list;
    for (int i = 0; i < 8; ++i) {
        owned.push_back(i < 4 ? scalarOf(EGDA_TYPE_F32, maxima[i]) : recordOf(1, 1, EGDA_TYPE_U8, {inks[i - 4]}));
        list.push_back(owned.back().get());
    }
    const Tables tables{emsc_AddressOf_egda_GpfCYMKtoRed(), emsc_AddressOf_egda_GpfCYMKtoGreen(),
                        emsc_AddressOf_egda_GpfCYMKtoBlue()};
    const double expected[] = {0.9 * 0.5, 0.25 * 0.5, 0.6 * 0.5};
    for (std::size_t i = 0; i < 3; ++i) {
        const Base dest = recordOf(1, 1, EGDA_TYPE_F64);
        EXPECT_EQ(apply(tables[i], dest.get(), list), "");
        EXPECT_NEAR(numberAt(*dest, 0, 0), expected[i], 1e-15);
    }
}

TEST(Colour, StacksOfThreeLayersAreTransformedAtOnceAndInPlace)
{
    constexpr long columns = 700;
    const Stack layers(egda_BaseDataStackCreate(3, 2, columns, EGDA_TYPE_F64, EGDA_RASTER_OBJECT, nullptr));
    const Base mask = recordOf(2, columns, EGDA_TYPE_U8, std::vector<double>(2 * columns, 1));
    static_cast<unsigned char*>(mask->data)[5] = 0;
    const auto color = [](long i, int k) { return static_cast<double>((i * 37 + k * 11) % 101) / 100; };
    for (long i = 0; i < 2 * columns; ++i) {
        for (int k = 0; k < 3; ++k) {
            setAt(*layers->datalayer[k], i / columns, i % columns, color(i, k));
        }
    }
    Egda_BaseDataStack* list = layers.get();
    const Egda_BaseDataStackArray array{1, &list, mask.get()};
    Report report;
    egda_BaseDataStackOperation(EGDA_OP_RGB_TO_IHS, layers.get(), &array, report);
    ASSERT_EQ(report.text(), "");
    for (const long i : {0L, 5L, 699L, 1399L}) {
        const Triple rgb{color(i, 0), color(i, 1), color(i, 2)};
        const Triple expected = i == 5 ? rgb : transform(kToIhs, EGDA_TYPE_F64, rgb, {1, 1, 1});
        for (int k = 0; k < 3; ++k) {
            EXPECT_EQ(numberAt(*layers->datalayer[k], i / columns, i % columns), expected[static_cast<std::size_t>(k)]);
        }
    }
    egda_BaseDataStackOperation(EGDA_OP_IHS_TO_RGB, layers.get(), &array, report);
    ASSERT_EQ(report.text(), "");
    for (long i = 0; i < 2 * columns; ++i) {
        for (int k = 0; k < 3; ++k) {
            ASSERT_NEAR(numberAt(*layers->datalayer[k], i / columns, i % columns), color(i, k), 1e-13) << i << ' ' << k;
        }
    }
}

TEST(Colour, TheDriversMakeThreeLayers)
{
    std::vector<Base> owned;
    std::vector<Egda_BaseDataStack> stacks;
    std::vector<Egda_BaseDataStack*> list;
    std::vector<Egda_BaseData*> records;
    for (const double value : {1.0, 1.0, 1.0, 0.0, 1.0, 0.0}) {
        owned.push_back(owned.size() < 3 ? scalarOf(EGDA_TYPE_F64, value) : recordOf(1, 1, EGDA_TYPE_F64, {value}));
        records.push_back(owned.back().get());
    }
    for (Egda_BaseData*& record : records) {
        stacks.push_back({1, 1, &record, 0});
    }
    for (Egda_BaseDataStack& stack : stacks) {
        list.push_back(&stack);
    }
    Egda_BaseDataStackArray array{6, list.data(), nullptr};
    const Stack dest(egda_BaseDataStackCreate(3, 1, 1, EGDA_TYPE_F64, EGDA_RASTER_OBJECT, nullptr));
    const auto result = [&] {
        return Triple{numberAt(*dest->datalayer[0], 0, 0), numberAt(*dest->datalayer[1], 0, 0),
                      numberAt(*dest->datalayer[2], 0, 0)};
    };
    Report report;
    egda_GpfColorElementsByRGBFunc(dest.get(), &array, report);
    EXPECT_EQ(report.text(), "");
    expectNear(result(), {0.5, 240, 1});
    setAt(*records[3], 0, 0, 0.5); /* intensity; hue 1 is once around, at blue */
    setAt(*records[5], 0, 0, 1);
    egda_GpfColorElementsByIHSFunc(dest.get(), &array, report);
    EXPECT_EQ(report.text(), "");
    expectNear(result(), {0, 0, 1});
    egda_GpfColorElementsByRGBFunc(nullptr, &array, report);
    EXPECT_EQ(report.text(), "egda_GpfColorElementsByRGB 1 - | egda_BaseDataStackFunction 1 "
                             "destdatastack or sourcedatastackarray is NULL !");
}

}  // namespace
