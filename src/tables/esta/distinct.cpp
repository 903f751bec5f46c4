#include "tables/esta/distinct.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

namespace emantle::tables {

namespace {

/* Real pixels are sorted by keys, whole numbers in whose order the values lie: the bits of a positive one with the sign
 * bit set, all bits of a negative one turned. 0 is the only value of two patterns, and -0 counts as 0. */
std::uint32_t keyOf(float value)
{
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value + 0.0F);
    return (bits >> 31) != 0 ? ~bits : bits | 0x80000000U;
}
std::uint64_t keyOf(double value)
{
    const std::uint64_t bits = std::bit_cast<std::uint64_t>(value + 0.0);
    return (bits >> 63) != 0 ? ~bits : bits | 0x8000000000000000U;
}
std::uint32_t keyOf(std::uint32_t value) { return value; }
std::uint32_t keyOf(std::int32_t value) { return static_cast<std::uint32_t>(value) ^ 0x80000000U; }

template <class Number>
struct Keyed;
template <>
struct Keyed<float> {
    using Key = std::uint32_t;
    static double valueOf(Key key)
    {
        return std::bit_cast<float>((key & 0x80000000U) != 0 ? key & 0x7fffffffU : ~key);
    }
};
template <>
struct Keyed<double> {
    using Key = std::uint64_t;
    static double valueOf(Key key)
    {
        return std::bit_cast<double>((key >> 63) != 0 ? key & 0x7fffffffffffffffU : ~key);
    }
};
template <>
struct Keyed<std::uint32_t> {
    using Key = std::uint32_t;
    static double valueOf(Key key) { return key; }
};
template <>
struct Keyed<std::int32_t> {
    using Key = std::uint32_t;
    static double valueOf(Key key) { return static_cast<std::int32_t>(key ^ 0x80000000U); }
};

/* What a pixel is counted as. */
template <class Pixel>
auto numberOf(Pixel pixel)
{
    if constexpr (requires { pixel.imaginary; }) {
        return std::sqrt(pixel.real * pixel.real + pixel.imaginary * pixel.imaginary);
    } else if constexpr (sizeof(Pixel) < 4) {
        return std::int32_t{pixel};
    } else {
        return pixel;
    }
}

/* Keys of the pixels that count. A word of the mask is looked at before its bytes are; then nothing branches on a
 * pixel. */
template <class Pixel>
auto keysOf(const PixelBlock& block)
{
    using Number = decltype(numberOf(Pixel{}));
    using Key = typename Keyed<Number>::Key;
    constexpr long kWord = 8;
    const auto bound = static_cast<std::size_t>(block.rows * block.columns);
    std::vector<Key> keys;
    std::size_t size = 0;
    std::size_t room = 0;
    for (long row = 0; row < block.rows; ++row) {
        const std::byte* const pixels = block.pixels + row * block.pitch;
        const std::uint8_t* const mask = block.mask != nullptr ? block.mask + row * block.maskPitch : nullptr;
        for (long from = 0; from < block.columns; from += kWord) {
            const long count = std::min(kWord, block.columns - from);
            std::uint64_t word = ~std::uint64_t{0};
            if (mask != nullptr) {
                word = 0;
                std::memcpy(&word, mask + from, static_cast<std::size_t>(count));
            }
            if (word == 0) {
                continue;
            }
            if (size + kWord > room) {
                room = std::min(std::max<std::size_t>(2 * room, 1024), bound + kWord);
                keys.resize(room);
            }
            for (long at = 0; at < count; ++at) {
                Pixel pixel;
                std::memcpy(&pixel, pixels + (from + at) * static_cast<long>(sizeof pixel), sizeof pixel);
                const Number number = numberOf(pixel);
                keys[size] = keyOf(number);
                size += ((word >> (8 * at)) & 0xff) != 0 && number == number;
            }
        }
    }
    keys.resize(size);
    return keys;
}

/* By digits from the lowest on; a digit that is the same in all keys is passed over. */
template <class Key>
void sortKeys(std::vector<Key>& keys)
{
    constexpr unsigned kBits = 11;
    constexpr std::size_t kDigits = std::size_t{1} << kBits;
    constexpr unsigned kPasses = (8 * sizeof(Key) + kBits - 1) / kBits;
    constexpr std::size_t kWorthwhile = 4096;
    if (keys.size() < kWorthwhile) {
        std::sort(keys.begin(), keys.end());
        return;
    }
    std::vector<std::array<std::size_t, kDigits>> counts(kPasses);
    const auto digitOf = [](Key key, unsigned pass) { return (key >> (pass * kBits)) & (kDigits - 1); };
    for (const Key key : keys) {
        for (unsigned pass = 0; pass < kPasses; ++pass) {
            ++counts[pass][digitOf(key, pass)];
        }
    }
    std::vector<Key> other(keys.size());
    for (unsigned pass = 0; pass < kPasses; ++pass) {
        auto& places = counts[pass];
        if (places[digitOf(keys.front(), pass)] == keys.size()) {
            continue;
        }
        std::size_t below = 0;
        for (std::size_t& place : places) {
            below += std::exchange(place, below);
        }
        for (const Key key : keys) {
            other[places[digitOf(key, pass)]++] = key;
        }
        keys.swap(other);
    }
}

template <class Key, class Visit>
void visitRuns(const std::vector<Key>& keys, Visit visit)
{
    for (std::size_t at = 0; at < keys.size();) {
        const std::size_t first = at;
        do {
            ++at;
        } while (at < keys.size() && keys[at] == keys[first]);
        visit(keys[first], at - first);
    }
}

/* Calls `use` with the sorted keys and with what makes values of them. */
template <class Pixel, class Use>
auto withKeys(const PixelBlock& block, Use use)
{
    auto keys = keysOf<Pixel>(block);
    sortKeys(keys);
    return use(keys, Keyed<decltype(numberOf(Pixel{}))>::valueOf);
}

template <class Use>
auto withSortedKeys(const Egda_BaseData& data, const Egda_BaseData* mask, Use use)
{
    const PixelBlock block = pixelBlock(data, mask);
    switch (data.datatype) {
    case EGDA_TYPE_S8:
        return withKeys<std::int8_t>(block, use);
    case EGDA_TYPE_U16:
        return withKeys<std::uint16_t>(block, use);
    case EGDA_TYPE_S16:
        return withKeys<std::int16_t>(block, use);
    case EGDA_TYPE_U32:
        return withKeys<std::uint32_t>(block, use);
    case EGDA_TYPE_S32:
        return withKeys<std::int32_t>(block, use);
    case EGDA_TYPE_F32:
        return withKeys<float>(block, use);
    case EGDA_TYPE_F64:
        return withKeys<double>(block, use);
    case EGDA_TYPE_C64:
        return withKeys<Egda_Complex64>(block, use);
    case EGDA_TYPE_C128:
        return withKeys<Egda_Complex128>(block, use);
    default:
        return withKeys<std::uint8_t>(block, use);
    }
}

}  // namespace

ValueRuns valueRuns(const Egda_BaseData& data, const Egda_BaseData* mask)
{
    return withSortedKeys(data, mask, [](const auto& keys, auto valueOf) {
        ValueRuns runs;
        visitRuns(keys, [&](auto key, std::size_t count) {
            runs.values.push_back(valueOf(key));
            runs.counts.push_back(static_cast<double>(count));
        });
        return runs;
    });
}

ValueSummary valueSummary(const Egda_BaseData& data, const Egda_BaseData* mask)
{
    return withSortedKeys(data, mask, [](const auto& keys, auto valueOf) {
        ValueSummary summary;
        if (keys.empty()) {
            return summary;
        }
        std::size_t values = 0;
        std::size_t least = std::numeric_limits<std::size_t>::max();
        std::size_t most = 0;
        auto rarest = keys.front();
        auto commonest = keys.front();
        visitRuns(keys, [&](auto key, std::size_t count) {
            ++values;
            rarest = count < least ? key : rarest;
            least = std::min(least, count);
            commonest = count > most ? key : commonest;
            most = std::max(most, count);
        });
        summary = {static_cast<double>(values), valueOf(rarest), valueOf(commonest), valueOf(keys[keys.size() / 2])};
        return summary;
    });
}

}  // namespace emantle::tables
