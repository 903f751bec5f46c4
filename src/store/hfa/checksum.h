#pragma once

#include <cstddef>
#include <cstdint>

namespace emantle::hfa {

/* CRC-32 as in ISO 3309: the polynomial 0xEDB88320 reflected, start and end inverted. `before` is the checksum of the
 * bytes in front of these. */
uint32_t checksum(const unsigned char* bytes, std::size_t size, uint32_t before = 0) noexcept;

}  // namespace emantle::hfa
