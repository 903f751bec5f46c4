#pragma once

#include <cstddef>
#include <cstdint>

namespace emantle::hfa {

/* CRC-32C: the polynomial 0x82F63B78 reflected, start and end inverted. */
uint32_t checksum(const unsigned char* bytes, std::size_t size) noexcept;

}  // namespace emantle::hfa
