#pragma once

#include "frame/guard/nested.h"
#include "store/mif/types.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <emantle/store/emif/design.h>

/* What an item holds in a host record. */

namespace emantle::mif {

/* The pointer and the count of an item, as they lie in the record. */
inline void* pointerIn(const Emif_DesignItem& item, const void* place) noexcept
{
    void* pointer;
    const auto* at = static_cast<const uint8_t*>(place);
    std::memcpy(&pointer, item.isCountedPointer != 0 ? at + offsetof(CountedPointer, pointer) : at, sizeof pointer);
    return pointer;
}

inline void setPointer(const Emif_DesignItem& item, void* place, void* pointer) noexcept
{
    auto* at = static_cast<uint8_t*>(place);
    std::memcpy(item.isCountedPointer != 0 ? at + offsetof(CountedPointer, pointer) : at, &pointer, sizeof pointer);
}

inline int32_t countIn(const void* place) noexcept
{
    int32_t count;
    std::memcpy(&count, place, sizeof count);
    return count;
}

inline void setCount(void* place, int32_t count) noexcept
{
    std::memcpy(place, &count, sizeof count);
}

/* A run of elements on the host. */
struct Elements {
    uint8_t* data;
    std::size_t count;
};

/* The elements of the item that lies at `place`. A null pointer has none; a text's negative count is settled. Fails where
 * another count is negative. */
Elements elementsOf(const Emif_DesignItem& item, const void* place);

inline Elements elementAt(const Emif_DesignItem& item, const Elements& elements, std::size_t index) noexcept
{
    return {elements.data + index * static_cast<std::size_t>(item.hostBytesPerElement), 1};
}

/* How the values of a BaseData lie: lines of elements, `pitch` bytes apart. */
struct Lines {
    std::size_t count;
    std::size_t perLine;
};

inline Lines linesOf(const Egda_BaseData& data) noexcept
{
    const auto rows = static_cast<std::size_t>(data.numrows < 0 ? 0 : data.numrows);
    const auto columns = static_cast<std::size_t>(data.numcolumns < 0 ? 0 : data.numcolumns);
    return data.objecttype == EGDA_MATRIX_OBJECT ? Lines{columns, rows} : Lines{rows, columns};
}

/* The item type of a BaseData's values; fails with "Invalid EMIF BaseData type!". */
Emif_Type valueTypeOf(Egda_PixelType datatype);

/* Fails with "Invalid object or design!". */
void requireWalk(const void* record, const Emif_Design* design);

/* Frees what BaseData elements, or the items of a record, point to, and nulls it. */
void releaseValues(EerrException& scope, void* baseData);
void releaseItems(EerrException& scope, void* record, const Emif_Design& design);
void releaseItem(EerrException& scope, void* place, const Emif_DesignItem& item);

}  // namespace emantle::mif
