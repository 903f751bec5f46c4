#pragma once

#include <emantle/data/egda.h>

#include <cstddef>
#include <cstdint>

namespace tool {

/* Sets each byte of `mask` to 1 where the pixel is a number, in both parts of a complex one, and to 0 elsewhere. */
void markNumbers(Egda_PixelType type, const void* pixels, std::size_t count, std::uint8_t* mask);

/* The greatest pixel under `mask` (null for all), the magnitude of complex ones; `greatest` itself when none is above. */
double greatestOf(Egda_PixelType type, const void* pixels, const std::uint8_t* mask, std::size_t count, double greatest);

}  // namespace tool
