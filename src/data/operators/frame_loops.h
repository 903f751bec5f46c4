/* Masks over blocks of elements. Compiled once for each instruction set. */

namespace emantle::EMANTLE_TARGET {

/* Masks that set scattered elements show it in eight bytes, and most others in one run: the rest need not be fetched
 * yet. */
inline Cover coverOf(const std::uint8_t* mask, long count)
{
    if (count >= 8) {
        constexpr std::uint64_t ones = 0x0101010101010101;
        std::uint64_t eight;
        __builtin_memcpy(&eight, mask, sizeof(eight));
        const bool hasZero = ((eight - ones) & ~eight & (ones << 7)) != 0;
        if (hasZero && eight != 0) {
            return Cover::some;
        }
    }
    std::uint8_t any = 0;
    std::uint8_t missing = 0;
    constexpr long run = 256;
    for (long first = 0; first < count && (any == 0 || missing == 0); first += run) {
        const long end = first + run < count ? first + run : count;
        for (long i = first; i < end; ++i) {
            any = static_cast<std::uint8_t>(any | mask[i]);
            missing = static_cast<std::uint8_t>(missing | (mask[i] == 0 ? 1 : 0));
        }
    }
    return any == 0 ? Cover::none : missing == 0 ? Cover::every : Cover::some;
}

template <class Bits>
void blend(void* to, const void* from, const std::uint8_t* mask, long count)
{
    auto* out = static_cast<Cell<Bits>*>(to);
    const auto* in = static_cast<const Cell<Bits>*>(from);
#if !defined(__clang__)
#pragma GCC ivdep
#endif
    for (long i = 0; i < count; ++i) {
        const Bits old = out[i].value;
        const Bits fresh = in[i].value;
        out[i].value = mask[i] != 0 ? fresh : old;
    }
}

struct TwoWords {
    std::uint64_t words[2];
};

inline void blendTwoWords(void* to, const void* from, const std::uint8_t* mask, long count)
{
    auto* out = static_cast<Cell<TwoWords>*>(to);
    const auto* in = static_cast<const Cell<TwoWords>*>(from);
    for (long i = 0; i < count; ++i) {
        const std::uint64_t taken = mask[i] != 0 ? ~std::uint64_t{0} : 0;
        for (int word = 0; word < 2; ++word) {
            const std::uint64_t old = out[i].value.words[word];
            out[i].value.words[word] = old ^ ((old ^ in[i].value.words[word]) & taken);
        }
    }
}

constexpr MaskLoops kMaskLoops{
    coverOf,
    {blend<std::uint8_t>, blend<std::uint16_t>, blend<std::uint32_t>, blend<std::uint64_t>, blendTwoWords}};

}  // namespace emantle::EMANTLE_TARGET
