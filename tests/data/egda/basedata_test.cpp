#include "data/data_support.h"

#include "data/egda/basedata_range.h"


#include <climits>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace {

using namespace emantle;

auto* const kBins = reinterpret_cast<Edsc_BinFunction*>(0x1000);

TEST(Creating, LaysOutEachShape)
{
    const Base raster = makeBase(2, 5, EGDA_TYPE_F32, EGDA_RASTER_OBJECT);
    EXPECT_EQ(raster->pitch, 20);
    EXPECT_EQ(raster->numelements, 10);
    std::memset(raster->data, 1, 16 * sizeof(float)); /* the columns rounded up to 8, of two rows */
    EXPECT_EQ(makeBase(2, 5, EGDA_TYPE_F32, EGDA_MATRIX_OBJECT)->pitch, 8);
    const Base table = makeBase(6, 1, EGDA_TYPE_C128, EGDA_TABLE_OBJECT);
    EXPECT_EQ(table->pitch, 16);
    EXPECT_EQ(table->derivedFlag, 0);
    EXPECT_EQ(elements<double>(*table), std::vector<double>(6, 0.0));

    int buffer[6] = {1, 2, 3, 4, 5, 6};
    const Base wrap(egda_BaseDataCreate(2, 3, EGDA_TYPE_S32, EGDA_SCALAR_OBJECT, buffer, nullptr));
    EXPECT_EQ(wrap->derivedFlag, 1);
    EXPECT_EQ(wrap->firstelement, buffer);
    EXPECT_EQ(elements<int>(*wrap), (std::vector<int>{1, 2, 3, 4, 5, 6}));
}

TEST(Creating, RefusesWhatHasNoBlock)
{
    Report report;
    const auto create = [&](long rows, long columns, int type) {
        EXPECT_EQ(egda_BaseDataCreate(rows, columns, type, EGDA_RASTER_OBJECT, nullptr, report), nullptr);
        return report.text();
    };
    const std::string noBlock = "egda_BaseDataCreate 2 calloc could not allocate space for Egda_BaseData data";
    EXPECT_EQ(create(1, 1, 14), "egda_BaseDataCreate 3 incoming datatype is not a valid EGDA datatype");
    EXPECT_EQ(create(1, 1, -1), "egda_BaseDataCreate 3 incoming datatype is not a valid EGDA datatype");
    EXPECT_EQ(create(0, 4, EGDA_TYPE_U8), noBlock);
    EXPECT_EQ(create(-2, -2, EGDA_TYPE_U8), noBlock);
    EXPECT_EQ(create(1L << 16, 1L << 16, EGDA_TYPE_U8), noBlock) << "more elements than a record counts";
    EXPECT_EQ(create(1, 1L << 28, EGDA_TYPE_C128), noBlock) << "a pitch beyond 32 bits";
    EXPECT_EQ(create(1L << 62, 4, EGDA_TYPE_U8), noBlock);
}

TEST(Views, StartWhereTheirShapeSays)
{
    struct {
        long object;
        Bytes wanted;
    } const cases[] = {{EGDA_RASTER_OBJECT, {6, 7, 10, 11}}, {EGDA_MATRIX_OBJECT, {7, 10, 8, 11}}};
    for (const auto& [object, wanted] : cases) {
        Base parent = numbered(3, 4, object);
        parent->binfunction = kBins;
        const Base view(egda_BaseDataDerived(parent.get(), 1, 2, 2, 2, nullptr));
        EXPECT_EQ(elements<unsigned char>(*view), wanted);
        EXPECT_EQ(view->derivedFlag, 1);
        EXPECT_EQ(view->pitch, parent->pitch);
        EXPECT_EQ(view->binfunction, kBins);
        const Base nested(egda_BaseDataDerived(view.get(), 1, 1, 1, 1, nullptr));
        EXPECT_EQ(elements<unsigned char>(*nested), Bytes{wanted[3]});
        egda_BaseDataReDerive(parent.get(), view.get(), 0, 0, 1, 1, nullptr);
        EXPECT_EQ(elements<unsigned char>(*view), Bytes{0});
    }
}

TEST(Views, DieWithoutTheirParentsElements)
{
    const Base parent = numbered(2, 2);
    Base(egda_BaseDataDerived(parent.get(), 0, 0, 2, 2, nullptr)).reset();
    EXPECT_EQ(elements<unsigned char>(*parent), (Bytes{0, 1, 2, 3}));
}

TEST(Views, StayInsideTheirParent)
{
    const Base parent = numbered(3, 4);
    Report report;
    const auto derive = [&](const Egda_BaseData* src, long r, long c, long rows, long columns) {
        EXPECT_EQ(egda_BaseDataDerived(src, r, c, rows, columns, report), nullptr);
        EXPECT_EQ(report.message(), "egda_BaseDataReDerive failed");
        return std::string(report.get()->next->message);
    };
    EXPECT_EQ(derive(nullptr, 0, 0, 1, 1), "Null srcBaseData");
    EXPECT_EQ(derive(parent.get(), 0, 0, 0, 1), "Bad nRows or nColumns");
    EXPECT_EQ(derive(parent.get(), 0, 0, 1, 0), "Bad nRows or nColumns");
    EXPECT_EQ(derive(parent.get(), -1, 0, 1, 1), "Bad rOffset or cOffset");
    EXPECT_EQ(derive(parent.get(), 2, 0, 2, 1), "srcBaseData is too small");
    EXPECT_EQ(derive(parent.get(), 0, 4, 1, 1), "srcBaseData is too small");
    EXPECT_EQ(derive(parent.get(), LONG_MAX, LONG_MAX, LONG_MAX, LONG_MAX), "srcBaseData is too small");
}

TEST(ReCreating, ReshapesViewsOnly)
{
    Report report;
    const Base owner = numbered(2, 3);
    EXPECT_EQ(egda_BaseDataReCreate(owner.get(), 3, 2, EGDA_TYPE_U8, EGDA_RASTER_OBJECT, nullptr, report), nullptr);
    EXPECT_EQ(report.message(), "srcBaseData must be derived");
    EXPECT_EQ(owner->numrows, 2);

    const Base view(egda_BaseDataDerived(owner.get(), 0, 0, 2, 3, nullptr));
    EXPECT_EQ(egda_BaseDataReCreate(view.get(), 0, 2, EGDA_TYPE_U8, EGDA_RASTER_OBJECT, nullptr, report), view.get());
    EXPECT_EQ(report.message(), "Bad nRows or nColumns");
    EXPECT_EQ(egda_BaseDataReCreate(view.get(), 3, 1, EGDA_TYPE_U16, EGDA_MATRIX_OBJECT, nullptr, report), view.get());
    EXPECT_TRUE(report.empty());
    EXPECT_EQ(view->pitch, 6);
    EXPECT_EQ(view->data, owner->data);
    EXPECT_EQ(view->derivedFlag, 1);
    int other[2] = {7, 8};
    egda_BaseDataReCreate(view.get(), 2, 1, EGDA_TYPE_S32, EGDA_TABLE_OBJECT, other, report);
    EXPECT_EQ(elements<int>(*view), (std::vector<int>{7, 8}));

    const Base fresh(egda_BaseDataReCreate(nullptr, 2, 2, EGDA_TYPE_U8, EGDA_RASTER_OBJECT, nullptr, report));
    EXPECT_EQ(fresh->derivedFlag, 0);
    EXPECT_EQ(egda_BaseDataReCreate(nullptr, 2, 2, 99, EGDA_RASTER_OBJECT, nullptr, report), nullptr);
    EXPECT_EQ(report.message(), "egda_BaseDataCreate failed");
}

TEST(Copying, MovesTheOverlapAndConverts)
{
    for (const long object : {EGDA_SCALAR_OBJECT, EGDA_MATRIX_OBJECT, EGDA_RASTER_OBJECT}) {
        Base src = numbered(3, 4, object);
        src->binfunction = kBins;
        const Base dest = makeBase(4, 3, EGDA_TYPE_F32, object);
        egda_BaseDataSetScalar(dest.get(), -1, EGDA_SET_ALL, 0, nullptr);
        EXPECT_EQ(egda_BaseDataCopy(src.get(), dest.get(), nullptr), dest.get());
        std::vector<float> wanted(12, -1.0f);
        const Bytes from = elements<unsigned char>(*src);
        for (std::size_t i = 0; i < 9; ++i) {
            wanted[i] = from[i / 3 * 4 + i % 3];
        }
        EXPECT_EQ(elements<float>(*dest), wanted) << object;
        EXPECT_EQ(dest->binfunction, kBins);
        const Base copy(egda_BaseDataCopy(src.get(), nullptr, nullptr));
        EXPECT_EQ(elements<unsigned char>(*copy), from);
    }
    /* Tables are one run, whatever their columns. */
    const Base wide = makeBase(3, 2, EGDA_TYPE_U8, EGDA_TABLE_OBJECT);
    egda_BaseDataCopy(numbered(5, 1, EGDA_TABLE_OBJECT).get(), wide.get(), nullptr);
    EXPECT_EQ(elements<unsigned char>(*wide), (Bytes{0, 1, 2, 3, 4, 0}));
}

/* A view has gaps between its lines; one whose rows number as many as its columns takes them nonetheless. */
TEST(Copying, StepsOverTheGapsOfViews)
{
    for (const long object : {EGDA_MATRIX_OBJECT, EGDA_RASTER_OBJECT}) {
        const Base src = numbered(4, 4, object);
        const Base dest = makeBase(4, 4, EGDA_TYPE_U8, object);
        const Base from(egda_BaseDataDerived(src.get(), 1, 0, 2, 4, nullptr));
        const Base to(egda_BaseDataDerived(dest.get(), 2, 0, 2, 4, nullptr));
        egda_BaseDataCopy(from.get(), to.get(), nullptr);
        EXPECT_EQ(elements<unsigned char>(*to), elements<unsigned char>(*from)) << object;
        const Base above(egda_BaseDataDerived(dest.get(), 0, 0, 2, 4, nullptr));
        EXPECT_EQ(elements<unsigned char>(*above), Bytes(8, 0)) << object;
    }
}

TEST(Copying, ReportsWhatItCannotCopy)
{
    Report report;
    const Base matrix = makeBase(1, 1, EGDA_TYPE_U8, EGDA_MATRIX_OBJECT);
    const Base raster = makeBase(1, 1, EGDA_TYPE_U8);
    const Base text = makeBase(1, 1, EGDA_TYPE_STRING);
    EXPECT_EQ(egda_BaseDataCopy(nullptr, raster.get(), report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataCopy 1 source BaseData is NULL !");
    EXPECT_EQ(egda_BaseDataCopyExt(matrix.get(), raster.get(), nullptr, report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataCopyExt 2 the object type is not the same for input and output");
    EXPECT_EQ(egda_BaseDataCopy(text.get(), raster.get(), report), nullptr);
    EXPECT_EQ(report.get()->number, 4);
    EXPECT_EQ(egda_BaseDataCopy(raster.get(), text.get(), report), nullptr);
    EXPECT_EQ(report.get()->number, 4);
}

TEST(Copying, NoticesChangesInTheFirstByteOfALineOnly)
{
    const Base src = numbered(2, 3);
    const Base dest(egda_BaseDataCopy(src.get(), nullptr, nullptr));
    auto* bytes = static_cast<unsigned char*>(dest->data);
    Emsc_Boolean changed = 7;
    bytes[1] = 99;
    egda_BaseDataCopyExt(src.get(), dest.get(), &changed, nullptr);
    EXPECT_EQ(changed, 0);
    EXPECT_EQ(bytes[1], 1);
    bytes[3] = 99;
    egda_BaseDataCopyExt(src.get(), dest.get(), &changed, nullptr);
    EXPECT_EQ(changed, 1);
}

struct SetCase {
    long mode, index, object;
    bool isArray;
    Bytes wanted; /* of 3 by 3, row by row */
};

TEST(Setting, WritesWhatTheModeSelects)
{
    const SetCase cases[] = {
        {EGDA_SET_ALL, 0, EGDA_RASTER_OBJECT, true, {1, 2, 3, 4, 5, 6, 7, 8, 9}},
        {EGDA_SET_ALL, 0, EGDA_MATRIX_OBJECT, true, {1, 4, 7, 2, 5, 8, 3, 6, 9}}, /* in the order of memory */
        {EGDA_SET_ALL, 0, EGDA_RASTER_OBJECT, false, {1, 1, 1, 1, 1, 1, 1, 1, 1}},
        {EGDA_SET_DIAGONAL, 0, EGDA_RASTER_OBJECT, true, {1, 0, 0, 0, 2, 0, 0, 0, 3}},
        {EGDA_SET_ROW, 1, EGDA_RASTER_OBJECT, true, {0, 0, 0, 1, 2, 3, 0, 0, 0}},
        {EGDA_SET_ROW, 2, EGDA_MATRIX_OBJECT, true, {0, 0, 0, 0, 0, 0, 1, 2, 3}},
        {EGDA_SET_COLUMN, 2, EGDA_RASTER_OBJECT, true, {0, 0, 1, 0, 0, 2, 0, 0, 3}},
        {EGDA_SET_COLUMN, 1, EGDA_MATRIX_OBJECT, false, {0, 1, 0, 0, 1, 0, 0, 1, 0}},
        {9, 0, EGDA_RASTER_OBJECT, true, Bytes(9, 0)},
    };
    for (const SetCase& c : cases) {
        const Base parent = makeBase(4, 4, EGDA_TYPE_U16, c.object);
        const Base view(egda_BaseDataDerived(parent.get(), 0, 0, 3, 3, nullptr));
        const std::uint16_t values[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        egda_BaseDataSetBoth(view.get(), values, c.mode, c.index, c.isArray, nullptr);
        const auto got = elements<std::uint16_t>(*view);
        EXPECT_EQ(Bytes(got.begin(), got.end()), c.wanted) << c.mode << ' ' << c.object;
        const auto all = elements<std::uint16_t>(*parent);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(all[i * 4 + 3], 0) << "beside the view";
            EXPECT_EQ(all[12 + i], 0) << "below the view";
        }
    }
}

TEST(Setting, ScalarsConvertAndReportsWrap)
{
    Report report;
    const Base base = makeBase(2, 3, EGDA_TYPE_U2);
    egda_BaseDataSetScalar(base.get(), 7.0, EGDA_SET_ALL, 0, report);
    EXPECT_EQ(elements<unsigned char>(*base), Bytes(6, 3)) << "clamped by the conversion";
    egda_BaseDataSetScalar(base.get(), 1, EGDA_SET_DIAGONAL, 0, report);
    EXPECT_EQ(report.text(), "egda_BaseDataSetScalar 1 - | egda_BaseDataSetBoth 1 -");
    egda_BaseDataSet(base.get(), base->data, EGDA_SET_DIAGONAL, 0, report);
    EXPECT_EQ(report.text(), "egda_BaseDataSet 1 - | egda_BaseDataSetBoth 1 -");
    egda_BaseDataSetScalar(makeBase(1, 1, EGDA_TYPE_STRING).get(), 0, EGDA_SET_ALL, 0, report);
    EXPECT_EQ(report.text(), "egda_BaseDataSetScalar 1 -");
    const Base complex = makeBase(1, 2, EGDA_TYPE_C64);
    egda_BaseDataSetScalar(complex.get(), 2.5, EGDA_SET_ALL, 0, report);
    const auto* parts = static_cast<const float*>(complex->data);
    EXPECT_EQ(std::vector<float>(parts, parts + 4), (std::vector<float>{2.5f, 0, 2.5f, 0}));
}

/* Ownership of texts is what the sanitizers watch here. */
TEST(Strings, BelongToTheirRecord)
{
    const char* texts[] = {"a", "b", nullptr, "d", "e"};
    const auto textOf = [](const Base& base, int i) {
        const char* text = static_cast<char**>(base->data)[i];
        return std::string(text == nullptr ? "(null)" : text);
    };
    const Base base = makeBase(4, 1, EGDA_TYPE_STRING, EGDA_TABLE_OBJECT);
    egda_BaseDataSetBoth(base.get(), texts, EGDA_SET_ALL, 0, 0, nullptr);
    EXPECT_EQ(textOf(base, 3), "d") << "an array whatever is said";
    const Base copy(egda_BaseDataCopy(base.get(), nullptr, nullptr));
    egda_BaseDataSet(base.get(), texts + 1, EGDA_SET_COLUMN, 0, nullptr);
    EXPECT_EQ(textOf(base, 0), "b");
    EXPECT_EQ(textOf(base, 1), "(null)");
    EXPECT_EQ(textOf(copy, 0), "a");
    egda_TableReallocate(copy.get(), 2, nullptr);
    egda_TableReallocate(copy.get(), 5, nullptr);
    EXPECT_EQ(textOf(copy, 1), "b");
    EXPECT_EQ(textOf(copy, 4), "(null)");
    const Base raster = makeBase(2, 2, EGDA_TYPE_STRING);
    egda_BaseDataSet(raster.get(), texts, EGDA_SET_ALL, 0, nullptr);
    egda_BaseDataReallocate(raster.get(), 1, 3, nullptr);
    EXPECT_EQ(textOf(raster, 1), "b");
    EXPECT_EQ(textOf(raster, 2), "(null)");
}

TEST(Resizing, KeepsTheOverlap)
{
    struct {
        long object, rows, columns;
        int pitch;
        Bytes wanted;
    } const cases[] = {
        {EGDA_RASTER_OBJECT, 3, 3, 3, {0, 1, 2, 3, 4, 5, 0, 0, 0}},
        {EGDA_RASTER_OBJECT, 2, 4, 4, {0, 1, 2, 0, 3, 4, 5, 0}},
        {EGDA_MATRIX_OBJECT, 2, 2, 2, {0, 2, 1, 3}},
        {EGDA_MATRIX_OBJECT, 3, 1, 3, {0, 1, 0}},
        {EGDA_SCALAR_OBJECT, 1, 3, 3, {0, 1, 2}},
    };
    for (const auto& c : cases) {
        const Base base = numbered(2, 3, c.object);
        base->binfunction = kBins;
        egda_BaseDataReallocate(base.get(), c.rows, c.columns, nullptr);
        EXPECT_EQ(elements<unsigned char>(*base), c.wanted) << c.object << ' ' << c.rows;
        EXPECT_EQ(base->pitch, c.pitch);
        EXPECT_EQ(base->numelements, c.rows * c.columns);
        EXPECT_EQ(base->derivedFlag, 0);
        EXPECT_EQ(base->binfunction, kBins);
    }
    const Base table = numbered(4, 1, EGDA_TABLE_OBJECT);
    egda_BaseDataReallocate(table.get(), 2, 3, nullptr);
    EXPECT_EQ(table->pitch, 1) << "a table keeps its pitch";
    EXPECT_EQ(table->numelements, 6);
    EXPECT_EQ(static_cast<unsigned char*>(table->data)[3], 3);

    Report report;
    egda_BaseDataReallocate(nullptr, 1, 1, report);
    EXPECT_EQ(report.text(), "egda_BaseDataReallocate 1 source BaseData is NULL !");
    egda_BaseDataReallocate(table.get(), 0, 1, report);
    EXPECT_EQ(report.text(), "egda_BaseDataReallocate 2 No space left!");
    EXPECT_EQ(table->numelements, 6);
    const Base raster = numbered(2, 2);
    egda_BaseDataReallocate(raster.get(), 1L << 20, 1L << 20, report);
    EXPECT_EQ(report.text(), "egda_BaseDataReallocate 3 No space left! | egda_BaseDataCreate 2 "
                             "calloc could not allocate space for Egda_BaseData data");
    EXPECT_EQ(elements<unsigned char>(*raster), (Bytes{0, 1, 2, 3}));
}

/* Both against the plain definition, for every type and instruction set, on lines with gaps and of awkward length. */
template <class T>
void checkRange(Egda_PixelType type, double low, double high, T lowest, T highest)
{
    constexpr long kRun = 150;
    constexpr long kPitch = 160;
    std::vector<T> values(3 * kPitch);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<T>(static_cast<T>((i * 37) % 101) + (i % 2 == 0 ? T{20} : T{0}));
    }
    values[kRun + 1] = static_cast<T>(125); /* in the gap, so not to be seen */
    values[77] = static_cast<T>(123);
    values[2 * kPitch + kRun - 1] = static_cast<T>(124);
    for (const auto set : instructionSets()) {
        std::vector<T> work = values;
        const Lines lines{reinterpret_cast<char*>(work.data()), kPitch * static_cast<long>(sizeof(T)), 3, kRun};
        double least = 0;
        double greatest = 0;
        rangeTable(set)[type].range(lines, least, greatest);
        EXPECT_EQ(least, 0) << type;
        EXPECT_EQ(greatest, 124) << type;
        rangeTable(set)[type].clip(lines, low, high);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const bool inside = i % kPitch < kRun;
            const T limited = values[i] < lowest ? lowest : values[i] > highest ? highest : values[i];
            const T wanted = inside ? limited : values[i];
            ASSERT_EQ(work[i], wanted) << type << ' ' << i;
        }
    }
}

TEST(Ranges, AgreeWithTheirDefinition)
{
    for (const int type : {EGDA_TYPE_U1, EGDA_TYPE_U4, EGDA_TYPE_U8, EGDA_TYPE_C64, EGDA_TYPE_STRING}) {
        checkRange<std::uint8_t>(type, -5, 100.9, 0, 100);
    }
    checkRange<std::int8_t>(EGDA_TYPE_S8, -200, 99.9, -128, 99);
    checkRange<std::uint16_t>(EGDA_TYPE_U16, 9.9, 1e9, 9, 65535);
    checkRange<std::int16_t>(EGDA_TYPE_S16, 50, 60, 50, 60);
    checkRange<std::uint32_t>(EGDA_TYPE_U32, -1, 4e9, 0, 4000000000u);
    checkRange<std::int32_t>(EGDA_TYPE_S32, -1e300, 33, INT32_MIN, 33);
    checkRange<float>(EGDA_TYPE_F32, 0.1, 33.3, 0.1f, 33.3f);
    checkRange<double>(EGDA_TYPE_F64, 0.1, 33.3, 0.1, 33.3);
}

TEST(Ranges, OfFloatsMindTheirNaNs)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto set : instructionSets()) {
        std::vector<double> values(100, 5.0);
        const Lines lines{reinterpret_cast<char*>(values.data()), 0, 1, 100};
        double least = 0;
        double greatest = 0;
        values[31] = values[99] = nan;
        values[63] = -7;
        rangeTable(set)[EGDA_TYPE_F64].range(lines, least, greatest);
        EXPECT_EQ(least, -7);
        EXPECT_EQ(greatest, 5);
        rangeTable(set)[EGDA_TYPE_F64].clip(lines, 0, 1);
        EXPECT_TRUE(std::isnan(values[31]));
        values[0] = nan;
        rangeTable(set)[EGDA_TYPE_F64].range(lines, least, greatest);
        EXPECT_TRUE(std::isnan(least) && std::isnan(greatest)) << "the first element is what all are held against";
    }
}

/* Here the counts stand the other way round in one of the two, and small types are not held to their own limits. */
TEST(Ranges, TakeTheirCountsInOppositeOrder)
{
    const Base base = makeBase(2, 3, EGDA_TYPE_U2);
    std::memset(base->data, 7, 6);
    egda_BaseDataClip(base.get(), 2, 3, 0, 100);
    EXPECT_EQ(elements<unsigned char>(*base), Bytes(6, 7));
    egda_BaseDataClip(base.get(), 1, 2, 8, 100);
    EXPECT_EQ(elements<unsigned char>(*base), (Bytes{8, 8, 7, 7, 7, 7}));
    double least = -1;
    double greatest = -1;
    egda_BaseDataStats(base.get(), 2, 1, &least, &greatest);
    EXPECT_EQ(least, 8);
    egda_BaseDataStats(base.get(), 1, 2, &least, &greatest);
    EXPECT_EQ(least, 7);
    EXPECT_EQ(greatest, 8);
    egda_BaseDataStats(base.get(), 0, 2, &least, &greatest);
    EXPECT_EQ(least, 7) << "nothing to see leaves the answer alone";
}

TEST(Windows, KeepTheirFourNumbers)
{
    Report report;
    Egda_Window* window = egda_WindowCreate(1, -2, 3, 4, report);
    Egda_Window* copy = egda_WindowCopy(window, nullptr, report);
    EXPECT_EQ(std::memcmp(window, copy, sizeof(*window)), 0);
    const Egda_Window other{5, 6, 7, 8};
    EXPECT_EQ(egda_WindowCopy(&other, copy, report), copy);
    EXPECT_EQ(copy->numcolumns, 8);
    EXPECT_EQ(egda_WindowCopy(nullptr, copy, report), nullptr);
    EXPECT_FALSE(report.empty());
    egda_WindowDelete(window, report);
    egda_WindowDelete(copy, report);
    egda_WindowDelete(nullptr, report);
}

}  // namespace
