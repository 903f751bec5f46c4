#include "image/samples.h"

#include <array>
#include <cstring>
#include <utility>

namespace tool {

namespace {

/* Same size in and out, or a whole number of 64 bits that becomes a double. */
template <class In, class Out>
void takeApart(const std::byte* packed, std::size_t pixels, std::size_t samples, std::byte* const* targets)
{
    const auto* in = reinterpret_cast<const In*>(packed);
    const auto loop = [&](auto constantSamples) {
        for (std::size_t k = 0; k < samples; ++k) {
            auto* out = reinterpret_cast<Out*>(targets[k]);
            const std::size_t step = constantSamples.value == 0 ? samples : constantSamples.value;
            for (std::size_t i = 0; i < pixels; ++i) {
                out[i] = static_cast<Out>(in[i * step + k]);
            }
        }
    };
    switch (samples) {
    case 1: loop(std::integral_constant<std::size_t, 1>()); break;
    case 2: loop(std::integral_constant<std::size_t, 2>()); break;
    case 3: loop(std::integral_constant<std::size_t, 3>()); break;
    case 4: loop(std::integral_constant<std::size_t, 4>()); break;
    case 6: loop(std::integral_constant<std::size_t, 6>()); break;
    default: loop(std::integral_constant<std::size_t, 0>()); break;
    }
}

struct Complex128 {
    double parts[2];
};

/* The most significant bits of a byte come first. */
template <unsigned Bits, bool Signed>
void takeBitsApart(const std::byte* packed, std::size_t pixels, std::size_t samples, std::byte* const* targets)
{
    constexpr unsigned kPerByte = 8 / Bits;
    constexpr unsigned kMask = (1U << Bits) - 1;
    std::size_t i = 0;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        for (std::size_t k = 0; k < samples; ++k, ++i) {
            const unsigned shift = 8 - Bits - Bits * (i % kPerByte);
            unsigned value = (std::to_integer<unsigned>(packed[i / kPerByte]) >> shift) & kMask;
            if constexpr (Signed) {
                value |= (value >> (Bits - 1)) != 0 ? ~kMask : 0U;
            }
            targets[k][pixel] = static_cast<std::byte>(value);
        }
    }
}

}  // namespace

void unpackRow(const SampleFormat& format, const std::byte* packed, std::size_t pixels, std::size_t samples,
               std::byte* const* targets)
{
    using Unpack = void (*)(const std::byte*, std::size_t, std::size_t, std::byte* const*);
    Unpack unpack = nullptr;
    switch (format.bits) {
    case 1: unpack = format.isSigned ? takeBitsApart<1, true> : takeBitsApart<1, false>; break;
    case 2: unpack = format.isSigned ? takeBitsApart<2, true> : takeBitsApart<2, false>; break;
    case 4: unpack = format.isSigned ? takeBitsApart<4, true> : takeBitsApart<4, false>; break;
    case 8: unpack = takeApart<std::uint8_t, std::uint8_t>; break;
    case 16: unpack = takeApart<std::uint16_t, std::uint16_t>; break;
    case 32: unpack = takeApart<std::uint32_t, std::uint32_t>; break;
    case 64:
        unpack = format.isFloating || format.isComplex ? takeApart<std::uint64_t, std::uint64_t>
                 : format.isSigned                     ? takeApart<std::int64_t, double>
                                                       : takeApart<std::uint64_t, double>;
        break;
    default: unpack = takeApart<Complex128, Complex128>; break;
    }
    unpack(packed, pixels, samples, targets);
}

}  // namespace tool
