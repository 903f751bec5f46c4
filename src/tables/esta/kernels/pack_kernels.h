#pragma once

#include "tables/esta/kernels/block.h"

namespace emantle {

/* Room that a loop may spoil behind what it packs. */
inline constexpr long kPackSlack = 16;

/* Puts the pixels of four bytes that are under the mask one behind the other; how many they are. */
using PackLoop = long (*)(const void* pixels, const std::uint8_t* mask, long count, void* packed);
PackLoop packLoop() noexcept;

}  // namespace emantle
