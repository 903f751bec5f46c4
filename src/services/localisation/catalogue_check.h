#pragma once

#include <cstddef>
#include <span>

namespace emantle {

/* The reader of catalogues follows lengths and offsets without looking where they lead. Zeros of this many bytes behind
 * the last one stop the one walk that is not worth checking link by link. */
inline constexpr std::size_t kCataloguePadding = 512;

/* Whether every offset and length in the bytes of a .qm file leads to where it should, so that the reader stays inside
 * the bytes and their padding. Linear in the size. */
bool isSoundCatalogue(std::span<const unsigned char> bytes);

} // namespace emantle
