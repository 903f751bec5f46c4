#include "frame/ebuf/byte_buffer.h"
#include "platform/faults.h"

#include <emantle/frame/ebuf.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

using namespace emantle;
using platform::FaultInjection;
using platform::Operation;
using platform::Outcome;

namespace {

struct Buffer {
    explicit Buffer(long n) : handle(ebuf_BufferAllocate(n, sizeof(std::int32_t))) {}
    ~Buffer() { ebuf_BufferFree(&handle); }

    std::vector<std::int32_t> values() const
    {
        std::vector<std::int32_t> all(static_cast<std::size_t>(ebuf_BufferSize(handle)));
        ebuf_BufferCopyOut(handle, 0, ebuf_BufferSize(handle), all.data());
        return all;
    }

    Ebuf_Buffer* handle;
};

std::string unread(const ByteBuffer& buffer)
{
    return {buffer.read, buffer.write};
}

} // namespace

TEST(ElementBuffer, AGapBehindTheEndReadsAsZero)
{
    Buffer buffer(1);
    const std::int32_t values[] = {7, 8};
    EXPECT_EQ(ebuf_BufferCopyIn(&buffer.handle, 0, 1, values), 1);
    EXPECT_EQ(ebuf_BufferCopyIn(&buffer.handle, 4, 2, values), 2);
    EXPECT_EQ(buffer.values(), (std::vector<std::int32_t>{7, 0, 0, 0, 7, 8}));
    EXPECT_EQ(ebuf_BufferCopyIn(&buffer.handle, 4, 1, nullptr), 1);
    EXPECT_EQ(buffer.values(), (std::vector<std::int32_t>{7, 0, 0, 0, 0, 8}));
}

TEST(ElementBuffer, KnowsOnlyWhatIsInUse)
{
    Buffer buffer(3);
    buffer.handle->used = 2;
    auto* first = static_cast<char*>(ebuf_BufferAddress(buffer.handle, 0));
    EXPECT_EQ(first, reinterpret_cast<char*>(buffer.handle) + 16);
    EXPECT_EQ(ebuf_BufferAddress(buffer.handle, 2), nullptr);
    EXPECT_EQ(ebuf_BufferAddress(buffer.handle, -1), nullptr);
    EXPECT_EQ(ebuf_BufferPosition(buffer.handle, first + 4), 1);
    EXPECT_EQ(ebuf_BufferPosition(buffer.handle, first + 5), -1);
    EXPECT_EQ(ebuf_BufferPosition(buffer.handle, first + 8), -1);
    EXPECT_EQ(ebuf_BufferPosition(buffer.handle, first - 4), -1);
    std::int32_t target[] = {-1, -1, -1};
    EXPECT_EQ(ebuf_BufferCopyOut(buffer.handle, 1, 3, target), 1);
    EXPECT_EQ(target[1], -1);
}

TEST(ElementBuffer, RefusesCountsThatMakeNoSense)
{
    constexpr long most = std::numeric_limits<long>::max();
    Buffer buffer(1);
    std::int32_t value = 5;
    for (const auto& [start, count] : {std::pair{-1L, 1L}, {0L, 0L}, {0L, -1L}, {most, 1L}, {0L, most}, {most, most}}) {
        EXPECT_EQ(ebuf_BufferCopyIn(&buffer.handle, start, count, nullptr), 0) << start << ' ' << count;
        EXPECT_EQ(ebuf_BufferCopyOut(buffer.handle, start, count, &value), count == most && start == 0 ? 1 : 0);
    }
    EXPECT_EQ(buffer.values(), std::vector<std::int32_t>{0});
    EXPECT_EQ(ebuf_BufferAllocate(-1, 4), nullptr);
    EXPECT_EQ(ebuf_BufferAllocate(1, 0), nullptr);
    EXPECT_EQ(ebuf_BufferAllocate(most / 4, 8), nullptr);
    EXPECT_EQ(ebuf_BufferCopyIn(nullptr, 0, 1, &value), 0);
    EXPECT_EQ(ebuf_BufferPosition(nullptr, &value), -1);
}

TEST(ElementBuffer, ACopyWithoutMemoryIsCutToTheRoom)
{
    Buffer buffer(2);
    const std::int32_t values[] = {1, 2, 3};
    const FaultInjection full(Operation::allocate, 1, Outcome::noMemory(), platform::Repeat::fromThenOn);
    EXPECT_EQ(ebuf_BufferCopyIn(&buffer.handle, 1, 3, values), 1);
    EXPECT_EQ(ebuf_BufferCopyIn(&buffer.handle, 2, 1, values), 0);
    EXPECT_EQ(buffer.values(), (std::vector<std::int32_t>{0, 1}));
}

TEST(ByteBuffer, GrowsWithItsCursors)
{
    ByteBuffer buffer = NewBuffer(4, 0);
    EXPECT_EQ(CopyToBuffer("abcd", buffer, 4), 4);
    char read[2];
    EXPECT_EQ(CopyFromBuffer(buffer, read, 2), 2);
    EXPECT_EQ(CopyToBuffer("efg", buffer, 3), 3);
    EXPECT_EQ(buffer.size, 7);
    EXPECT_EQ(unread(buffer), "cdefg");
    EXPECT_EQ(SearchBuffer(buffer, 'e'), 2);
    EXPECT_EQ(SearchBuffer(buffer, 'a'), -1);
    TruncateBuffer(buffer, 1);
    EXPECT_EQ(unread(buffer), "");
    EXPECT_EQ(CopyToBuffer(nullptr, buffer, 2), 2);
    ShrinkBuffer(buffer);
    EXPECT_EQ(buffer.size, 3);
    ByteBuffer other = {};
    EXPECT_EQ(TransferBuffer(buffer, other, 100), 2);
    ShrinkBuffer(buffer);
    EXPECT_EQ(buffer.start, nullptr);
    EXPECT_EQ(other.write - other.read, 2);
    FreeBuffer(other);
}

TEST(ByteBuffer, ALimitOrNoMemoryLeavesItAsItWas)
{
    ByteBuffer buffer = NewBuffer(2, 8);
    EXPECT_EQ(CopyToBuffer("ab", buffer, 2), 2);
    EXPECT_EQ(CopyToBuffer("c", buffer, 1), 0);
    buffer.limit = 0;
    EXPECT_EQ(ChkBuffer(buffer, std::numeric_limits<long>::max()), -1);
    const FaultInjection full(Operation::allocate, 1, Outcome::noMemory());
    EXPECT_EQ(ChkBuffer(buffer, 1), -1);
    EXPECT_EQ(unread(buffer), "ab");
    FreeBuffer(buffer);
}
