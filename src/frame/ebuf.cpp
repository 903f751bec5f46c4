#include <emantle/frame/ebuf.h>
#include <emantle/frame/emsc/heap.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace emantle {

namespace {

constexpr long kMostElements = std::numeric_limits<std::int32_t>::max();
constexpr long kMostBytes = std::numeric_limits<long>::max() / 2;

static_assert(sizeof(Ebuf_Buffer) == 16, "the elements begin 16 bytes into the block");

char* elementsOf(Ebuf_Buffer* buffer) noexcept
{
    return reinterpret_cast<char*>(buffer + 1);
}

const char* elementsOf(const Ebuf_Buffer* buffer) noexcept
{
    return reinterpret_cast<const char*>(buffer + 1);
}

long blockSize(long elements, long elementSize) noexcept
{
    return static_cast<long>(sizeof(Ebuf_Buffer)) + elements * elementSize;
}

bool resize(Ebuf_Buffer** buffer, long capacity) noexcept
{
    const long elementSize = (*buffer)->elementSize;
    if (capacity > kMostElements || capacity > kMostBytes / elementSize) {
        return false;
    }
    void* block = emsc_HeapRealloc(*buffer, blockSize(capacity, elementSize));
    if (block == nullptr) {
        return false;
    }
    *buffer = static_cast<Ebuf_Buffer*>(block);
    (*buffer)->capacity = static_cast<std::int32_t>(capacity);
    return true;
}

/* Half as much again, so that a million small additions cost a time in proportion; what is needed where that is not to
 * be had. */
void growFor(Ebuf_Buffer** buffer, long needed) noexcept
{
    const long capacity = (*buffer)->capacity;
    if (needed > capacity && !resize(buffer, std::max(needed, std::min(capacity + capacity / 2 + 8, kMostElements)))) {
        resize(buffer, needed);
    }
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API Ebuf_Buffer* ebuf_BufferAllocate(long n, long elementSize)
{
    if (n < 0 || n > kMostElements || elementSize < 1 || elementSize > std::numeric_limits<std::int32_t>::max()) {
        return nullptr;
    }
    auto* buffer = static_cast<Ebuf_Buffer*>(emsc_HeapMalloc(blockSize(n, elementSize)));
    if (buffer != nullptr) {
        buffer->elementSize = static_cast<std::int32_t>(elementSize);
        buffer->used = static_cast<std::int32_t>(n);
        buffer->capacity = static_cast<std::int32_t>(n);
    }
    return buffer;
}

EMANTLE_API long ebuf_BufferCopyIn(Ebuf_Buffer** buffer, long start, long count, const void* source)
{
    if (buffer == nullptr || *buffer == nullptr || start < 0 || count < 1 || start > kMostElements ||
        count > kMostElements) {
        return 0;
    }
    growFor(buffer, start + count);
    Ebuf_Buffer& header = **buffer;
    const long written = std::min(count, header.capacity - start);
    if (written < 1) {
        return 0;
    }
    header.used = std::max(header.used, static_cast<std::int32_t>(start + written));
    char* target = elementsOf(*buffer) + start * header.elementSize;
    const auto bytes = static_cast<std::size_t>(written) * static_cast<std::size_t>(header.elementSize);
    if (source == nullptr) {
        std::memset(target, 0, bytes);
    } else {
        std::memcpy(target, source, bytes);
    }
    return written;
}

EMANTLE_API long ebuf_BufferCopyOut(const Ebuf_Buffer* buffer, long start, long count, void* target)
{
    if (buffer == nullptr || target == nullptr || start < 0 || count < 1 || start >= buffer->used) {
        return 0;
    }
    const long copied = std::min(count, buffer->used - start);
    std::memcpy(target, elementsOf(buffer) + start * buffer->elementSize,
                static_cast<std::size_t>(copied) * static_cast<std::size_t>(buffer->elementSize));
    return copied;
}

EMANTLE_API void ebuf_BufferFree(Ebuf_Buffer** buffer)
{
    if (buffer != nullptr) {
        emsc_HeapFree(*buffer);
        *buffer = nullptr;
    }
}

EMANTLE_API long ebuf_BufferSize(const Ebuf_Buffer* buffer)
{
    return buffer == nullptr ? 0 : buffer->used;
}

EMANTLE_API long ebuf_BufferElementSize(const Ebuf_Buffer* buffer)
{
    return buffer == nullptr ? 0 : buffer->elementSize;
}

EMANTLE_API long ebuf_BufferPosition(const Ebuf_Buffer* buffer, const void* address)
{
    if (buffer == nullptr || address == nullptr) {
        return -1;
    }
    const auto first = reinterpret_cast<std::uintptr_t>(elementsOf(buffer));
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    const auto size = static_cast<std::uintptr_t>(buffer->elementSize);
    if (wanted < first || (wanted - first) % size != 0) {
        return -1;
    }
    const std::uintptr_t index = (wanted - first) / size;
    return index < static_cast<std::uintptr_t>(buffer->used) ? static_cast<long>(index) : -1;
}

EMANTLE_API void* ebuf_BufferAddress(Ebuf_Buffer* buffer, long index)
{
    if (buffer == nullptr || index < 0 || index >= buffer->used) {
        return nullptr;
    }
    return elementsOf(buffer) + index * buffer->elementSize;
}
