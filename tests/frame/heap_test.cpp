#include "frame/emsc/big_heap.h"
#include "frame/memory/heap_ptr.h"
#include "platform/faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

using namespace emantle;

namespace {

bool isFilled(const void* block, std::size_t from, std::size_t to, unsigned char value)
{
    const auto* bytes = static_cast<const unsigned char*>(block);
    return std::all_of(bytes + from, bytes + to, [=](unsigned char byte) { return byte == value; });
}

}  // namespace

TEST(Heap, SizesWithoutABlock)
{
    EXPECT_EQ(emsc_HeapMalloc(0), nullptr);
    EXPECT_EQ(emsc_HeapMalloc(-1), nullptr);
    EXPECT_EQ(emsc_HeapRealloc(nullptr, 0), nullptr);
    EXPECT_EQ(emsc_HeapRealloc(emsc_HeapMalloc(8), 0), nullptr);
    void* block = emsc_HeapMalloc(8);
    EXPECT_EQ(emsc_HeapRealloc(block, -1), nullptr);
    emsc_HeapFree(block);
}

TEST(Heap, BlocksAndTheirNewTailsAreZero)
{
    for (const long size : {1L, 15L, 16L, 17L, 4095L, 4096L, 70000L}) {
        void* dirty = emsc_HeapMalloc(size);
        std::memset(dirty, 0xA5, static_cast<std::size_t>(size));
        emsc_HeapFree(dirty);
        void* block = emsc_HeapMalloc(size);
        EXPECT_TRUE(isFilled(block, 0, static_cast<std::size_t>(size), 0)) << size;
        std::memset(block, 0xA5, static_cast<std::size_t>(size));
        block = emsc_HeapRealloc(block, (size + 1) / 2);
        block = emsc_HeapRealloc(block, size * 3);
        EXPECT_TRUE(isFilled(block, 0, static_cast<std::size_t>((size + 1) / 2), 0xA5)) << size;
        EXPECT_TRUE(isFilled(block, static_cast<std::size_t>((size + 1) / 2), static_cast<std::size_t>(size * 3), 0)) << size;
        emsc_HeapFree(block);
    }
}

TEST(Heap, FormsOfFreeDifferInWhatTheyClear)
{
    void* p = emsc_HeapMalloc(8);
    void* const same = p;
    emsc_FreePtrFunc(&p);
    EXPECT_EQ(p, same);
    p = emsc_HeapMalloc(8);
    emsc_HeapFreeEx(&p);
    EXPECT_EQ(p, nullptr);
    emsc_HeapFree(nullptr);
    emsc_HeapFreeEx(nullptr);
    emsc_FreeFunc(nullptr);
    emsc_FreePtrFunc(nullptr);
}

TEST(Heap, ExhaustionGivesNullAndKeepsTheBlock)
{
    char* block = static_cast<char*>(emsc_HeapMalloc(8));
    block[0] = 'x';
    platform::FaultInjection noMemory(platform::Operation::allocate, 1, platform::Outcome::noMemory(),
                                      platform::Repeat::fromThenOn);
    EXPECT_EQ(emsc_HeapMalloc(8), nullptr);
    EXPECT_EQ(emsc_HeapRealloc(block, 1L << 20), nullptr);
    EXPECT_EQ(block[0], 'x');
    emsc_HeapFree(block);
}

TEST(HeapOwners, AllocateRefusesWhatNoBlockCanHold)
{
    EXPECT_EQ(allocate<double[]>(0), nullptr);
    const HeapPtr<double[]> three = allocate<double[]>(3);
    EXPECT_EQ(three[2], 0.0);
    for (const std::size_t count : {SIZE_MAX, SIZE_MAX / 8 + 2, std::size_t{1} << 60}) {
        try {
            allocate<double[]>(count);
            ADD_FAILURE() << count;
        } catch (const Failure& failure) {
            EXPECT_STREQ(failure.text(), "emsc_New failed");
        }
    }
    EXPECT_EQ(heapText(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_STREQ(heapText("text").get(), "text");
}

namespace {

int deleted;
void deleteByValue(int* p) { deleted += *p; }
void deleteByAddress(int** p) { deleted += 10 * **p; }

}  // namespace

TEST(HeapOwners, OwnedGivesARecordBackToItsFunction)
{
    int one = 1;
    deleted = 0;
    { Owned<int, deleteByValue> a(&one); }
    { Owned<int, deleteByAddress> b(&one); }
    { Owned<int, deleteByValue> none; }
    EXPECT_EQ(deleted, 11);
}

/* A pool stays for the life of the process; one pool of 1 MiB serves these tests. */
class BigHeapPool : public testing::Test {
protected:
    static BigHeap& pool()
    {
        static BigHeap* const made = [] {
            auto* heap = new BigHeap;
            heap->create(1);
            return heap;
        }();
        return *made;
    }
    static constexpr std::size_t kAll = 1 << 20;
};

TEST_F(BigHeapPool, TakesBlocksOfAPageAndMoreOnceItExists)
{
    BigHeap none;
    none.create(0);
    EXPECT_FALSE(none.takes(1 << 30));
    EXPECT_FALSE(none.owns(this));
    EXPECT_FALSE(pool().takes(4095));
    EXPECT_TRUE(pool().takes(4096));
}

TEST_F(BigHeapPool, GivesOutAllItHasAndNoMore)
{
    void* all = pool().allocate(kAll);
    ASSERT_NE(all, nullptr);
    EXPECT_TRUE(pool().owns(static_cast<char*>(all) + kAll - 1));
    EXPECT_FALSE(pool().owns(static_cast<char*>(all) + kAll));
    EXPECT_EQ(pool().allocate(1), nullptr);
    EXPECT_FALSE(pool().resize(all, kAll + 1));
    EXPECT_FALSE(pool().resize(all, SIZE_MAX));
    pool().release(all);
    EXPECT_EQ(pool().allocate(kAll + 1), nullptr);
}

TEST_F(BigHeapPool, NeighboursMergeInWhateverOrderTheyAreFreed)
{
    std::vector<int> order{0, 1, 2, 3};
    do {
        std::vector<void*> quarters;
        for (int i = 0; i < 4; ++i) {
            quarters.push_back(pool().allocate(kAll / 4));
        }
        for (const int i : order) {
            pool().release(quarters[static_cast<std::size_t>(i)]);
        }
        void* all = pool().allocate(kAll);
        ASSERT_NE(all, nullptr);
        pool().release(all);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(BigHeapPool, AnyMixOfCallsKeepsBlocksApartAndLeavesThePoolWhole)
{
    struct Block {
        unsigned char* bytes;
        std::size_t size;
        unsigned char mark;
    };
    std::mt19937 random(7);
    std::vector<Block> blocks;
    for (int step = 0; step < 4000; ++step) {
        const std::size_t size = 1 + random() % 60000;
        const auto mark = static_cast<unsigned char>(1 + random() % 255);
        const std::size_t i = blocks.empty() ? 0 : random() % blocks.size();
        switch (blocks.empty() ? 0 : random() % 3) {
        case 0:
            if (auto* bytes = static_cast<unsigned char*>(pool().allocate(size))) {
                ASSERT_TRUE(isFilled(bytes, 0, size, 0));
                std::memset(bytes, mark, size);
                blocks.push_back({bytes, size, mark});
            }
            break;
        case 1:
            if (pool().resize(blocks[i].bytes, size)) {
                ASSERT_TRUE(isFilled(blocks[i].bytes, 0, std::min(size, blocks[i].size), blocks[i].mark));
                ASSERT_TRUE(isFilled(blocks[i].bytes, std::min(size, blocks[i].size), size, 0));
                std::memset(blocks[i].bytes, blocks[i].mark, size);
                blocks[i].size = size;
            }
            break;
        default:
            ASSERT_EQ(pool().sizeOf(blocks[i].bytes), blocks[i].size);
            ASSERT_TRUE(isFilled(blocks[i].bytes, 0, blocks[i].size, blocks[i].mark));
            pool().release(blocks[i].bytes);
            blocks.erase(blocks.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
    for (const Block& block : blocks) {
        pool().release(block.bytes);
    }
    void* all = pool().allocate(kAll);
    EXPECT_NE(all, nullptr);
    pool().release(all);
}

/* The process's own pool cannot be taken down again: the only test that makes it. */
TEST(HeapWithPool, LargeBlocksComeFromThePoolAndSpillOver)
{
    setBigHeapMegabytes([]() noexcept { return 1L; });
    emsc_HeapBigInit();
    setBigHeapMegabytes(nullptr);
    auto* first = static_cast<char*>(emsc_HeapMalloc(700000));
    auto* second = static_cast<char*>(emsc_HeapMalloc(700000));
    ASSERT_NE(second, nullptr);
    second[699999] = 'x';
    first[0] = 'y';
    first = static_cast<char*>(emsc_HeapRealloc(first, 2000000));
    EXPECT_EQ(first[0], 'y');
    EXPECT_TRUE(isFilled(first, 700000, 2000000, 0));
    emsc_HeapFree(second);
    emsc_HeapFree(first);
    emsc_HeapBigExit();
}
