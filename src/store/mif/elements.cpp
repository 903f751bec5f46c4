#include "store/mif/elements.h"

namespace emantle::mif {

namespace {

std::size_t settled(const Emif_DesignItem& item, int32_t count, const void* data)
{
    if (count < 0) {
        require(isText(item.type), "Item %s holds %d elements", item.name, count);
        return std::strlen(static_cast<const char*>(data)) + 1;
    }
    return static_cast<std::size_t>(count);
}

}  // namespace

Elements elementsOf(const Emif_DesignItem& item, const void* place)
{
    void* data = item.isPointer == 0 ? const_cast<void*>(place) : pointerIn(item, place);
    if (data == nullptr) {
        return {nullptr, 0};
    }
    return {static_cast<uint8_t*>(data), settled(item, item.isCountedPointer != 0 ? countIn(place) : item.count, data)};
}

Emif_Type valueTypeOf(Egda_PixelType datatype)
{
    require(datatype >= EGDA_TYPE_U1 && datatype <= EGDA_TYPE_C128, "Invalid EMIF BaseData type!");
    return kValueTypes[datatype];
}

void requireWalk(const void* record, const Emif_Design* design)
{
    require(record != nullptr && design != nullptr && design->items != nullptr, "Invalid object or design!");
}

}  // namespace emantle::mif
