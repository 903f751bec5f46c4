#include "frame/guard/guard.h"

#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/emsc/memory.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace emantle {

namespace {

template <class Word, class Reverse> void swapEach(char* bytes, long count, Reverse reverse) noexcept
{
    for (long item = 0; item < count; ++item, bytes += sizeof(Word)) {
        Word word;
        std::memcpy(&word, bytes, sizeof word);
        word = reverse(word);
        std::memcpy(bytes, &word, sizeof word);
    }
}

/* The loop of the older code: the far end is counted from `count`, not from `size`, and an item takes twice half its
 * size. */
void swapHalves(char* bytes, long count, long size) noexcept
{
    const long half = size / 2;
    for (long item = 0; item < count; ++item) {
        for (long index = 0; index < half; ++index) {
            const long near = item * half * 2 + index;
            const long far = item * half * 2 + count - 1 - index;
            if (far >= 0 && far / count < size) {
                std::swap(bytes[near], bytes[far]);
            }
        }
    }
}

template <int Bits> constexpr int itemsPerByte = 8 / Bits;

/* The place of an item in its byte, the first one highest. */
template <int Bits> constexpr int shiftOf(long item) noexcept
{
    return 8 - Bits - static_cast<int>(item % itemsPerByte<Bits>) * Bits;
}

template <int Bits> void unpack(std::uint8_t* dst, const std::uint8_t* src, long count) noexcept
{
    constexpr int mask = (1 << Bits) - 1;
    for (long item = 0; item < count; ++item) {
        dst[item] = static_cast<std::uint8_t>((src[item / itemsPerByte<Bits>] >> shiftOf<Bits>(item)) & mask);
    }
}

template <int Bits> void pack(std::uint8_t* dst, const std::uint8_t* src, long count) noexcept
{
    constexpr int mask = (1 << Bits) - 1;
    for (long first = 0; first < count; first += itemsPerByte<Bits>) {
        int byte = 0;
        for (long item = first; item < std::min<long>(count, first + itemsPerByte<Bits>); ++item) {
            byte |= (src[item] & mask) << shiftOf<Bits>(item);
        }
        dst[first / itemsPerByte<Bits>] = static_cast<std::uint8_t>(byte);
    }
}

using Repack = void (*)(std::uint8_t* dst, const std::uint8_t* src, long count) noexcept;

Repack repackFor(long dstUnit, long srcUnit) noexcept
{
    switch (dstUnit == 8 ? srcUnit : srcUnit == 8 ? -dstUnit : 0) {
    case 4:
        return unpack<4>;
    case 2:
        return unpack<2>;
    case 1:
        return unpack<1>;
    case -4:
        return pack<4>;
    case -2:
        return pack<2>;
    case -1:
        return pack<1>;
    default:
        return nullptr;
    }
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API void* emsc_MemCpy(void* dst, const void* src, long n)
{
    if (dst != nullptr && src != nullptr && n > 0) {
        std::memcpy(dst, src, static_cast<std::size_t>(n));
    }
    return dst;
}

EMANTLE_API void* emsc_MemMove(void* dst, const void* src, long n)
{
    if (dst != nullptr && src != nullptr && n > 0) {
        std::memmove(dst, src, static_cast<std::size_t>(n));
    }
    return dst;
}

EMANTLE_API void* emsc_MemDup(const void* src, long n)
{
    return src == nullptr ? nullptr : emsc_MemCpy(emsc_HeapMalloc(n), src, n);
}

EMANTLE_API void emsc_MemSwab(void* buf, long count, long size)
{
    auto* bytes = static_cast<char*>(buf);
    if (bytes == nullptr || count < 1 || size < 1) {
        return;
    }
    switch (size) {
    case 2:
        swapEach<std::uint16_t>(bytes, count, [](std::uint16_t word) { return __builtin_bswap16(word); });
        break;
    case 4:
        swapEach<std::uint32_t>(bytes, count, [](std::uint32_t word) { return __builtin_bswap32(word); });
        break;
    case 8:
        swapEach<std::uint64_t>(bytes, count, [](std::uint64_t word) { return __builtin_bswap64(word); });
        break;
    default:
        swapHalves(bytes, count, size);
        break;
    }
}

EMANTLE_API Emsc_Boolean emsc_MemRepack(void* dst, long dstUnit, long dstPackage, const void* src, long srcUnit,
                                        long srcPackage, long count)
{
    return guarded<Emsc_Boolean>(nullptr, "emsc_MemRepack", 1, [&] {
        require(dst != nullptr && src != nullptr && srcUnit <= srcPackage && dstUnit <= dstPackage, "Args");
        if (count < 1) {
            return 0;
        }
        const Repack repack = dstPackage == 8 && srcPackage == 8 ? repackFor(dstUnit, srcUnit) : nullptr;
        require(repack != nullptr, "Unit or package size params not yet supported");
        repack(static_cast<std::uint8_t*>(dst), static_cast<const std::uint8_t*>(src), count);
        return 0;
    });
}

EMANTLE_API long emsc_MemPageSizeGet(void)
{
    return 4096;
}
