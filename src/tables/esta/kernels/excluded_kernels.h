#pragma once

#include "tables/esta/kernels/block.h"

namespace emantle {

/* Sets the mask of `block` to 0 where a pixel equals one of `count` values of its type. A complex pixel is equal in
 * both parts. */
void clearWhereEqual(const PixelBlock& block, Egda_PixelType type, const std::byte* values, long count) noexcept;

}  // namespace emantle
