#include "platform/heap.h"

#include "platform/faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>

using namespace emantle::platform;

namespace {

bool allAre(const void* bytes, std::size_t from, std::size_t to, unsigned char value)
{
    const auto* const first = static_cast<const unsigned char*>(bytes);
    return std::all_of(first + from, first + to, [value](unsigned char byte) { return byte == value; });
}

// Both sides of the limit between small and large, of glibc's limit for mapped blocks, and of a page.
constexpr std::size_t kSizes[] = {0, 1, 15, 16, 17, 100, 4095, 4096, 4097, 65536, 131071, 200000, 1 << 21};

} // namespace

TEST(Heap, BlocksAreZeroAlignedAndKnowTheirSize)
{
    for (const std::size_t size : kSizes) {
        // Dirty what the allocator hands out next.
        void* const dirty = allocateZeroed(size);
        std::memset(dirty, 0xEE, size);
        release(dirty);
        void* const block = allocateZeroed(size);
        ASSERT_NE(block, nullptr) << size;
        EXPECT_TRUE(allAre(block, 0, size, 0)) << size;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % (size >= largeBlock ? 64 : 16), 0u) << size;
        EXPECT_EQ(sizeOf(block), size);
        release(block);
    }
    release(nullptr);
    EXPECT_EQ(sizeOf(nullptr), 0u);
}

TEST(Heap, ReallocationKeepsTheOldBytesAndZeroesTheNewBetweenAllSizes)
{
    for (const std::size_t from : kSizes) {
        for (const std::size_t between : kSizes) {
            for (const std::size_t to : {std::size_t{300}, std::size_t{5000}, std::size_t{300000}}) {
                void* block = allocateZeroed(from);
                std::memset(block, 0xAB, from);
                block = reallocateZeroed(block, between);
                std::size_t kept = std::min(from, between);
                ASSERT_TRUE(allAre(block, 0, kept, 0xAB) && allAre(block, kept, between, 0)) << from << ' ' << between;
                block = reallocateZeroed(block, to);
                kept = std::min(kept, to);
                ASSERT_TRUE(allAre(block, 0, kept, 0xAB) && allAre(block, kept, to, 0))
                    << from << ' ' << between << ' ' << to;
                EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % (to >= largeBlock ? 64 : 16), 0u);
                EXPECT_EQ(sizeOf(block), to);
                release(block);
            }
        }
    }
}

TEST(Heap, ExhaustionGivesNullAndLeavesTheOldBlock)
{
    for (const std::size_t size : {static_cast<std::size_t>(PTRDIFF_MAX), SIZE_MAX, SIZE_MAX - 8}) {
        errno = 0;
        EXPECT_EQ(allocateZeroed(size), nullptr);
        EXPECT_EQ(errno, error::noMemory);
    }
    char* const block = static_cast<char*>(allocateZeroed(10));
    block[9] = 'x';
    EXPECT_EQ(reallocateZeroed(block, SIZE_MAX), nullptr);
    {
        const FaultInjection none(Operation::allocate, 1, Outcome::noMemory());
        EXPECT_EQ(reallocateZeroed(block, 20), nullptr);
    }
    EXPECT_EQ(block[9], 'x');
    EXPECT_EQ(sizeOf(block), 10u);
    release(block);
}

#if defined(__SANITIZE_ADDRESS__)
TEST(HeapDeathTest, TheAddressSanitizerSeesOverrunsOnBothSides)
{
    for (const std::size_t size : {std::size_t{10}, std::size_t{5000}, std::size_t{300000}}) {
        volatile char* const block = static_cast<char*>(allocateZeroed(size));
        EXPECT_DEATH(block[size] = 1, "AddressSanitizer") << size;
        EXPECT_DEATH(block[-1] = 1, "AddressSanitizer") << size;
        release(const_cast<char*>(block));
    }
}
#endif
