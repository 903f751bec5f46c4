#pragma once

#include <cstddef>

// The allocator beneath everything that crosses the library's boundary.
//  1. Fresh bytes are zero, also those that a reallocation adds after an earlier shrink.
//  2. A block of `largeBlock` bytes or more starts on a multiple of 64, a smaller one on a multiple of 16. Large fresh
//  blocks
//     are not touched: their pages stay the kernel's zero page until the caller writes them.
//  3. Exhaustion, and a request beyond PTRDIFF_MAX, give null and errno 12; nothing is thrown.
namespace emantle::platform {

inline constexpr std::size_t largeBlock = 4096;

// A zero-filled block of `size` bytes; a size of 0 gives a block that holds nothing and is released like any other.
void* allocateZeroed(std::size_t size) noexcept;

// Moves `block` to `size` bytes, the added ones zero. A null block is a fresh one. On failure null, and `block` stays
// as it was.
void* reallocateZeroed(void* block, std::size_t size) noexcept;

// Null does nothing. errno is kept.
void release(void* block) noexcept;

// The size last asked for; 0 for null.
std::size_t sizeOf(const void* block) noexcept;

// Asks the kernel for large pages where the block covers them: for tables that are read at random and for records that loops
// run over, where every page of 4 KiB costs a walk through the page tables. Memory is then taken in steps of 2 MiB as it is touched.
void preferLargePages(void* block, std::size_t size) noexcept;

// Stands in for the fragmentation setting of a heap: the allocator here has none, and nothing is done.
void preferLowFragmentation() noexcept;

// Stands in for heap compaction: gives free pages at the heap's end and in its middle back to the kernel.
void compactHeap() noexcept;

} // namespace emantle::platform
