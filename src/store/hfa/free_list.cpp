#include "store/hfa/free_list.h"

#include "frame/guard/plain_scope.h"
#include "store/hfa/bytes.h"

#include <algorithm>

namespace emantle::hfa {

constexpr FreeList::Texts FreeList::kTaking{"freeListItemSet fail", "ehfa_HeaderReWrite fail"};
constexpr FreeList::Texts FreeList::kChanging{"freeListItemSet failed", "ehfa_HeaderReWrite failed"};

void FreeList::forget()
{
    *this = FreeList();
}

void FreeList::load(Handle& handle, Teller teller, EerrException& scope)
{
    if (!loaded_ && heldBack(handle)) {
        asFunction(scope, "freeListCacheLoad", "Error loading free list into cache", [&] { read(handle, scope); });
    } else if (!loaded_) {
        read(handle, scope);
    }
    if (damaged_) {
        tell(handle, teller);
    }
}

void FreeList::read(Handle& handle, EerrException& scope)
{
    blocks_.clear();
    damaged_ = false;
    /* Each link lies behind the last block, so the walk ends. */
    uint64_t least = 0;
    for (uint32_t position = handle.freeList; position != 0;) {
        if (position < least || !isAllocatable(handle, position, kNodeSize)) {
            damaged_ = true;
            break;
        }
        unsigned char bytes[kNodeSize];
        asFunction(scope, "ehfa_FileHostDataRead",
                   heldBack(handle) ? "Error reading free list item into cache" : "ehfa_FileHostDataRead failed",
                   [&] { readBytes(handle, position, bytes, sizeof bytes, scope); });
        const Ehfa_FreeListNode node = decodedNode(bytes);
        if (node.freeSize < static_cast<int32_t>(kNodeSize) ||
            !isAllocatable(handle, position, static_cast<uint32_t>(node.freeSize))) {
            damaged_ = true;
            break;
        }
        blocks_.push_back({position, static_cast<uint32_t>(node.freeSize)});
        least = uint64_t{position} + static_cast<uint32_t>(node.freeSize);
        position = node.freeList;
    }
    loaded_ = true;
}

void FreeList::tell(const Handle& handle, Teller teller)
{
    bool& told = told_[static_cast<int>(teller)];
    if (!told && teller == Teller::allocation) {
        warn("ehfa_NextFreePos", "Free list corruption detected while reading %s", handle.nameText.c_str());
    } else if (!told && teller == Teller::freeing) {
        warn("ehfa_FreeSpace", "Free list corruption detected");
    }
    told = true;
}

void FreeList::writeNode(Handle& handle, std::size_t index, const Texts& texts, EerrException& scope)
{
    const uint32_t link = index + 1 < blocks_.size() ? blocks_[index + 1].position : 0;
    const auto bytes = encoded(Ehfa_FreeListNode{link, static_cast<int32_t>(blocks_[index].size)});
    asFunction(scope, "freeListItemSet", texts.node,
               [&] { writeBytes(handle, blocks_[index].position, bytes.data(), bytes.size(), scope); });
}

void FreeList::writeLinkTo(Handle& handle, std::size_t index, const Texts& texts, EerrException& scope)
{
    if (index > 0) {
        writeNode(handle, index - 1, texts, scope);
        return;
    }
    const uint32_t first = blocks_.empty() ? 0 : blocks_[0].position;
    if (handle.freeList != first || heldBack(handle)) {
        handle.freeList = first;
        asFunction(scope, "ehfa_HeaderReWrite", texts.header, [&] { writeHeader(handle, scope); });
    }
}

/* Makes a change in memory and then in the file. A change that the file refused is not known to have reached it, so the
 * list is read again before its next use. */
template <class Change>
void FreeList::change(Handle& handle, EerrException& scope, Change&& body)
{
    const uint32_t head = handle.freeList;
    try {
        body();
    } catch (...) {
        if (!heldBack_) {
            handle.freeList = head;
            forget();
        }
        throw;
    }
    if (heldBack(handle)) {
        heldBack_ = true;
        handle.freeList = blocks_.empty() ? 0 : blocks_[0].position;
        writeHeader(handle, scope);
    }
}

void FreeList::take(Handle& handle, std::size_t index, uint32_t size, EerrException& scope)
{
    if (size == blocks_[index].size) {
        removeAs(handle, index, kTaking, scope);
        return;
    }
    change(handle, scope, [&] {
        blocks_[index].position += size;
        blocks_[index].size -= size;
        if (!heldBack(handle)) {
            writeNode(handle, index, kTaking, scope);
            writeLinkTo(handle, index, kTaking, scope);
        }
    });
}

void FreeList::remove(Handle& handle, std::size_t index, EerrException& scope)
{
    removeAs(handle, index, kChanging, scope);
}

void FreeList::removeAs(Handle& handle, std::size_t index, const Texts& texts, EerrException& scope)
{
    change(handle, scope, [&] {
        blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(index));
        if (!heldBack(handle)) {
            writeLinkTo(handle, index, texts, scope);
        }
    });
}

void FreeList::add(Handle& handle, uint32_t position, uint32_t size, EerrException& scope)
{
    const auto after = std::lower_bound(blocks_.begin(), blocks_.end(), position,
                                        [](const FreeBlock& block, uint32_t place) { return block.position < place; });
    std::size_t index = static_cast<std::size_t>(after - blocks_.begin());
    const bool overlapsNext = after != blocks_.end() && uint64_t{position} + size > after->position;
    const bool overlapsPrev =
        index > 0 && uint64_t{blocks_[index - 1].position} + blocks_[index - 1].size > position;
    require(!heldBack(handle) || after == blocks_.end() || after->position != position,
            "Attempting to insert an item that is already in the free list");
    require(!overlapsNext && !overlapsPrev, "%ld bytes at %ld of %s are free already", static_cast<long>(size),
            static_cast<long>(position), handle.nameText.c_str());

    if (blocks_.size() == blocks_.capacity()) {
        asFunction(scope, "freeListCacheInsert", "Unable to allocate new item for free list cache",
                   [&] { blocks_.reserve(2 * blocks_.capacity() + 16); });
    }
    change(handle, scope, [&] {
        const auto next = blocks_.begin() + static_cast<std::ptrdiff_t>(index);
        if (next != blocks_.end() && position + size == next->position) {
            size += next->size;
            blocks_.erase(next);
        }
        const bool joinsPrev = index > 0 && blocks_[index - 1].position + blocks_[index - 1].size == position;
        if (joinsPrev) {
            --index;
            blocks_[index].size += size;
        } else {
            blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(index), FreeBlock{position, size});
        }
        if (!heldBack(handle)) {
            writeNode(handle, index, kChanging, scope);
            if (!joinsPrev) {
                writeLinkTo(handle, index, kChanging, scope);
            }
        }
    });
}

void FreeList::writeAll(Handle& handle, EerrException& scope)
{
    if (!heldBack_) {
        return;
    }
    const uint32_t head = blocks_.empty() ? 0 : blocks_[0].position;
    require(head == handle.freeList,
            "Inconsistency detected - position of first cached node not same as free list");
    for (std::size_t index = 0; index < blocks_.size(); ++index) {
        writeNode(handle, index, kChanging, scope);
    }
    heldBack_ = false;
}

}  // namespace emantle::hfa
