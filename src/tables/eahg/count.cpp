#include "tables/eahg/counts.h"

#include <array>
#include <cstring>
#include <emantle/frame/ehsh.h>

namespace emantle::tables {

namespace {

/* Whether there is room for one more value; counts it if so. */
bool takeNewValue(Eahg_Histogram& histogram)
{
    if (!(histogram.uniqueCount < histogram.maxUnique)) {
        return false;
    }
    ++histogram.uniqueCount;
    return true;
}

template <class Pattern>
class ArrayCounter {
public:
    using Key = Pattern;

    ArrayCounter(Eahg_Histogram& histogram, EerrException&) : histogram_(histogram), counts_(arrayOf(histogram)) {}

    bool take(Key key)
    {
        if (counts_[key] == 0 && !takeNewValue(histogram_)) {
            return false;
        }
        ++counts_[key];
        return true;
    }

private:
    Eahg_Histogram& histogram_;
    std::uint32_t* counts_;
};

/* The table is asked once for a value that keeps coming: the addresses of the latest counters are remembered, up to the
 * next new value, which may move them. */
template <std::size_t keySize>
class TableCounter {
public:
    using Key = std::array<std::uint32_t, keySize / 4>;

    TableCounter(Eahg_Histogram& histogram, EerrException& scope)
        : histogram_(histogram), scope_(scope), table_(tableOf(histogram))
    {
    }

    bool take(const Key& key)
    {
        Remembered& place = remembered_[placeOf(key)];
        if (place.counter == nullptr || place.key != key) {
            return takeFromTable(key, place);
        }
        increment(place.counter);
        return true;
    }

private:
    struct Remembered {
        Key key;
        void* counter;
    };
    static constexpr unsigned kPlaceBits = 8;

    static std::size_t placeOf(const Key& key)
    {
        std::uint32_t mixed = 0;
        for (const std::uint32_t word : key) {
            mixed = (mixed ^ word) * 0x9e3779b1U;
        }
        return mixed >> (32 - kPlaceBits);
    }

    static std::uint32_t increment(void* counter)
    {
        std::uint32_t count;
        std::memcpy(&count, counter, sizeof count);
        ++count;
        std::memcpy(counter, &count, sizeof count);
        return count;
    }

    bool takeFromTable(const Key& key, Remembered& place)
    {
        void* counter = checked(scope_, ehsh_KeyHash(table_, key.data(), nullptr, scope_), "ehsh_KeyHash failed");
        if (increment(counter) == 1) {
            if (!takeNewValue(histogram_)) {
                ehsh_KeyUnHash(table_, key.data(), scope_);
                check(scope_, "ehsh_KeyUnHash failed");
                return false;
            }
            remembered_.fill({});
        }
        place = {key, counter};
        return true;
    }

    Eahg_Histogram& histogram_;
    EerrException& scope_;
    int table_;
    std::array<Remembered, std::size_t{1} << kPlaceBits> remembered_{};
};

template <class Counter>
long take(Eahg_Histogram& histogram, const PixelBlock& block, EerrException& scope)
{
    using Key = typename Counter::Key;
    Counter counter(histogram, scope);
    std::uint32_t taken = 0;
    for (long row = 0; row < block.rows; ++row) {
        const std::byte* pixels = block.pixels + row * block.pitch;
        const std::uint8_t* mask = block.mask != nullptr ? block.mask + row * block.maskPitch : nullptr;
        for (long column = 0; column < block.columns; ++column) {
            if (mask != nullptr && mask[column] == 0) {
                continue;
            }
            Key key;
            std::memcpy(&key, pixels + column * static_cast<long>(sizeof key), sizeof key);
            if (!counter.take(key)) {
                addToTotal(histogram, taken);
                return block.rows * block.columns - (row * block.columns + column);
            }
            ++taken;
        }
    }
    addToTotal(histogram, taken);
    return 0;
}

}  // namespace

long countValues(Eahg_Histogram& histogram, const Egda_BaseData& data, const Egda_BaseData* mask, EerrException& scope)
{
    const PixelBlock block = pixelBlock(data, mask);
    switch (histogram.bytesPerPixel) {
    case 1:
        return take<ArrayCounter<std::uint8_t>>(histogram, block, scope);
    case 2:
        return take<ArrayCounter<std::uint16_t>>(histogram, block, scope);
    case 4:
        return take<TableCounter<4>>(histogram, block, scope);
    case 8:
        return take<TableCounter<8>>(histogram, block, scope);
    default:
        return take<TableCounter<16>>(histogram, block, scope);
    }
}

}  // namespace emantle::tables
