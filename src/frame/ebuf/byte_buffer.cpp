#include "frame/ebuf/byte_buffer.h"

#include <emantle/frame/emsc/heap.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace emantle {

namespace {

long written(const ByteBuffer& buffer) noexcept
{
    return buffer.write - buffer.start;
}

long unread(const ByteBuffer& buffer) noexcept
{
    return buffer.write - buffer.read;
}

void moveTo(ByteBuffer& buffer, char* block, long size) noexcept
{
    const long readOffset = buffer.read - buffer.start;
    const long writeOffset = written(buffer);
    buffer.start = block;
    buffer.read = block + readOffset;
    buffer.write = block + writeOffset;
    buffer.size = size;
}

} // namespace

ByteBuffer NewBuffer(long size, long limit) noexcept
{
    auto* block = static_cast<char*>(emsc_HeapMalloc(size));
    return {block, block, block, block == nullptr ? 0 : size, limit};
}

void FreeBuffer(ByteBuffer& buffer) noexcept
{
    emsc_HeapFree(buffer.start);
    buffer = {};
}

void TruncateBuffer(ByteBuffer& buffer, long n) noexcept
{
    buffer.write = buffer.start + std::clamp(n, 0L, written(buffer));
    buffer.read = std::min(buffer.read, buffer.write);
}

int ChkBuffer(ByteBuffer& buffer, long n) noexcept
{
    if (n <= buffer.size - written(buffer)) {
        return 0;
    }
    if (buffer.limit != 0 || n > std::numeric_limits<long>::max() - buffer.size) {
        return -1;
    }
    auto* block = static_cast<char*>(emsc_HeapMalloc(buffer.size + n));
    if (block == nullptr) {
        return -1;
    }
    if (buffer.start != nullptr) {
        std::memcpy(block, buffer.start, static_cast<std::size_t>(written(buffer)));
        emsc_HeapFree(buffer.start);
    }
    moveTo(buffer, block, buffer.size + n);
    return 0;
}

long SearchBuffer(const ByteBuffer& buffer, char byte) noexcept
{
    if (unread(buffer) == 0) {
        return -1;
    }
    const void* found = std::memchr(buffer.read, byte, static_cast<std::size_t>(unread(buffer)));
    return found == nullptr ? -1 : static_cast<const char*>(found) - buffer.read;
}

void ShrinkBuffer(ByteBuffer& buffer) noexcept
{
    if (unread(buffer) == 0) {
        FreeBuffer(buffer);
    } else if (void* block = emsc_HeapRealloc(buffer.start, written(buffer))) {
        moveTo(buffer, static_cast<char*>(block), written(buffer));
    }
}

long CopyToBuffer(const void* source, ByteBuffer& buffer, long n) noexcept
{
    if (n < 1 || ChkBuffer(buffer, n) != 0) {
        return 0;
    }
    if (source != nullptr) {
        std::memcpy(buffer.write, source, static_cast<std::size_t>(n));
    }
    buffer.write += n;
    return n;
}

long CopyFromBuffer(ByteBuffer& buffer, void* target, long n) noexcept
{
    const long copied = std::min(n, unread(buffer));
    if (copied < 1) {
        return 0;
    }
    if (target != nullptr) {
        std::memcpy(target, buffer.read, static_cast<std::size_t>(copied));
    }
    buffer.read += copied;
    return copied;
}

long TransferBuffer(ByteBuffer& from, ByteBuffer& to, long n) noexcept
{
    const long moved = CopyToBuffer(from.read, to, std::min(n, unread(from)));
    from.read += moved;
    return moved;
}

} // namespace emantle
