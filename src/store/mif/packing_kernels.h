#pragma once

#include <cstddef>
#include <cstdint>

/* The packed types: a byte an element on the host, element i in the bits from (i x bits) modulo 8 of its stream byte on.
 * `bits` is 1, 2 or 4. */

namespace emantle::mif {

/* Fills streamBytes(count) bytes for a count above 0. A value beyond the type's range runs into the bits above it. */
void pack(const uint8_t* elements, std::size_t count, int bits, uint8_t* packed) noexcept;

void unpack(const uint8_t* packed, std::size_t count, int bits, uint8_t* elements) noexcept;

/* An enumeration: 32 bits on the host, the low 16 of them in the stream. */
void narrowEnums(const void* elements, std::size_t count, uint8_t* stream) noexcept;
void widenEnums(const uint8_t* stream, std::size_t count, void* elements) noexcept;

}  // namespace emantle::mif
