#include "frame/emsc/big_heap.h"
#include "frame/emsc/block_size.h"
#include "platform/heap.h"

#include <emantle/frame/emsc/heap.h>
#include <emantle/siblings/ethr.h>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace emantle {

namespace {

BigHeap bigHeap;
std::atomic<bool> threadSafe;
Ethr_Mutex heapMutex;

/* Holds the heap mutex in thread-safe mode only: the process heap is itself safe, and the lock guards the pool. */
class HeapLock {
public:
    HeapLock() noexcept : held_(threadSafe.load(std::memory_order_relaxed))
    {
        if (held_) {
            ethr_MutexLock(&heapMutex);
        }
    }
    ~HeapLock()
    {
        if (held_) {
            ethr_MutexUnlock(&heapMutex);
        }
    }
    HeapLock(const HeapLock&) = delete;
    HeapLock& operator=(const HeapLock&) = delete;

private:
    const bool held_;
};

void* allocateAnywhere(std::size_t size) noexcept
{
    if (bigHeap.takes(size)) [[unlikely]] {
        if (void* block = bigHeap.allocate(size)) {
            return block;
        }
    }
    return platform::allocateZeroed(size);
}

void releaseAnywhere(void* block) noexcept
{
    if (bigHeap.owns(block)) [[unlikely]] {
        bigHeap.release(block);
    } else {
        platform::release(block);
    }
}

/* A block of the pool moves where it cannot be resized in place; the old one stays where the new one cannot be had. */
void* reallocateInPool(void* block, std::size_t size) noexcept
{
    if (bigHeap.resize(block, size)) {
        return block;
    }
    void* moved = allocateAnywhere(size);
    if (moved != nullptr) {
        std::memcpy(moved, block, std::min(size, bigHeap.sizeOf(block)));
        bigHeap.release(block);
    }
    return moved;
}

}  // namespace

std::size_t heapBlockSize(const void* block) noexcept
{
    const HeapLock lock;
    return bigHeap.owns(block) ? bigHeap.sizeOf(block) : platform::sizeOf(block);
}

}  // namespace emantle

using namespace emantle;

EMANTLE_API void* emsc_HeapMalloc(long size)
{
    if (size <= 0) {
        return nullptr;
    }
    const HeapLock lock;
    return allocateAnywhere(static_cast<std::size_t>(size));
}

EMANTLE_API void* emsc_HeapRealloc(void* p, long size)
{
    if (p == nullptr) {
        return emsc_HeapMalloc(size);
    }
    if (size < 0) {
        return nullptr;
    }
    const HeapLock lock;
    if (size == 0) {
        releaseAnywhere(p);
        return nullptr;
    }
    return bigHeap.owns(p) ? reallocateInPool(p, static_cast<std::size_t>(size))
                           : platform::reallocateZeroed(p, static_cast<std::size_t>(size));
}

EMANTLE_API void emsc_HeapFree(void* p)
{
    if (p != nullptr) {
        const HeapLock lock;
        releaseAnywhere(p);
    }
}

EMANTLE_API void emsc_HeapFreeEx(void** p)
{
    if (p != nullptr) {
        emsc_HeapFree(*p);
        *p = nullptr;
    }
}

EMANTLE_API void emsc_FreeFunc(void* p)
{
    emsc_HeapFree(p);
}

EMANTLE_API void emsc_FreePtrFunc(void** p)
{
    if (p != nullptr) {
        emsc_HeapFree(*p);
    }
}

EMANTLE_API void emsc_HeapBigInit(void)
{
    const HeapLock lock;
    bigHeap.create(bigHeapMegabytes());
}

EMANTLE_API void emsc_HeapBigExit(void) {}

EMANTLE_API long emsc_HeapInfo(void)
{
    return 0;
}

EMANTLE_API void emsc_HeapPrint(void) {}

EMANTLE_API void emsc_HeapInitThreadSafeMode(void)
{
    EthrMutexLock lock(heapMutex);
    threadSafe.store(true, std::memory_order_relaxed);
}

EMANTLE_API void emsc_HeapEndThreadSafeMode(void)
{
    EthrMutexLock lock(heapMutex);
    threadSafe.store(false, std::memory_order_relaxed);
}
