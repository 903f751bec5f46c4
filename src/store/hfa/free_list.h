#pragma once

#include <emantle/store/ehfa/space.h>
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

/* The free list in memory, read on first use. The links of the file are the order of the blocks here. Changes go to the
 * file at once, or at `writeAll` where the file is not flushed on write. */
class FreeList {
public:
    /* Reads the list unless that is done. Damage cuts the list off. */
    void load(Handle& handle, Teller teller, EerrException& scope);
    /* The next use reads it anew. */
    void forget();

    bool isDamaged() const { return damaged_; }
    const std::vector<FreeBlock>& blocks() const { return blocks_; }

    /* Takes `size` bytes out of block `index` from its start; what remains is 0 or 8 bytes and more. */
    void take(Handle& handle, std::size_t index, uint32_t size, EerrException& scope);
    /* Takes a block off the list. */
    void remove(Handle& handle, std::size_t index, EerrException& scope);
    /* Adds bytes, joined with what lies next to them. Fails where they are free already. */
    void add(Handle& handle, uint32_t position, uint32_t size, EerrException& scope);

    /* Writes every node that was held back. */
    void writeAll(Handle& handle, EerrException& scope);

private:
    void read(Handle& handle, EerrException& scope);
    void tell(const Handle& handle, Teller teller);
    /* What is told of a node, and of a file record, that could not be written. */
    struct Texts {
        const char* node;
        const char* header;
    };
    static const Texts kTaking;
    static const Texts kChanging;

    void removeAs(Handle& handle, std::size_t index, const Texts& texts, EerrException& scope);
    void writeNode(Handle& handle, std::size_t index, const Texts& texts, EerrException& scope);
    /* Writes the link to block `index`, which lies in the block before it or in the file record. */
    void writeLinkTo(Handle& handle, std::size_t index, const Texts& texts, EerrException& scope);
    template <class Change>
    void change(Handle& handle, EerrException& scope, Change&& body);

    std::vector<FreeBlock> blocks_;
    bool loaded_ = false;
    bool damaged_ = false;
    bool told_[3] = {}; /* by teller */
    bool heldBack_ = false;
};

}  // namespace emantle::hfa
