#include "data/epxm/mask.h"

/* Bytes hold all the lanes that the baseline has, so one loop each serves every machine. */

namespace emantle {

namespace {

template <class Operation>
void combine(std::uint8_t* dest, const std::uint8_t* a, const std::uint8_t* b, long count, Operation operation)
{
    for (long i = 0; i < count; ++i) {
        dest[i] = operation(a[i], b[i]);
    }
}

}  // namespace

void maskOr(std::uint8_t* dest, const std::uint8_t* a, const std::uint8_t* b, long count) noexcept
{
    combine(dest, a, b, count, [](unsigned x, unsigned y) { return static_cast<std::uint8_t>((x | y) != 0); });
}

void maskAnd(std::uint8_t* dest, const std::uint8_t* a, const std::uint8_t* b, long count) noexcept
{
    combine(dest, a, b, count, [](unsigned x, unsigned y) { return static_cast<std::uint8_t>((x != 0) & (y != 0)); });
}

void maskNotAnd(std::uint8_t* dest, const std::uint8_t* a, const std::uint8_t* b, long count) noexcept
{
    combine(dest, a, b, count, [](unsigned x, unsigned y) { return static_cast<std::uint8_t>((x == 0) & (y == 1)); });
}

}  // namespace emantle
