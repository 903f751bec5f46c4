#pragma once

#include <cstddef>
#include <map>
#include <memory>

namespace emantle {

/* Whole megabytes that the preference "memory" "heap_size" asks for; below 1 for no big heap. The preferences install
 * their answer when they start; until then it is 0. */
using BigHeapMegabytes = long (*)() noexcept;
void setBigHeapMegabytes(BigHeapMegabytes question) noexcept;
long bigHeapMegabytes() noexcept;

/* A pool of fixed size for large blocks, first fit, with neighbouring free spans merged. The caller locks. A pool is
 * created once and stays: blocks may outlive any request for another size. */
class BigHeap {
public:
    constexpr BigHeap() noexcept = default;

    /* `megabytes` below 1, no memory, or a pool that is there already: nothing changes. */
    void create(long megabytes) noexcept;

    bool takes(std::size_t size) const noexcept { return pool_ != nullptr && size >= threshold_; }
    bool owns(const void* block) const noexcept { return pool_ != nullptr && holds(block); }

    /* Zero-filled; null when no span is large enough. */
    void* allocate(std::size_t size) noexcept;
    /* Makes a block longer or shorter where it stands, added bytes zero; false when what follows it is not free. */
    bool resize(void* block, std::size_t size) noexcept;
    void release(void* block) noexcept;
    std::size_t sizeOf(const void* block) const noexcept;

private:
    struct Pool;
    bool holds(const void* block) const noexcept;
    Pool* pool_ = nullptr;
    std::size_t threshold_ = 65536;
};

}  // namespace emantle
