// What a crash leaves of calls that go on one after the other: record tables, block stores, property maps, whole files.

#include "store/hfa/crash_fixture.h"

#include "support/captured_stderr.h"

#include <algorithm>
#include <functional>

namespace {

/* A property map of as many texts, packed as a record. */
struct PackedMap {
    explicit PackedMap(int count)
    {
        Emif_PropertyMap* map = emif_PropertyMapCreate(nullptr);
        for (int i = 0; i < count; ++i) {
            emif_PropertyMapSetPropertyText(map, ("property " + std::to_string(i)).c_str(), "a value of some length",
                                            nullptr);
        }
        void* bytes = nullptr;
        long size = 0;
        char* text = nullptr;
        char* name = nullptr;
        EXPECT_TRUE(emif_SerializePropertyMap(map, &bytes, &size, &text, &name, nullptr));
        emif_PropertyMapDelete(map);
        object.type = {static_cast<int32_t>(std::strlen(name)) + 1, name};
        object.MIFDictionary = {static_cast<int32_t>(std::strlen(text)) + 1, text};
        object.MIFObject = {static_cast<int32_t>(size), bytes};
    }
    ~PackedMap() { emif_MIFObjectFreeContents(&object); }
    PackedMap(const PackedMap&) = delete;
    PackedMap& operator=(const PackedMap&) = delete;

    Emif_MIFObject object{};
};

class ACrashOfASession : public ACrash {
protected:
    /* Objects of 3,000 bytes in a store that is closed. */
    void makeStoreOfThree()
    {
        create();
        for (const char* name : {"a", "b", "c"}) {
            ehfa_ObjectDataWrite(file_, ":", name, "Raw", EHFA_WRITE_LAST_CHILD, std::string(3000, *name).data(), 3000,
                                 expected());
        }
        close();
    }

    /* What a new process finds in these bytes. */
    Contents contentsIn(const std::vector<std::byte>& bytes)
    {
        const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
        putBytes(restored_, Bytes(data, data + bytes.size()));
        return read(restored_, "r");
    }

    /* A call: whatever its writes are cut down to, it has been made or not. */
    void whole(const char* name, const std::function<bool()>& call)
    {
        const std::vector<std::byte> bytes = bytesNow(name_);
        std::vector<RecordedWrite> writes;
        {
            WriteRecorder recorder(name_);
            ASSERT_TRUE(call()) << name;
            writes = recorder.writes();
        }
        writes_ += writes.size();
        ASSERT_NO_FATAL_FAILURE(replay(bytes, writes, contentsIn(bytes), contentsIn(bytesNow(name_)), name));
    }

    std::size_t writes_ = 0;
};

std::string line(int number)
{
    return std::to_string(number) + ",of the rows";
}

TEST_F(ACrashOfASession, LeavesRecordTablesAsTheyWereBehindSomeCall)
{
    create();
    close();
    Ehfa_Table* master = nullptr;
    Ehfa_Table* rows = nullptr;
    char number[] = "number";
    char text[] = "text";
    const Ehfa_TableField fields[] = {{number, EHFA_FIELD_INT, 8}, {text, EHFA_FIELD_CHAR, 91}};
    Ehfa_TableRecordStructure* structure = ehfa_TableRecordStructureCreate(2, fields, expected());
    const auto write = [&](int at, int value) {
        return ehfa_TableRecordWrite(rows, at, line(value).c_str(), -1, expected()) == 100;
    };
    whole("a master table", [&] {
        master = ehfa_TableCreate(name_.c_str(), nullptr, nullptr, nullptr, 0, 0, nullptr, expected());
        return master != nullptr;
    });
    whole("a table", [&] {
        rows = ehfa_TableCreate(name_.c_str(), master, "rows", structure, 1, 0, nullptr, expected());
        return rows != nullptr;
    });
    whole("a row", [&] { return write(-1, 1); });
    for (int i = 2; i < 12; ++i) { /* over the end of a block */
        whole("one more row", [&] { return write(-1, i); });
    }
    whole("its blocks", [&] { return ehfa_CacheFlush(rows->data, expected()) != 0; });
    whole("another row", [&] { return write(3, 1000); });
    whole("a field", [&] {
        char record[101] = {};
        return ehfa_TableRecordRead(rows, 2, record, 101, expected()) == 100 &&
               ehfa_ModifyRecordFieldByName(rows, 2, record, "text", "another text", expected()) != 0;
    });
    whole("the rows on the disk", [&] { return ehfa_TableClose(std::exchange(rows, nullptr), expected()) != 0; });
    open();
    rows = ehfa_TableOpen(file_, "rows", 0, expected());
    ASSERT_NE(rows, nullptr);
    for (int i = 0; i < 12; ++i) {
        whole("a table that grows", [&] { return write(-1, i); });
    }
    whole("a table that shrinks", [&] { return ehfa_CacheReduce(rows->data, expected()) != 0; });
    whole("the end", [&] { return ehfa_TableClose(std::exchange(rows, nullptr), expected()) != 0; });
    whole("a table that goes", [&] { return ehfa_CacheDelete(file_, ":rows", expected()) != 0; });
    ehfa_TableClose(master, expected());
    ehfa_TableRecordStructureFree(structure);
    EXPECT_GE(writes_, 20u);
}

TEST_F(ACrashOfASession, LeavesBlockStoresAsTheyWereBehindSomeCall)
{
    create();
    ehfa_FileFlush(file_, expected());
    Ehfa_Cache* cache = nullptr;
    const auto put = [&](long at, std::size_t size, char fill) {
        return ehfa_CacheSeek(cache, at, 0, expected()) &&
               ehfa_CacheWrite(cache, std::string(size, fill).data(), static_cast<long>(size), expected()) ==
                   static_cast<long>(size);
    };
    const auto flush = [&] { return ehfa_CacheFlush(cache, expected()) != 0; };
    whole("a block store", [&] { return (cache = ehfa_CacheCreate(file_, ":stream", expected())) != nullptr; });
    whole("its first bytes", [&] { return put(0, 100, 'a'); });
    whole("its first bytes, flushed", flush);
    whole("more blocks", [&] { return put(100, 9000, 'b'); });
    whole("more blocks, flushed", flush);
    whole("bytes over two blocks", [&] { return put(1000, 100, 'c'); });
    whole("bytes over two blocks, flushed", flush);
    whole("a second level", [&] { return put(9100, 260 * 1024, 'd'); });
    whole("a second level, flushed", flush);
    whole("one block less", [&] { return ehfa_CacheReduce(cache, expected()) != 0; });
    whole("one block more", [&] { return ehfa_CacheExtend(cache, expected()) != 0; });
    whole("a borrowed block", [&] {
        void* block = ehfa_CacheGetBlock(cache, 3, 1, expected());
        std::memset(block, 'e', 1024);
        return flush();
    });
    whole("the end", [&] { return ehfa_CacheClose(cache, expected()) != 0; });
    whole("no block store", [&] { return ehfa_CacheDelete(file_, ":stream", expected()) != 0; });
    EXPECT_GE(writes_, 20u);
}

TEST_F(ACrashOfASession, LeavesPropertyMapsAndSessionsWhole)
{
    create();
    ehfa_FileFlush(file_, expected());
    EmifDictionaryT<Etxt_TextA> own(emif_DictionaryDecodeFromString(
        "{1:x{0:pcstring,}Emif_String,type,1:x{0:pcstring,}Emif_String,MIFDictionary,0:pCMIFObject,}Emif_MIFObject,.",
        expected()));
    const Emif_Design* design = emif_FindDesignByName(own, "Emif_MIFObject", expected());
    emif_DictionaryAddDesign(file_->dictionary, design, expected());
    const auto put = [&](const char* path, const char* name, long method, int count) {
        const PackedMap map(count);
        return ehfa_ObjectWrite(file_, path, name, "Emif_MIFObject", method, &map.object, design, expected()) !=
               nullptr;
    };
    whole("a property map", [&] { return put(":", "Map", EHFA_WRITE_LAST_CHILD, 3); });
    whole("a larger one in its place", [&] { return put(":Map", nullptr, EHFA_WRITE_CURRENT, 60); });
    whole("a smaller one in its place", [&] { return put(":Map", nullptr, EHFA_WRITE_CURRENT, 1); });
    const auto change = [&](int option, int value) {
        return ehfa_FileChange(file_, expected(), option, value, 0) != 0;
    };
    whole("a session without flushing", [&] {
        change(EHFA_OPTION_FLUSH_ON_WRITE, 0);
        for (int i = 0; i < 20; ++i) {
            put(":", ("m" + std::to_string(i)).c_str(), EHFA_WRITE_LAST_CHILD, 1 + i % 5);
        }
        ehfa_ObjectDelete(file_, ":m7", nullptr, EHFA_SEEK_BACK, expected());
        put(":m3", nullptr, EHFA_WRITE_CURRENT, 30);
        ehfa_EntryMove(file_, ":m4", ":m5:moved", expected());
        return change(EHFA_OPTION_FLUSH_ON_WRITE, 1);
    });
    ASSERT_TRUE(seek(EHFA_SEEK_PATH, ":m19"));
    whole("a batch", [&] {
        change(EHFA_OPTION_ENTRY_CACHING, 0);
        for (int i = 0; i < 20; ++i) {
            put(nullptr, ("b" + std::to_string(i)).c_str(), EHFA_WRITE_AFTER, 1 + i % 5);
        }
        return change(EHFA_OPTION_ENTRY_CACHING, 1);
    });
    EXPECT_GE(writes_, 15u);
}

/* Also where one stands that is larger, and the new one has to make do with its gap. */
TEST_F(ACrashOfASession, LeavesAStoreOrTheNewOneInItsPlace)
{
    makeStoreOfThree();
    whole("a new store in place of an old one", [&] {
        create();
        close();
        return true;
    });
}

TEST_F(ACrashOfASession, LeavesNoHalfOfAStoreThatIsNew)
{
    std::vector<RecordedWrite> writes;
    {
        WriteRecorder recorder(name_);
        create();
        ehfa_FileFlush(file_, expected());
        writes = recorder.writes();
    }
    const Contents whole = contentsIn(bytesNow(name_));
    int stores = 0;
    for (std::size_t count = 1; count <= writes.size(); ++count) {
        std::vector<RecordedWrite> prefix(writes.begin(), writes.begin() + static_cast<long>(count));
        const std::vector<std::byte> last = prefix.back().bytes;
        for (std::size_t cut = last.size() % 32; cut <= last.size(); cut += 32) {
            prefix.back().bytes.assign(last.begin(), last.begin() + static_cast<long>(cut));
            const std::vector<std::byte> bytes = afterWrites({}, prefix);
            const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
            putBytes(restored_, Bytes(data, data + bytes.size()));
            if (ehfa_IsHFAFile(restored_.c_str(), expected())) {
                ++stores;
                ASSERT_EQ(read(restored_, "r"), whole) << "write " << count << " cut at " << cut;
            }
        }
    }
    EXPECT_GT(stores, 0);
}

/* A copy is written to another name, and takes its own in one step, when all of its bytes are there. */
TEST_F(ACrashOfASession, LeavesTheTargetOfACopyAloneUntilAllIsThere)
{
    create();
    for (int i = 0; i < 40; ++i) {
        const std::string name = "n" + std::to_string(i);
        ehfa_ObjectDataWrite(file_, ":", name.c_str(), "Raw", EHFA_WRITE_LAST_CHILD, std::string(500, 'x').data(), 500,
                             expected());
    }
    close();
    const std::string target = directory_ + "/target";
    for (const bool isThere : {false, true}) {
        if (isThere) {
            ehfa_FileClose(ehfa_FileCreate(target.c_str(), eint_GetInit(), expected()), expected());
        }
        std::vector<RecordedWrite> writes;
        {
            WriteRecorder recorder(target);
            stderrOf([&] { EXPECT_TRUE(ehfa_FileCopy(name_.c_str(), target.c_str(), eint_GetInit(), expected(), 0)); });
            writes = recorder.writes();
        }
        ASSERT_FALSE(writes.empty());
        for (const RecordedWrite& write : writes) {
            EXPECT_NE(write.name, target);
            EXPECT_EQ(write.name, writes[0].name);
        }
        EXPECT_EQ(afterWrites({}, writes), bytesNow(target));
        EXPECT_EQ(read(target, "r"), read(name_, "r"));
        EXPECT_EQ(std::ranges::distance(std::filesystem::directory_iterator(directory_)), 2) << "something is left";
    }
}

using emantle::platform::FaultInjection;
using emantle::platform::Operation;
using emantle::platform::Outcome;
using emantle::platform::Repeat;

/* Files as a whole, of which every call of a kind fails in turn. */
class AFailedFile : public ACrashOfASession {
protected:
    template <class Call> void failEach(Operation operation, const std::string& name, Repeat repeat, Call call)
    {
        bool fired = true;
        for (std::uint64_t nth = 1; fired; ++nth) {
            ASSERT_LT(nth, 5000u);
            Report report;
            bool isDone = false;
            {
                FaultInjection fault(operation, nth, Outcome::noSpace(), repeat,
                                     operation == Operation::allocate ? "" : name);
                stderrOf([&] { isDone = call(report); });
                fired = fault.fired();
            }
            EXPECT_EQ(isDone, told(report).empty());
            EXPECT_TRUE(isDone || fired);
            ASSERT_TRUE(holdsAfter(isDone)) << "failure " << nth;
        }
    }

    std::function<bool(bool)> holdsAfter;
};

TEST_F(AFailedFile, IsNoCopyAndLeavesWhatStandsThere)
{
    makeStoreOfThree();
    const Contents source = read(name_, "r");
    const std::string target = directory_ + "/target";
    ehfa_FileClose(ehfa_FileCreate(target.c_str(), eint_GetInit(), expected()), expected());
    const Bytes old = bytesOf(target);
    holdsAfter = [&](bool isDone) {
        const bool holds = isDone ? read(target, "r") == source : bytesOf(target) == old;
        if (isDone) {
            putBytes(target, old);
        }
        return holds && std::ranges::distance(std::filesystem::directory_iterator(directory_)) == 2;
    };
    const auto copy = [&](Eerr_ErrorReport** report) {
        return ehfa_FileCopy(name_.c_str(), target.c_str(), eint_GetInit(), report, 0) != 0;
    };
    for (const Operation operation :
         {Operation::write, Operation::truncate, Operation::rename, Operation::open, Operation::allocate}) {
        ASSERT_NO_FATAL_FAILURE(failEach(operation, target, Repeat::once, copy));
    }
    failEach(Operation::write, target, Repeat::fromThenOn, copy);
}

TEST_F(AFailedFile, IsNoNewStoreAndLeavesTheOldOne)
{
    create();
    ehfa_ObjectDataWrite(file_, ":", "a", "Raw", EHFA_WRITE_LAST_CHILD, std::string(3000, 'a').data(), 3000,
                         expected());
    close();
    const Bytes old = bytesOf(name_);
    const Contents before = read(name_, "r");
    holdsAfter = [&](bool isDone) {
        const Contents seen = read(name_, "r");
        putBytes(name_, old);
        /* What fails behind the moment at which the change is made is told, and stays made. */
        return !seen.contains(":a:") || (seen == before && !isDone);
    };
    for (const Repeat repeat : {Repeat::once, Repeat::fromThenOn}) {
        for (const Operation operation : {Operation::write, Operation::truncate, Operation::allocate}) {
            if (operation == Operation::allocate && repeat == Repeat::fromThenOn) {
                continue;
            }
            ASSERT_NO_FATAL_FAILURE(failEach(operation, name_, repeat, [&](Eerr_ErrorReport** report) {
                Ehfa_File* file = ehfa_FileCreate(name_.c_str(), eint_GetInit(), report);
                return file != nullptr && ehfa_FileClose(file, report) != 0;
            }));
        }
    }
}

/* A dictionary that could not be read to its end must not take the place of the one in the file. */
TEST_F(AFailedFile, IsNotOpenedWithHalfOfItsDictionary)
{
    create();
    emif_DictionaryAddDesign(file_->dictionary, sampleDesign(), expected());
    close();
    int designs = 0;
    holdsAfter = [&](bool isDone) { return !isDone || designs == 6; };
    const auto reopen = [&](Eerr_ErrorReport** report) {
        designs = 0;
        Ehfa_File* file = ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), report);
        for (const Emif_Design* design = file != nullptr ? file->dictionary->first : nullptr; design != nullptr;
             design = design->next) {
            ++designs;
        }
        return file != nullptr && ehfa_FileClose(file, report) != 0;
    };
    failEach(Operation::allocate, "", Repeat::once, reopen);
    failEach(Operation::read, name_, Repeat::once, reopen);
}

} // namespace
