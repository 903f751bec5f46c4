#pragma once

#include <cstddef>
#include <cstdint>

namespace emantle::mif {

/* The piece in which bytes are gathered on their way to and from a file. */
inline constexpr std::size_t kScratchSize = 65536;

/* This thread's, kScratchSize bytes; it goes with the thread. Fails with " Not enough memory: allocation failure". A
 * conversion holds it from start to end, and conversions do not nest within a thread. */
uint8_t* scratch();

}  // namespace emantle::mif
