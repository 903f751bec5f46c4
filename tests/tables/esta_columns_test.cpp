#include "store/hfa/store_fixture.h"
#include "tables/esta_support.h"

#include <emantle/tables/edsc.h>

namespace {

struct DeleteColumns {
    void operator()(Edsc_TableInstance* table) const { edsc_TableClose(table, nullptr); }
    void operator()(Edsc_ColumnInstance* column) const { edsc_ColumnClose(column, nullptr); }
    void operator()(Esta_ClassNames* names) const { esta_ClassNamesDelete(names, nullptr); }
    void operator()(Egda_BaseDataStack* stack) const { egda_BaseDataStackDelete(stack, nullptr); }
};
template <class Record>
using Own = std::unique_ptr<Record, DeleteColumns>;

class EstaColumns : public StoreTest {
protected:
    EstaColumns()
    {
        create();
        write(EHFA_WRITE_LAST_CHILD, "Band", "Eimg_Layer");
        table_.reset(edsc_TableCreate(file_, ":Band:", "Descriptor_Table", EHFA_WRITE_FIRST_CHILD, 4, nullptr,
                                      expected(), nullptr));
    }
    ~EstaColumns() override { table_.reset(); }

    std::vector<double> column(const char* name)
    {
        const Own<Edsc_ColumnInstance> opened(edsc_ColumnOpen(table_.get(), name, expected(), nullptr));
        const BaseData rows = doubles(std::vector<double>(4, -1));
        edsc_ColumnRead(opened.get(), 0, 4, rows.get(), expected());
        return rowsOf(rows.get());
    }

    Own<Edsc_TableInstance> table_;
};

std::vector<std::string> textsOf(const Esta_ClassNames& names)
{
    std::vector<std::string> texts;
    for (int at = 0; at < names.numNames; ++at) {
        texts.emplace_back(names.names[at] == nullptr ? "(null)" : names.names[at]);
    }
    return texts;
}

TEST_F(EstaColumns, ComponentsHaveColumnsAndAnOverlayStandsForAMissingOpacity)
{
    const char* const names[] = {"Red", "Green", "Blue", "Opacity"};
    for (int component = 0; component < 3; ++component) {
        const BaseData shade = doubles({0.25 * component, 0.5, 0.75, 1});
        ASSERT_TRUE(esta_ColorTableWrite(table_.get(), component, shade.get(), 0, ESTA_ALL_BINS, expected()));
        EXPECT_EQ(column(names[component])[0], 0.25 * component);
    }
    const Own<Egda_BaseDataStack> opaque(esta_ColorTableStackRead(table_.get(), nullptr, 1, ESTA_ALL_BINS, expected()));
    ASSERT_NE(opaque, nullptr);
    EXPECT_EQ(rowsOf(opaque->datalayer[2]), (std::vector<double>{0.5, 0.75, 1}));
    EXPECT_EQ(rowsOf(opaque->datalayer[3]), (std::vector<double>{1, 1, 1}));

    const Own<Edsc_ColumnInstance> overlay(
        edsc_ColumnCreate(table_.get(), "Overlay", EDSC_COLUMN_REAL, expected(), nullptr));
    const BaseData faint = doubles({0.1, 0.2, 0.3, 0.4});
    ASSERT_TRUE(esta_ColorTableWrite(table_.get(), ESTA_OPACITY, faint.get(), 0, 4, expected()));
    EXPECT_FALSE(edsc_ColumnExist(table_.get(), "Opacity", expected()));
    EXPECT_EQ(column("Overlay"), rowsOf(faint.get()));
    const BaseData read(esta_ColorTableRead(table_.get(), ESTA_OPACITY, nullptr, 2, 2, expected()));
    EXPECT_EQ(rowsOf(read.get()), (std::vector<double>{0.3, 0.4}));
    ASSERT_TRUE(esta_ColorTableStackWrite(table_.get(), opaque.get(), 1, 3, expected()));
    EXPECT_EQ(column("Overlay"), (std::vector<double>{0.1, 1, 1, 1}));
}

TEST_F(EstaColumns, RowsBehindTheTableAreZero)
{
    const BaseData written = doubles({1, 2, 3, 4});
    ASSERT_TRUE(esta_ContrastTableWrite(table_.get(), written.get(), 0, ESTA_ALL_BINS, expected()));
    const BaseData record = doubles({9, 9, 9, 9, 9, 9});
    EXPECT_EQ(esta_ContrastTableRead(table_.get(), record.get(), 2, 5, expected()), record.get());
    EXPECT_EQ(rowsOf(record.get()), (std::vector<double>{3, 4, 0, 0, 0, 0}));
    const BaseData fresh(esta_ContrastTableRead(table_.get(), nullptr, 3, 3, expected()));
    EXPECT_EQ(rowsOf(fresh.get()), (std::vector<double>{4, 0, 0}));

    Own<Esta_ClassNames> names(esta_ClassNamesCreate(4, expected()));
    for (const int at : {1, 2}) {
        names->names[at] = static_cast<char*>(emsc_HeapMalloc(8));
        std::strcpy(names->names[at], at == 1 ? "water" : "forests");
    }
    ASSERT_TRUE(esta_ClassNamesWrite(table_.get(), names.get(), 0, ESTA_ALL_BINS, expected()));
    const Own<Esta_ClassNames> copy(esta_ClassNamesCopy(names.get(), nullptr, expected()));
    EXPECT_EQ(textsOf(*copy), (std::vector<std::string>{"(null)", "water", "forests", "(null)"}));
    ASSERT_EQ(esta_ClassNamesRead(table_.get(), names.get(), 1, ESTA_ALL_BINS, expected()), names.get());
    EXPECT_EQ(textsOf(*names), (std::vector<std::string>{"water", "forests", "", "(null)"}));
    const Own<Esta_ClassNames> behind(esta_ClassNamesRead(table_.get(), nullptr, 2, 3, expected()));
    EXPECT_EQ(textsOf(*behind), (std::vector<std::string>{"forests", "", "(null)"}));
}

TEST_F(EstaColumns, BadRequestsAreToldAndLeaveTheRecordAlone)
{
    const BaseData record = doubles({7, 8});
    const Own<Esta_ClassNames> names(esta_ClassNamesCreate(2, expected()));
    const BaseData four = doubles({1, 2, 3, 4});
    ASSERT_TRUE(esta_ColorTableWrite(table_.get(), ESTA_RED, four.get(), 0, 4, expected()));
    const struct {
        std::function<bool(Eerr_ErrorReport**)> call;
        const char* cause;
    } cases[] = {
        {[&](auto err) { return esta_ColorTableRead(table_.get(), 0, record.get(), -1, 1, err); },
         "Invalid starting bin for color table:  -1"},
        {[&](auto err) { return esta_ContrastTableRead(table_.get(), nullptr, -3, 1, err); },
         "Invalid starting bin for contrast table:  -3"},
        {[&](auto err) { return esta_ClassNamesRead(table_.get(), names.get(), -9, 1, err); },
         "Invalid starting bin for class names table:  -9"},
        {[&](auto err) { return esta_ColorTableRead(table_.get(), 0, record.get(), 0, -2, err); },
         "Negative number of bins requested from color table:  -2"},
        {[&](auto err) { return esta_ColorTableRead(table_.get(), 0, record.get(), 0, 3, err); },
         "Color table structure can store only 2 bins, but 3 bins were requested to be read"},
        {[&](auto err) { return esta_ColorTableRead(table_.get(), 0, record.get(), 0, ESTA_ALL_BINS, err); },
         "Color table structure can store only 2 bins, but 4 bins were requested to be read"},
        {[&](auto err) { return esta_ColorTableRead(table_.get(), 1, record.get(), 0, 1, err); },
         "Column Green does not exist"},
        {[&](auto err) { return esta_ColorTableRead(table_.get(), 4, record.get(), 0, 1, err); }, "Bad args"},
        {[&](auto err) { return esta_ColorTableWrite(table_.get(), 0, record.get(), 0, 3, err) != 0; }, "Bad args"},
    };
    for (const auto& one : cases) {
        Report report;
        EXPECT_FALSE(one.call(report));
        EXPECT_EQ(rootCause(report), one.cause);
        EXPECT_EQ(rowsOf(record.get()), (std::vector<double>{7, 8}));
    }
    edsc_ColumnClose(edsc_ColumnCreate(table_.get(), "Class_Names", EDSC_COLUMN_INTEGER, expected(), nullptr), nullptr);
    Report report;
    EXPECT_EQ(esta_ClassNamesRead(table_.get(), nullptr, 0, 1, report), nullptr);
    EXPECT_EQ(rootCause(report), "Class column, 'Class_Names', has the wrong data type!");
    Report second;
    EXPECT_FALSE(esta_ClassNamesWrite(table_.get(), names.get(), 0, 2, second));
    EXPECT_EQ(rootCause(second), "Class column, 'Class_Names', has the wrong data type!");
}

}  // namespace
