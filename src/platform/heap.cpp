#include "platform/heap.h"

#include "platform/errors.h"
#include "platform/faults.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <sys/mman.h>

#if defined(__SANITIZE_ADDRESS__)
#define EMANTLE_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define EMANTLE_ADDRESS_SANITIZER 1
#endif
#endif
#ifdef EMANTLE_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

namespace emantle::platform {
namespace {

// Stands in front of every block. The block's own bytes begin `lead` bytes into what calloc gave.
struct Header {
    std::size_t size;
    std::size_t lead;
};

constexpr std::size_t kAlignment = 64;
static_assert(sizeof(Header) == 16, "small blocks keep calloc's alignment");

Header* headerOf(void* block) noexcept
{
    return static_cast<Header*>(block) - 1;
}
const Header* headerOf(const void* block) noexcept
{
    return static_cast<const Header*>(block) - 1;
}

// Enough for the header and for moving a large block up to its alignment. Does not overflow below PTRDIFF_MAX.
std::size_t bytesFor(std::size_t size, std::size_t lead) noexcept
{
    return size + (size >= largeBlock ? kAlignment : lead);
}

std::size_t leadOf(const void* base, std::size_t size) noexcept
{
    if (size < largeBlock)
        return sizeof(Header);
    const auto address = reinterpret_cast<std::uintptr_t>(base) + sizeof(Header);
    return sizeof(Header) + (-address & (kAlignment - 1));
}

// Under the address sanitizer the header and the bytes behind a large block are out of bounds while the caller has the
// block.
void forbid([[maybe_unused]] void* base, [[maybe_unused]] std::size_t lead, [[maybe_unused]] std::size_t size) noexcept
{
#ifdef EMANTLE_ADDRESS_SANITIZER
    char* const block = static_cast<char*>(base) + lead;
    ASAN_POISON_MEMORY_REGION(base, lead);
    ASAN_POISON_MEMORY_REGION(block + size, bytesFor(size, lead) - lead - size);
#endif
}

void allow([[maybe_unused]] const void* block) noexcept
{
#ifdef EMANTLE_ADDRESS_SANITIZER
    const Header* const header = headerOf(block);
    ASAN_UNPOISON_MEMORY_REGION(header, sizeof *header);
    const char* const base = static_cast<const char*>(block) - header->lead;
    ASAN_UNPOISON_MEMORY_REGION(base, bytesFor(header->size, header->lead));
#endif
}

bool refused(std::size_t size) noexcept
{
    if (size > static_cast<std::size_t>(PTRDIFF_MAX) - 2 * kAlignment)
        return failWith(error::noMemory) != 0;
    if (const Interference fault = interference(Operation::allocate); fault.error != 0)
        return failWith(fault.error) != 0;
    return false;
}

void* place(void* base, std::size_t lead, std::size_t size) noexcept
{
    void* const block = static_cast<char*>(base) + lead;
    *headerOf(block) = {size, lead};
    forbid(base, lead, size);
    return block;
}

} // namespace

void* allocateZeroed(std::size_t size) noexcept
{
    if (refused(size))
        return nullptr;
    if (size < largeBlock) {
        // glibc's calloc passes by the blocks that the thread has given back; malloc and clearing take half its time.
        void* const base = std::malloc(bytesFor(size, sizeof(Header)));
        if (base == nullptr)
            return nullptr;
        void* const block = place(base, sizeof(Header), size);
        return std::memset(block, 0, size);
    }
    void* const base = std::calloc(1, bytesFor(size, sizeof(Header)));
    return base == nullptr ? nullptr : place(base, leadOf(base, size), size);
}

void* reallocateZeroed(void* block, std::size_t size) noexcept
{
    if (block == nullptr)
        return allocateZeroed(size);
    if (refused(size))
        return nullptr;
    allow(block);
    const Header old = *headerOf(block);
    void* const oldBase = static_cast<char*>(block) - old.lead;
    char* const base = static_cast<char*>(std::realloc(oldBase, bytesFor(size, old.lead)));
    if (base == nullptr) {
        forbid(oldBase, old.lead, old.size);
        return nullptr;
    }
    // The kernel may have moved the block to other pages, or glibc to another place: the distance to the alignment is
    // new.
    const std::size_t lead = size >= largeBlock ? leadOf(base, size) : old.lead;
    const std::size_t kept = size < old.size ? size : old.size;
    if (lead != old.lead)
        std::memmove(base + lead, base + old.lead, kept);
    std::memset(base + lead + kept, 0, size - kept);
    interference(Operation::release);
    return place(base, lead, size);
}

void release(void* block) noexcept
{
    if (block == nullptr)
        return;
    interference(Operation::release);
    allow(block);
    std::free(static_cast<char*>(block) - headerOf(block)->lead); // glibc's free keeps errno
}

std::size_t sizeOf(const void* block) noexcept
{
    if (block == nullptr)
        return 0;
#ifdef EMANTLE_ADDRESS_SANITIZER
    ASAN_UNPOISON_MEMORY_REGION(headerOf(block), sizeof(Header));
    const std::size_t size = headerOf(block)->size;
    ASAN_POISON_MEMORY_REGION(headerOf(block), sizeof(Header));
    return size;
#else
    return headerOf(block)->size;
#endif
}

void preferLargePages(void* block, std::size_t size) noexcept
{
    constexpr std::uintptr_t largePage = std::uintptr_t{2} << 20;
    const auto first = (reinterpret_cast<std::uintptr_t>(block) + largePage - 1) & ~(largePage - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(block) + size) & ~(largePage - 1);
    if (first < end) {
        const int kept = errno;
        madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
        errno = kept;
    }
}

void preferLowFragmentation() noexcept {}

void compactHeap() noexcept
{
    malloc_trim(0);
}

} // namespace emantle::platform
