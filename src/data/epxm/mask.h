#pragma once

#include <cstdint>

namespace emantle {

/* Combine `count` bytes of two masks into a third, which may be one of them. */
void maskOr(std::uint8_t* dest, const std::uint8_t* a, const std::uint8_t* b, long count) noexcept;
void maskAnd(std::uint8_t* dest, const std::uint8_t* a, const std::uint8_t* b, long count) noexcept;
void maskNotAnd(std::uint8_t* dest, const std::uint8_t* a, const std::uint8_t* b, long count) noexcept;

}  // namespace emantle
