#pragma once

#include <emantle/store/ehfa/space.h>

#include <memory>
#include <vector>

class EerrException;

namespace emantle::hfa {

struct Handle;

struct FreeBlock {
    uint32_t position;
    uint32_t size;
};

/* Who meets damage: each tells it once, in words of its own. */
enum class Teller { nobody, allocation, freeing };

/* The free list in memory, read on first use. The links of the file are the order of the blocks here. Changes stay in
 * memory until `writeNodes`; those since `beginStep` can be undone, without memory being asked for. */
class FreeList {
public:
    /* Reads the list unless that is done. Damage cuts the list off. */
    void load(Handle& handle, Teller teller, EerrException& scope)
    {
        if (!loaded_ || damaged_) [[unlikely]] {
            loadOrTell(handle, teller, scope);
        }
    }
    /* The next use reads it anew. */
    void forget() noexcept;

    bool isDamaged() const { return damaged_; }
    std::size_t count() const { return count_; }

    template <class Function>
    void forEach(Function&& function) const
    {
        for (const auto& leaf : leaves_) {
            for (uint32_t i = 0; i < leaf->count; ++i) {
                function(FreeBlock{leaf->blocks[i].position, leaf->blocks[i].size});
            }
        }
    }

    /* The first block that is as large as `size`, or larger by 8 and more; one of size 0 where there is none. */
    FreeBlock firstFit(uint32_t size) const;
    FreeBlock last() const;
    /* The size of the block that starts at a position; 0 for none. */
    uint32_t sizeAt(uint32_t position) const;
    /* Bytes that were free when the list was last written and still are, as many as `size` behind the head of a block. */
    uint32_t idleBytes(uint32_t size) const;

    /* Takes `size` bytes out of a block from its start; what remains is 0 or 8 bytes and more. */
    void take(Handle& handle, FreeBlock block, uint32_t size);
    /* Takes a block off the list. */
    void remove(Handle& handle, FreeBlock block);
    /* Adds bytes, joined with what lies next to them. Fails where they are free already. */
    void add(Handle& handle, uint32_t position, uint32_t size, EerrException& scope);

    /* Brings every node that changed since the last `settle` into the pages of the handle. */
    void writeNodes(Handle& handle, EerrException& scope);
    bool isChanged() const { return !touched_.empty(); }
    /* The list is in the file as it is here. */
    void settle() noexcept;

    /* What was free in the file at the last `settle` and was taken since, without the heads of the blocks, in order, from
     * `least` bytes on: no structure of the file leads to these. */
    struct Stretch {
        uint64_t start;
        uint64_t end;
    };
    std::vector<Stretch> takenBytes(uint32_t least) const;
    /* Whether all these bytes are of that kind, and were taken since the step began. */
    bool tookSinceStep(uint64_t start, uint64_t end) const;

    void beginStep() noexcept;
    void undoStep() noexcept;

private:
    static constexpr uint32_t kLeaf = 256;

    struct Block {
        uint32_t position;
        uint32_t size : 31;
        uint32_t isNew : 1; /* since the last `settle` */
    };
    struct Leaf {
        uint32_t count = 0;
        uint32_t largest = 0;
        Block blocks[kLeaf];
    };
    struct Place {
        std::size_t leaf;
        uint32_t index;
    };
    struct Change {
        Block block;
        bool inserted;
    };

    void loadOrTell(Handle& handle, Teller teller, EerrException& scope);
    void read(Handle& handle, EerrException& scope);
    void tell(const Handle& handle, Teller teller);
    void append(Block block);
    /* The first block at or behind a position; the end of the last leaf where there is none. */
    Place placeOf(uint32_t position) const;
    const Block* blockAt(Place place) const;
    Place placeBehind(Place place) const;
    const Block* blockBefore(Place place) const;
    void reserveForChange();
    void insert(Block block);
    void erase(Block block);
    Place putIn(Block block) noexcept;
    void takeOut(uint32_t position) noexcept;
    void replace(Place place, Block block);
    static void measure(Leaf& leaf) noexcept;
    static void measure(Leaf& leaf, uint32_t near) noexcept;
    void touchBefore(Place place);
    void noteHead(Handle& handle);

    std::vector<std::unique_ptr<Leaf>> leaves_; /* none of them empty */
    std::vector<std::unique_ptr<Leaf>> spares_;
    std::size_t count_ = 0;
    mutable std::size_t recent_ = 0; /* the last place looked for */
    mutable uint32_t recentIndex_ = 0;
    std::vector<uint32_t> touched_;  /* positions of nodes to write */
    std::vector<FreeBlock> taken_;   /* blocks of the file's list that are no longer in this one */
    std::vector<Change> changes_;    /* since the step began */
    std::size_t takenAtStep_ = 0;
    std::size_t touchedAtStep_ = 0;
    bool loaded_ = false;
    bool damaged_ = false;
    bool told_[3] = {}; /* by teller */
};

}  // namespace emantle::hfa
