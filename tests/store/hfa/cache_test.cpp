#include "store/hfa/store_fixture.h"

#include "platform/faults.h"
#include "support/captured_stderr.h"

#include <map>
#include <random>

namespace {

using emantle::platform::FaultInjection;
using emantle::platform::Operation;
using emantle::platform::Outcome;
using emantle::platform::Repeat;

class BlockStores : public StoreTest {
protected:
    BlockStores() { create(); }
    ~BlockStores() override { ehfa_CacheFree(cache_); }

    Ehfa_Cache* make(const char* node = ":cache") { return cache_ = ehfa_CacheCreate(file_, node, expected()); }
    Ehfa_Cache* reopen(const char* node = ":cache", const char* mode = "r+b")
    {
        closeCache();
        close();
        open(mode);
        return cache_ = ehfa_CacheOpen(file_, node, expected());
    }
    void closeCache()
    {
        EXPECT_TRUE(ehfa_CacheClose(cache_, expected()));
        cache_ = nullptr;
    }
    bool go(long offset, long whence = 0) { return ehfa_CacheSeek(cache_, offset, whence, expected()); }
    long put(const std::string& text) { return ehfa_CacheWrite(cache_, text.data(), static_cast<long>(text.size()), expected()); }
    std::string get(long size)
    {
        std::string text(static_cast<std::size_t>(size), '?');
        const long there = ehfa_CacheRead(cache_, text.data(), size, expected());
        text.resize(there < 0 ? 0 : static_cast<std::size_t>(there));
        return text;
    }
    /* What a check of the file has to say, lost bytes included. */
    std::string findings()
    {
        std::string texts;
        Ehfa_CheckTotals totals;
        ehfa_FileCheck(
            file_,
            [](const Ehfa_CheckItem* item, void* data) -> Emsc_Boolean {
                if (item->finding != nullptr) {
                    *static_cast<std::string*>(data) += item->path + std::string(" ") + item->finding + "\n";
                }
                return 1;
            },
            &texts, &totals, expected());
        return totals.lost == 0 ? texts : texts + "lost " + std::to_string(totals.lost) + "\n";
    }

    Ehfa_Cache* cache_ = nullptr;
};

TEST_F(BlockStores, LieInTheFileAsDrawn)
{
    make();
    put("hello");
    const Bytes before = bytesOf(name_);
    closeCache();
    ehfa_FileFlush(file_, expected());
    seek(EHFA_SEEK_PATH, ":cache");
    EXPECT_STREQ(file_->entry->type, "Ehfa_CacheNode");
    EXPECT_EQ(file_->entry->dataSize, 16);
    const Bytes bytes = bytesOf(name_);
    const uint32_t head = file_->entry->data;
    EXPECT_EQ(word(bytes, head), 1024u);
    EXPECT_EQ(word(bytes, head + 4), 1u);
    EXPECT_EQ(word(bytes, head + 8), 5u);
    const uint32_t root = word(bytes, head + 12);
    EXPECT_EQ(std::string(&bytes[word(bytes, root)], &bytes[word(bytes, root) + 5]), "hello");
    EXPECT_EQ(Bytes(&bytes[root + 4], &bytes[root + 1024]), Bytes(1020, 0)) << "255 blocks are not there";
    EmifDictionaryT<char> reader(emif_DictionaryDecodeFromString("{256:Lindex,}Ehfa_CacheIndex,.", expected()));
    uint32_t index[256];
    EXPECT_EQ(ehfa_FileHostDataRead(file_, root, reader->first, 1024, index, expected()), index);
    EXPECT_EQ(index[0], word(bytes, root)) << "an index block is a record";
    const std::string dictionary(bytes.begin() + 210, bytes.end());
    EXPECT_NE(dictionary.find("{1:lblocksize,1:lblockcount,1:lbytecount,1:Lrootptr,}Ehfa_CacheNode,"), std::string::npos);
}

/* 300 blocks: a second level from the 257th on. Read back through two slots, by another handle. */
TEST_F(BlockStores, GrowLevelsAndKeepEveryByte)
{
    make();
    const long size = 300 * 1024 + 17;
    std::string text(static_cast<std::size_t>(size), '\0');
    std::mt19937 random(1);
    for (char& c : text) {
        c = static_cast<char>(random());
    }
    for (long done = 0, piece = 1; done < size; done += piece, piece = 1 + static_cast<long>(random() % 3000)) {
        piece = std::min(piece, size - done);
        ASSERT_EQ(put(text.substr(static_cast<std::size_t>(done), static_cast<std::size_t>(piece))), piece);
    }
    EXPECT_EQ(cache_->blockCount, 301);
    ASSERT_NE(cache_->parent, nullptr);
    EXPECT_EQ(cache_->parent->blockCount, 2);
    EXPECT_EQ(cache_->parent->rootPtr, ehfa_CacheRootPtr(cache_, expected()));
    ASSERT_NE(reopen(":cache", "rb"), nullptr);
    EXPECT_EQ(get(size + 100), text);
    EXPECT_EQ(get(1), "") << "the end of the stream";
    for (int i = 0; i < 200; ++i) {
        const long at = static_cast<long>(random()) % size;
        go(at);
        EXPECT_EQ(get(1500), text.substr(static_cast<std::size_t>(at), 1500)) << at;
    }
    EXPECT_EQ(findings(), "");
}

/* With 2 positions in an index block every few blocks make a level. */
TEST_F(BlockStores, GrowAndShrinkThroughAllLevels)
{
    cache_ = ehfa_CacheNew(file_, 8, 3, 0, 0, nullptr, nullptr, expected());
    const long freeAtFirst = ehfa_FileFreeSpaceSize(file_, expected());
    for (int32_t count = 0; count < 40; ++count) {
        ASSERT_TRUE(ehfa_CacheExtend(cache_, expected())) << count;
        auto* block = static_cast<int32_t*>(ehfa_CacheGetBlock(cache_, count, 1, expected()));
        EXPECT_EQ(block[0], 0) << "new blocks are zero";
        block[0] = 100 + count;
    }
    ehfa_CacheFlush(cache_, expected());
    const uint32_t root = ehfa_CacheRootPtr(cache_, expected());
    ehfa_CacheFree(cache_);
    cache_ = ehfa_CacheNew(file_, 8, 3, 40, root, nullptr, nullptr, expected());
    for (int32_t count = 40; count > 0; --count) {
        for (int32_t number = 0; number < count; ++number) {
            const auto* block = static_cast<const int32_t*>(ehfa_CacheGetBlock(cache_, number, 0, expected()));
            ASSERT_EQ(block[0], 100 + number) << number << " of " << count;
        }
        ASSERT_TRUE(ehfa_CacheReduce(cache_, expected()));
    }
    EXPECT_EQ(cache_->parent, nullptr);
    Report report;
    EXPECT_FALSE(ehfa_CacheReduce(cache_, report));
    release(ehfa_CacheRootPtr(cache_, expected()), 8);
    EXPECT_EQ(ehfa_FileFreeSpaceSize(file_, expected()) - freeAtFirst, ehfa_FileSize(file_) - 210 - 298)
        << "every block has been given back";
}

struct Methods {
    std::map<uint32_t, std::string> blocks;
    std::vector<uint32_t> reads;
    std::vector<uint32_t> writes;
    uint32_t next = 0;
    bool fails = false;

    static Methods& of(void* data) { return *static_cast<Methods*>(data); }
    Emsc_Boolean answer(Eerr_ErrorReport** err) const
    {
        if (fails) {
            *err = eerr_CreateErrorReport("medium", 1, 2, nullptr, "no medium");
        }
        return fails ? 0 : 1;
    }
    static constexpr Ehfa_CacheMethods table = {
        [](void* data, uint32_t position, void* buffer, long size, Eerr_ErrorReport** err) {
            of(data).reads.push_back(position);
            of(data).blocks[position].resize(static_cast<std::size_t>(size));
            std::memcpy(buffer, of(data).blocks[position].data(), static_cast<std::size_t>(size));
            return of(data).answer(err);
        },
        [](void* data, uint32_t position, const void* buffer, long size, Eerr_ErrorReport** err) {
            of(data).writes.push_back(position);
            if (!of(data).fails) {
                of(data).blocks[position].assign(static_cast<const char*>(buffer), static_cast<std::size_t>(size));
            }
            return of(data).answer(err);
        },
        [](void* data, long, Eerr_ErrorReport** err) -> uint32_t {
            return of(data).answer(err) ? of(data).next += 100 : 0;
        },
        nullptr,
    };
};

TEST_F(BlockStores, EvictInRingOrderWhateverWasUsedLast)
{
    Methods medium;
    uint32_t root[4] = {11, 12, 13, 14};
    medium.blocks[5].assign(reinterpret_cast<const char*>(root), sizeof root);
    cache_ = ehfa_CacheNew(nullptr, 16, 2, 4, 5, &Methods::table, &medium, expected());
    medium.reads.clear();
    for (const int32_t number : {0, 1, 0, 2, 0, 2, 1}) {
        ehfa_CacheGetBlock(cache_, number, 0, expected());
    }
    EXPECT_EQ(medium.reads, (std::vector<uint32_t>{11, 12, 13, 11, 12})) << "2 takes the slot of 0, then 0 that of 1, then 1 that of 2";
    EXPECT_EQ(medium.writes, std::vector<uint32_t>{});
    std::memset(ehfa_CacheGetBlock(cache_, 1, 1, expected()), 'x', 16);
    ehfa_CacheGetBlock(cache_, 2, 0, expected());
    ehfa_CacheGetBlock(cache_, 3, 0, expected());
    EXPECT_EQ(medium.writes, std::vector<uint32_t>{12}) << "only the block that was asked for to write";
    EXPECT_EQ(medium.blocks[12], std::string(16, 'x'));
}

TEST_F(BlockStores, StayAsTheyWereWhenTheMediumFails)
{
    Methods medium;
    cache_ = ehfa_CacheNew(nullptr, 8, 1, 0, 0, &Methods::table, &medium, expected());
    for (int i = 0; i < 9; ++i) {
        medium.fails = true;
        Report failed;
        EXPECT_FALSE(ehfa_CacheExtend(cache_, failed)) << i;
        EXPECT_EQ(cache_->blockCount, i);
        medium.fails = false;
        ASSERT_TRUE(ehfa_CacheExtend(cache_, expected())) << i;
        static_cast<int32_t*>(ehfa_CacheGetBlock(cache_, i, 1, expected()))[0] = i;
    }
    medium.fails = true;
    Report failed;
    EXPECT_EQ(ehfa_CacheGetBlock(cache_, 0, 0, failed), nullptr);
    EXPECT_NE(told(failed).find("error finding cache block!"), std::string::npos) << told(failed);
    Report flush;
    EXPECT_FALSE(ehfa_CacheFlush(cache_, flush));
    EXPECT_NE(told(flush).find("error writing cache buffer!"), std::string::npos) << told(flush);
    medium.fails = false;
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(static_cast<int32_t*>(ehfa_CacheGetBlock(cache_, i, 0, expected()))[0], i);
    }
}

TEST_F(BlockStores, SeekFromTheStartThePositionAndTheLastByte)
{
    make();
    EXPECT_TRUE(go(0));
    EXPECT_EQ(cache_->blockCount, 1) << "a block for the position";
    put("abcdef");
    struct Case {
        long offset, whence, position;
    };
    for (const Case& c : {Case{2, 0, 2}, {3, 1, 5}, {-1, 1, 4}, {0, 2, 5}, {-5, 2, 0}, {1, 2, 6}}) {
        EXPECT_TRUE(go(c.offset, c.whence));
        EXPECT_EQ(ehfa_CacheGetCurrPos(cache_), c.position) << c.offset << ' ' << c.whence;
    }
    EXPECT_TRUE(go(3000));
    EXPECT_EQ(cache_->blockCount, 3);
    EXPECT_EQ(cache_->byteCount, 6) << "a seek does not lengthen the stream";
    EXPECT_EQ(get(10), "");
    put("z");
    EXPECT_EQ(cache_->byteCount, 3001);
    go(5);
    EXPECT_EQ(get(3), std::string("f\0\0", 3));
    for (const auto& [offset, whence] : {std::pair<long, long>{-1, 0}, {0, 3}, {1L << 31, 0}, {INT64_MAX, 1}}) {
        Report report;
        EXPECT_FALSE(ehfa_CacheSeek(cache_, offset, whence, report));
        EXPECT_EQ(ehfa_CacheGetCurrPos(cache_), 8) << offset;
    }
}

TEST_F(BlockStores, AreNotChangedThroughAFileOpenForReading)
{
    make();
    put("abc");
    reopen(":cache", "rb");
    const Bytes bytes = bytesOf(name_);
    EXPECT_TRUE(go(3)) << "the end";
    Report past, written, extended, reduced, block, closed;
    EXPECT_FALSE(ehfa_CacheSeek(cache_, 2000, 0, past));
    EXPECT_EQ(ehfa_CacheWrite(cache_, "x", 1, written), -1);
    EXPECT_FALSE(ehfa_CacheExtend(cache_, extended));
    EXPECT_FALSE(ehfa_CacheReduce(cache_, reduced));
    EXPECT_EQ(ehfa_CacheGetBlock(cache_, 0, 1, block), nullptr);
    EXPECT_EQ(told(past).find("ehfa_CacheSeek: error extending cache\n"), 0u) << told(past);
    closeCache();
    EXPECT_EQ(bytesOf(name_), bytes);
}

/* The handle is the caller's or the block store's own; each keeps the file open as long as it is needed. */
TEST_F(BlockStores, OpenTheirFileByName)
{
    close();
    std::filesystem::remove(name_);
    cache_ = ehfa_CacheCreate(nullptr, (name_ + "(:cache)").c_str(), expected());
    ASSERT_NE(cache_, nullptr);
    put("by name");
    closeCache();
    EXPECT_FALSE(ehfa_FileIsOpen(name_.c_str(), eint_GetInit(), expected()));
    cache_ = ehfa_CacheOpen(nullptr, (name_ + "(:cache)").c_str(), expected());
    EXPECT_EQ(get(100), "by name");
    closeCache();

    open();
    cache_ = ehfa_CacheOpen(file_, ":cache", expected());
    close();
    EXPECT_EQ(get(100), "by name") << "the file is open as long as the block store is";
    closeCache();
    EXPECT_FALSE(ehfa_FileIsOpen(name_.c_str(), eint_GetInit(), expected()));
}

TEST_F(BlockStores, GiveBackEveryBlockWhenTheyAreDeleted)
{
    write(EHFA_WRITE_LAST_CHILD, "first");
    ehfa_FileFlush(file_, expected());
    make();
    closeCache();
    ehfa_CacheDelete(file_, ":cache", expected());
    ehfa_FileFlush(file_, expected());
    const long live = ehfa_FileSize(file_) - ehfa_FileFreeSpaceSize(file_, expected());
    for (const long size : {0L, 1L, 256 * 1024L, 256 * 1024L + 1, 600 * 1024L}) {
        make();
        put(std::string(static_cast<std::size_t>(size), 'x'));
        closeCache();
        EXPECT_EQ(findings(), "") << size;
        EXPECT_TRUE(ehfa_CacheDelete(file_, ":cache", expected()));
        EXPECT_EQ(ehfa_FileSize(file_) - ehfa_FileFreeSpaceSize(file_, expected()), live) << size;
    }
    EXPECT_EQ(paths(), (std::vector<std::string>{":", ":first:"}));
}

struct Refusal {
    const char* name;
    std::string report;
};

TEST_F(BlockStores, SayWhatIsWrongWithTheirName)
{
    write(EHFA_WRITE_LAST_CHILD, "other");
    make();
    closeCache();
    const Refusal refusals[] = {
        {nullptr, "Unable to parse file node list."}, {"", "Unable to parse file node list."},
        {":", "Unable to parse node path."},          {"x.img", "Unable to parse node path."},
        {"x(:a,:b)", "Unable to parse node path."},   {":absent", "Object :absent not found!"},
        {":other", "Object :other not found!"},
    };
    for (const Refusal& refusal : refusals) {
        Report opening, deleting;
        EXPECT_EQ(ehfa_CacheOpen(file_, refusal.name, opening), nullptr);
        EXPECT_EQ(told(opening).find("ehfa_CacheOpen: " + refusal.report), 0u) << told(opening);
        EXPECT_FALSE(ehfa_CacheDelete(file_, refusal.name, deleting));
        EXPECT_EQ(told(deleting).find("ehfa_CacheDelete: " + refusal.report), 0u) << told(deleting);
    }
    Report twice, orphan, file;
    EXPECT_EQ(ehfa_CacheCreate(file_, ":cache", twice), nullptr);
    EXPECT_EQ(told(twice), "ehfa_CacheCreate: Node :cache exists already in file " + name_ + "\n");
    EXPECT_EQ(ehfa_CacheCreate(file_, ":absent:cache", orphan), nullptr);
    EXPECT_EQ(ehfa_CacheFileOpen("/nowhere/at/all.img", eint_GetInit(), file), nullptr);
    EXPECT_EQ(told(file).find("ehfa_CacheFileOpen: error creating /nowhere/at/all.img"), 0u) << told(file);
    EXPECT_EQ(paths(), (std::vector<std::string>{":", ":other:", ":cache:"}));
}

/* Fields of the head and of the index, each with values that lie. What is asked for afterwards is a report or a text of
 * this length; what lies beside it is still read. */
TEST_F(BlockStores, AreReadAsFarAsDamageAllows)
{
    char label[] = "sound";
    Sample sample{7, 0.5, {6, label}};
    emif_DictionaryAddDesign(file_->dictionary, sampleDesign(), expected());
    make();
    ehfa_ObjectWrite(file_, ":", "beside", "Sample", EHFA_WRITE_LAST_CHILD, &sample, sampleDesign(), expected());
    const std::string text(300 * 1024, 't');
    put(text);
    closeCache();
    ehfa_FileFlush(file_, expected());
    seek(EHFA_SEEK_PATH, ":cache");
    const uint32_t head = file_->entry->data;
    const uint32_t entry = file_->entryPtr;
    close();
    const Bytes sound = bytesOf(name_);
    const uint32_t root = word(sound, head + 12);
    const uint32_t index = word(sound, root);
    const uint32_t values[] = {0, 1, 0xFFFFFFFF, 0x7FFFFFFF, 0x80000000, root, index, entry, head, static_cast<uint32_t>(sound.size()), static_cast<uint32_t>(sound.size() - 1024), 64, 1024, 1028};
    for (const uint32_t field : {head, head + 4, head + 8, head + 12, root, root + 4, index, index + 4 * 255}) {
        for (const uint32_t value : values) {
            Bytes bytes = sound;
            setWord(bytes, field, value);
            putBytes(name_, bytes);
            const std::string what = std::to_string(long{field} - long{head}) + " = " + std::to_string(value);
            open("rb");
            Report opening, reading;
            cache_ = ehfa_CacheOpen(file_, ":cache", opening);
            EXPECT_EQ(cache_ == nullptr, opening.get() != nullptr) << what;
            if (cache_ != nullptr) {
                std::string buffer(text.size() + 10, '?');
                const long there = ehfa_CacheRead(cache_, buffer.data(), static_cast<long>(buffer.size()), reading);
                EXPECT_EQ(there == -1, reading.get() != nullptr) << what;
                ehfa_CacheFree(cache_);
                cache_ = nullptr;
            }
            Sample again{};
            EXPECT_NE(ehfa_ObjectRead(file_, ":beside", nullptr, EHFA_SEEK_BACK, &again, sampleDesign(), expected()), nullptr) << what;
            emsc_HeapFree(again.label.text);
            findings();
            close();
            open("r+b");
            stderrOf([&] {
                Report written, deleted;
                if ((cache_ = ehfa_CacheOpen(file_, ":cache", written)) != nullptr) {
                    Report put, gone, closed;
                    ehfa_CacheWrite(cache_, "x", 1, put);
                    ehfa_CacheReduce(cache_, gone);
                    ehfa_CacheClose(cache_, closed);
                    cache_ = nullptr;
                }
                ehfa_CacheDelete(file_, ":cache", deleted);
            });
            Report closed;
            ehfa_FileClose(std::exchange(file_, nullptr), closed);
            EXPECT_LT(std::filesystem::file_size(name_), sound.size() + 100000) << what;
        }
    }
}

/* Fails every write in turn. The handle goes on when space is back, and the stream is whole. */
TEST_F(BlockStores, GoOnWhenSpaceIsBack)
{
    bool done = false;
    for (std::uint64_t nth = 1; !done && nth < 10000; nth += 1 + nth / 8) {
        close();
        create();
        make();
        std::string text(5000, 'a');
        ASSERT_EQ(put(text), 5000);
        ehfa_CacheFlush(cache_, expected());
        Report report;
        long written;
        {
            FaultInjection fault(Operation::write, nth, Outcome::noSpace(), Repeat::fromThenOn, name_);
            go(4000);
            written = ehfa_CacheWrite(cache_, std::string(270000, 'b').data(), 270000, report);
            Report flushing;
            const bool flushed = ehfa_CacheFlush(cache_, flushing);
            done = !fault.fired();
            EXPECT_EQ(done, written == 270000 && flushed) << nth;
        }
        if (written == -1) {
            EXPECT_EQ(ehfa_CacheGetCurrPos(cache_), 4000);
            EXPECT_EQ(cache_->byteCount, 5000);
        }
        go(4000);
        ASSERT_EQ(put(std::string(270000, 'c')), 270000) << nth;
        reopen();
        EXPECT_EQ(get(300000), text.substr(0, 4000) + std::string(270000, 'c')) << nth;
        closeCache();
    }
    EXPECT_TRUE(done);
}

}  // namespace
