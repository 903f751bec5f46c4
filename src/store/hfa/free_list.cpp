#include "store/hfa/free_list.h"

#include "frame/guard/plain_scope.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"

#include <algorithm>
#include <utility>

namespace emantle::hfa {

void FreeList::forget() noexcept
{
    *this = FreeList();
}

void FreeList::loadOrTell(Handle& handle, Teller teller, EerrException& scope)
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
    leaves_.clear();
    count_ = 0;
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
        append({position, static_cast<uint32_t>(node.freeSize), 0});
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

void FreeList::append(Block block)
{
    if (leaves_.empty() || leaves_.back()->count == kLeaf / 2) {
        leaves_.push_back(std::make_unique<Leaf>());
    }
    Leaf& leaf = *leaves_.back();
    leaf.blocks[leaf.count++] = block;
    leaf.largest = std::max<uint32_t>(leaf.largest, block.size);
    ++count_;
}

FreeBlock FreeList::firstFit(uint32_t size) const
{
    for (const auto& leaf : leaves_) {
        if (leaf->largest < size) {
            continue;
        }
        for (uint32_t i = 0; i < leaf->count; ++i) {
            const Block& block = leaf->blocks[i];
            if (block.size == size || block.size >= uint64_t{size} + kNodeSize) {
                return {block.position, block.size};
            }
        }
    }
    return {0, 0};
}

FreeBlock FreeList::last() const
{
    for (auto leaf = leaves_.rbegin(); leaf != leaves_.rend(); ++leaf) {
        if ((*leaf)->count > 0) {
            const Block& block = (*leaf)->blocks[(*leaf)->count - 1];
            return {block.position, block.size};
        }
    }
    return {0, 0};
}

uint32_t FreeList::sizeAt(uint32_t position) const
{
    const Block* block = blockAt(placeOf(position));
    return block != nullptr && block->position == position ? block->size : 0;
}

uint32_t FreeList::idleBytes(uint32_t size) const
{
    for (const auto& leaf : leaves_) {
        for (uint32_t i = 0; leaf->largest >= size && i < leaf->count; ++i) {
            const Block& block = leaf->blocks[i];
            if (block.isNew == 0 && block.size >= uint64_t{size} + kNodeSize) {
                return block.position + kNodeSize;
            }
        }
    }
    return 0;
}

FreeList::Place FreeList::placeOf(uint32_t position) const
{
    const auto liesBefore = [&](const auto& leaf) { return leaf->blocks[leaf->count - 1].position < position; };
    /* One place is looked for after another near by. */
    const bool isNearLast = recent_ < leaves_.size() && !liesBefore(leaves_[recent_]) &&
                            (recent_ == 0 || liesBefore(leaves_[recent_ - 1]));
    if (!isNearLast) {
        recent_ = static_cast<std::size_t>(std::partition_point(leaves_.begin(), leaves_.end(), liesBefore) - leaves_.begin());
    }
    if (recent_ == leaves_.size()) {
        return leaves_.empty() ? Place{0, 0} : Place{leaves_.size() - 1, leaves_.back()->count};
    }
    const Leaf& leaf = *leaves_[recent_];
    for (uint32_t i = recentIndex_; i < std::min(recentIndex_ + 3, leaf.count); ++i) {
        if (leaf.blocks[i].position >= position && (i == 0 || leaf.blocks[i - 1].position < position)) {
            recentIndex_ = i;
            return {recent_, i};
        }
    }
    const Block* found = std::partition_point(leaf.blocks, leaf.blocks + leaf.count,
                                              [&](const Block& block) { return block.position < position; });
    recentIndex_ = static_cast<uint32_t>(found - leaf.blocks);
    return {recent_, recentIndex_};
}

const FreeList::Block* FreeList::blockAt(Place place) const
{
    if (place.leaf < leaves_.size() && place.index == leaves_[place.leaf]->count) {
        place = {place.leaf + 1, 0};
    }
    return place.leaf < leaves_.size() ? &leaves_[place.leaf]->blocks[place.index] : nullptr;
}

/* Behind a block that is there. */
FreeList::Place FreeList::placeBehind(Place place) const
{
    if (place.index == leaves_[place.leaf]->count) {
        place = {place.leaf + 1, 0};
    }
    return {place.leaf, place.index + 1};
}

const FreeList::Block* FreeList::blockBefore(Place place) const
{
    if (place.index == 0 && place.leaf > 0) {
        --place.leaf;
        place.index = leaves_[place.leaf]->count;
    }
    return place.index > 0 ? &leaves_[place.leaf]->blocks[place.index - 1] : nullptr;
}

/* Memory for the largest change: two blocks taken out, one put in. After this no part of it can fail, nor its undoing. */
void FreeList::reserveForChange()
{
    const auto reserve = [](auto& list, std::size_t more) {
        if (list.capacity() - list.size() < more) {
            list.reserve(2 * list.size() + 16);
        }
    };
    reserve(changes_, 4);
    reserve(touched_, 8);
    reserve(taken_, 4);
    reserve(leaves_, 4);
    reserve(spares_, 8);
    while (spares_.size() < 2) {
        spares_.push_back(std::make_unique<Leaf>());
    }
}

FreeList::Place FreeList::putIn(Block block) noexcept
{
    Place place = placeOf(block.position);
    if (leaves_.empty()) {
        leaves_.push_back(std::move(spares_.back()));
        spares_.pop_back();
    } else if (leaves_[place.leaf]->count == kLeaf) {
        Leaf& full = *leaves_[place.leaf];
        std::unique_ptr<Leaf> half = std::move(spares_.back());
        spares_.pop_back();
        half->count = kLeaf / 2;
        std::copy_n(full.blocks + kLeaf / 2, kLeaf / 2, half->blocks);
        full.count = kLeaf / 2;
        measure(full);
        measure(*half);
        leaves_.insert(leaves_.begin() + static_cast<std::ptrdiff_t>(place.leaf) + 1, std::move(half));
        if (place.index > kLeaf / 2) {
            place = {place.leaf + 1, place.index - kLeaf / 2};
        }
    }
    Leaf& leaf = *leaves_[place.leaf];
    std::copy_backward(leaf.blocks + place.index, leaf.blocks + leaf.count, leaf.blocks + leaf.count + 1);
    leaf.blocks[place.index] = block;
    ++leaf.count;
    leaf.largest = std::max<uint32_t>(leaf.largest, block.size);
    ++count_;
    return place;
}

void FreeList::takeOut(uint32_t position) noexcept
{
    const Place place = placeOf(position);
    Leaf& leaf = *leaves_[place.leaf];
    const uint32_t size = leaf.blocks[place.index].size;
    std::copy(leaf.blocks + place.index + 1, leaf.blocks + leaf.count, leaf.blocks + place.index);
    --leaf.count;
    --count_;
    if (leaf.count == 0) {
        leaf.largest = 0;
        spares_.push_back(std::move(leaves_[place.leaf]));
        leaves_.erase(leaves_.begin() + static_cast<std::ptrdiff_t>(place.leaf));
    } else if (size == leaf.largest) {
        measure(leaf, place.index);
    }
}

/* The largest block is gone; one of the same size often lies near by. */
void FreeList::measure(Leaf& leaf, uint32_t near) noexcept
{
    for (uint32_t i = near; i < std::min(near + 2, leaf.count); ++i) {
        if (leaf.blocks[i].size == leaf.largest) {
            return;
        }
    }
    measure(leaf);
}

void FreeList::measure(Leaf& leaf) noexcept
{
    leaf.largest = 0;
    for (uint32_t i = 0; i < leaf.count; ++i) {
        leaf.largest = std::max<uint32_t>(leaf.largest, leaf.blocks[i].size);
    }
}

/* The block before a place holds the link to what lies there. It is noted first: blocks that are freed one behind the other
 * leave a list in order. */
void FreeList::touchBefore(Place place)
{
    if (const Block* before = blockBefore(place)) {
        touched_.push_back(before->position);
    }
}

void FreeList::insert(Block block)
{
    const Place place = putIn(block);
    changes_.push_back({block, true});
    touchBefore(place);
    touched_.push_back(block.position);
}

void FreeList::erase(Block block)
{
    takeOut(block.position);
    changes_.push_back({block, false});
    if (block.isNew == 0) {
        taken_.push_back({block.position, block.size});
    }
    touchBefore(placeOf(block.position));
    touched_.push_back(block.position);
}

void FreeList::noteHead(Handle& handle)
{
    const uint32_t head = leaves_.empty() ? 0 : leaves_.front()->blocks[0].position;
    if (head != handle.freeList) {
        handle.freeList = head;
        handle.headerHeldBack = true;
    }
    noteChange(handle);
}

/* Puts a block in the place of one that overlaps it: the order of the list stays. */
void FreeList::replace(Place place, Block block)
{
    Leaf& leaf = *leaves_[place.leaf];
    const Block old = std::exchange(leaf.blocks[place.index], block);
    changes_.push_back({old, false});
    changes_.push_back({block, true});
    if (old.isNew == 0) {
        taken_.push_back({old.position, old.size});
    }
    if (block.position != old.position) {
        touchBefore(place);
    }
    touched_.push_back(block.position);
    if (block.size > leaf.largest) {
        leaf.largest = block.size;
    } else if (old.size == leaf.largest) {
        measure(leaf, place.index);
    }
}

void FreeList::take(Handle& handle, FreeBlock free, uint32_t size)
{
    reserveForChange();
    const Place place = placeOf(free.position);
    const Block block = *blockAt(place);
    if (size < block.size) {
        replace(place, {block.position + size, block.size - size, 1});
    } else {
        erase(block);
    }
    noteHead(handle);
}

void FreeList::remove(Handle& handle, FreeBlock free)
{
    take(handle, free, free.size);
}

void FreeList::add(Handle& handle, uint32_t position, uint32_t size, EerrException& scope)
{
    const Place place = placeOf(position);
    const Block* next = blockAt(place);
    const Block* before = blockBefore(place);
    require(!heldBack(handle) || next == nullptr || next->position != position,
            "Attempting to insert an item that is already in the free list");
    require((next == nullptr || uint64_t{position} + size <= next->position) &&
                (before == nullptr || uint64_t{before->position} + before->size <= position),
            "%ld bytes at %ld of %s are free already", static_cast<long>(size), static_cast<long>(position),
            handle.nameText.c_str());
    asFunction(scope, "freeListCacheInsert", "Unable to allocate new item for free list cache",
               [&] { reserveForChange(); });
    Block joined{position, size, 1};
    const bool joinsNext = next != nullptr && position + size == next->position;
    const bool joinsBefore = before != nullptr && before->position + before->size == position;
    if (joinsBefore && !joinsNext) {
        replace(placeOf(before->position), {before->position, before->size + size, 1});
        noteHead(handle);
        return;
    }
    const Block behind = joinsNext ? *next : Block{};
    if (joinsBefore) {
        const Block front = *before;
        erase(front);
        joined.position = front.position;
        joined.size += front.size;
    }
    if (joinsNext) {
        erase(behind);
        joined.size += behind.size;
    }
    insert(joined);
    noteHead(handle);
}

void FreeList::writeNodes(Handle& handle, EerrException& scope)
{
    if (touched_.empty()) {
        return;
    }
    const uint32_t head = leaves_.empty() ? 0 : leaves_.front()->blocks[0].position;
    require(head == handle.freeList,
            "Inconsistency detected - position of first cached node not same as free list");
    std::vector<uint32_t> positions = touched_;
    if (!std::ranges::is_sorted(positions)) {
        std::ranges::sort(positions);
    }
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    Place place{0, 0};
    for (const uint32_t position : positions) {
        /* Where most of the list is written the next block to write is near the last one. */
        const Block* block = blockAt(place);
        if (block == nullptr || block->position != position) {
            place = placeOf(position);
            block = blockAt(place);
        }
        if (block == nullptr || block->position != position) {
            continue;
        }
        place = placeBehind(place);
        const Block* next = blockAt(place);
        const auto bytes = encoded(Ehfa_FreeListNode{next != nullptr ? next->position : 0, static_cast<int32_t>(block->size)});
        asFunction(scope, "freeListItemSet", "freeListItemSet failed",
                   [&] { writeBytes(handle, position, bytes.data(), bytes.size(), scope); });
    }
}

void FreeList::settle() noexcept
{
    const auto settleLeaf = [](Leaf& leaf) {
        for (uint32_t i = 0; i < leaf.count; ++i) {
            leaf.blocks[i].isNew = 0;
        }
    };
    if (touched_.size() >= count_ / 4) {
        std::ranges::for_each(leaves_, [&](const auto& leaf) { settleLeaf(*leaf); });
    } else {
        for (const uint32_t position : touched_) {
            settleLeaf(*leaves_[placeOf(position).leaf]);
        }
    }
    touched_.clear();
    taken_.clear();
    beginStep();
}

std::vector<FreeList::Stretch> FreeList::takenBytes(uint32_t least) const
{
    std::vector<Stretch> stretches;
    for (const FreeBlock& block : taken_) {
        if (block.size >= least + kNodeSize) {
            stretches.push_back({uint64_t{block.position} + kNodeSize, uint64_t{block.position} + block.size});
        }
    }
    std::ranges::sort(stretches, {}, &Stretch::start);
    return stretches;
}

bool FreeList::tookSinceStep(uint64_t start, uint64_t end) const
{
    for (std::size_t i = takenAtStep_; i < taken_.size(); ++i) {
        if (start >= uint64_t{taken_[i].position} + kNodeSize && end <= uint64_t{taken_[i].position} + taken_[i].size) {
            return true;
        }
    }
    return false;
}

void FreeList::beginStep() noexcept
{
    changes_.clear();
    takenAtStep_ = taken_.size();
    touchedAtStep_ = touched_.size();
}

void FreeList::undoStep() noexcept
{
    for (; !changes_.empty(); changes_.pop_back()) {
        const Change& change = changes_.back();
        if (change.inserted) {
            takeOut(change.block.position);
        } else {
            putIn(change.block);
        }
    }
    taken_.resize(takenAtStep_);
    touched_.resize(touchedAtStep_);
}

}  // namespace emantle::hfa
