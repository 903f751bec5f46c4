#include "store/mif/layout.h"

#include <algorithm>

namespace emantle::mif {

namespace {

int64_t roundedUp(int64_t offset, int64_t alignment) noexcept
{
    return (offset + alignment - 1) & ~(alignment - 1);
}

const char* nameOf(const Emif_DesignItem& item) noexcept
{
    return item.name == nullptr ? "" : item.name;
}

void addItem(Extent& extent, const Emif_DesignItem& item) noexcept
{
    extent.weight += 1 + item.enumCount;
    if (item.design != nullptr) {
        const Extent nested = extentOf(*item.design);
        extent.weight += nested.weight;
        extent.depth = std::max(extent.depth, nested.depth);
    }
}

}  // namespace

Extent extentOf(const Emif_Design& design) noexcept
{
    Extent extent{0, 1};
    for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
        addItem(extent, *item);
    }
    ++extent.depth;
    return extent;
}

uint64_t leastElementBytes(const Emif_DesignItem& item) noexcept
{
    if (isRecord(item.type)) {
        return item.design == nullptr ? 0 : leastStreamBytes(*item.design);
    }
    return isKnown(item.type) ? static_cast<uint64_t>(kTypes[item.type].mifBits) / 8 : 0;
}

uint64_t leastStreamBytes(const Emif_DesignItem& item) noexcept
{
    if (item.type == kNoType || !isKnown(item.type)) {
        return 0;
    }
    if (item.isPointer != 0) {
        return kHeadBytes;
    }
    const auto count = static_cast<uint64_t>(std::max<int32_t>(item.count, 0));
    return isRecord(item.type) ? count * leastElementBytes(item) : streamBytes(item.type, count);
}

uint64_t leastStreamBytes(const Emif_Design& design) noexcept
{
    uint64_t bytes = 0;
    for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
        bytes += leastStreamBytes(*item);
    }
    return bytes;
}

DesignBuilder::DesignBuilder() : design_(allocate<Emif_Design>().release())
{
    design_->alignment = 1;
}

Emif_DesignItem& DesignBuilder::append()
{
    Emif_DesignItem* item = allocate<Emif_DesignItem>().release();
    (last_ == nullptr ? design_->items : last_->next) = item;
    item->prev = last_;
    last_ = item;
    return *item;
}

void DesignBuilder::place()
{
    Emif_DesignItem& item = *last_;
    const TypeRow& type = kTypes[item.type];
    int64_t hostBytes = type.hostBytes;
    int64_t alignment = type.alignment;
    int64_t mifSize = (item.count * int64_t{type.mifBits} + 7) / 8;
    item.mifBytesPerElement = static_cast<float>(type.mifBits) / 8;
    if (isRecord(item.type)) {
        const int depth = extentOf(*item.design).depth + 1;
        require(depth <= EMIF_DEPTH_LIMIT, "Item %s nests designs %d deep; the limit is %d", nameOf(item), depth,
                int{EMIF_DEPTH_LIMIT});
        hostBytes = item.design->hostSize;
        alignment = std::max(item.design->alignment, 1);
        mifSize = item.count * int64_t{item.design->mifSize};
        item.mifBytesPerElement = static_cast<float>(item.design->mifSize);
    }
    item.hostBytesPerElement = static_cast<int32_t>(hostBytes);

    const bool leads = item.isPointer != 0 && item.type != kNoType;
    require(item.count >= 0 || (leads && isText(item.type)), "Item %s has the count %d", nameOf(item), item.count);
    int64_t hostSize = item.count * hostBytes;
    if (leads) {
        mifSize = kHeadBytes;
        hostSize = item.isCountedPointer != 0 ? kCountedPointerBytes : kPointerBytes;
        alignment = kPointerAlignment;
    }
    const int64_t hostOffset = roundedUp(offset_, alignment);
    require(hostOffset + hostSize <= kLargestSize - alignment && design_->mifSize + mifSize <= kLargestSize &&
                leastStreamBytes(item) <= static_cast<uint64_t>(kLargestSize),
            "Item %s is beyond 32 bits", nameOf(item));

    item.mifSize = static_cast<int32_t>(mifSize);
    item.hostSize = static_cast<int32_t>(hostSize);
    item.hostOffset = static_cast<int32_t>(hostOffset);
    if (item.prev != nullptr) {
        item.prev->padAfter = static_cast<int32_t>(hostOffset - offset_);
    }
    offset_ = hostOffset + hostSize;
    design_->mifSize += item.mifSize;
    design_->alignment = std::max(design_->alignment, static_cast<int32_t>(alignment));
}

DesignPtr DesignBuilder::finish(HeapPtr<char> name)
{
    const int64_t end = roundedUp(offset_, design_->alignment);
    require(end <= kLargestSize, "Design %s is beyond 32 bits", name.get());
    if (last_ != nullptr) {
        last_->padAfter = static_cast<int32_t>(end - offset_);
    }
    design_->hostSize = static_cast<int32_t>(end);
    design_->name = name.release();
    return std::move(design_);
}

}  // namespace emantle::mif
