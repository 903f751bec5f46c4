#pragma once

#include "platform/cpu.h"

#include <emantle/data/epxm/convert.h>

/* The conversion tables as the library itself uses them. */

namespace emantle {

/* 14 rows of the loops for `set`, which the machine must have. */
const Epxm_ConvertRow* convertTable(platform::InstructionSet set) noexcept;
const Epxm_ConvertIncRow* convertIncTable() noexcept;
const Epxm_FillRoutine* fillTable() noexcept;
const Epxm_FillIncRoutine* fillIncTable() noexcept;

constexpr bool isPixelType(Egda_PixelType type) noexcept
{
    return type >= 0 && type < EGDA_NUM_TYPES;
}

/* The cell; null where there is no conversion and for types that do not exist. */
Epxm_ConvertRoutine convertRoutine(Egda_PixelType from, Egda_PixelType to) noexcept;

/* The cells of strings: arrays of pointers to heap strings. */
void convertStrings(const void* source, void* dest, long count);
void convertStringsInc(const void* source, void* dest, long count, long sourceStep, long destStep);
void fillStrings(void* dest, const void* value, long count);
void fillStringsInc(void* dest, const void* value, long count, long step);

}  // namespace emantle
