#include "store/hfa/crash_fixture.h"

#include "support/captured_stderr.h"
#include "support/starvation.h"

#include <emantle/tables/edsc/hfa.h>
#include <fcntl.h>
#include <functional>
#include <set>

namespace {

using emantle::platform::FaultInjection;
using emantle::platform::Operation;
using emantle::platform::Outcome;
using emantle::platform::Repeat;

/* One call, or a few that belong together, with what it is called in a failure. */
struct Work {
    const char* name;
    std::function<void(Ehfa_File*)> run;
    std::function<void(Ehfa_File*)> prepare = {}; /* in the same session, and not looked at */
    std::size_t mostWrites = 8;
};

void add(Ehfa_File* file, const char* path, const char* name, std::size_t size, long method = EHFA_WRITE_LAST_CHILD)
{
    ehfa_ObjectDataWrite(file, path, name, "Raw", method, std::string(size, name[0]).data(), static_cast<long>(size), nullptr);
}

void rewrite(Ehfa_File* file, const char* path, std::size_t size, char fill)
{
    ehfa_ObjectDataWrite(file, path, nullptr, nullptr, EHFA_WRITE_CURRENT, std::string(size, fill).data(), static_cast<long>(size), nullptr);
}

void remove(Ehfa_File* file, const char* path)
{
    ehfa_ObjectDelete(file, path, nullptr, EHFA_SEEK_BACK, nullptr);
}

void withTable(Ehfa_File* file, const std::function<void(void*)>& use)
{
    void* table = nullptr;
    edsc_HFATableOpen(file, ":Table", &table, nullptr);
    if (table != nullptr) {
        use(table);
        edsc_HFATableClose(table, nullptr);
    }
}

void fill(void* table, double first, int count, const char* name = "values")
{
    void* column = nullptr;
    int32_t type = 0;
    int32_t width = 0;
    edsc_HFAColumnOpen(table, name, &type, &width, &column, nullptr);
    std::vector<double> values(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        values[static_cast<std::size_t>(i)] = first + i;
    }
    edsc_HFAColumnDataWrite(column, 0, count, values.data(), nullptr);
    edsc_HFAColumnClose(column, nullptr);
}

void withStream(Ehfa_File* file, const std::function<void(Ehfa_Cache*)>& use)
{
    if (Ehfa_Cache* cache = ehfa_CacheOpen(file, ":Stream", nullptr)) {
        use(cache);
        ehfa_CacheClose(cache, nullptr);
    }
}

void makeRows(Ehfa_File* file)
{
    char text[] = "text";
    const Ehfa_TableField fields[] = {{text, EHFA_FIELD_CHAR, 700}};
    Ehfa_Table* master = ehfa_TableOpen(file, "master", 0, nullptr);
    Ehfa_TableRecordStructure* structure = ehfa_TableRecordStructureCreate(1, fields, nullptr);
    if (master != nullptr && structure != nullptr) {
        ehfa_TableClose(ehfa_TableCreate(file->name, master, "rows", structure, 1, 0, nullptr, nullptr), nullptr);
    }
    ehfa_TableRecordStructureFree(structure);
    ehfa_TableClose(master, nullptr);
}

void writeRow(Ehfa_File* file, int number, const char* text)
{
    if (Ehfa_Table* rows = ehfa_TableOpen(file, "rows", 0, nullptr)) {
        ehfa_TableRecordWrite(rows, number, text, -1, nullptr);
        ehfa_TableClose(rows, nullptr);
    }
}

/* Uses every call that changes a store. */
std::vector<Work> workload()
{
    return {
        {"an object", [](Ehfa_File* f) { add(f, ":", "A", 48); }},
        {"another", [](Ehfa_File* f) { add(f, ":", "B", 200); }},
        {"one in front", [](Ehfa_File* f) { add(f, ":", "First", 30, EHFA_WRITE_FIRST_CHILD); }},
        {"one behind", [](Ehfa_File* f) { add(f, ":A", "Behind", 30, EHFA_WRITE_AFTER); }},
        {"one before", [](Ehfa_File* f) { add(f, ":B", "Ahead", 3000, EHFA_WRITE_BEFORE); }},
        {"a child", [](Ehfa_File* f) { add(f, ":B", "child", 700); }},
        {"its child", [](Ehfa_File* f) { add(f, ":B:child", "grandchild", 7); }},
        {"rewritten in its size", [](Ehfa_File* f) { rewrite(f, ":B", 200, 'x'); }},
        {"rewritten larger", [](Ehfa_File* f) { rewrite(f, ":A", 5000, 'y'); }},
        {"rewritten smaller", [](Ehfa_File* f) { rewrite(f, ":Ahead", 600, 'z'); }},
        {"renamed", [](Ehfa_File* f) {
             if (ehfa_EntrySeek(f, EHFA_SEEK_PATH, ":First", nullptr) != nullptr) {
                 ehfa_EntryWrite(f, EHFA_WRITE_CURRENT, "Renamed", nullptr, nullptr);
             }
         }},
        {"moved", [](Ehfa_File* f) { ehfa_EntryMove(f, ":B:child", ":A:child", nullptr); }},
        {"deleted", [](Ehfa_File* f) { remove(f, ":Behind"); }},
        {"a design", [](Ehfa_File* f) { emif_DictionaryAddDesign(f->dictionary, sampleDesign(), nullptr); ehfa_FileFlush(f, nullptr); }},
        {"an object of it", [](Ehfa_File* f) {
             char text[] = "a text of some length";
             Sample sample{1, 2.0, {22, text}};
             ehfa_ObjectWrite(f, ":", "Sample", "Sample", EHFA_WRITE_LAST_CHILD, &sample, sampleDesign(), nullptr);
         }},
        {"an object of a new design", [](Ehfa_File* f) {
             const EmifDesignT<Etxt_TextA> design(emif_DesignCreate(nullptr, "Fresh", nullptr, EMIF_TYPE_DOUBLE, "x", 0));
             if (emif_DictionaryAddDesign(f->dictionary, design, nullptr) == nullptr) {
                 return;
             }
             const double number = 7;
             ehfa_ObjectWrite(f, ":", "Fresh", "Fresh", EHFA_WRITE_LAST_CHILD, &number, design, nullptr);
         }},
        {"copied", [](Ehfa_File* f) { ehfa_ObjectCopy(f, ":", "Sample", EHFA_SEEK_CHILD_NAME, ":A", EHFA_WRITE_LAST_CHILD, nullptr, 0); }},
        {"the designs of tables", [](Ehfa_File* f) { withTable(f, [](void*) {}); f->dictionary->changed = 1; ehfa_FileFlush(f, nullptr); }},
        {"a table", [](Ehfa_File* f) {
             void* table = nullptr;
             ehfa_EntrySeek(f, EHFA_SEEK_ROOT, nullptr, nullptr);
             emsc_HeapFree(edsc_HFATableArgsSet(f, ":", "Table", EHFA_WRITE_LAST_CHILD, EHFA_SEEK_CHILD_NAME, nullptr));
             edsc_HFATableCreate(f, "Table", 100, &table, nullptr);
             edsc_HFATableClose(table, nullptr);
         }},
        {"a column", [](Ehfa_File* f) {
             withTable(f, [](void* table) {
                 void* column = nullptr;
                 edsc_HFAColumnCreate(table, "values", EDSC_COLUMN_REAL, 0, &column, nullptr);
                 edsc_HFAColumnClose(column, nullptr);
             });
         }},
        {"its values", [](Ehfa_File* f) { withTable(f, [](void* table) { fill(table, 1, 100); }); }},
        {"a longer column", [](Ehfa_File* f) { withTable(f, [](void* table) { edsc_HFATableRowCountSet(table, 700, nullptr); }); }},
        {"a shorter column", [](Ehfa_File* f) { withTable(f, [](void* table) { edsc_HFATableRowCountSet(table, 50, nullptr); }); }},
        {"a long column", [](Ehfa_File* f) { withTable(f, [](void* table) { edsc_HFATableRowCountSet(table, 20000, nullptr); }); }},
        {"many values for nobody's bytes",
         [](Ehfa_File* f) { withTable(f, [](void* table) { fill(table, 1, 20000, "more"); }); },
         [](Ehfa_File* f) {
             withTable(f, [](void* table) {
                 void* column = nullptr;
                 edsc_HFAColumnCreate(table, "more", EDSC_COLUMN_REAL, 0, &column, nullptr);
                 edsc_HFAColumnClose(column, nullptr);
             });
         }},
        {"short again", [](Ehfa_File* f) { withTable(f, [](void* table) { edsc_HFATableRowCountSet(table, 50, nullptr); }); }},
        {"other values", [](Ehfa_File* f) { withTable(f, [](void* table) { fill(table, 1000, 50); }); }},
        {"without flushing", [](Ehfa_File* f) {
             ehfa_FileChange(f, nullptr, EHFA_OPTION_FLUSH_ON_WRITE, 0, 0);
             for (const char* name : {"n1", "n2", "n3", "n4"}) {
                 add(f, ":A", name, 300);
             }
             remove(f, ":A:n2");
             rewrite(f, ":A:n3", 100, 'q');
             ehfa_FileChange(f, nullptr, EHFA_OPTION_FLUSH_ON_WRITE, 1, 0);
         }},
        {"in batch mode", [](Ehfa_File* f) {
             ehfa_EntrySeek(f, EHFA_SEEK_PATH, ":Ahead", nullptr);
             ehfa_FileChange(f, nullptr, EHFA_OPTION_ENTRY_CACHING, 0, 0);
             ehfa_EntryWrite(f, EHFA_WRITE_FIRST_CHILD, "b1", "T", nullptr);
             for (const char* name : {"b2", "b3", "b4"}) {
                 ehfa_EntryWrite(f, EHFA_WRITE_AFTER, name, "T", nullptr);
             }
             ehfa_FileChange(f, nullptr, EHFA_OPTION_ENTRY_CACHING, 1, 0);
         }},
        {"a block store", [](Ehfa_File* f) { ehfa_CacheClose(ehfa_CacheCreate(f, ":Stream", nullptr), nullptr); }},
        {"its bytes", [](Ehfa_File* f) {
             withStream(f, [](Ehfa_Cache* cache) { ehfa_CacheWrite(cache, std::string(5000, 's').data(), 5000, nullptr); });
         }},
        {"a second level", [](Ehfa_File* f) {
             withStream(f, [](Ehfa_Cache* cache) {
                 if (ehfa_CacheSeek(cache, 4000, 0, nullptr)) {
                     ehfa_CacheWrite(cache, std::string(262000, 't').data(), 262000, nullptr);
                 }
             });
         }},
        {"a block less", [](Ehfa_File* f) { withStream(f, [](Ehfa_Cache* cache) { ehfa_CacheReduce(cache, nullptr); }); }},
        {"no block store", [](Ehfa_File* f) { ehfa_CacheDelete(f, ":Stream", nullptr); }},
        {"a master table", [](Ehfa_File* f) {
             ehfa_TableClose(ehfa_TableCreate(f->name, nullptr, nullptr, nullptr, 0, 0, nullptr, nullptr), nullptr);
         }},
        {"a record table", makeRows},
        {"a record", [](Ehfa_File* f) { writeRow(f, -1, "one"); }, {}, 12}, /* with the first block and its index */
        {"another record", [](Ehfa_File* f) { writeRow(f, -1, "two"); }},
        {"a record changed", [](Ehfa_File* f) { writeRow(f, 0, "three"); }},
        {"a large object", [](Ehfa_File* f) { add(f, ":", "Large", 200000); }},
        {"a large object rewritten", [](Ehfa_File* f) { rewrite(f, ":Large", 200000, 'l'); }},
        {"a subtree deleted", [](Ehfa_File* f) { remove(f, ":A"); }},
        {"filled in again", [](Ehfa_File* f) { add(f, ":", "Filler", 150000); }},
        {"a table deleted", [](Ehfa_File* f) {
             void* table = nullptr;
             edsc_HFATableOpen(f, ":Table", &table, nullptr);
             edsc_HFATableDestroy(table, nullptr);
         }},
    };
}

/* Every prefix of the writes of every call, with the last one whole, and cut at each 512 bytes and in its middle. */
TEST_F(ACrash, AtAnyMomentLeavesTheStoreBeforeOrAfterTheCall)
{
    create();
    ehfa_FileFlush(file_, expected());
    Contents before = contentsOf(file_);
    for (const Work& work : workload()) {
        if (work.prepare) {
            work.prepare(file_);
            before = contentsOf(file_);
        }
        ehfa_FileFlush(file_, expected());
        const Bytes plain = bytesOf(name_);
        std::vector<std::byte> bytes(plain.size());
        std::memcpy(bytes.data(), plain.data(), plain.size());
        std::vector<RecordedWrite> writes;
        {
            WriteRecorder recorder(name_);
            work.run(file_);
            writes = recorder.writes();
        }
        const Contents after = contentsOf(file_);
        EXPECT_LE(writes.size(), work.mostWrites) << work.name;
        EXPECT_FALSE(writes.empty()) << work.name;
        ASSERT_NO_FATAL_FAILURE(replay(bytes, writes, before, after, work.name));
        before = after;
    }
    close();
    read(name_, "r");
    EXPECT_EQ(lost_, 0);
}

/* Memory for the pages of a large file comes in blocks of several megabytes, so that one change can span many of them. */
TEST_F(ACrash, LeavesEveryByteOfALongChangeOrNone)
{
    create();
    add(file_, ":", "Long", 5000000);
    ehfa_FileFlush(file_, expected());
    const Contents before = contentsOf(file_);
    const Bytes plain = bytesOf(name_);
    std::vector<std::byte> bytes(plain.size());
    std::memcpy(bytes.data(), plain.data(), plain.size());
    std::vector<RecordedWrite> writes;
    {
        WriteRecorder recorder(name_);
        rewrite(file_, ":Long", 5000000, 'l');
        writes = recorder.writes();
    }
    const Contents after = contentsOf(file_);
    for (std::size_t count = 0; count <= writes.size(); ++count) {
        const std::vector<RecordedWrite> prefix(writes.begin(), writes.begin() + static_cast<long>(count));
        ASSERT_TRUE(holds(afterWrites(bytes, prefix), before, after)) << "after write " << count;
    }
}

/* Without the designs: a handle has those that no flush has written yet. */
Contents entriesOf(Contents contents)
{
    std::erase_if(contents, [](const auto& each) { return each.first.starts_with("design "); });
    return contents;
}

/* The states of a store before and after each step of the workload, told apart by their contents. */
class AFailure : public ACrash {
protected:
    /* Runs the workload with every nth call of a kind failing. After each call the store on disk must be as before or as
     * after, and say what the handle says; once calls succeed again, the same handle must go on. */
    void failEach(Operation operation, Outcome outcome, Repeat repeat, bool isHarmless = false)
    {
        create();
        int64_t rounds = 0;
        for (const Work& work : workload()) {
            ehfa_FileFlush(file_, expected());
            close();
            const Bytes bytes = bytesOf(name_);
            open();
            const Contents before = contentsOf(file_);
            bool isDone = false;
            Contents after;
            std::set<Contents> harmless;
            for (std::uint64_t nth = 1; !isDone; ++nth, ++rounds) {
                ASSERT_LT(nth, 2000u) << work.name;
                bool fired = false;
                if (work.prepare) {
                    work.prepare(file_);
                }
                if (operation == Operation::read) { /* nothing is held yet */
                    close();
                    open();
                }
                {
                    FaultInjection fault(operation, nth, outcome, repeat, operation == Operation::allocate ? "" : name_);
                    stderrOf([&] { work.run(file_); });
                    fired = fault.fired();
                }
                /* A mode that could not be ended goes on, with all that it gathered. */
                EXPECT_TRUE(ehfa_FileChange(file_, expected(), EHFA_OPTION_ENTRY_CACHING, 1, EHFA_OPTION_FLUSH_ON_WRITE, 1, 0));
                const Contents seen = entriesOf(contentsOf(file_));
                ASSERT_EQ(entriesOf(read(name_, "r")), seen) << work.name << ": handle and disk differ after failure " << nth;
                harmless.insert(seen);
                if (!fired) {
                    isDone = true;
                    after = seen;
                    continue;
                }
                /* The same handle writes on. */
                add(file_, ":", "Later", 20);
                const Contents later = entriesOf(contentsOf(file_));
                ASSERT_EQ(later.count(":Later:"), 1u) << work.name << nth;
                ASSERT_EQ(entriesOf(read(name_, "r")), later) << work.name << nth;
                stderrOf([&] { close(); });
                putBytes(name_, bytes);
                open();
            }
            EXPECT_FALSE(before.empty() || after.empty());
            EXPECT_TRUE(!isHarmless || harmless.size() == 1) << work.name;
        }
        close();
        RecordProperty("rounds", std::to_string(rounds));
    }
};

TEST_F(AFailure, ForWantOfSpaceOnceIsGotOver) { failEach(Operation::write, Outcome::noSpace(), Repeat::once); }
TEST_F(AFailure, ForWantOfSpaceIsGotOver) { failEach(Operation::write, Outcome::noSpace(10), Repeat::fromThenOn); }
TEST_F(AFailure, OfTheDiskIsGotOver) { failEach(Operation::write, Outcome::inputOutput(30), Repeat::once); }
TEST_F(AFailure, OfTheDiskBehindTheLastByteIsGotOver) { failEach(Operation::write, Outcome::inputOutput(1 << 30), Repeat::fromThenOn); }
/* These are no failures: the same states as without them. */
TEST_F(AFailure, ToWriteAllAtOnceIsNone) { failEach(Operation::write, Outcome::shortTransfer(7), Repeat::once, true); }
TEST_F(AFailure, ToWriteMuchAtOnceIsNone) { failEach(Operation::write, Outcome::shortTransfer(900), Repeat::fromThenOn, true); }
TEST_F(AFailure, ByInterruptionIsNone) { failEach(Operation::write, Outcome::interrupted(), Repeat::once, true); }
TEST_F(AFailure, ToShortenTheFileIsGotOver) { failEach(Operation::truncate, Outcome::inputOutput(), Repeat::once); }
TEST_F(AFailure, ToReadIsGotOver) { failEach(Operation::read, Outcome::inputOutput(), Repeat::once); }
TEST_F(AFailure, OfMemoryIsGotOver) { failEach(Operation::allocate, Outcome::noMemory(), Repeat::once); }

/* What a failed call wrote behind the end of the file, and could not give back, is not what is read of a new block there. */
TEST_F(AFailure, WhoseBytesStayBehindTheEndLeavesNewBlocksBlank)
{
    create();
    ehfa_FileFlush(file_, expected());
    {
        FaultInjection full(Operation::write, 2, Outcome::noSpace(), Repeat::fromThenOn, name_);
        FaultInjection stuck(Operation::truncate, 1, Outcome::inputOutput(), Repeat::fromThenOn, name_);
        Report report;
        EXPECT_EQ(ehfa_ObjectDataWrite(file_, ":", "Large", "Raw", EHFA_WRITE_LAST_CHILD, std::string(400000, 'x').data(), 400000, report), nullptr);
        EXPECT_NE(told(report), "");
        ASSERT_TRUE(full.fired() && stuck.fired());
        ASSERT_GT(bytesOf(name_).size(), 300000u);
    }
    const uint32_t place = allocate(300000);
    const auto blank = [&] {
        std::string bytes(300000, '?');
        ehfa_FileMIFDataRead(file_, place, 300000, bytes.data(), expected());
        return bytes == std::string(300000, '\0');
    };
    EXPECT_TRUE(blank());
    close();
    open();
    EXPECT_TRUE(blank());
}

/* The bytes of a file, without an allocation that a test may count. */
struct RawFile {
    static constexpr std::size_t kMost = 1 << 20;
    std::size_t size = 0;
    unsigned char bytes[kMost];

    void read(const char* name)
    {
        const int file = ::open(name, O_RDONLY);
        const ssize_t done = ::read(file, bytes, kMost);
        ::close(file);
        size = done > 0 ? static_cast<std::size_t>(done) : 0;
    }
    void write(const char* name) const
    {
        ::unlink(name);
        const int file = ::open(name, O_WRONLY | O_CREAT, 0600);
        EXPECT_EQ(::write(file, bytes, size), static_cast<ssize_t>(size));
        ::close(file);
    }
};

/* Every allocation of either kind, from the opening of a store to its close. */
TEST_F(AFailure, OfAnyAllocationLeavesTheStoreBeforeOrAfterTheCall)
{
    const std::set<std::string> single{"another", "rewritten larger", "renamed", "moved", "deleted", "an object of a new design", "copied"};
    const auto start = std::make_unique<RawFile>();
    const auto left = std::make_unique<RawFile>();
    create();
    for (const Work& work : workload()) {
        if (!single.contains(work.name)) {
            if (std::strcmp(work.name, "the designs of tables") == 0) {
                break;
            }
            work.run(file_);
            continue;
        }
        close();
        start->read(name_.c_str());
        const Contents before = entriesOf(read(name_, "r"));
        open();
        work.run(file_);
        close();
        const Contents after = entriesOf(read(name_, "r"));
        /* Files that differ are looked at when the allocations succeed again. */
        struct Copies {
            unsigned char* bytes[4000];
            std::size_t sizes[4000];
            std::size_t count = 0;
        };
        const auto copies = std::make_unique<Copies>();
        starve({{work.name, false, [&](Eerr_ErrorReport**) {
                     start->write(name_.c_str());
                     Eerr_ErrorReport* error = nullptr;
                     Ehfa_File* file = ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), &error);
                     const bool isOpen = file != nullptr;
                     try {
                         if (isOpen) {
                             work.run(file);
                         }
                     } catch (const std::bad_alloc&) { /* of the test's own strings */
                     }
                     const bool isClosed = isOpen && ehfa_FileClose(file, &error);
                     eerr_DeleteErrorReportEx(&error);
                     left->read(name_.c_str());
                     const std::size_t last = copies->count;
                     const bool isNew = last == 0 || copies->sizes[last - 1] != left->size ||
                                        std::memcmp(copies->bytes[last - 1], left->bytes, left->size) != 0;
                     if (isNew && last < 4000) {
                         copies->bytes[last] = static_cast<unsigned char*>(std::malloc(left->size));
                         std::memcpy(copies->bytes[last], left->bytes, left->size);
                         copies->sizes[last] = left->size;
                         ++copies->count;
                     }
                     return isClosed ? Ending::right : Ending::failed;
                 }}});
        EXPECT_GT(copies->count, 1u);
        for (std::size_t i = 0; i < copies->count; ++i) {
            putBytes(restored_, Bytes(copies->bytes[i], copies->bytes[i] + copies->sizes[i]));
            std::free(copies->bytes[i]);
            const Contents seen = read(restored_, "r");
            const Contents entries = entriesOf(seen);
            EXPECT_TRUE(entries == before || entries == after) << work.name;
            EXPECT_TRUE(!seen.contains(":Fresh:") || seen.contains("design Fresh"));
        }
        open();
    }
}

}  // namespace
