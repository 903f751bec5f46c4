#include "data/bin_operators/byte_table.h"
#include "data/egda/number_records.h"

#include <emantle/data/bin_operators.h>
#include <emantle/frame/estr/build.h>

#include <gtest/gtest.h>
#include <algorithm>
#include <numeric>
#include <random>

namespace {

using Numbers = std::vector<double>;

struct DeleteFunction {
    void operator()(Edsc_BinFunction* function) const { edsc_BinFunctionDelete(function, nullptr); }
};
using BinFunction = std::unique_ptr<Edsc_BinFunction, DeleteFunction>;

std::string lookUp(const Base& table, const Base& source, const Base& dest, const Base& mask = nullptr)
{
    Report report;
    emsc_AddressOf_egda_SaoLookUpValue()[source->datatype](table.get(), source.get(), dest.get(), mask.get(), report);
    return report.text();
}

constexpr char kOutside[] = "egda_SaoLookUpValue 1 Data value out of the range of LUT";

TEST(ByteTable, EveryWayOfFindingBytesFindsTheSame)
{
    std::mt19937 random(31);
    std::vector<std::uint8_t> table(256), source(1000), found(1001);
    std::iota(table.begin(), table.end(), std::uint8_t{0});
    std::shuffle(table.begin(), table.end(), random);
    for (auto& value : source) {
        value = static_cast<std::uint8_t>(random());
    }
    const emantle::ByteTableLoops loops = emantle::byteTableLoops();
    for (const auto loop : {loops.plain, loops.shuffles, loops.permutations}) {
        for (const long count : {0L, 1L, 31L, 64L, 65L, 127L, 1000L}) {
            if (loop == nullptr) {
                continue;
            }
            std::fill(found.begin(), found.end(), std::uint8_t{7});
            loop(found.data(), source.data(), table.data(), count);
            for (long i = 0; i < count; ++i) {
                ASSERT_EQ(found[static_cast<std::size_t>(i)], table[source[static_cast<std::size_t>(i)]]) << i;
            }
            EXPECT_EQ(found[static_cast<std::size_t>(count)], 7);
        }
    }
}

TEST(LookUp, FindsEveryTypeThroughEveryTypeFullAndMasked)
{
    constexpr long rows = 2, columns = 2100;
    for (int type = 0; type < EGDA_NUM_INTEGER_TYPES; ++type) {
        const long size = type == EGDA_TYPE_U1 ? 2 : type == EGDA_TYPE_U2 ? 4 : type == EGDA_TYPE_U4 ? 16 : 120;
        const Base source = makeBase(rows, columns, type);
        for (long i = 0; i < rows * columns; ++i) {
            setAt(*source, i / columns, i % columns, static_cast<double>(i * 7 % size));
        }
        const Base mask = numbered(rows, columns);
        for (int held = 0; held < EGDA_TYPE_STRING; ++held) {
            const Base table = makeBase(1, size, held, EGDA_TABLE_OBJECT);
            for (long i = 0; i < size; ++i) {
                setAt(*table, 0, i, {static_cast<double>(size - i), 1});
            }
            const Base whole = recordOf(rows, columns, held);
            const Base masked = recordOf(rows, columns, held);
            ASSERT_EQ(lookUp(table, source, whole), "");
            ASSERT_EQ(lookUp(table, source, masked, mask), "");
            for (long i = 0; i < rows * columns; ++i) {
                const auto expected = complexAt(*table, 0, i * 7 % size);
                ASSERT_EQ(complexAt(*whole, i / columns, i % columns), expected) << type << ' ' << held << ' ' << i;
                ASSERT_EQ(complexAt(*masked, i / columns, i % columns), i % 256 == 0 ? 0.0 : expected);
            }
        }
    }
}

TEST(LookUp, StopsAtTheFirstElementThatIsNoIndex)
{
    const Base table = recordOf(4, 1, EGDA_TYPE_S16, {10, 20, 30, 40}, EGDA_TABLE_OBJECT);
    const Base bytes = recordOf(4, 1, EGDA_TYPE_U8, {1, 2, 3, 4}, EGDA_TABLE_OBJECT);
    const Base mask = recordOf(1, 4, EGDA_TYPE_U8, {1, 1, 0, 1});
    for (int type = EGDA_TYPE_U8; type < EGDA_NUM_INTEGER_TYPES; ++type) {
        const Base source = recordOf(1, 4, type, {3, 0, 4, 1});
        const Base dest = recordOf(1, 4, EGDA_TYPE_S16);
        EXPECT_EQ(lookUp(table, source, dest), kOutside);
        EXPECT_EQ(numbersOf(*dest), (Numbers{40, 10, 0, 0})) << egda_PixelNameFromType(type);
        EXPECT_EQ(lookUp(table, source, dest, mask), ""); /* what is not shown is not looked at */
        EXPECT_EQ(numbersOf(*dest), (Numbers{40, 10, 0, 20}));
        EXPECT_EQ(lookUp(bytes, source, dest), kOutside);
    }
    const Base negative = recordOf(1, 2, EGDA_TYPE_S32, {0, -1});
    EXPECT_EQ(lookUp(table, negative, recordOf(1, 2, EGDA_TYPE_S16)), kOutside);
    const Base large = recordOf(1, 2, EGDA_TYPE_U32, {0, 4294967295.0});
    EXPECT_EQ(lookUp(table, large, recordOf(1, 2, EGDA_TYPE_S16)), kOutside);
    EXPECT_EQ(lookUp(table, recordOf(1, 1, EGDA_TYPE_F32), recordOf(1, 1, EGDA_TYPE_S16)),
              "egda_NoOperation 1 no operation on this data");
}

TEST(LutTransformation, LooksLayersUpAndStringsToo)
{
    const Base table = makeBase(3, 1, EGDA_TYPE_STRING, EGDA_TABLE_OBJECT);
    for (int i = 0; i < 3; ++i) {
        static_cast<char**>(table->data)[i] = estr_Duplicate(std::string(static_cast<std::size_t>(i + 1), 'x').c_str());
    }
    const Base source = recordOf(1, 4, EGDA_TYPE_U16, {2, 0, 1, 2});
    const Base dest = makeBase(1, 4, EGDA_TYPE_STRING);
    EXPECT_EQ(apply(emsc_AddressOf_egda_SaoLUTtransformation(), dest.get(), {source.get(), table.get()}), "");
    EXPECT_STREQ(elements<const char*>(*dest)[0], "xxx");
    EXPECT_STREQ(elements<const char*>(*dest)[1], "x");
    const Base scalar = scalarOf(EGDA_TYPE_U8, 1);
    const Base numbers = recordOf(3, 1, EGDA_TYPE_F32, {5, 6, 7}, EGDA_TABLE_OBJECT);
    const Base out = recordOf(2, 2, EGDA_TYPE_F64);
    EXPECT_EQ(apply(emsc_AddressOf_egda_SaoLUTtransformation(), out.get(), {scalar.get(), numbers.get()}), "");
    EXPECT_EQ(numbersOf(*out), (Numbers{6, 6, 6, 6}));
    const Base wrong = scalarOf(EGDA_TYPE_U8, 3);
    EXPECT_EQ(apply(emsc_AddressOf_egda_SaoCopyTableStackThroughLUT(), out.get(), {wrong.get(), numbers.get()}),
              std::string("egda_BaseDataStackFunction 2 - | egda_SaoCpTableStackThrLUT 1 - | ") + kOutside);
}

TEST(LutTransformation, GoesThroughTheBinsOfTheTable)
{
    const BinFunction linear(edsc_BinFunctionCreateLinear(0, 10, 5, nullptr));
    const Base table = recordOf(5, 1, EGDA_TYPE_U8, {11, 12, 13, 14, 15}, EGDA_TABLE_OBJECT);
    table->binfunction = linear.get();
    const Base source = recordOf(1, 4, EGDA_TYPE_F64, {0.5, 9.9, 4.1, 10});
    const Base dest = makeBase(1, 4, EGDA_TYPE_U8);
    EXPECT_EQ(apply(emsc_AddressOf_egda_SaoLUTtransformation(), dest.get(), {source.get(), table.get()}), "");
    EXPECT_EQ(numbersOf(*dest), (Numbers{11, 15, 13, 15}));
    setAt(*source, 0, 2, -1);
    EXPECT_EQ(apply(emsc_AddressOf_egda_SaoLUTtransformation(), dest.get(), {source.get(), table.get()}),
              std::string("egda_BaseDataStackFunction 2 - | egda_SaoLUTtransformation 1 - | ") + kOutside);
}

TEST(Bins, AreFoundAndTurnedBackByTheFunctionOfTheOperand)
{
    const BinFunction direct(edsc_BinFunctionCreateDirect(100, 50, nullptr));
    for (int type = EGDA_TYPE_U8; type <= EGDA_TYPE_F64; ++type) {
        const Base values = recordOf(1, 3, type, {100, 120, 99});
        const Base bins = recordOf(1, 3, EGDA_TYPE_S32);
        values->binfunction = direct.get();
        EXPECT_EQ(apply(emsc_AddressOf_egda_SaoConvertToBinValue(), bins.get(), {values.get()}), "");
        EXPECT_EQ(numbersOf(*bins), (Numbers{0, 20, -1})) << egda_PixelNameFromType(type);
        setAt(*bins, 0, 2, 49);
        bins->binfunction = direct.get();
        const Base back = recordOf(1, 3, EGDA_TYPE_F64);
        EXPECT_EQ(apply(emsc_AddressOf_egda_SaoBinToDataValue(), back.get(), {bins.get()}), "");
        EXPECT_EQ(numbersOf(*back), (Numbers{100, 120, 149}));
    }
}

TEST(Bins, FailuresAreToldByTheStepThatMetThem)
{
    const Base values = recordOf(1, 1, EGDA_TYPE_U8);
    const Base bins = recordOf(1, 1, EGDA_TYPE_S32);
    EXPECT_EQ(apply(emsc_AddressOf_egda_SaoConvertToBinValue(), bins.get(), {values.get()}).substr(0, 78),
              "egda_BaseDataStackFunction 2 - | egda_SaoConvertToBinValue 1 - | egda_ToBinVGe");
    Report report;
    emsc_AddressOf_egda_SaoApplyBinFunc()[EGDA_TYPE_U8](nullptr, values.get(), bins.get(), nullptr, report);
    EXPECT_EQ(report.message(), "Args");
    emsc_AddressOf_egda_SaoFromBinToDataFunc()[EGDA_TYPE_S32](nullptr, bins.get(), values.get(), nullptr, report);
    EXPECT_EQ(report.message(), "Args");
    const BinFunction direct(edsc_BinFunctionCreateDirect(0, 4, nullptr));
    const Base complex = makeBase(1, 1, EGDA_TYPE_C64);
    emsc_AddressOf_egda_SaoApplyBinFunc()[EGDA_TYPE_U8](direct.get(), values.get(), complex.get(), nullptr, report);
    EXPECT_EQ(report.message(), "edsc_BinFunctionApplyToValues failed");
    emsc_AddressOf_egda_SaoFromBinToDataFunc()[EGDA_TYPE_C64](direct.get(), complex.get(), values.get(), nullptr, report);
    EXPECT_EQ(report.message(), "edsc_BinFunctionApplyInverseToValues failed");
}

TEST(StackBaseData, TakesTheLayersOfAllSourcesAsOneStack)
{
    const Stack two(egda_BaseDataStackCreate(2, 1, 2, EGDA_TYPE_S16, EGDA_RASTER_OBJECT, nullptr));
    setAt(*two->datalayer[0], 0, 1, 5);
    setAt(*two->datalayer[1], 0, 0, 6);
    const Base seven = scalarOf(EGDA_TYPE_S16, 7);
    Egda_BaseData* layer = seven.get();
    Egda_BaseDataStack constant{1, 1, &layer, 0};
    Egda_BaseDataStack* list[] = {&constant, two.get(), &constant};
    const Egda_BaseDataStackArray array{3, list, nullptr};
    const Stack dest(egda_BaseDataStackCreate(5, 1, 2, EGDA_TYPE_S16, EGDA_RASTER_OBJECT, nullptr));
    Report report;
    egda_BaseDataStackFunction(emsc_AddressOf_egda_MaoStackBaseData(), dest.get(), &array, report);
    EXPECT_EQ(report.text(), "");
    const Numbers expected[] = {{7, 7}, {0, 5}, {6, 0}, {7, 7}, {0, 0}};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(numbersOf(*dest->datalayer[i]), expected[i]) << i;
    }
}

TEST(Eigen, ReportsNoOperation)
{
    const Base square = makeBase(2, 2, EGDA_TYPE_F64, EGDA_MATRIX_OBJECT);
    EXPECT_EQ(apply(emsc_AddressOf_egda_SaoEigenValue(), square.get(), {square.get()}),
              "egda_BaseDataStackFunction 2 - | egda_NoOperation 1 no operation on this data");
}

}  // namespace
