#include "store/hfa/block_store.h"

#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/space.h"

#include <emantle/siblings/ethr.h>
#include <algorithm>
#include <bit>
#include <cstring>

namespace emantle::hfa {

/* Index blocks are used where they lie, as numbers of the host. */
static_assert(std::endian::native == std::endian::little, "positions have the byte order of the file");

namespace {

/* Positions in an index are the file's word only. */
void requireBlock(const Handle& handle, uint32_t position, long size)
{
    require(size >= 0 && isAllocatable(handle, position, static_cast<uint64_t>(size)),
            "A block of %ld bytes at %ld does not lie in file %s", size, static_cast<long>(position),
            handle.nameText.c_str());
}

template <class Body>
Emsc_Boolean onFile(void* data, const char* function, Eerr_ErrorReport** err, Body&& body)
{
    return guarded<Emsc_Boolean>(err, function, 0, [&](EerrException& scope) {
        Handle& handle = opened(static_cast<Ehfa_File*>(data));
        Activity activity(handle, scope);
        body(handle, scope);
        return 1;
    });
}

constexpr Ehfa_CacheMethods kFileMethods = {
    [](void* data, uint32_t position, void* buffer, long size, Eerr_ErrorReport** err) {
        return onFile(data, "ehfa_CacheReadBlock", err, [&](Handle& handle, EerrException& scope) {
            requireBlock(handle, position, size);
            readBytes(handle, position, buffer, static_cast<std::size_t>(size), scope);
        });
    },
    [](void* data, uint32_t position, const void* buffer, long size, Eerr_ErrorReport** err) {
        return onFile(data, "ehfa_CacheWriteBlock", err, [&](Handle& handle, EerrException& scope) {
            requireBlock(handle, position, size);
            writeBytes(handle, position, buffer, static_cast<std::size_t>(size), scope);
        });
    },
    [](void* data, long size, Eerr_ErrorReport** err) -> uint32_t {
        uint32_t position = 0;
        onFile(data, "ehfa_NextFreePos", err,
               [&](Handle& handle, EerrException& scope) { position = allocateBlock(handle, size, scope); });
        return position;
    },
    [](void* data, uint32_t position, long size, Eerr_ErrorReport** err) {
        return onFile(data, "ehfa_FreeSpace", err,
                      [&](Handle& handle, EerrException& scope) { freeBlock(handle, position, size, scope); });
    },
};

}  // namespace

BlockAccess accessTo(Ehfa_File* file) { return {&kFileMethods, file}; }

void BlockAccess::read(uint32_t position, void* buffer, int32_t size, EerrException& scope) const
{
    const EthrMTUnsafeCode section;
    checked(scope, methods->read(data, position, buffer, size, scope));
}

void BlockAccess::write(uint32_t position, const void* buffer, int32_t size, EerrException& scope) const
{
    const EthrMTUnsafeCode section;
    checked(scope, methods->write(data, position, buffer, size, scope));
}

uint32_t BlockAccess::allocate(int32_t size, EerrException& scope) const
{
    const EthrMTUnsafeCode section;
    return checked(scope, methods->allocate(data, size, scope), "error allocating block!");
}

void BlockAccess::release(uint32_t position, int32_t size, EerrException& scope) const
{
    if (methods->release != nullptr) {
        const EthrMTUnsafeCode section;
        checked(scope, methods->release(data, position, size, scope));
    }
}

BlockStore::BlockStore(const BlockAccess& access, Ehfa_File* ownFile, int32_t size, int32_t slotsWanted, int32_t count,
                       uint32_t root, EerrException& scope)
    : Ehfa_Cache{}, access_(access)
{
    require(size >= 8 && size % 4 == 0 && slotsWanted >= 1 && count >= 0,
            "There is no cache of %ld blocks of %ld bytes in %ld slots", long{count}, long{size}, long{slotsWanted});
    file = ownFile;
    blockSize = size;
    blockCount = count;
    slotCount = slotsWanted;
    makeSlots();
    if (count > perBlock()) {
        const int32_t indexBlocks = (count - 1) / perBlock() + 1;
        setAbove(asFunction(scope, "ehfa_CacheNew", "error creating cache!", [&] {
            return std::make_unique<BlockStore>(access, ownFile, size, slotsWanted, indexBlocks, root, scope);
        }));
        return;
    }
    std::vector<uint32_t> positions(static_cast<std::size_t>(perBlock()));
    if (root != 0) {
        asFunction(scope, "ehfa_CacheNew", "error reading block!",
                   [&] { access_.read(root, positions.data(), blockSize, scope); });
    }
    /* A block store that is only read never gets a root block. */
    const bool canGrow = file == nullptr || !file->readOnly;
    positionsChanged_ = root == 0 && canGrow;
    setTop(std::move(positions), positionsChanged_ ? access_.allocate(blockSize, scope) : root);
}

BlockStore::BlockStore(BlockStore& below, uint32_t root) : Ehfa_Cache{}, access_(below.access_)
{
    file = below.file;
    blockSize = below.blockSize;
    blockCount = 1;
    slotCount = below.slotCount;
    makeSlots();
    std::vector<uint32_t> positions(static_cast<std::size_t>(perBlock()));
    positions[0] = below.rootPtr;
    setTop(std::move(positions), root);
    positionsChanged_ = true;
    buffers_[0].resize(static_cast<std::size_t>(blockSize));
    std::memcpy(buffers_[0].data(), below.positions_.data(), buffers_[0].size());
    slots[0] = {0, below.rootPtr, 1, buffers_[0].data()};
    nextVictim = slotCount > 1 ? 1 : 0;
}

void BlockStore::makeSlots()
{
    ring_.assign(static_cast<std::size_t>(slotCount), Ehfa_CacheSlot{-1, 0, 0, nullptr});
    buffers_.resize(ring_.size());
    lent_.assign(ring_.size(), false);
    slots = ring_.data();
}

void BlockStore::setTop(std::vector<uint32_t> positions, uint32_t root)
{
    positions_ = std::move(positions);
    index = positions_.data();
    rootPtr = root;
    above_.reset();
    parent = nullptr;
}

void BlockStore::setAbove(std::unique_ptr<BlockStore> above)
{
    above_ = std::move(above);
    parent = above_.get();
    positions_.clear();
    positions_.shrink_to_fit();
    positionsChanged_ = positionsLent_ = false;
    index = nullptr;
    rootPtr = 0;
}

void BlockStore::writeSlot(const Ehfa_CacheSlot& slot, EerrException& scope)
{
    if (slot.dirty && slot.position != 0) {
        asFunction(scope, "ehfa_CacheWriteBuffer", "error writing cache buffer!",
                   [&] { access_.write(slot.position, slot.buffer, blockSize, scope); });
    }
}

/* The next victim of the ring, written and with a buffer. */
Ehfa_CacheSlot& BlockStore::emptySlot(EerrException& scope)
{
    const auto at = static_cast<std::size_t>(nextVictim);
    Ehfa_CacheSlot& slot = ring_[at];
    writeSlot(slot, scope);
    buffers_[at].resize(static_cast<std::size_t>(blockSize));
    slot = {-1, 0, 0, buffers_[at].data()};
    lent_[at] = false;
    nextVictim = (nextVictim + 1) % slotCount;
    return slot;
}

Ehfa_CacheSlot& BlockStore::fetch(int32_t number, Use use, EerrException& scope)
{
    require(number >= 0 && number < blockCount, "Block number (%d) not allocated!", number);
    const Emsc_Boolean dirty = use != Use::read ? 1 : 0;
    for (Ehfa_CacheSlot& slot : ring_) {
        if (slot.number == number) {
            slot.dirty |= dirty;
            current = &slot;
            return slot;
        }
    }
    const uint32_t place = asFunction(scope, "ehfa_CacheGetBlockPtrAddr", "error finding cache block!",
                                      [&] { return *pointerTo(number, false, scope); });
    Ehfa_CacheSlot& slot = emptySlot(scope);
    if (use != Use::overwrite) {
        asFunction(scope, "ehfa_CacheReadBuffer", "error reading cache block!",
                   [&] { access_.read(place, slot.buffer, blockSize, scope); });
    }
    slot = {number, place, dirty, slot.buffer};
    current = &slot;
    return slot;
}

uint32_t* BlockStore::pointerTo(int32_t number, bool write, EerrException& scope)
{
    require(number >= 0 && number < blockCount, "Block number (%d) is not allocated!", number);
    if (above_ == nullptr) {
        positionsChanged_ = positionsChanged_ || write;
        return &positions_[static_cast<std::size_t>(number)];
    }
    const Ehfa_CacheSlot& block = asFunction(scope, "ehfa_CacheGetBlock", " err retrieving cache ptr!", [&]() -> auto& {
        return above_->fetch(number / perBlock(), write ? Use::write : Use::read, scope);
    });
    return static_cast<uint32_t*>(block.buffer) + number % perBlock();
}

namespace {

/* A block that goes back unless it is kept. */
class FreshBlock {
public:
    FreshBlock(const BlockAccess& access, int32_t size, EerrException& scope)
        : access_(access), size_(size), position_(access.allocate(size, scope))
    {
    }
    ~FreshBlock()
    {
        if (position_ != 0) {
            Eerr_ErrorReport* unheard = nullptr;
            if (access_.methods->release != nullptr) {
                access_.methods->release(access_.data, position_, size_, &unheard);
            }
            eerr_DeleteErrorReportEx(&unheard);
        }
    }
    FreshBlock(const FreshBlock&) = delete;
    FreshBlock& operator=(const FreshBlock&) = delete;
    uint32_t position() const { return position_; }
    uint32_t keep() { return std::exchange(position_, 0); }

private:
    BlockAccess access_;
    int32_t size_;
    uint32_t position_;
};

}  // namespace

void BlockStore::extend(EerrException& scope)
{
    require(blockCount < static_cast<int32_t>(kFileLimit) / blockSize,
            "Cannot allocate free block; resulting file would exceed the OS or EHFA limit");
    Ehfa_CacheSlot& slot = emptySlot(scope);
    FreshBlock block(access_, blockSize, scope);
    if (above_ == nullptr && blockCount == perBlock()) {
        FreshBlock root(access_, blockSize, scope);
        std::unique_ptr<BlockStore> top(new BlockStore(*this, root.position()));
        asFunction(scope, "ehfa_CacheExtend", "error extending cache!", [&] { top->extend(scope); });
        root.keep();
        setAbove(std::move(top));
    } else if (above_ != nullptr && blockCount / perBlock() == above_->blockCount) {
        asFunction(scope, "ehfa_CacheExtend", "error extending cache!", [&] { above_->extend(scope); });
    }
    ++blockCount;
    try {
        *pointerTo(blockCount - 1, true, scope) = block.position();
    } catch (...) {
        --blockCount;
        throw;
    }
    std::memset(slot.buffer, 0, static_cast<std::size_t>(blockSize));
    slot = {blockCount - 1, block.keep(), 1, slot.buffer};
    current = &slot;
}

void BlockStore::reduce(std::vector<uint32_t>& gone, EerrException& scope)
{
    require(blockCount > 0, "Block number (%d) not allocated!", blockCount);
    const int32_t last = blockCount - 1;
    const uint32_t place = *pointerTo(last, false, scope);
    gone.reserve(gone.size() + 2);
    if (above_ != nullptr && last % perBlock() == 0) {
        std::vector<uint32_t> positions;
        uint32_t root = 0;
        const bool isOneLeft = above_->blockCount == 2;
        if (isOneLeft) {
            const Ehfa_CacheSlot& first = above_->fetch(0, Use::read, scope);
            const auto* entries = static_cast<const uint32_t*>(first.buffer);
            positions.assign(entries, entries + perBlock());
            root = first.position;
        }
        above_->reduce(gone, scope);
        if (isOneLeft) {
            gone.push_back(above_->rootPtr);
            setTop(std::move(positions), root);
            positionsChanged_ = true;
        }
    }
    for (Ehfa_CacheSlot& slot : ring_) {
        if (slot.number == last) {
            slot = {-1, 0, 0, slot.buffer};
        }
    }
    --blockCount;
    byteCount = static_cast<int32_t>(std::min<int64_t>(byteCount, int64_t{blockCount} * blockSize));
    gone.push_back(place);
}

void BlockStore::flush(bool keepLent, EerrException& scope)
{
    for (std::size_t i = 0; i < ring_.size(); ++i) {
        writeSlot(ring_[i], scope);
        ring_[i].dirty = keepLent && lent_[i] ? ring_[i].dirty : 0;
    }
    if (above_ != nullptr) {
        asFunction(scope, "ehfa_CacheFlush", "error flushing cache!", [&] { above_->flush(keepLent, scope); });
    } else if (positionsChanged_) {
        asFunction(scope, "ehfa_CacheWriteRoot", "error writing cache to file",
                   [&] { access_.write(rootPtr, positions_.data(), blockSize, scope); });
        positionsChanged_ = keepLent && positionsLent_;
    }
}

void BlockStore::lendPointer(int32_t number)
{
    if (above_ == nullptr) {
        positionsLent_ = true;
        return;
    }
    for (const Ehfa_CacheSlot& slot : above_->ring_) {
        if (slot.number == number / perBlock()) {
            above_->lend(slot);
        }
    }
}

bool BlockStore::isDirty() const
{
    return positionsChanged_ || std::ranges::any_of(ring_, [](const Ehfa_CacheSlot& slot) { return slot.dirty != 0; }) ||
           (above_ != nullptr && above_->isDirty());
}

BlockStore::BlockStore(const BlockStore& other, Copy)
    : Ehfa_Cache(other), node(other.node), stored(other.stored), access_(other.access_), positions_(other.positions_),
      positionsChanged_(other.positionsChanged_), positionsLent_(other.positionsLent_), lent_(other.lent_),
      ring_(other.ring_), buffers_(other.buffers_)
{
    slots = ring_.data();
    current = other.current != nullptr ? &ring_[static_cast<std::size_t>(other.current - other.ring_.data())] : nullptr;
    if (other.above_ != nullptr) {
        above_ = other.above_->copy();
    }
}

std::unique_ptr<BlockStore> BlockStore::copy() const { return std::unique_ptr<BlockStore>(new BlockStore(*this, Copy())); }

void BlockStore::takeBack(BlockStore& kept) noexcept
{
    blockCount = kept.blockCount;
    byteCount = kept.byteCount;
    rootPtr = kept.rootPtr;
    nextVictim = kept.nextVictim;
    position = kept.position;
    stored = kept.stored;
    positionsChanged_ = kept.positionsChanged_;
    positionsLent_ = kept.positionsLent_;
    if (positions_.size() == kept.positions_.size()) {
        std::ranges::copy(kept.positions_, positions_.begin());
    } else {
        positions_.swap(kept.positions_);
    }
    current = nullptr;
    for (std::size_t i = 0; i < ring_.size(); ++i) {
        if (buffers_[i].size() == kept.buffers_[i].size()) {
            std::ranges::copy(kept.buffers_[i], buffers_[i].begin());
        }
        ring_[i] = kept.ring_[i];
        ring_[i].buffer = buffers_[i].empty() ? nullptr : buffers_[i].data();
        lent_[i] = kept.lent_[i];
        if (kept.current == &kept.ring_[i]) {
            current = &ring_[i];
        }
    }
    if (above_ != nullptr && kept.above_ != nullptr) {
        above_->takeBack(*kept.above_);
    } else {
        above_ = std::move(kept.above_);
    }
    parent = above_.get();
    index = above_ == nullptr ? positions_.data() : nullptr;
}

}  // namespace emantle::hfa
