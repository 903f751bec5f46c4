#include "tables/esta/kernels/excluded_kernels.h"

#include <cstring>

namespace emantle {

namespace {

template <class Pixel>
bool equal(const Pixel& a, const Pixel& b)
{
    if constexpr (requires { a.imaginary; }) {
        return (a.real == b.real) & (a.imaginary == b.imaginary);
    } else {
        return a == b;
    }
}

template <class Pixel>
void clear(const PixelBlock& block, const std::byte* values, long count)
{
    for (long row = 0; row < block.rows; ++row) {
        const Pixel* pixels = reinterpret_cast<const Pixel*>(block.pixels + row * block.pitch);
        std::uint8_t* mask = const_cast<std::uint8_t*>(block.mask) + row * block.maskPitch;
        for (long at = 0; at < count; ++at) {
            Pixel value;
            std::memcpy(&value, values + at * static_cast<long>(sizeof value), sizeof value);
            for (long column = 0; column < block.columns; ++column) {
                mask[column] = equal(pixels[column], value) ? 0 : mask[column];
            }
        }
    }
}

using Clear = void (*)(const PixelBlock&, const std::byte*, long);
constexpr Clear kClear[] = {clear<std::uint8_t>,   clear<std::uint8_t>,   clear<std::uint8_t>,
                            clear<std::uint8_t>,   clear<std::int8_t>,    clear<std::uint16_t>,
                            clear<std::int16_t>,   clear<std::uint32_t>,  clear<std::int32_t>,
                            clear<float>,          clear<double>,         clear<Egda_Complex64>,
                            clear<Egda_Complex128>};
static_assert(sizeof kClear / sizeof kClear[0] == EGDA_TYPE_STRING);

}  // namespace

void clearWhereEqual(const PixelBlock& block, Egda_PixelType type, const std::byte* values, long count) noexcept
{
    kClear[type](block, values, count);
}

}  // namespace emantle
