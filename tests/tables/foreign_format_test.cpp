#include "support/captured_stderr.h"
#include "tables/binfunction_helpers.h"

#include <cstring>
#include <emantle/frame/emsc/heap.h>
#include <emantle/settings/edll.h>
#include <emantle/tables/edsc.h>
#include <filesystem>
#include <fstream>
#include <functional>

/* A table format from outside, whole, in part, and broken. */

namespace {

constexpr const char* kModule = EMANTLE_TEST_MODULES "/memory_format_module.dll";

struct Close {
    void operator()(Edsc_TableInstance* table) const { edsc_TableClose(table, nullptr); }
    void operator()(Edsc_ColumnInstance* column) const { edsc_ColumnClose(column, nullptr); }
    void operator()(Edsc_TableMethods* methods) const { edsc_TableMethodsClose(methods, nullptr); }
};
template <class Record>
using Own = std::unique_ptr<Record, Close>;

class ForeignFormat : public testing::Test {
protected:
    ForeignFormat()
    {
        library_ = edll_Open(kModule, nullptr);
        const auto useHeap = reinterpret_cast<void (*)(void* (*)(long), void (*)(void*))>(
            edll_Find(library_, "memoryUseHeap", nullptr));
        useHeap([](long size) { return emsc_HeapMalloc(size); }, [](void* block) { emsc_HeapFree(block); });
        set_ = reinterpret_cast<void (*)(int, int, const char*)>(edll_Find(library_, "memorySet", nullptr));
        set_(0, 0, "");
    }
    ~ForeignFormat() override { edll_Close(library_, nullptr); }

    void spoil(const char* what) { set_(0, 1, what); }

    static Own<Edsc_TableInstance> create(std::int32_t rows, const Edsc_BinFunction* bins, Eerr_ErrorReport** err)
    {
        return Own<Edsc_TableInstance>(
            edsc_TableCreateWithMethods(nullptr, kModule, "memory", 1, "T", rows, bins, err, nullptr));
    }
    static Own<Edsc_TableInstance> open(Eerr_ErrorReport** err)
    {
        return Own<Edsc_TableInstance>(
            edsc_TableOpenWithMethods(nullptr, kModule, "memory", 1, "T", nullptr, err, nullptr));
    }

    EdllHandle library_;
    void (*set_)(int, int, const char*) = nullptr;
};

std::vector<double> numbersOf(Edsc_TableInstance* table, const char* name)
{
    const Own<Edsc_ColumnInstance> column(edsc_ColumnOpen(table, name, nullptr, nullptr));
    const BaseData rows = doubles(std::vector<double>(static_cast<std::size_t>(table->numRows), -99));
    EXPECT_TRUE(edsc_ColumnRead(column.get(), 0, table->numRows, rows.get(), nullptr));
    const auto* first = static_cast<const double*>(rows->data);
    return {first, first + table->numRows};
}

std::vector<std::string> textsOf(Edsc_TableInstance* table, const char* name)
{
    const Own<Edsc_ColumnInstance> column(edsc_ColumnOpen(table, name, nullptr, nullptr));
    const BaseData rows(egda_TableCreate(table->numRows, EGDA_TYPE_STRING, nullptr));
    EXPECT_TRUE(edsc_ColumnRead(column.get(), 0, table->numRows, rows.get(), nullptr));
    std::vector<std::string> texts;
    for (int row = 0; row < table->numRows; ++row) {
        const char* const text = static_cast<char**>(rows->data)[row];
        texts.emplace_back(text == nullptr ? "(null)" : text);
    }
    return texts;
}

std::vector<std::string> namesOf(Edsc_TableInstance* table)
{
    Estr_StringList* list = edsc_TableListColumns(table, nullptr);
    std::vector<std::string> names(list->strings, list->strings + estr_StringListCount(list));
    estr_StringListDelete(list, nullptr);
    return names;
}

/* The whole surface, as the format takes names and is called. */
TEST_F(ForeignFormat, IsDrivenLikeTheLibrarysOwn)
{
    for (const auto& [isWide, isThreadsafe] : {std::pair(0, 0), std::pair(0, 1), std::pair(1, 0), std::pair(1, 1)}) {
        set_(isWide, isThreadsafe, "");
        SCOPED_TRACE(std::to_string(isWide) + std::to_string(isThreadsafe));
        Report report;
        const BinFunction bins = direct(0, 4);
        const Own<Edsc_TableInstance> table = create(4, bins.get(), report);
        ASSERT_NE(table, nullptr) << rootCause(report);
        const BaseData values = doubles({0, 1, 2, 3});
        const BaseData shares = doubles({0.5, 1.5, 2.5, 3.5});
        Own<Edsc_ColumnInstance> value(edsc_ColumnCreate(table.get(), "Value", EDSC_COLUMN_INTEGER, report, nullptr));
        Own<Edsc_ColumnInstance> share(edsc_ColumnCreate(table.get(), "Share", EDSC_COLUMN_REAL, report, nullptr));
        Own<Edsc_ColumnInstance> name(edsc_ColumnCreate(table.get(), "Name", EDSC_COLUMN_STRING, report, 3, nullptr));
        Own<Edsc_ColumnInstance> phase(edsc_ColumnCreate(table.get(), "Phase", EDSC_COLUMN_COMPLEX, report, nullptr));
        ASSERT_TRUE(value && share && name && phase) << rootCause(report);
        EXPECT_EQ(numbersOf(table.get(), "Value"), std::vector<double>(4, 0));
        EXPECT_EQ(textsOf(table.get(), "Name"), std::vector<std::string>(4, ""));
        ASSERT_TRUE(edsc_ColumnWrite(value.get(), 0, 4, values.get(), report));
        ASSERT_TRUE(edsc_ColumnWrite(share.get(), 0, 4, shares.get(), report));
        char* texts[] = {const_cast<char*>("one"), nullptr, const_cast<char*>("three"), const_cast<char*>("4")};
        const BaseData named(egda_BaseDataCreate(4, 1, EGDA_TYPE_STRING, EGDA_TABLE_OBJECT, texts, nullptr));
        ASSERT_TRUE(edsc_ColumnWrite(name.get(), 0, 4, named.get(), report));
        EXPECT_EQ(textsOf(table.get(), "Name"), (std::vector<std::string>{"one", "", "thr", "4"}));

        ASSERT_TRUE(edsc_ColumnChangeName(phase.get(), "Angle", report, nullptr)) << rootCause(report);
        EXPECT_EQ(namesOf(table.get()), (std::vector<std::string>{"Angle", "Name", "Share", "Value"}));
        EXPECT_EQ(edsc_TableModTimeGet(table.get(), report), 42);
        phase.reset();
        ASSERT_TRUE(edsc_ColumnRemove(table.get(), "Angle", report));

        /* Rows follow their bins; the column of the bins' own values is made anew. */
        const BinFunction shifted = direct(2, 5);
        value.reset();
        share.reset();
        name.reset();
        ASSERT_TRUE(edsc_TableBinFunctionSetAndAdjust(table.get(), shifted.get(), EGDA_TYPE_U8, report));
        EXPECT_EQ(table->numRows, 5);
        EXPECT_EQ(numbersOf(table.get(), "Value"), (std::vector<double>{2, 3, 4, 5, 6}));
        EXPECT_EQ(numbersOf(table.get(), "Share"), (std::vector<double>{2.5, 3.5, 0, 0, 0}));
        EXPECT_EQ(textsOf(table.get(), "Name"), (std::vector<std::string>{"thr", "4", "", "", ""}));
        ASSERT_TRUE(edsc_TableRowCountSet(table.get(), 2, report));
        EXPECT_EQ(edsc_BinFunctionBinCount(table->binFunction, report), 2U);
        std::int32_t rows = 0;
        ASSERT_TRUE(edsc_TableRowCountGet(table.get(), &rows, report));
        EXPECT_EQ(rows, 2);
        ASSERT_TRUE(edsc_TableDestroyWithMethods(nullptr, kModule, "memory", 1, "T", report));
        EXPECT_EQ(open(report), nullptr);
        EXPECT_EQ(report.get(), nullptr);
    }
}

/* A copy of the module in which one entry point bears another name. */
class Lacking : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(Lacking, IsRefusedOrNarrowed)
{
    const auto& [entry, expected] = GetParam();
    std::ifstream in(kModule, std::ios::binary);
    if (!in) {
        in.open(EMANTLE_TEST_MODULES "/memory_format_module.so", std::ios::binary);
    }
    std::string bytes(std::istreambuf_iterator<char>(in), {});
    const std::string symbol = std::string("memory") + entry + '\0';
    std::size_t renamed = 0;
    for (std::size_t at = bytes.find(symbol); at != std::string::npos; at = bytes.find(symbol, at + 1)) {
        bytes[at + 6] = '_';
        ++renamed;
    }
    ASSERT_GT(renamed, 0U);
    const std::string folder = testing::TempDir() + "foreign_format_" + std::to_string(getpid()) + "_" + entry;
    std::filesystem::create_directory(folder);
    std::ofstream(folder + "/lacking.so", std::ios::binary) << bytes;
    EdllHandle library = edll_Open((folder + "/lacking.dll").c_str(), nullptr);
    const auto useHeap =
        reinterpret_cast<void (*)(void* (*)(long), void (*)(void*))>(edll_Find(library, "memoryUseHeap", nullptr));
    useHeap([](long size) { return emsc_HeapMalloc(size); }, [](void* block) { emsc_HeapFree(block); });

    Report report;
    const Own<Edsc_TableMethods> methods(
        edsc_TableMethodsOpen((folder + "/lacking.dll").c_str(), "memory", 1, report));
    std::string outcome;
    if (methods == nullptr) {
        outcome = report.get() == nullptr ? "nothing" : rootCause(report);
    } else {
        outcome += edsc_TableMethodsSupportTableCreation(methods.get()) ? "T" : "-";
        outcome += edsc_TableMethodsSupportTableUpdate(methods.get()) ? "t" : "-";
        outcome += edsc_TableMethodsSupportColumnCreation(methods.get()) ? "C" : "-";
        outcome += edsc_TableMethodsSupportColumnUpdate(methods.get()) ? "c" : "-";
        outcome += edsc_TableMethodsSupportColumnType(methods.get(), "real") ? "r" : "-";
    }
    EXPECT_EQ(outcome, expected);
    edll_Close(library, nullptr);
    std::filesystem::remove_all(folder);
}

INSTANTIATE_TEST_SUITE_P(
    EachEntryInTurn, Lacking,
    testing::Values(std::pair("InstanceIsThreadsafe", "TtCcr"), std::pair("InstanceSupportsUnicode", "TtCcr"),
                    std::pair("InstanceColumnTypesGet", "TtCc-"), std::pair("TableCreate", "-tCcr"),
                    std::pair("TableOpen", "nothing"),
                    std::pair("TableClose", "Function TableClose not found in memory"),
                    std::pair("TableDestroy", "--Ccr"), std::pair("TableRowCountGet", "TtCcr"),
                    std::pair("TableRowCountSet", "--Ccr"),
                    std::pair("TableColumnNamesGet", "Function TableColumnNamesGet not found in memory"),
                    std::pair("TableColumnNamesSet", "--Ccr"), std::pair("ColumnCreate", "---cr"),
                    std::pair("ColumnOpen", "Function ColumnOpen not found in memory"),
                    std::pair("ColumnClose", "Function ColumnClose not found in memory"),
                    std::pair("ColumnDestroy", "----r"),
                    std::pair("ColumnModTimeGet", "Function ColumnModTimeGet not found in memory"),
                    std::pair("ColumnDataRead", "Function ColumnDataRead not found in memory"),
                    std::pair("ColumnDataWrite", "----r")),
    [](const auto& entry) { return std::string(entry.param.first); });

/* What a broken format answers is a report; the table is as good as before once the format is. */
TEST_F(ForeignFormat, MayReturnGarbage)
{
    const auto read = [](Edsc_TableInstance* table, const char* name, Eerr_ErrorReport** err) {
        const Own<Edsc_ColumnInstance> column(edsc_ColumnOpen(table, name, err, nullptr));
        const BaseData rows(egda_TableCreate(3, *name == 'N' ? EGDA_TYPE_STRING : EGDA_TYPE_F64, nullptr));
        return column != nullptr && edsc_ColumnRead(column.get(), 0, 3, rows.get(), err);
    };
    const auto rowCount = [](Edsc_TableInstance* table, Eerr_ErrorReport** err) {
        std::int32_t rows = 0;
        return edsc_TableRowCountGet(table, &rows, err) != 0;
    };
    const auto list = [](Edsc_TableInstance* table, Eerr_ErrorReport** err) {
        Estr_StringList* names = edsc_TableListColumns(table, err);
        const bool isThere = names != nullptr;
        estr_StringListDelete(names, nullptr);
        return isThere;
    };
    using Call = std::function<bool(Edsc_TableInstance*, Eerr_ErrorReport**)>;
    const struct {
        const char* spoilt;
        Call call;
        const char* cause;
    } cases[] = {
        {"create: no handle", [&](auto*, auto err) { return create(3, nullptr, err) != nullptr; },
         "Table T does not exist"},
        {"open: throws", [&](auto*, auto err) { return open(err) != nullptr; }, "the format is broken"},
        {"open: negative", [&](auto*, auto err) { return open(err) != nullptr; }, "TableOpen failed"},
        {"rows: negative", rowCount, "TableRowCountGet failed"},
        {"names: a null", list, "TableColumnNamesGet failed"},
        {"names: none at all", list, "TableColumnNamesGet failed"},
        {"column create: no handle",
         [](auto* table, auto err) {
             return edsc_ColumnCreate(table, "New", EDSC_COLUMN_REAL, err, nullptr) != nullptr;
         },
         "ColumnCreate failed"},
        {"column: type 4", [&](auto* table, auto err) { return read(table, "Real", err); },
         "Bad column type (4) returned from ColumnOpen"},
        {"column: type -1", [&](auto* table, auto err) { return read(table, "Real", err); },
         "Bad column type (-1) returned from ColumnOpen"},
        {"column: negative rows", [&](auto* table, auto err) { return read(table, "Real", err); }, "ColumnOpen failed"},
        {"read: negative", [&](auto* table, auto err) { return read(table, "Real", err); }, "ColumnDataRead failed"},
        {"read: throws", [&](auto* table, auto err) { return read(table, "Name", err); }, nullptr},
        {"column: width -1", [&](auto* table, auto err) { return read(table, "Name", err); }, nullptr},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.spoilt);
        spoil("");
        const Own<Edsc_TableInstance> table = create(3, nullptr, nullptr);
        edsc_ColumnClose(edsc_ColumnCreate(table.get(), "Real", EDSC_COLUMN_REAL, nullptr, nullptr), nullptr);
        edsc_ColumnClose(edsc_ColumnCreate(table.get(), "Name", EDSC_COLUMN_STRING, nullptr, 5, nullptr), nullptr);
        spoil(one.spoilt);
        Report report;
        EXPECT_FALSE(one.call(table.get(), report));
        EXPECT_NE(report.get(), nullptr);
        if (one.cause != nullptr) {
            EXPECT_EQ(rootCause(report), one.cause);
        }
        spoil("");
        if (std::strcmp(one.spoilt, "create: no handle") != 0) {
            Report after;
            EXPECT_TRUE(read(table.get(), "Real", after)) << rootCause(after);
        }
    }
    /* Texts that are not delivered are none; a name that is not there is told, and the others count. */
    spoil("");
    const Own<Edsc_TableInstance> table = create(2, nullptr, nullptr);
    edsc_ColumnClose(edsc_ColumnCreate(table.get(), "A", EDSC_COLUMN_STRING, nullptr, 5, nullptr), nullptr);
    edsc_ColumnClose(edsc_ColumnCreate(table.get(), "B", EDSC_COLUMN_REAL, nullptr, nullptr), nullptr);
    spoil("read: no texts");
    EXPECT_EQ(textsOf(table.get(), "A"), (std::vector<std::string>{"(null)", "(null)"}));
    spoil("names: what is not there");
    double time = 0;
    const std::string told = stderrOf([&] { time = edsc_TableModTimeGet(table.get(), nullptr); });
    EXPECT_NE(told.find("Cannot open column nothing for time stamp"), std::string::npos) << told;
    EXPECT_EQ(time, 42);
    spoil("close: negative");
    Report closing;
    edsc_TableClose(create(1, nullptr, nullptr).release(), closing);
    EXPECT_EQ(rootCause(closing), "TableClose failed");
    spoil("");
}

TEST_F(ForeignFormat, WithGarbageForItsTypesIsRefused)
{
    for (const char* spoilt : {"types: none at all", "types: a null"}) {
        spoil(spoilt);
        Report report;
        EXPECT_EQ(edsc_TableMethodsOpen(kModule, "memory", 1, report), nullptr);
        EXPECT_EQ(rootCause(report), "InstanceColumnTypesGet returning garbage from memory:  DLL ignored");
    }
    spoil("");
}

}  // namespace
