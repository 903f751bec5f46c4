#pragma once

#include <cstdint>

namespace emantle {

/* The bytes of `table`, of 256, that `source` asks for. The destination may be the source. */
void lookUpBytes(std::uint8_t* dest, const std::uint8_t* source, const std::uint8_t* table, long count) noexcept;

/* By what the processor must have, for tests: what it lacks is null. */
using ByteTableLoop = void (*)(std::uint8_t* dest, const std::uint8_t* source, const std::uint8_t* table, long count);
struct ByteTableLoops {
    ByteTableLoop plain;
    ByteTableLoop shuffles;     /* AVX2 */
    ByteTableLoop permutations; /* AVX-512 VBMI */
};
ByteTableLoops byteTableLoops() noexcept;

}  // namespace emantle
