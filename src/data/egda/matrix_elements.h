#pragma once

#include <emantle/data/egda/basedata.h>

#include <cstring>

/* Elements of a record by row and column, whatever its lines are. */

namespace emantle {

struct MatrixElements {
    char* first;
    long rowStep; /* bytes */
    long columnStep;

    explicit MatrixElements(const Egda_BaseData& base) noexcept
        : first(static_cast<char*>(base.data)),
          rowStep(base.objecttype == EGDA_MATRIX_OBJECT ? base.numbytes : base.pitch),
          columnStep(base.objecttype == EGDA_MATRIX_OBJECT ? base.pitch : base.numbytes)
    {
    }

    char* at(long row, long column) const noexcept { return first + row * rowStep + column * columnStep; }
};

/* Copies `count` elements of `size` bytes. */
template <std::size_t size>
inline void copySteps(char* to, long toStep, const char* from, long fromStep, long count) noexcept
{
    for (long i = 0; i < count; ++i) {
        std::memcpy(to + i * toStep, from + i * fromStep, size);
    }
}

inline void copyElements(char* to, long toStep, const char* from, long fromStep, long count, long size) noexcept
{
    if (toStep == size && fromStep == size) {
        std::memcpy(to, from, static_cast<std::size_t>(count * size));
        return;
    }
    switch (size) {
    case 1: return copySteps<1>(to, toStep, from, fromStep, count);
    case 2: return copySteps<2>(to, toStep, from, fromStep, count);
    case 4: return copySteps<4>(to, toStep, from, fromStep, count);
    case 8: return copySteps<8>(to, toStep, from, fromStep, count);
    default: return copySteps<16>(to, toStep, from, fromStep, count);
    }
}

}  // namespace emantle
