#pragma once

#include "platform/cpu.h"

#include <emantle/data/egda/types.h>

/* Loops of the group functions over pieces: runs of elements of one line, so short that all sources of a piece stay in the
 * cache while the loop goes over them one by one. */

namespace emantle {

inline constexpr long kGroupPiece = 512;

/* `sources` of `n` pieces, with `count` elements each. */
struct GroupPiece {
    const void* const* sources;
    long n;
    long count;
};

/* Writes `count` results; `parameter` and `scratch` are told with each loop. */
using GroupLoop = void (*)(void* out, const GroupPiece& piece, long parameter, void* scratch);

/* For one type; null for what it does not serve. */
struct GroupLoops {
    GroupLoop mean;      /* F64, or C128 */
    GroupLoop sdevi;     /* F64, or C128; scratch: a piece of those */
    GroupLoop diversity; /* S32; scratch: a piece of S32 */
    GroupLoop density;   /* S32, of the sources from 1 on that equal source 0 */
    GroupLoop majority;  /* the type; scratch: two pieces of S32 */
    GroupLoop minority;
    GroupLoop position;  /* the type: the value at place `parameter`; scratch: n pieces of the type */
    GroupLoop rank;      /* S32: how many are below source `parameter` */
    GroupLoop index;     /* S32 */
    GroupLoop nonZero;   /* bytes, 1 where source 0 is not 0 */
};

/* By type code, for all but strings. */
const GroupLoops* groupLoops(platform::InstructionSet set) noexcept;

/* The parts of a colour, from the three or four channels of a piece of F64, each over its maximum. */
using ColourLoop = void (*)(double* out, const GroupPiece& piece, const double* maxima);

enum class Colour { inten, hue, satur, red, green, blue, hsvRed, hsvGreen, hsvBlue, cymkRed, cymkGreen, cymkBlue, count };
const ColourLoop* colourLoops(platform::InstructionSet set) noexcept;

struct SelectorLoops {
    /* Numbers cut to whole ones from 1 to `end` - 1; 0 for all others. */
    void (*cut)(std::int32_t* numbers, const double* values, long end, long count);
    /* 1 where the number is `wanted`. */
    void (*markEqual)(std::uint8_t* marks, const std::int32_t* numbers, std::int32_t wanted, long count);
};
const SelectorLoops& selectorLoops(platform::InstructionSet set) noexcept;

}  // namespace emantle
