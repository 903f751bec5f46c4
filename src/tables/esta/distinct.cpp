#include "tables/esta/distinct.h"

#include "tables/esta/kernels/pack_kernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
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

/* A block of keys that is not cleared: writing a fresh page costs more than sorting what is on it. */
template <class Key>
class Keys {
public:
    explicit Keys(std::size_t room) : keys_(std::make_unique_for_overwrite<Key[]>(room)) {}

    Key* begin() noexcept { return keys_.get(); }
    Key* end() noexcept { return keys_.get() + size_; }
    const Key* begin() const noexcept { return keys_.get(); }
    const Key* end() const noexcept { return keys_.get() + size_; }
    std::size_t size() const noexcept { return size_; }
    Key& operator[](std::size_t at) noexcept { return keys_[at]; }
    Key operator[](std::size_t at) const noexcept { return keys_[at]; }

    void resize(std::size_t size) noexcept { size_ = size; }

private:
    std::unique_ptr<Key[]> keys_;
    std::size_t size_ = 0;
};

/* How many pixels are under the mask. */
std::size_t countUnder(const PixelBlock& block)
{
    if (block.mask == nullptr) {
        return static_cast<std::size_t>(block.rows * block.columns);
    }
    static const StatisticsLoops& loops = statisticsLoops(platform::fastestInstructionSet());
    PixelBlock ofMask = block;
    ofMask.pixels = reinterpret_cast<const std::byte*>(block.mask);
    ofMask.pitch = block.maskPitch;
    return static_cast<std::size_t>(loops.masked[EGDA_TYPE_U8](ofMask).count);
}

/* Keys of the pixels that count, in any order. Real pixels of four bytes are packed by vectors first. */
template <class Pixel>
auto keysOf(const PixelBlock& block)
{
    using Number = decltype(numberOf(Pixel{}));
    using Key = typename Keyed<Number>::Key;
    Keys<Key> keys(countUnder(block) + kPackSlack);
    std::size_t size = 0;
    const auto take = [&](Pixel pixel, bool isSet) {
        const Number number = numberOf(pixel);
        keys[size] = keyOf(number);
        size += isSet && number == number;
    };
    constexpr long kPiece = 1024;
    Pixel packed[kPiece + kPackSlack];
    for (long row = 0; row < block.rows; ++row) {
        const std::byte* const pixels = block.pixels + row * block.pitch;
        const std::uint8_t* const mask = block.mask != nullptr ? block.mask + row * block.maskPitch : nullptr;
        for (long from = 0; from < block.columns; from += kPiece) {
            const long count = std::min(kPiece, block.columns - from);
            const std::byte* const piece = pixels + from * static_cast<long>(sizeof(Pixel));
            if constexpr (sizeof(Pixel) == 4) {
                if (mask != nullptr) {
                    const long under = packLoop()(piece, mask + from, count, packed);
                    for (long at = 0; at < under; ++at) {
                        take(packed[at], true);
                    }
                    continue;
                }
            }
            for (long at = 0; at < count; ++at) {
                Pixel pixel;
                std::memcpy(&pixel, piece + at * static_cast<long>(sizeof pixel), sizeof pixel);
                take(pixel, mask == nullptr || mask[from + at] != 0);
            }
        }
    }
    keys.resize(size);
    return keys;
}

/* By digits from the lowest on; a digit that is the same in all keys is passed over. */
template <class Key>
void sortKeys(Keys<Key>& keys)
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
    Keys<Key> other(keys.size());
    other.resize(keys.size());
    for (unsigned pass = 0; pass < kPasses; ++pass) {
        auto& places = counts[pass];
        if (places[digitOf(keys[0], pass)] == keys.size()) {
            continue;
        }
        std::size_t below = 0;
        for (std::size_t& place : places) {
            below += std::exchange(place, below);
        }
        for (const Key key : keys) {
            other[places[digitOf(key, pass)]++] = key;
        }
        std::swap(keys, other);
    }
}

template <class Key, class Visit>
void visitRuns(const Keys<Key>& keys, Visit visit)
{
    for (std::size_t at = 0; at < keys.size();) {
        const std::size_t first = at;
        do {
            ++at;
        } while (at < keys.size() && keys[at] == keys[first]);
        visit(keys[first], at - first);
    }
}

/* The key at a place of the order: the digits above tell the bucket, and the bucket is put in order. */
template <class Key>
Key keyAt(Keys<Key>& keys, std::size_t place)
{
    constexpr unsigned kShift = 8 * sizeof(Key) - 11;
    std::array<std::size_t, 2048> counts{};
    for (const Key key : keys) {
        ++counts[key >> kShift];
    }
    std::size_t bucket = 0;
    while (place >= counts[bucket]) {
        place -= counts[bucket++];
    }
    Keys<Key> inside(counts[bucket] + 1);
    std::size_t size = 0;
    for (const Key key : keys) {
        inside[size] = key;
        size += (key >> kShift) == bucket;
    }
    std::nth_element(inside.begin(), inside.begin() + place, inside.begin() + size);
    return inside[place];
}

/* Calls `use` with the keys, which are in no order, and with what makes values of them. */
template <class Pixel, class Use>
auto withKeys(const PixelBlock& block, Use use)
{
    auto keys = keysOf<Pixel>(block);
    return use(keys, Keyed<decltype(numberOf(Pixel{}))>::valueOf);
}

template <class Use>
auto withKeysOf(const Egda_BaseData& data, const Egda_BaseData* mask, Use use)
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
    return withKeysOf(data, mask, [](auto& keys, auto valueOf) {
        sortKeys(keys);
        ValueRuns runs;
        visitRuns(keys, [&](auto key, std::size_t count) {
            runs.values.push_back(valueOf(key));
            runs.counts.push_back(static_cast<double>(count));
        });
        return runs;
    });
}

double valueMeasure(const Egda_BaseData& data, const Egda_BaseData* mask, ValueMeasure measure)
{
    return withKeysOf(data, mask, [&](auto& keys, auto valueOf) {
        if (keys.size() == 0) {
            return 0.0;
        }
        if (measure == ValueMeasure::median) {
            return valueOf(keyAt(keys, keys.size() / 2));
        }
        sortKeys(keys);
        std::size_t values = 0;
        std::size_t least = std::numeric_limits<std::size_t>::max();
        std::size_t most = 0;
        auto rarest = keys[0];
        auto commonest = keys[0];
        visitRuns(keys, [&](auto key, std::size_t count) {
            ++values;
            rarest = count < least ? key : rarest;
            least = std::min(least, count);
            commonest = count > most ? key : commonest;
            most = std::max(most, count);
        });
        return measure == ValueMeasure::diversity  ? static_cast<double>(values)
               : measure == ValueMeasure::minority ? valueOf(rarest)
                                                   : valueOf(commonest);
    });
}

}  // namespace emantle::tables
