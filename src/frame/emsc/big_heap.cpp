#include "frame/emsc/big_heap.h"

#include "platform/cpu.h"
#include "platform/heap.h"

#include <atomic>
#include <cstring>
#include <new>

namespace emantle {

namespace {

constexpr std::size_t kAlignment = 64;

constexpr std::size_t spanOf(std::size_t size) noexcept
{
    return (size + kAlignment - 1) / kAlignment * kAlignment;
}

long notSet() noexcept
{
    return 0;
}

std::atomic<BigHeapMegabytes> question{notSet};

}  // namespace

void setBigHeapMegabytes(BigHeapMegabytes newQuestion) noexcept
{
    question = newQuestion == nullptr ? notSet : newQuestion;
}

long bigHeapMegabytes() noexcept
{
    return question.load()();
}

/* Offsets into the memory; a span in use remembers the size asked for. */
struct BigHeap::Pool {
    std::byte* memory;
    std::size_t size;
    std::map<std::size_t, std::size_t> free;
    std::map<std::size_t, std::size_t> used;
};

void BigHeap::create(long megabytes) noexcept
{
    if (megabytes < 1 || pool_ != nullptr || megabytes > (1L << 30)) {
        return;
    }
    const std::size_t size = static_cast<std::size_t>(megabytes) << 20;
    auto* memory = static_cast<std::byte*>(platform::allocateZeroed(size));
    if (memory == nullptr) {
        return;
    }
    try {
        auto pool = std::make_unique<Pool>(Pool{memory, size, {{0, size}}, {}});
        pool_ = pool.release();
        threshold_ = platform::pageSize();
    } catch (const std::bad_alloc&) {
        platform::release(memory);
    }
}

bool BigHeap::holds(const void* block) const noexcept
{
    const auto* byte = static_cast<const std::byte*>(block);
    return byte >= pool_->memory && byte < pool_->memory + pool_->size;
}

void* BigHeap::allocate(std::size_t size) noexcept
{
    const std::size_t span = spanOf(size);
    for (auto place = pool_->free.begin(); place != pool_->free.end(); ++place) {
        const auto [offset, length] = *place;
        if (length < span) {
            continue;
        }
        try {
            pool_->used.emplace(offset, size);
            if (length > span) {
                pool_->free.emplace(offset + span, length - span);
            }
        } catch (const std::bad_alloc&) {
            pool_->used.erase(offset);
            return nullptr;
        }
        pool_->free.erase(place);
        return std::memset(pool_->memory + offset, 0, size);
    }
    return nullptr;
}

void BigHeap::release(void* block) noexcept
{
    const auto found = pool_->used.find(static_cast<std::size_t>(static_cast<std::byte*>(block) - pool_->memory));
    if (found == pool_->used.end()) {
        return;
    }
    std::size_t offset = found->first;
    std::size_t length = spanOf(found->second);
    auto after = pool_->free.lower_bound(offset);
    if (after != pool_->free.end() && after->first == offset + length) {
        length += after->second;
        after = pool_->free.erase(after);
    }
    if (after != pool_->free.begin()) {
        const auto before = std::prev(after);
        if (before->first + before->second == offset) {
            before->second += length;
            pool_->used.erase(found);
            return;
        }
    }
    /* The node of the span in use becomes the node of the free one, so that giving back needs no memory. */
    auto node = pool_->used.extract(found);
    node.key() = offset;
    node.mapped() = length;
    pool_->free.insert(std::move(node));
}

bool BigHeap::resize(void* block, std::size_t size) noexcept
{
    const auto found = pool_->used.find(static_cast<std::size_t>(static_cast<std::byte*>(block) - pool_->memory));
    if (found == pool_->used.end() || size > pool_->size) {
        return false;
    }
    const std::size_t old = found->second;
    const std::size_t end = found->first + spanOf(old);
    const std::size_t newEnd = found->first + spanOf(size);
    const auto after = pool_->free.find(end);
    const std::size_t freeEnd = after == pool_->free.end() ? end : end + after->second;
    if (newEnd > freeEnd) {
        return false;
    }
    if (after != pool_->free.end()) {
        auto node = pool_->free.extract(after);
        if (newEnd < freeEnd) {
            node.key() = newEnd;
            node.mapped() = freeEnd - newEnd;
            pool_->free.insert(std::move(node));
        }
    } else if (newEnd < end) {
        try {
            pool_->free.emplace(newEnd, end - newEnd);
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
    found->second = size;
    if (size > old) {
        std::memset(static_cast<std::byte*>(block) + old, 0, size - old);
    }
    return true;
}

std::size_t BigHeap::sizeOf(const void* block) const noexcept
{
    const auto found =
        pool_->used.find(static_cast<std::size_t>(static_cast<const std::byte*>(block) - pool_->memory));
    return found == pool_->used.end() ? 0 : found->second;
}

}  // namespace emantle
