#pragma once

#include "image/tiff_layout.h"

#include <cstddef>

namespace tool {

/* Takes a run of packed pixels apart: sample k of each of the `pixels` pixels goes to `targets[k]`, as the format's
 * pixel type. `packed` holds whole rows of a strip or tile, one of which this is. */
void unpackRow(const SampleFormat& format, const std::byte* packed, std::size_t pixels, std::size_t samples,
               std::byte* const* targets);

}  // namespace tool
