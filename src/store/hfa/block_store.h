#pragma once

#include "store/hfa/handle.h"

#include <emantle/store/ehfa/cache.h>
#include <memory>
#include <vector>

namespace emantle::hfa {

/* What moves the blocks of a block store. */
struct BlockAccess {
    const Ehfa_CacheMethods* methods;
    void* data;

    void read(uint32_t position, void* buffer, int32_t size, EerrException& scope) const;
    void write(uint32_t position, const void* buffer, int32_t size, EerrException& scope) const;
    uint32_t allocate(int32_t size, EerrException& scope) const;
    void release(uint32_t position, int32_t size, EerrException& scope) const;
};

/* The access to the blocks of a store. */
BlockAccess accessTo(Ehfa_File* file);

/* One level of a block store: the data, or the index blocks of the level below. Each call leaves everything as it was when
 * it fails. */
class BlockStore : public Ehfa_Cache {
public:
    BlockStore(const BlockAccess& access, Ehfa_File* file, int32_t size, int32_t slotCount, int32_t count, uint32_t root,
               EerrException& scope);
    BlockStore(const BlockStore&) = delete;
    BlockStore& operator=(const BlockStore&) = delete;

    /* What a fetched block is wanted for; one that is overwritten whole is not read. */
    enum class Use { read, write, overwrite };
    Ehfa_CacheSlot& fetch(int32_t number, Use use, EerrException& scope);
    uint32_t* pointerTo(int32_t number, bool write, EerrException& scope);

    void extend(EerrException& scope);
    /* Adds what is no longer needed to `gone`; it is still what the file refers to. */
    void reduce(std::vector<uint32_t>& gone, EerrException& scope);
    /* Writes what is held. With `keepLent` what a caller may still write to stays dirty. */
    void flush(bool keepLent, EerrException& scope);

    /* Notes that a caller writes to a block, or to the place in the index that leads to it. */
    void lend(const Ehfa_CacheSlot& slot) { lent_[static_cast<std::size_t>(&slot - ring_.data())] = true; }
    void lendPointer(int32_t number);

    /* Whether there is anything to write, on any level. */
    bool isDirty() const;

    /* A copy of all that is held, and the way back to it, which keeps the addresses of buffers. */
    std::unique_ptr<BlockStore> copy() const;
    void takeBack(BlockStore& kept) noexcept;

    uint32_t root() const { return above_ != nullptr ? above_->root() : rootPtr; }
    int32_t perBlock() const { return blockSize / 4; }
    const BlockAccess& access() const { return access_; }
    BlockStore* above() const { return above_.get(); }

    /* The node it belongs to, and the head as it stands there. An empty path: none. */
    std::string node;
    Ehfa_CacheNode stored{};

private:
    /* A new top above `below`: its root has the root of `below` as the first entry. */
    BlockStore(BlockStore& below, uint32_t root);
    struct Copy {};
    BlockStore(const BlockStore& other, Copy);

    void makeSlots();
    Ehfa_CacheSlot& emptySlot(EerrException& scope);
    void writeSlot(const Ehfa_CacheSlot& slot, EerrException& scope);
    void setTop(std::vector<uint32_t> positions, uint32_t root);
    void setAbove(std::unique_ptr<BlockStore> above);

    BlockAccess access_;
    std::unique_ptr<BlockStore> above_;
    std::vector<uint32_t> positions_; /* of the blocks, at the top */
    bool positionsChanged_ = false;
    bool positionsLent_ = false;
    std::vector<char> lent_; /* of the slots */
    std::vector<Ehfa_CacheSlot> ring_;
    std::vector<std::vector<unsigned char>> buffers_; /* of the slots; empty until they are needed */
};

}  // namespace emantle::hfa
