#include "platform/scratch_directory.h"
#include "support/captured_stderr.h"
#include "tables/binfunction_helpers.h"

#include <cstring>
#include <emantle/frame/eint.h>
#include <emantle/data/egda/stack.h>
#include <emantle/store/ehfa.h>
#include <emantle/store/emif.h>
#include <emantle/tables/edsc.h>

namespace {

struct CloseTable {
    void operator()(Edsc_TableInstance* table) const { edsc_TableClose(table, nullptr); }
};
using Table = std::unique_ptr<Edsc_TableInstance, CloseTable>;
struct CloseColumn {
    void operator()(Edsc_ColumnInstance* column) const { edsc_ColumnClose(column, nullptr); }
};
using Column = std::unique_ptr<Edsc_ColumnInstance, CloseColumn>;

BaseData texts(const std::vector<const char*>& values)
{
    BaseData table(egda_TableCreate(static_cast<long>(values.size()), EGDA_TYPE_STRING, nullptr));
    egda_BaseDataSet(table.get(), values.data(), EGDA_SET_ALL, 0, nullptr);
    return table;
}

template <class Element>
std::vector<Element> rowsOf(Edsc_ColumnInstance* column, Egda_PixelType type, std::int32_t start, std::int32_t count)
{
    const BaseData data(egda_TableCreate(count, type, nullptr));
    Report report;
    EXPECT_TRUE(edsc_ColumnRead(column, start, count, data.get(), report)) << rootCause(report);
    const auto* elements = static_cast<const Element*>(data->data);
    return {elements, elements + count};
}

std::vector<std::string> textRows(Edsc_ColumnInstance* column, std::int32_t start, std::int32_t count)
{
    const BaseData data(egda_TableCreate(count, EGDA_TYPE_STRING, nullptr));
    Report report;
    EXPECT_TRUE(edsc_ColumnRead(column, start, count, data.get(), report)) << rootCause(report);
    std::vector<std::string> rows;
    for (std::int32_t i = 0; i < count; ++i) {
        const char* text = static_cast<char**>(data->data)[i];
        rows.emplace_back(text == nullptr ? "(null)" : text);
    }
    return rows;
}

class StoredTable : public testing::Test {
protected:
    void SetUp() override { reopen("w"); }
    void TearDown() override { ehfa_FileClose(file_, nullptr); }

    void reopen(const char* mode)
    {
        ehfa_FileClose(file_, nullptr);
        Eint_InitToolkitData* context = eint_InitToolkit(nullptr);
        file_ = *mode == 'w' ? ehfa_FileCreate(path().c_str(), context, nullptr)
                             : ehfa_FileOpen(path().c_str(), mode, context, nullptr);
        ASSERT_NE(file_, nullptr);
    }
    std::string path() const { return scratch_ / "t.img"; }

    Table create(std::int32_t rows, const Edsc_BinFunction* binFunction = nullptr)
    {
        Report report;
        Table table(edsc_TableCreate(file_, ":", "Table", EHFA_WRITE_LAST_CHILD, rows, binFunction, report, nullptr));
        EXPECT_NE(table, nullptr) << rootCause(report);
        return table;
    }
    Table open()
    {
        Report report;
        Table table(edsc_TableOpen(file_, ":", "Table", EHFA_SEEK_CHILD_NAME, nullptr, report));
        EXPECT_NE(table, nullptr) << rootCause(report);
        return table;
    }
    static Column column(const Table& table, const char* name, std::int32_t type, int width = 0)
    {
        Report report;
        Column created(edsc_ColumnCreate(table.get(), name, type, report, width, nullptr));
        EXPECT_NE(created, nullptr) << rootCause(report);
        return created;
    }
    static Column column(const Table& table, const char* name)
    {
        Report report;
        Column opened(edsc_ColumnOpen(table.get(), name, report, nullptr));
        EXPECT_NE(opened, nullptr) << rootCause(report);
        return opened;
    }
    static void put(const Column& target, const BaseData& data)
    {
        Report report;
        EXPECT_TRUE(edsc_ColumnWrite(target.get(), 0, data->numrows, data.get(), report)) << rootCause(report);
    }

    ScratchDirectory scratch_;
    Ehfa_File* file_ = nullptr;
};

TEST_F(StoredTable, ANewColumnIsBlankWhereverItLies)
{
    constexpr int kMany = 40000; /* more bytes than pass the store's pages */
    const std::vector<double> zeros(kMany, 0);
    std::vector<double> few = zeros;
    std::fill_n(few.begin() + 20000, 5, 9.5);
    {
        const Table table = create(kMany);
        EXPECT_EQ((rowsOf<double>(column(table, "Behind", EDSC_COLUMN_REAL).get(), EGDA_TYPE_F64, 0, kMany)), zeros);
        put(column(table, "Behind"), doubles(std::vector<double>(kMany, 7)));
        ASSERT_TRUE(edsc_ColumnRemove(table.get(), "Behind", nullptr));
        EXPECT_EQ((rowsOf<double>(column(table, "Within", EDSC_COLUMN_REAL).get(), EGDA_TYPE_F64, 0, kMany)), zeros);
        const BaseData part = doubles(std::vector<double>(5, 9.5));
        ASSERT_TRUE(edsc_ColumnWrite(column(table, "Part", EDSC_COLUMN_REAL).get(), 20000, 5, part.get(), nullptr));
    }
    reopen("r");
    const Table table = open();
    EXPECT_EQ((rowsOf<double>(column(table, "Within").get(), EGDA_TYPE_F64, 0, kMany)), zeros);
    EXPECT_EQ((rowsOf<double>(column(table, "Part").get(), EGDA_TYPE_F64, 0, kMany)), few);
}

TEST_F(StoredTable, OutlivesItsFileInEveryColumnType)
{
    {
        const Table table = create(3, linear(0, 9, 3).get());
        put(column(table, "Count", EDSC_COLUMN_INTEGER), tableOf<std::int32_t>(EGDA_TYPE_S32, {1, -2, INT32_MIN}));
        put(column(table, "Value", EDSC_COLUMN_REAL), doubles({0.5, -1e300, 3}));
        put(column(table, "Wave", EDSC_COLUMN_COMPLEX),
            tableOf<Egda_Complex128>(EGDA_TYPE_C128, {{3, 4}, {1, -1}, {0, 2}}));
        put(column(table, "Name", EDSC_COLUMN_STRING, 5), texts({"Wald", "zu lang", ""}));
        column(table, "Blank", EDSC_COLUMN_STRING, 3);
        column(table, "Zero", EDSC_COLUMN_REAL);
    }
    reopen("r");
    const Table table = open();
    EXPECT_EQ(table->numRows, 3);
    EXPECT_TRUE(edsc_BinFunctionIsSame(table->binFunction, linear(0, 9, 3).get(), nullptr));
    EstrStringList names(edsc_TableListColumns(table.get(), nullptr));
    const std::unique_ptr<char, decltype(&emsc_HeapFree)> all(estr_StringListToString(names), emsc_HeapFree);
    EXPECT_STREQ(all.get(), "Count Value Wave Name Blank Zero");

    EXPECT_EQ((rowsOf<std::int32_t>(column(table, "Count").get(), EGDA_TYPE_S32, 0, 3)),
              (std::vector<std::int32_t>{1, -2, INT32_MIN}));
    EXPECT_EQ((rowsOf<double>(column(table, "Value").get(), EGDA_TYPE_F64, 1, 2)), (std::vector<double>{-1e300, 3}));
    EXPECT_EQ((rowsOf<std::uint8_t>(column(table, "Count").get(), EGDA_TYPE_U8, 0, 3)),
              (std::vector<std::uint8_t>{1, 0, 0}));
    EXPECT_EQ((rowsOf<float>(column(table, "Wave").get(), EGDA_TYPE_F32, 0, 1)), (std::vector<float>{5}));
    EXPECT_EQ(textRows(column(table, "Name").get(), 0, 3), (std::vector<std::string>{"Wald", "zu la", ""}));
    EXPECT_EQ(textRows(column(table, "Blank").get(), 0, 3), (std::vector<std::string>{"", "", ""}));
    EXPECT_EQ((rowsOf<double>(column(table, "Zero").get(), EGDA_TYPE_F64, 0, 3)), (std::vector<double>{0, 0, 0}));
}

TEST_F(StoredTable, LiesInTheFileAsItsDesignsSay)
{
    {
        const Table table = create(2);
        put(column(table, "N", EDSC_COLUMN_STRING, 3), texts({"ab", "abcd"}));
    }
    Ehfa_Entry* entry = ehfa_EntrySeek(file_, EHFA_SEEK_PATH, ":Table", nullptr);
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->type, "Edsc_Table");
    const std::unique_ptr<void, decltype(&emsc_HeapFree)> rows(
        ehfa_FileMIFDataRead(file_, entry->data, 4, nullptr, nullptr), emsc_HeapFree);
    EXPECT_EQ(std::memcmp(rows.get(), "\2\0\0\0", 4), 0);
    EXPECT_NE(ehfa_EntrySeek(file_, EHFA_SEEK_PATH, ":Table:#Bin_Function#", nullptr), nullptr);

    entry = ehfa_EntrySeek(file_, EHFA_SEEK_PATH, ":Table:N", nullptr);
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->type, "Edsc_Column");
    EXPECT_EQ(entry->dataSize, 14);
    unsigned char header[14];
    ehfa_FileMIFDataRead(file_, entry->data, 14, header, nullptr);
    EXPECT_EQ(std::memcmp(header, "\2\0\0\0", 4), 0) << "rows";
    EXPECT_EQ(std::memcmp(header + 8, "\3\0\3\0\0\0", 6), 0) << "type and width";
    const long run = header[4] | header[5] << 8 | header[6] << 16;
    char elements[6];
    ehfa_FileMIFDataRead(file_, run, 6, elements, nullptr);
    EXPECT_EQ(std::memcmp(elements, "ab\0abc", 6), 0);
}

TEST_F(StoredTable, OpeningChangesNoFile)
{
    create(4);
    ehfa_FileClose(std::exchange(file_, nullptr), nullptr);
    const std::string before = contentsOf(path());
    reopen("r+");
    open();
    ehfa_FileClose(std::exchange(file_, nullptr), nullptr);
    EXPECT_EQ(contentsOf(path()), before);
    reopen("r");
}

TEST_F(StoredTable, RowsGrowAndShrinkAtTheEnd)
{
    const Table table = create(3);
    put(column(table, "Value", EDSC_COLUMN_REAL), doubles({1, 2, 3}));
    put(column(table, "Name", EDSC_COLUMN_STRING, 9), texts({"a", "b", "c"}));
    ASSERT_TRUE(edsc_TableRowCountSet(table.get(), 50000, nullptr));
    {
        const Column value = column(table, "Value");
        EXPECT_EQ(value->numRows, 50000);
        EXPECT_EQ((rowsOf<double>(value.get(), EGDA_TYPE_F64, 0, 3)), (std::vector<double>{1, 2, 3}));
        std::vector<double> many(50000);
        for (std::size_t i = 0; i < many.size(); ++i) {
            many[i] = static_cast<double>(i) * 0.5;
        }
        put(value, doubles(many));
    }
    ASSERT_TRUE(edsc_TableRowCountSet(table.get(), 20000, nullptr));
    ASSERT_TRUE(edsc_TableRowCountSet(table.get(), 20000, nullptr));
    EXPECT_EQ((rowsOf<double>(column(table, "Value").get(), EGDA_TYPE_F64, 19999, 1)), (std::vector<double>{9999.5}));
    ASSERT_TRUE(edsc_TableRowCountSet(table.get(), 2, nullptr));
    EXPECT_EQ(table->binFunction->binCount, 2U);
    EXPECT_EQ(textRows(column(table, "Name").get(), 0, 2), (std::vector<std::string>{"a", "b"}));
    Ehfa_CheckTotals totals{};
    ASSERT_TRUE(ehfa_FileCheck(file_, nullptr, nullptr, &totals, nullptr));
    EXPECT_EQ(totals.findings, 0);
    EXPECT_EQ(totals.damaged, 0);
}

TEST_F(StoredTable, ColumnsComeGoAndChangeTheirNames)
{
    const Table table = create(2);
    const Column first = column(table, "Old", EDSC_COLUMN_INTEGER);
    put(first, tableOf<std::int32_t>(EGDA_TYPE_S32, {7, 8}));
    ASSERT_TRUE(edsc_ColumnChangeName(first.get(), "New", nullptr, nullptr));
    EXPECT_STREQ(first->name, "New");
    EXPECT_EQ((rowsOf<std::int32_t>(first.get(), EGDA_TYPE_S32, 0, 2)), (std::vector<std::int32_t>{7, 8}));
    EXPECT_FALSE(edsc_ColumnExist(table.get(), "Old", nullptr));
    EXPECT_GT(edsc_ColumnGetTimeStamp(first.get(), nullptr), 1.6e9);
    EXPECT_EQ(edsc_TableModTimeGet(table.get(), nullptr), edsc_ColumnGetTimeStamp(first.get(), nullptr));

    Report report;
    EXPECT_EQ(edsc_ColumnCreate(table.get(), "New", EDSC_COLUMN_REAL, report), nullptr);
    EXPECT_EQ(rootCause(report).rfind("A column with name New already exists in table ", 0), 0U);
    ASSERT_TRUE(edsc_ColumnRemove(table.get(), "New", nullptr));
    Report absent;
    EXPECT_EQ(edsc_ColumnOpen(table.get(), "New", absent, nullptr), nullptr);
    EXPECT_EQ(rootCause(absent), "Column New does not exist");
    Report quiet;
    EXPECT_EQ(edsc_ColumnOpenIfPresent(table.get(), "New", quiet, nullptr), nullptr);
    EXPECT_EQ(quiet.get(), nullptr);
    EXPECT_EQ(edsc_TableModTimeGet(table.get(), nullptr), 0);
}

TEST_F(StoredTable, SaysWhatIsWrongWithAColumn)
{
    const Table table = create(4);
    const struct {
        std::int32_t type;
        int width;
        const char* text;
    } cases[] = {{EDSC_COLUMN_STRING, 0, "maxNumChars invalid for string type"},
                 {EDSC_COLUMN_STRING, -1, "maxNumChars invalid for string type"},
                 {4, 0, "Invalid column type"},
                 {-1, 0, "Invalid column type"}};
    for (const auto& [type, width, text] : cases) {
        Report report;
        EXPECT_EQ(edsc_ColumnCreate(table.get(), "C", type, report, width, nullptr), nullptr);
        EXPECT_EQ(rootCause(report), text);
    }
    const Column real = column(table, "C", EDSC_COLUMN_REAL);
    const BaseData two = doubles({1, 2});
    const BaseData five = doubles({1, 2, 3, 4, 5});
    const BaseData words = texts({"a", "b"});
    const struct {
        std::int32_t start;
        std::int32_t rows;
        const Egda_BaseData* data;
        const char* text;
    } writes[] = {{0, 3, two.get(), "Not enough data in columnData to write 3 rows"},
                  {0, 5, five.get(), "Invalid range of row numbers specified:  0 - 4"},
                  {3, 2, two.get(), "Invalid range of row numbers specified:  3 - 4"},
                  {-1, 2, two.get(), "Invalid range of row numbers specified:  -1 - 0"},
                  {0, 2, words.get(), "Data of type 13 do not convert to type 10"}};
    for (const auto& [start, rows, data, text] : writes) {
        Report report;
        EXPECT_FALSE(edsc_ColumnWrite(real.get(), start, rows, data, report));
        EXPECT_EQ(rootCause(report), text);
    }
    put(real, doubles({1, 2, 3, 4}));
    EXPECT_TRUE(edsc_ColumnRead(real.get(), 1, 100, two.get(), nullptr)) << "clipped to the buffer";
    EXPECT_EQ(static_cast<double*>(two->data)[1], 3);
    Report report;
    EXPECT_FALSE(edsc_ColumnRead(real.get(), 3, 2, two.get(), report));
    EXPECT_EQ(rootCause(report), "Invalid range of row numbers specified:  3 - 4");
}

TEST_F(StoredTable, StridedRecordsAndOldBuffersMoveRows)
{
    const Table table = create(3);
    const Column real = column(table, "R", EDSC_COLUMN_REAL);
    const BaseData pairs(egda_RasterCreate(3, 2, EGDA_TYPE_S16, nullptr));
    const std::int16_t pixels[] = {1, -1, 2, -2, 3, -3};
    std::memcpy(pairs->data, pixels, sizeof pixels);
    const BaseData second(egda_BaseDataDerived(pairs.get(), 0, 1, 3, 1, nullptr));
    put(real, second);
    double raw[3];
    ASSERT_TRUE(edsc_ColumnReadOld(real.get(), 0, 3, raw, nullptr));
    EXPECT_EQ(std::vector<double>(raw, raw + 3), (std::vector<double>{-1, -2, -3}));

    const Column name = column(table, "S", EDSC_COLUMN_STRING, 3);
    ASSERT_TRUE(edsc_ColumnWriteOld(name.get(), 0, 3, "abcde\0f\0\0", nullptr));
    EXPECT_EQ(textRows(name.get(), 0, 3), (std::vector<std::string>{"abc", "de", "f"}));
    char fields[9];
    ASSERT_TRUE(edsc_ColumnReadOld(name.get(), 0, 3, fields, nullptr));
    EXPECT_EQ(std::memcmp(fields, "abcde\0f\0\0", 9), 0);
}

TEST_F(StoredTable, AMillionRowsPassEveryConversionInRuns)
{
    constexpr std::int32_t kRows = 1000000;
    const Table table = create(kRows);
    const Column real = column(table, "R", EDSC_COLUMN_REAL);
    std::vector<std::int32_t> values(kRows);
    for (std::int32_t i = 0; i < kRows; ++i) {
        values[static_cast<std::size_t>(i)] = i * 3 - 7;
    }
    put(real, tableOf(EGDA_TYPE_S32, values));
    EXPECT_EQ((rowsOf<std::int32_t>(real.get(), EGDA_TYPE_S32, 0, kRows)), values);
    const std::vector<double> all = rowsOf<double>(real.get(), EGDA_TYPE_F64, 0, kRows);
    EXPECT_TRUE(std::equal(values.begin(), values.end(), all.begin()));
}

TEST_F(StoredTable, OpeningWhatIsNoTable)
{
    Report absent;
    EXPECT_EQ(edsc_TableOpen(file_, ":", "None", EHFA_SEEK_CHILD_NAME, nullptr, absent), nullptr);
    EXPECT_EQ(absent.get(), nullptr);
    const Table table = create(2);
    Report other;
    EXPECT_EQ(edsc_TableOpen(file_, ":Table", "#Bin_Function#", EHFA_SEEK_CHILD_NAME, nullptr, other), nullptr);
    EXPECT_NE(rootCause(other).find(" is not a descriptor table"), std::string::npos);
    Report removed;
    EXPECT_FALSE(edsc_TableRemove(file_, ":None", removed));
    EXPECT_EQ(rootCause(removed), "Table :None does not exist");
    EXPECT_TRUE(edsc_TableRemove(file_, ":Table", nullptr));
    EXPECT_EQ(ehfa_EntrySeek(file_, EHFA_SEEK_PATH, ":Table", nullptr), nullptr);
    Report null;
    EXPECT_EQ(edsc_TableCreate(nullptr, ":", "T", 4, 1, nullptr, null, nullptr), nullptr);
    EXPECT_EQ(rootCause(null), "File pointer is NULL");
}

TEST_F(StoredTable, IsFoundFromTheCurrentEntry)
{
    create(3, direct(5, 3).get());
    ASSERT_NE(ehfa_EntrySeek(file_, EHFA_SEEK_ROOT, nullptr, nullptr), nullptr);
    Report report;
    const Table table(edsc_TableOpen(file_, nullptr, "Table", EHFA_SEEK_CHILD_NAME, nullptr, report));
    ASSERT_NE(table, nullptr) << rootCause(report);
    EXPECT_EQ(table->numRows, 3);
    EXPECT_EQ(edsc_BinFunctionMinLimit(table->binFunction, nullptr), 5);
}

TEST_F(StoredTable, AFailedCreationPlacesNoOther)
{
    const Table parent = create(1);
    Report report;
    EXPECT_EQ(edsc_TableCreate(file_, ":Table", "Inner", EHFA_WRITE_LAST_CHILD, -1, nullptr, report, nullptr), nullptr);
    EXPECT_EQ(rootCause(report), "Invalid row count -1");
    const Table other(edsc_TableCreateWithMethods(file_, "", "edsc_HFA", 1, ":Other", 2, nullptr, nullptr, nullptr));
    ASSERT_NE(other, nullptr);
    EXPECT_NE(ehfa_EntrySeek(file_, EHFA_SEEK_PATH, ":Other", nullptr), nullptr);
    EXPECT_EQ(ehfa_EntrySeek(file_, EHFA_SEEK_PATH, ":Table:Inner", nullptr), nullptr);
}

TEST_F(StoredTable, ATooLongBinFunctionIsToldAndNarrowed)
{
    Table table;
    const std::string told = stderrOf([&] { table = create(3, direct(10, 8).get()); });
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->binFunction->binCount, 3U);
    EXPECT_NE(edsc_BinFunctionBinCountModify(table->binFunction, 0, 8, nullptr), 0) << "the bins stay";
    Report report;
    EXPECT_FALSE(edsc_TableBinFunctionSet(table.get(), direct(0, 4).get(), report));
    EXPECT_EQ(rootCause(report), "Number of bins exceeds number of rows in table");
    table.reset();
    table = open();
    EXPECT_TRUE(edsc_HFABinFunctionNameFetch());
    EXPECT_EQ(table->binFunction->origBinCount, 8U) << "stored with its span";
    EXPECT_EQ(edsc_BinFunctionApply(table->binFunction, 11, nullptr), 1);
}

TEST_F(StoredTable, RowsMoveToTheBinsThatHoldTheSame)
{
    const Table table = create(4, direct(0, 4).get());
    put(column(table, "Value", EDSC_COLUMN_INTEGER), tableOf<std::int32_t>(EGDA_TYPE_S32, {0, 1, 2, 3}));
    put(column(table, "Count", EDSC_COLUMN_INTEGER), tableOf<std::int32_t>(EGDA_TYPE_S32, {10, 11, 12, 13}));
    put(column(table, "Name", EDSC_COLUMN_STRING, 4), texts({"a", "b", "c", "d"}));
    ASSERT_TRUE(edsc_TableBinFunctionSetAndAdjust(table.get(), direct(2, 5).get(), EGDA_TYPE_U8, nullptr));
    EXPECT_EQ(table->numRows, 5);
    EXPECT_EQ((rowsOf<std::int32_t>(column(table, "Value").get(), EGDA_TYPE_S32, 0, 5)),
              (std::vector<std::int32_t>{2, 3, 4, 5, 6}));
    EXPECT_EQ((rowsOf<std::int32_t>(column(table, "Count").get(), EGDA_TYPE_S32, 0, 5)),
              (std::vector<std::int32_t>{12, 13, 0, 0, 0}));
    EXPECT_EQ(textRows(column(table, "Name").get(), 0, 5), (std::vector<std::string>{"c", "d", "", "", ""}));

    put(column(table, "Value"), tableOf<std::int32_t>(EGDA_TYPE_S32, {2, 3, 4, 5, 99}));
    ASSERT_TRUE(edsc_TableBinFunctionSetAndAdjust(table.get(), direct(6, 1).get(), EGDA_TYPE_U8, nullptr));
    EXPECT_EQ(table->numRows, 1);
    EXPECT_EQ((rowsOf<std::int32_t>(column(table, "Value").get(), EGDA_TYPE_S32, 0, 1)), (std::vector<std::int32_t>{99}))
        << "no longer the bins' own values";
    EXPECT_TRUE(edsc_BinFunctionIsSame(table->binFunction, direct(6, 1).get(), nullptr));
}

TEST_F(StoredTable, AValueBehindTheBinsIsNotTheBinsOwn)
{
    const Table table = create(3, direct(0, 2).get());
    put(column(table, "Value", EDSC_COLUMN_INTEGER), tableOf<std::int32_t>(EGDA_TYPE_S32, {0, 1, 7}));
    ASSERT_TRUE(edsc_TableBinFunctionSetAndAdjust(table.get(), direct(1, 4).get(), EGDA_TYPE_U8, nullptr));
    EXPECT_EQ((rowsOf<std::int32_t>(column(table, "Value").get(), EGDA_TYPE_S32, 0, 4)),
              (std::vector<std::int32_t>{1, 0, 0, 0}))
        << "a row behind the bins is no bin's value";
}

TEST_F(StoredTable, WholeColumnsPassAsLayersAndAsObjects)
{
    const Table table = create(3, direct(5, 3).get());
    Egda_BaseDataStack* stack = egda_BaseDataStackCreate(1, 3, 1, EGDA_TYPE_STRING, EGDA_TABLE_OBJECT, nullptr);
    const char* words[] = {"one", "three", "two"};
    egda_BaseDataSet(stack->datalayer[0], words, EGDA_SET_ALL, 0, nullptr);
    ASSERT_TRUE(edsc_DescriptorStackWrite(table.get(), "Word", stack, nullptr));
    egda_BaseDataStackDelete(stack, nullptr);
    EXPECT_EQ(column(table, "Word")->maxNumChars, 5);
    stack = edsc_DescriptorStackRead(table.get(), "Word", nullptr, nullptr);
    ASSERT_NE(stack, nullptr);
    EXPECT_STREQ(static_cast<char**>(stack->datalayer[0]->data)[1], "three");
    EXPECT_TRUE(edsc_BinFunctionIsSame(stack->datalayer[0]->binfunction, table->binFunction, nullptr));
    edsc_BinFunctionDelete(stack->datalayer[0]->binfunction, nullptr);
    egda_BaseDataStackDelete(stack, nullptr);

    Report report;
    void* whole = edsc_HFAColumnAndMIFDataRead(file_, ":Table:Word", report);
    ASSERT_NE(whole, nullptr) << rootCause(report);
    const Emif_Design* design = emif_DictionarySearchByName(file_->dictionary, "Edsc_HFA_Column", nullptr);
    EXPECT_EQ(design, nullptr) << "an exchange form only";
    ASSERT_NE(ehfa_EntrySeek(file_, EHFA_SEEK_PATH, ":Table", nullptr), nullptr);
    Emif_Design* copy = emif_DesignCreate(nullptr, "Edsc_Other", nullptr, EMIF_TYPE_LONG, "a", 0);
    EXPECT_FALSE(edsc_HFAColumnAndMIFDataWrite(file_, whole, copy, report));
    emif_DesignDestroy(copy);
    struct {
        void* header;
        Emif_PTR data;
    } record;
    std::memcpy(&record, whole, sizeof record);
    EXPECT_EQ(record.data.count, 15);
    EXPECT_EQ(std::memcmp(record.data.pointer, "one\0\0threetwo\0\0", 15), 0);
    emsc_HeapFree(record.header);
    emsc_HeapFree(record.data.pointer);
    emsc_HeapFree(whole);
}

/* What a hostile file may hold. */

class HostileColumn : public StoredTable {
protected:
    static constexpr std::uint32_t kOwnRun = 1;

    /* A column whose header claims these. */
    void plant(std::int32_t rows, std::uint32_t position, std::int32_t type, std::int32_t width)
    {
        const Table table = create(4);
        column(table, "C", EDSC_COLUMN_REAL);
        struct Header {
            std::int32_t rows;
            std::uint32_t position;
            std::int32_t type;
            std::int32_t width;
        } header{};
        const Emif_Design* design = emif_DictionarySearchByName(file_->dictionary, "Edsc_Column", nullptr);
        ASSERT_NE(ehfa_ObjectRead(file_, nullptr, ":Table:C", EHFA_SEEK_PATH, &header, design, nullptr), nullptr);
        header = {rows, position == kOwnRun ? header.position : position, type, width};
        ASSERT_NE(ehfa_ObjectWrite(file_, nullptr, nullptr, nullptr, EHFA_WRITE_CURRENT, &header, design, nullptr),
                  nullptr);
    }
};

TEST_F(HostileColumn, IsReported)
{
    const struct {
        std::int32_t rows;
        std::uint32_t position;
        std::int32_t type;
        std::int32_t width;
        const char* text;
    } cases[] = {
        {3, kOwnRun, EDSC_COLUMN_REAL, 0, "Column row count is less than table row count"},
        {INT32_MAX, kOwnRun, EDSC_COLUMN_REAL, 0, "Column data of 2147483647 rows do not lie in the file"},
        {4, 0xfffffff0, EDSC_COLUMN_REAL, 0, "Column data of 4 rows do not lie in the file"},
        {4, 0, EDSC_COLUMN_REAL, 0, "Column data of 4 rows do not lie in the file"},
        {-4, kOwnRun, EDSC_COLUMN_REAL, 0, "Invalid row count -4"},
        {4, kOwnRun, 9, 0, "Invalid column type"},
        {4, kOwnRun, EDSC_COLUMN_STRING, 0, "maxNumChars invalid for string type"},
        {4, kOwnRun, EDSC_COLUMN_STRING, INT32_MAX, "Column data of 4 rows do not lie in the file"},
    };
    for (const auto& [rows, position, type, width, text] : cases) {
        plant(rows, position, type, width);
        const Table table = open();
        Report report;
        EXPECT_EQ(edsc_ColumnOpen(table.get(), "C", report, nullptr), nullptr);
        EXPECT_EQ(rootCause(report), text);
        const std::string told = stderrOf([&] { EXPECT_EQ(edsc_TableModTimeGet(table.get(), nullptr), 0); });
        EXPECT_NE(told.find("Cannot open column C for time stamp"), std::string::npos);
        /* A short column is made longer; what does not open at all stops the change. */
        Report unchanged;
        EXPECT_EQ(edsc_TableRowCountSet(table.get(), 5, unchanged) != 0, rows == 3);
        if (rows != 3) {
            EXPECT_EQ(rootCause(unchanged), text);
            const std::vector<std::string> chain = textsOf(unchanged);
            EXPECT_EQ(std::count(chain.begin(), chain.end(),
                                 "Cannot open column ETXT_LCHAR('C') for row count update"), 1);
        }
        stderrOf([&] { edsc_TableRemove(file_, ":Table", nullptr); });
    }
}

TEST_F(HostileColumn, BehindTheEndOfTheFileIsNotCopied)
{
    plant(4, 0xfffffff0, EDSC_COLUMN_REAL, 0);
    Report report;
    EXPECT_EQ(edsc_HFAColumnAndMIFDataRead(file_, ":Table:C", report), nullptr);
    EXPECT_EQ(rootCause(report), "efio_Seek error.");
    Report copying;
    EXPECT_FALSE(edsc_CopyColumnData(file_, file_, copying));
    EXPECT_EQ(rootCause(copying), "efio_Seek error.");
}

TEST_F(HostileColumn, ALongerColumnHidesItsTail)
{
    plant(5, 64, EDSC_COLUMN_REAL, 0);
    const Table table = open();
    EXPECT_EQ(column(table, "C")->numRows, 4);
}

TEST(ColumnTypes, ConvertAsTheTablesSay)
{
    const std::int32_t* exact = emsc_AddressOf_Edsc_BdToColConvertTbl();
    for (std::int32_t type = 0; type < 4; ++type) {
        EXPECT_EQ(exact[emsc_AddressOf_Edsc_ColToBdConvertTbl()[type]], type);
    }
    EXPECT_EQ(exact[EGDA_TYPE_U32], -1);
    const BinFunction binFunction = linear(0, 4, 4);
    EXPECT_TRUE(edsc_ColumnDataMatchesBinFunction(tableOf<std::int32_t>(EGDA_TYPE_S32, {0, 1, 2, 3}).get(),
                                                  binFunction.get(), EGDA_TYPE_S16));
    EXPECT_FALSE(edsc_ColumnDataMatchesBinFunction(tableOf<std::int32_t>(EGDA_TYPE_S32, {0, 1, 2, 3}).get(),
                                                   binFunction.get(), EGDA_TYPE_U32))
        << "U32 widens to real";
    EXPECT_FALSE(edsc_ColumnDataMatchesBinFunction(tableOf<std::int32_t>(EGDA_TYPE_S32, {0, 1, 2}).get(),
                                                   binFunction.get(), EGDA_TYPE_S16));
    EXPECT_FALSE(edsc_ColumnDataMatchesBinFunction(doubles({0, 1, 2, 4}).get(), binFunction.get(), EGDA_TYPE_F32));
    EXPECT_FALSE(edsc_ColumnDataMatchesBinFunction(nullptr, binFunction.get(), EGDA_TYPE_F32));
}

}  // namespace
