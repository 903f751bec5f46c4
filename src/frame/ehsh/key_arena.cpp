#include "frame/ehsh/key_arena.h"

#include "platform/heap.h"

#include <emantle/frame/emsc/heap.h>

#include <algorithm>
#include <new>

namespace emantle {

namespace {

constexpr std::size_t kLargestBlock = std::size_t{32} << 20;

} // namespace

KeyArena::~KeyArena()
{
    for (Block* list : {blocks_, alone_}) {
        while (list != nullptr) {
            Block* next = list->next;
            emsc_HeapFree(list);
            list = next;
        }
    }
}

void* KeyArena::allocateAlone(std::size_t size) noexcept
{
    auto* block = static_cast<Block*>(emsc_HeapMalloc(static_cast<long>(sizeof(Block) + size)));
    if (block == nullptr) {
        return nullptr;
    }
    *block = {alone_, nullptr};
    if (alone_ != nullptr) {
        alone_->previous = block;
    }
    alone_ = block;
    return block + 1;
}

bool KeyArena::openBlock(std::size_t size) noexcept
{
    auto* block = static_cast<Block*>(emsc_HeapMalloc(static_cast<long>(blockSize_)));
    if (block == nullptr) {
        const std::size_t least = sizeof(Block) + size;
        block = static_cast<Block*>(emsc_HeapMalloc(static_cast<long>(least)));
        if (block == nullptr) {
            return false;
        }
        blockSize_ = least;
    }
    platform::preferLargePages(block, blockSize_);
    block->next = blocks_;
    blocks_ = block;
    place_ = reinterpret_cast<char*>(block + 1);
    end_ = reinterpret_cast<char*>(block) + blockSize_;
    blockSize_ = std::clamp<std::size_t>(blockSize_ * 2, 1024, kLargestBlock);
    return true;
}

void* KeyArena::allocate(std::size_t size) noexcept
{
    if (size > kLargest) {
        return allocateAlone(size);
    }
    const std::size_t grains = (size + kGrain - 1) / kGrain;
    if (Piece* piece = free_[grains]) {
        free_[grains] = piece->next;
        return piece;
    }
    const std::size_t rounded = grains * kGrain;
    if (static_cast<std::size_t>(end_ - place_) < rounded && !openBlock(rounded)) {
        return nullptr;
    }
    void* piece = place_;
    place_ += rounded;
    return piece;
}

void KeyArena::release(void* piece, std::size_t size) noexcept
{
    if (size <= kLargest) {
        Piece*& list = free_[(size + kGrain - 1) / kGrain];
        list = new (piece) Piece{list};
        return;
    }
    Block* block = static_cast<Block*>(piece) - 1;
    (block->previous == nullptr ? alone_ : block->previous->next) = block->next;
    if (block->next != nullptr) {
        block->next->previous = block->previous;
    }
    emsc_HeapFree(block);
}

} // namespace emantle
