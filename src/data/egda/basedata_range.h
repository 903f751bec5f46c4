#pragma once

#include "platform/cpu.h"

#include <emantle/data/egda/types.h>

/* Limits and ranges of lines of elements. */

namespace emantle {

/* `count` lines of `run` elements, `pitch` bytes apart. */
struct Lines {
    char* first;
    long pitch;
    long count;
    long run;
};

struct RangeRoutines {
    /* Limits every element. */
    void (*clip)(const Lines& lines, double least, double greatest);
    /* Finds the least and the greatest element; there must be one. */
    void (*range)(const Lines& lines, double& least, double& greatest);
};

/* By type code; the machine must have `set`. */
const RangeRoutines* rangeTable(platform::InstructionSet set) noexcept;

}  // namespace emantle
