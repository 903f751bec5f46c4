#include "data/bin_operators/byte_table.h"
#include "data/epxm/convert.h"
#include "data/operators/frame.h"

#include <emantle/data/bin_operators.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <new>

using namespace emantle;

namespace {

constexpr long kPiece = 2048;

/* The elements of a table in the type of the destination, and bytes padded to 256 of them. */
class Table {
public:
    Table(const Egda_BaseData& table, Egda_PixelType type)
        : elements_(static_cast<const char*>(table.data)), count_(table.numelements), size_(egda_NumBytePerPixelFromType(type))
    {
        if (table.datatype != type) {
            converted_.reset(new (std::nothrow) char[static_cast<std::size_t>(count_ * size_)]);
            elements_ = converted_.get();
            if (elements_ != nullptr) {
                convertRoutine(table.datatype, type)(table.data, converted_.get(), count_);
            }
        }
        if (elements_ != nullptr && size_ == 1) {
            std::memcpy(bytes_, elements_, static_cast<std::size_t>(std::clamp(count_, 0L, 256L)));
        }
    }

    bool isComplete() const { return elements_ != nullptr; }
    const char* elements() const { return elements_; }
    const std::uint8_t* bytes() const { return bytes_; }
    long count() const { return count_; }
    long size() const { return size_; }

private:
    std::unique_ptr<char[]> converted_;
    const char* elements_;
    const long count_;
    const long size_;
    std::uint8_t bytes_[256] = {};
};

template <class Index>
Index indexAt(const char* source, long i)
{
    Index value;
    std::memcpy(&value, source + i * static_cast<long>(sizeof value), sizeof value);
    return value;
}

/* The first of `count` elements that is no index of `size` elements. */
template <class Index>
long firstOutside(const char* source, long count, long size)
{
    bool outside = false;
    for (long i = 0; i < count; ++i) {
        const auto index = static_cast<long>(indexAt<Index>(source, i));
        outside |= static_cast<unsigned long>(index) >= static_cast<unsigned long>(size);
    }
    long i = outside ? 0 : count;
    while (i < count && static_cast<unsigned long>(static_cast<long>(indexAt<Index>(source, i))) <
                            static_cast<unsigned long>(size)) {
        ++i;
    }
    return i;
}

template <class Index, std::size_t size>
void take(char* to, const char* source, const char* table, long count)
{
    for (long i = 0; i < count; ++i) {
        std::memcpy(to + i * static_cast<long>(size),
                    table + static_cast<long>(indexAt<Index>(source, i)) * static_cast<long>(size), size);
    }
}

/* Elements of the table for indices that are all inside it. */
template <class Index>
void find(char* to, const char* source, const Table& table, long count)
{
    switch (table.size()) {
    case 1:
        if constexpr (std::is_same_v<Index, std::uint8_t>) {
            return lookUpBytes(reinterpret_cast<std::uint8_t*>(to), reinterpret_cast<const std::uint8_t*>(source),
                               table.bytes(), count);
        } else {
            return take<Index, 1>(to, source, table.elements(), count);
        }
    case 2: return take<Index, 2>(to, source, table.elements(), count);
    case 4: return take<Index, 4>(to, source, table.elements(), count);
    case 8: return take<Index, 8>(to, source, table.elements(), count);
    default: return take<Index, 16>(to, source, table.elements(), count);
    }
}

/* Where the elements of a line are, and which of them the mask shows. */
struct LinePiece {
    char* to;
    const char* from;
    const std::uint8_t* shown; /* null for all */
    long count;
};

/* How many elements of the piece could be looked up. */
template <class Index>
long lookUpPiece(const LinePiece& piece, const Table& table, Egda_PixelType type)
{
    const MaskLoops& masks = maskLoops(platform::fastestInstructionSet());
    const Cover cover = piece.shown == nullptr ? Cover::every : masks.coverOf(piece.shown, piece.count);
    if (cover == Cover::none) {
        return piece.count;
    }
    char indices[kPiece * sizeof(Index)];
    const char* from = piece.from;
    if (cover == Cover::some) { /* what is not shown is looked up as an index that there is */
        std::memset(indices, 0, sizeof indices);
        masks.blend[std::countr_zero(sizeof(Index))](indices, piece.from, piece.shown, piece.count);
        from = indices;
    }
    const bool everyByte = sizeof(Index) == 1 && std::is_unsigned_v<Index> && table.count() >= 256;
    const long good = everyByte ? piece.count : firstOutside<Index>(from, piece.count, table.count());
    if (type == EGDA_TYPE_STRING) {
        for (long i = 0; i < good; ++i) {
            if (piece.shown == nullptr || piece.shown[i] != 0) {
                convertRoutine(type, type)(table.elements() + static_cast<long>(indexAt<Index>(from, i)) * table.size(),
                                           piece.to + i * table.size(), 1);
            }
        }
    } else if (cover == Cover::every) {
        find<Index>(piece.to, from, table, good);
    } else {
        alignas(16) char found[kPiece * sizeof(Egda_Complex128)];
        find<Index>(found, from, table, good);
        masks.blend[std::countr_zero(static_cast<unsigned long>(table.size()))](piece.to, found, piece.shown, good);
    }
    return good;
}

template <class Index>
void lookUp(const Egda_BaseData* tableRecord, const Egda_BaseData* source, Egda_BaseData* dest,
            const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_SaoLookUpValue", err);
    if (convertRoutine(tableRecord->datatype, dest->datatype) == nullptr) {
        return egda_NoOperation(nullptr, nullptr, scope), scope.raise({nullptr, 1});
    }
    const Table table(*tableRecord, dest->datatype);
    if (!table.isComplete()) {
        return scope.raise({"Out of memory", 5});
    }
    const bool isConstant = source->objecttype == EGDA_SCALAR_OBJECT;
    char constant[kPiece * sizeof(Index)];
    for (long i = 0; i < kPiece && isConstant; ++i) {
        std::memcpy(constant + i * static_cast<long>(sizeof(Index)), source->data, sizeof(Index));
    }
    const Walk walk = walkOf(*dest);
    const long step = static_cast<long>(sizeof(Index));
    for (long line = 0; line < walk.lines; ++line) {
        char* to = static_cast<char*>(dest->data) + line * lineStride(*dest, dest->numbytes);
        const char* from = static_cast<const char*>(source->data) + line * lineStride(*source, source->numbytes);
        const std::uint8_t* shown =
            mask == nullptr ? nullptr : static_cast<const std::uint8_t*>(mask->firstelement) + line * mask->pitch;
        for (long place = 0; place < walk.run; place += kPiece) {
            const long count = std::min(kPiece, walk.run - place);
            const LinePiece piece{to + place * dest->numbytes, isConstant ? constant : from + place * step,
                                  shown == nullptr ? nullptr : shown + place, count};
            if (lookUpPiece<Index>(piece, table, dest->datatype) < count) {
                return scope.raise({"Data value out of the range of LUT", 1});
            }
        }
    }
}

void notServed(const Egda_BaseData*, const Egda_BaseData*, Egda_BaseData*, const Egda_BaseData*, Eerr_ErrorReport** err)
{
    egda_NoOperation(nullptr, nullptr, err);
}

constexpr Egda_LookUpRoutine kLookUp[EGDA_NUM_TYPES] = {
    lookUp<std::uint8_t>,  lookUp<std::uint8_t>, lookUp<std::uint8_t>,  lookUp<std::uint8_t>, lookUp<std::int8_t>,
    lookUp<std::uint16_t>, lookUp<std::int16_t>, lookUp<std::uint32_t>, lookUp<std::int32_t>, notServed,
    notServed,             notServed,            notServed,             notServed};

}  // namespace

EMANTLE_API const Egda_LookUpRoutine* emsc_AddressOf_egda_SaoLookUpValue(void)
{
    return kLookUp;
}
