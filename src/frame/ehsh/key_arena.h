#pragma once

#include <array>
#include <cstddef>

namespace emantle {

/* Memory for the nodes of one hash table: small pieces out of large blocks, since a block of the heap for each key
 * costs more than the rest of an insertion. Pieces are aligned to 8 bytes; those given back are reused for their size.
 */
class KeyArena {
public:
    KeyArena() noexcept = default;
    ~KeyArena();
    KeyArena(const KeyArena&) = delete;
    KeyArena& operator=(const KeyArena&) = delete;

    /* Null when memory is out. The bytes are not cleared. */
    void* allocate(std::size_t size) noexcept;
    void release(void* piece, std::size_t size) noexcept;

private:
    /* Larger pieces are blocks of their own, in a doubly linked list that the destructor frees. */
    static constexpr std::size_t kLargest = 256;
    static constexpr std::size_t kGrain = 8;

    struct Piece {
        Piece* next;
    };
    struct Block {
        Block* next;
        Block* previous;
    };

    void* allocateAlone(std::size_t size) noexcept;
    bool openBlock(std::size_t size) noexcept;

    std::array<Piece*, kLargest / kGrain + 1> free_{};
    Block* blocks_ = nullptr;
    Block* alone_ = nullptr;
    char* place_ = nullptr;
    char* end_ = nullptr;
    std::size_t blockSize_ = 1024;
};

} // namespace emantle
