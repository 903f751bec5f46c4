#include "support/captured_stderr.h"
#include "tables/binfunction_helpers.h"
#include "tables/edsc/binfunction/bulk.h"

#include <cstdlib>
#include <emantle/settings/edll.h>
#include <functional>
#include <emantle/tables/edsc.h>

namespace {

constexpr const char* kFormats = EMANTLE_TEST_MODULES "/table_formats_module.dll";

struct Abilities {
    bool createTable;
    bool updateTable;
    bool createColumn;
    bool updateColumn;

    bool operator==(const Abilities&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Abilities& abilities)
{
    return out << abilities.createTable << abilities.updateTable << abilities.createColumn << abilities.updateColumn;
}

Abilities abilitiesOf(const Edsc_TableMethods* methods)
{
    return {edsc_TableMethodsSupportTableCreation(methods) != 0, edsc_TableMethodsSupportTableUpdate(methods) != 0,
            edsc_TableMethodsSupportColumnCreation(methods) != 0, edsc_TableMethodsSupportColumnUpdate(methods) != 0};
}

TEST(TableFormat, CreatesOnlyWhatItCanUpdate)
{
    const struct {
        const char* instance;
        Abilities abilities;
    } cases[] = {{"complete", {true, true, true, true}},
                 {"noDestroy", {false, false, false, false}},
                 {"noWrite", {false, false, false, false}},
                 {"noCreate", {false, false, false, true}},
                 {"noRename", {false, false, true, true}}};
    for (const auto& [instance, abilities] : cases) {
        Report report;
        Edsc_TableMethods* methods = edsc_TableMethodsOpen(kFormats, instance, 1, report);
        ASSERT_NE(methods, nullptr) << rootCause(report);
        EXPECT_EQ(abilitiesOf(methods), abilities) << instance;
        EXPECT_TRUE(edsc_TableMethodsSupportColumnType(methods, "integer"));
        EXPECT_FALSE(edsc_TableMethodsSupportColumnType(methods, "real"));
        edsc_TableMethodsClose(methods, nullptr);
    }
    EXPECT_EQ(abilitiesOf(nullptr), (Abilities{false, false, false, false}));
    Edsc_TableMethods* own = edsc_TableMethodsOpen("", "edsc_HFA", 1, nullptr);
    EXPECT_EQ(abilitiesOf(own), (Abilities{true, true, true, true}));
    EXPECT_TRUE(edsc_TableMethodsSupportColumnType(own, "string"));
    edsc_TableMethodsClose(own, nullptr);
}

TEST(TableFormat, WithoutARequiredEntryIsRefused)
{
    Report missing;
    EXPECT_EQ(edsc_TableMethodsOpen(kFormats, "noColumns", 1, missing), nullptr);
    EXPECT_EQ(rootCause(missing), "Function ColumnOpen not found in noColumns");
    Report garbage;
    EXPECT_EQ(edsc_TableMethodsOpen(kFormats, "garbage", 1, garbage), nullptr);
    EXPECT_EQ(rootCause(garbage), "InstanceColumnTypesGet returning garbage from garbage:  DLL ignored");
    Report absent;
    EXPECT_EQ(edsc_TableMethodsOpen("", "edsc_None", 1, absent), nullptr);
    EXPECT_EQ(rootCause(absent), "Could not find instance edsc_None of class DescriptorTables");
}

TEST(TableFormat, FallsBackToTheBareNamesAndTakesWideText)
{
    Report report;
    Edsc_TableInstance* table =
        edsc_TableOpenWithMethods(nullptr, kFormats, "anything", 1, "Stra\xc3\x9f" "e", nullptr, report, nullptr);
    ASSERT_NE(table, nullptr) << rootCause(report);
    EXPECT_EQ(table->numRows, 3);
    EdllHandle library = edll_Open(kFormats, nullptr);
    const auto last = reinterpret_cast<const char16_t* (*)()>(edll_Find(library, "lastTableName", nullptr));
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(std::u16string(last()), u"Stra\u00dfe");
    edll_Close(library, nullptr);

    Edsc_ColumnInstance* column = edsc_ColumnOpen(table, "C", nullptr, nullptr);
    ASSERT_NE(column, nullptr);
    const BaseData data(egda_TableCreate(2, EGDA_TYPE_F32, nullptr));
    EXPECT_TRUE(edsc_ColumnRead(column, 1, 2, data.get(), nullptr));
    EXPECT_EQ(static_cast<float*>(data->data)[1], 2);
    const struct {
        std::function<Emsc_Boolean(Eerr_ErrorReport**)> call;
        const char* text;
    } cases[] = {
        {[&](auto err) { return edsc_ColumnWrite(column, 0, 1, data.get(), err); },
         "anything table format does not support column data writing"},
        {[&](auto err) { return edsc_ColumnChangeName(column, "D", err, nullptr); },
         "anything table format does not support table column renaming"},
        {[&](auto err) { return edsc_ColumnRemove(table, "C", err); },
         "anything table format does not support column destruction"},
        {[&](auto err) { return edsc_TableRowCountSet(table, 1, err); },
         "anything table format does not support row count modification"},
        {[&](auto err) { return edsc_ColumnCreate(table, "E", EDSC_COLUMN_INTEGER, err) != nullptr; },
         "anything table format does not support column creation"},
        {[&](auto err) { return edsc_TableDestroyWithMethods(nullptr, kFormats, "anything", 1, "T", err); },
         "anything table format does not support table destruction"},
        {[&](auto err) {
             return edsc_TableCreateWithMethods(nullptr, kFormats, "anything", 1, "T", 2, nullptr, err, nullptr) != nullptr;
         },
         "anything table format does not support table creation"},
    };
    for (const auto& [call, text] : cases) {
        Report failure;
        EXPECT_FALSE(call(failure));
        EXPECT_EQ(rootCause(failure), text);
    }
    edsc_ColumnClose(column, nullptr);
    edsc_TableClose(table, nullptr);
}

TEST(TableFormat, OptionsAreToldAndIgnored)
{
    Edsc_TableInstance* table = nullptr;
    const std::string told = stderrOf([&] {
        testing::internal::CaptureStdout();
        int option = 0;
        table = edsc_TableOpenWithMethods(nullptr, kFormats, "complete", 1, "T", nullptr, nullptr, &option, nullptr);
        testing::internal::GetCapturedStdout();
    });
    ASSERT_NE(table, nullptr);
    /* A negative answer without a chain is a failure all the same. */
    Edsc_ColumnInstance* column = edsc_ColumnOpen(table, "C", nullptr, nullptr);
    Report report;
    EXPECT_FALSE(edsc_ColumnWrite(column, 0, 1, tableOf<std::int32_t>(EGDA_TYPE_S32, {1}).get(), report));
    EXPECT_EQ(rootCause(report), "ColumnDataWrite failed");
    EXPECT_EQ(edsc_ColumnGetTimeStamp(column, nullptr), 7);
    edsc_ColumnClose(column, nullptr);
    edsc_TableClose(table, nullptr);
}

/* A kind of bin function that the library does not know. */

class ForeignKind : public testing::Test {
protected:
    void SetUp() override
    {
        setenv("ORVIK_BIN_FUNCTIONS_PATH", EMANTLE_TEST_MODULES, 1);
        Report report;
        binFunction_.reset(edsc_BinFunctionCreateFromTitle("thirds_module", 5, report));
        ASSERT_NE(binFunction_, nullptr) << rootCause(report);
    }
    void TearDown() override { unsetenv("ORVIK_BIN_FUNCTIONS_PATH"); }
    BinFunction binFunction_;
};

TEST_F(ForeignKind, IsFoundByItsTitleAlongThePathOfTheClass)
{
    EXPECT_EQ(edsc_BinFunctionType(binFunction_.get()), -1);
    EXPECT_EQ(edsc_BinFunctionApply(binFunction_.get(), 7, nullptr), 2);
    EXPECT_EQ(edsc_BinFunctionMaxLimit(binFunction_.get(), nullptr), 15);
    const BinFunction copy(edsc_BinFunctionCopy(binFunction_.get(), nullptr, nullptr));
    EXPECT_TRUE(edsc_BinFunctionIsSame(copy.get(), binFunction_.get(), nullptr));

    edsc_BinFunctionBinCountModify(copy.get(), 1, 2, nullptr);
    EerrException scope(OrvikLog::Literal{"test"});
    const emantle::tables::BulkBins bulk(scope, copy.get());
    const double values[] = {2, 3, 8.9, 9, -1};
    std::int32_t bins[5];
    bulk.apply(scope, values, 5, bins);
    EXPECT_EQ(std::vector<std::int32_t>(bins, bins + 5), (std::vector<std::int32_t>{-1, 0, 1, 2, -1}));
}

TEST_F(ForeignKind, WithoutAStoredFormIsNotStored)
{
    void* object = nullptr;
    const Emif_Design* design = nullptr;
    Report report;
    EXPECT_FALSE(edsc_BinFunctionConvertToMIFable(binFunction_.get(), &object, &design, report));
    EXPECT_EQ(rootCause(report), "Conversion to MIFable not supported");
}

}  // namespace
