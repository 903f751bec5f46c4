#include "store/mif/packing_kernels.h"

#include <cstring>

namespace emantle::mif {

namespace {

template <int bits>
constexpr std::size_t kPerByte = 8 / bits;

template <int bits>
uint8_t packedByte(const uint8_t* elements, std::size_t count) noexcept
{
    unsigned byte = 0;
    for (std::size_t i = 0; i < count; ++i) {
        byte |= static_cast<unsigned>(elements[i]) << (i * bits);
    }
    return static_cast<uint8_t>(byte);
}

template <int bits>
void packAs(const uint8_t* elements, std::size_t count, uint8_t* packed) noexcept
{
    const std::size_t whole = count / kPerByte<bits>;
    for (std::size_t i = 0; i < whole; ++i) {
        packed[i] = packedByte<bits>(elements + i * kPerByte<bits>, kPerByte<bits>);
    }
    if (const std::size_t rest = count % kPerByte<bits>) {
        packed[whole] = packedByte<bits>(elements + whole * kPerByte<bits>, rest);
    }
}

template <int bits>
void unpackAs(const uint8_t* packed, std::size_t count, uint8_t* elements) noexcept
{
    constexpr unsigned mask = (1U << bits) - 1;
    const std::size_t whole = count / kPerByte<bits>;
    for (std::size_t i = 0; i < whole; ++i) {
        for (std::size_t k = 0; k < kPerByte<bits>; ++k) {
            elements[i * kPerByte<bits> + k] = static_cast<uint8_t>((packed[i] >> (k * bits)) & mask);
        }
    }
    for (std::size_t k = 0; k < count % kPerByte<bits>; ++k) {
        elements[whole * kPerByte<bits> + k] = static_cast<uint8_t>((packed[whole] >> (k * bits)) & mask);
    }
}

}  // namespace

void pack(const uint8_t* elements, std::size_t count, int bits, uint8_t* packed) noexcept
{
    switch (bits) {
    case 1:
        return packAs<1>(elements, count, packed);
    case 2:
        return packAs<2>(elements, count, packed);
    default:
        return packAs<4>(elements, count, packed);
    }
}

void unpack(const uint8_t* packed, std::size_t count, int bits, uint8_t* elements) noexcept
{
    switch (bits) {
    case 1:
        return unpackAs<1>(packed, count, elements);
    case 2:
        return unpackAs<2>(packed, count, elements);
    default:
        return unpackAs<4>(packed, count, elements);
    }
}

void narrowEnums(const void* elements, std::size_t count, uint8_t* stream) noexcept
{
    const auto* from = static_cast<const uint8_t*>(elements);
    for (std::size_t i = 0; i < count; ++i) {
        uint32_t value;
        std::memcpy(&value, from + 4 * i, sizeof value);
        const auto low = static_cast<uint16_t>(value);
        std::memcpy(stream + 2 * i, &low, sizeof low);
    }
}

void widenEnums(const uint8_t* stream, std::size_t count, void* elements) noexcept
{
    auto* to = static_cast<uint8_t*>(elements);
    for (std::size_t i = 0; i < count; ++i) {
        uint16_t low;
        std::memcpy(&low, stream + 2 * i, sizeof low);
        const uint32_t value = low;
        std::memcpy(to + 4 * i, &value, sizeof value);
    }
}

}  // namespace emantle::mif
