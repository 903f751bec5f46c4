#include "store/hfa/store_fixture.h"

#include "support/captured_stderr.h"

#include <emantle/frame/emsc.h>

namespace {

/* A store with blocks of 8 bytes between which nothing is free, and the place of the first of them. */
class Space : public StoreTest {
protected:
    Space()
    {
        create();
        base_ = allocate(1000);
        allocate(8); /* keeps what is freed below from being the tail */
    }
    long freeSize() { return ehfa_FileFreeSpaceSize(file_, expected()); }
    /* The free list as the file has it: position relative to the base, and size. */
    std::vector<std::pair<long, long>> list()
    {
        ehfa_FileFlush(file_, expected());
        const Bytes bytes = bytesOf(name_);
        std::vector<std::pair<long, long>> blocks;
        for (uint32_t at = word(bytes, 68); at != 0; at = word(bytes, at)) {
            blocks.emplace_back(long{at} - long{base_}, word(bytes, at + 4));
        }
        return blocks;
    }

    uint32_t base_;
};

using List = std::vector<std::pair<long, long>>;

struct Step {
    const char* why;
    std::vector<std::pair<long, long>> freed; /* before, relative to the base */
    long wanted;
    long place; /* relative to the base; -1 for the end of the file */
    List after;
};

TEST_F(Space, IsTakenByFirstFit)
{
    const Step steps[] = {
        {"an equal block goes whole", {{0, 16}}, 16, 0, {}},
        {"less than 8 is raised to 8", {{0, 8}}, 1, 0, {}},
        {"8 remain", {{0, 16}}, 8, 0, {{8, 8}}},
        {"7 cannot remain", {{0, 16}}, 9, -1, {{0, 16}}},
        {"the first that fits, not the best", {{0, 40}, {100, 16}}, 16, 0, {{16, 24}, {100, 16}}},
        {"one that does not fit is passed", {{0, 8}, {100, 40}}, 16, 100, {{0, 8}, {116, 24}}},
        {"the one before gets the link", {{0, 8}, {100, 16}, {200, 8}}, 16, 100, {{0, 8}, {200, 8}}},
    };
    for (const Step& step : steps) {
        for (const auto& [position, size] : step.freed) {
            release(base_ + static_cast<uint32_t>(position), size);
        }
        const long end = ehfa_FileSize(file_);
        const long place = allocate(step.wanted);
        EXPECT_EQ(place, step.place == -1 ? end : long{base_} + step.place) << step.why;
        EXPECT_EQ(list(), step.after) << step.why;
        for (const auto& [position, size] : step.after) {
            EXPECT_EQ(allocate(size), base_ + static_cast<uint32_t>(position)) << step.why;
        }
        EXPECT_EQ(freeSize(), 0) << step.why;
    }
}

TEST_F(Space, IsJoinedWhenItIsFreed)
{
    struct Case {
        const char* why;
        List freed;
        List after;
    };
    const Case cases[] = {
        {"less than 8 is lost", {{0, 7}}, {}},
        {"with the block behind", {{16, 16}, {0, 16}}, {{0, 32}}},
        {"with the block before", {{0, 16}, {16, 16}}, {{0, 32}}},
        {"with both", {{0, 16}, {32, 16}, {16, 16}}, {{0, 48}}},
        {"sorted, with gaps", {{64, 8}, {0, 8}, {32, 8}}, {{0, 8}, {32, 8}, {64, 8}}},
    };
    for (const Case& c : cases) {
        for (const auto& [position, size] : c.freed) {
            release(base_ + static_cast<uint32_t>(position), size);
        }
        EXPECT_EQ(list(), c.after) << c.why;
        for (const auto& [position, size] : c.after) {
            EXPECT_EQ(allocate(size), base_ + static_cast<uint32_t>(position)) << c.why;
        }
    }
}

TEST_F(Space, AtTheEndOfTheFileIsExtended)
{
    const uint32_t last = allocate(16);
    release(last, 16);
    EXPECT_EQ(allocate(9), last) << "its remainder of 7 is given up";
    EXPECT_EQ(ehfa_FileSize(file_), last + 16);
    const uint32_t next = allocate(16);
    release(next, 16);
    EXPECT_EQ(allocate(100), next);
    EXPECT_EQ(ehfa_FileSize(file_), next + 100);
    EXPECT_EQ(list(), List{});
}

TEST_F(Space, OfAMappedFileComesByThePage)
{
    const long page = emsc_MemPageSizeGet();
    ehfa_FileChange(file_, expected(), EHFA_OPTION_MAP, 1, 0, 0);
    ASSERT_EQ(file_->mapWanted, file_->fileSystemState);
    if (file_->mapWanted == 0) {
        GTEST_SKIP() << "a remote file is not mapped";
    }
    const long end = ehfa_FileSize(file_);
    const uint32_t first = allocate(100);
    EXPECT_EQ(first, end);
    EXPECT_EQ(ehfa_FileSize(file_), end + page);
    EXPECT_EQ(list(), (List{{end + 100 - long{base_}, page - 100}})) << "what is too much is free";
    EXPECT_EQ(std::filesystem::file_size(name_), static_cast<std::uintmax_t>(end + page));
    EXPECT_EQ(allocate(50), first + 100);
    EXPECT_EQ(ehfa_FileSize(file_), end + page);
    ehfa_FileChange(file_, expected(), EHFA_OPTION_MAP, 0, 0, 0);
    EXPECT_EQ(allocate(page), first + 150);
    EXPECT_EQ(ehfa_FileSize(file_), end + 150 + page);
}

TEST_F(Space, RefusesWhatIsNoBlock)
{
    release(base_, 16);
    const long end = ehfa_FileSize(file_);
    const std::pair<uint32_t, long> bad[] = {
        {base_, 8}, {base_ + 8, 16}, {static_cast<uint32_t>(end - 8), 9}, {0, 8}, {64, 18}, {0xFFFFFFFF, 0x7FFFFFFF}};
    for (const auto& [position, size] : bad) {
        Report report;
        EXPECT_FALSE(ehfa_FreeSpace(file_, position, size, report)) << position;
        EXPECT_FALSE(report.records().empty());
    }
    for (const long size : {0L, -1L}) {
        Report report;
        EXPECT_EQ(ehfa_NextFreePos(file_, size, report), 0u);
        EXPECT_EQ(report.records().back().message, "Zero or negative size; long integer overflow?");
    }
    Report report;
    EXPECT_EQ(ehfa_NextFreePos(file_, 0x7FFFFFFF, report), 0u);
    EXPECT_EQ(report.records().back().message,
              "Cannot allocate free block; resulting file would exceed the OS or EHFA limit");
    EXPECT_EQ(list(), (List{{0, 16}}));
    EXPECT_EQ(ehfa_FileSize(file_), end);
}

TEST_F(Space, ThatIsHeldBackReachesTheFileWhenAsked)
{
    release(base_ + 100, 16);
    ehfa_FileChange(file_, expected(), EHFA_OPTION_FLUSH_ON_WRITE, 0, 0);
    EXPECT_TRUE(ehfa_FileIsNotFlushedOnWrite(file_));
    ehfa_FileFlush(file_, expected());
    const Bytes before = bytesOf(name_);
    release(base_, 40);
    EXPECT_EQ(allocate(8), base_);
    EXPECT_EQ(freeSize(), 48);
    ehfa_FileFlush(file_, expected());
    EXPECT_EQ(bytesOf(name_), before) << "list and header stay in memory";
    ehfa_FileChange(file_, expected(), EHFA_OPTION_FLUSH_ON_WRITE, 1, 0);
    EXPECT_EQ(list(), (List{{8, 32}, {100, 16}}));
}

TEST_F(Space, ThatIsHeldBackTellsWhatFailed)
{
    allocate(100000); /* beyond what is read ahead */
    const uint32_t last = allocate(16);
    release(last, 16);
    release(base_, 16);
    close();
    open();
    ehfa_FileChange(file_, expected(), EHFA_OPTION_FLUSH_ON_WRITE, 0, 0);
    const Bytes whole = bytesOf(name_);
    std::filesystem::resize_file(name_, last);
    const auto texts = [](const Report& report) {
        std::vector<std::string> all;
        for (const Record& record : report.records()) {
            all.push_back(record.message.value_or(""));
        }
        all.resize(3);
        return all;
    };
    Report unread;
    EXPECT_EQ(ehfa_NextFreePos(file_, 8, unread), 0u);
    EXPECT_EQ(texts(unread), (std::vector<std::string>{"freeListItemGet fail", "Error loading free list into cache",
                                                       "Error reading free list item into cache"}));
    std::filesystem::resize_file(name_, whole.size());
    std::fstream(name_, std::ios::in | std::ios::out | std::ios::binary)
        .seekp(last)
        .write(reinterpret_cast<const char*>(&whole[last]), 16);
    EXPECT_EQ(freeSize(), 32);
    Report twice;
    EXPECT_FALSE(ehfa_FreeSpace(file_, base_, 16, twice));
    EXPECT_EQ(twice.records().back().message, "Attempting to insert an item that is already in the free list");
    EXPECT_EQ(freeSize(), 32);
}

TEST_F(Space, ThatIsHeldBackSurvivesTheClose)
{
    ehfa_FileChange(file_, expected(), EHFA_OPTION_FLUSH_ON_WRITE, 0, 0);
    release(base_, 40);
    close();
    open();
    EXPECT_EQ(freeSize(), 40);
}

TEST_F(Space, OfADamagedListEndsAtTheDamage)
{
    release(base_, 8);
    release(base_ + 100, 16);
    release(base_ + 200, 24);
    close();
    const Bytes sound = bytesOf(name_);
    const auto second = base_ + 100;
    const std::tuple<const char*, std::size_t, uint32_t> damages[] = {
        {"backward", second, base_},      {"to itself", second, second},   {"outside", second, 0x7FFFFFF0},
        {"into the block", second, second + 8}, {"negative size", second + 4, 0x80000000}, {"size 0", second + 4, 0},
        {"longer than the file", second + 4, 100000}, {"head outside", 68, 0xFFFFFFFF}, {"head in the header", 68, 66},
    };
    for (const auto& [why, at, value] : damages) {
        Bytes bytes = sound;
        setWord(bytes, at, value);
        putBytes(name_, bytes);
        ASSERT_NE(open(), nullptr) << why;
        Report report;
        EXPECT_EQ(ehfa_FileFreeSpaceSize(file_, report), -1) << why;
        EXPECT_EQ(report.records().back().message, "Corrupt free list") << why;
        uint32_t place = 0;
        const std::string warning = stderrOf([&] { place = allocate(24); });
        EXPECT_NE(warning.find("Free list corruption detected while reading " + name_), std::string::npos) << why;
        EXPECT_EQ(place, sound.size()) << why << ": the tail of the list is lost, the file is extended";
        EXPECT_EQ(stderrOf([&] { allocate(24); }), "") << why << ": told once";
        const std::string freeing = stderrOf([&] { release(place, 24); });
        EXPECT_NE(freeing.find("Free list corruption detected"), std::string::npos) << why;
        EXPECT_EQ(freeing.find("while reading"), std::string::npos) << why << ": freeing has words of its own";
        close();
    }
}

}  // namespace
