#include "data/operators/line_loops.h"

#include "data/operators/complex_loops.h"

namespace emantle::EMANTLE_TARGET {

/* Whole numbers wrap: they are computed without a sign, and the low bits are stored. */
template <class T>
using Unsigned = std::conditional_t<(sizeof(T) < sizeof(unsigned)), unsigned, std::make_unsigned_t<T>>;

/* The signed byte is limited at one end alone, and its low byte stored at the other. Seen in eight bits: the sum of two
 * numbers without a sign bit that has one is too high; the difference of a negative and a positive number that has none
 * is too low. */

struct egda_MaoAdd : Fold {
    template <class T>
    static T apply(T a, T b)
    {
        if constexpr (isComplexValue<T>) {
            return {a.real + b.real, a.imaginary + b.imaginary};
        } else if constexpr (!std::is_integral_v<T>) {
            return a + b;
        } else if constexpr (std::is_same_v<T, std::uint8_t>) {
            const auto sum = static_cast<std::uint8_t>(a + b);
            return static_cast<T>(sum | (sum < a ? 0xFF : 0));
        } else if constexpr (std::is_same_v<T, std::int8_t>) {
            const auto sum = static_cast<std::int8_t>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
            const auto tooHigh = static_cast<std::int8_t>(~a & ~b & sum);
            return tooHigh < 0 ? std::int8_t{INT8_MAX} : sum;
        } else {
            return static_cast<T>(static_cast<Unsigned<T>>(a) + static_cast<Unsigned<T>>(b));
        }
    }
};

struct egda_MaoSub : Fold {
    template <class T>
    static T apply(T a, T b)
    {
        if constexpr (isComplexValue<T>) {
            return {a.real - b.real, a.imaginary - b.imaginary};
        } else if constexpr (!std::is_integral_v<T>) {
            return a - b;
        } else if constexpr (std::is_same_v<T, std::uint8_t>) {
            return static_cast<T>((a > b ? a : b) - b);
        } else if constexpr (std::is_same_v<T, std::int8_t>) {
            const auto difference = static_cast<std::int8_t>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
            const auto tooLow = static_cast<std::int8_t>(a & ~b & ~difference);
            return tooLow < 0 ? std::int8_t{INT8_MIN} : difference;
        } else {
            return static_cast<T>(static_cast<Unsigned<T>>(a) - static_cast<Unsigned<T>>(b));
        }
    }
};

struct egda_MaoMul : Fold {
    template <class T>
        requires(isComplexValue<T>)
    static consteval LineCell cell()
    {
        return complexCell<ComplexProduct, T>(nullptr);
    }
    template <class T>
    static T apply(T a, T b)
    {
        if constexpr (!std::is_integral_v<T>) {
            return a * b;
        } else if constexpr (std::is_same_v<T, std::uint8_t>) {
            const auto product = static_cast<std::uint16_t>(a * b);
            return static_cast<T>(product > 255 ? std::uint16_t{255} : product);
        } else if constexpr (std::is_same_v<T, std::int8_t>) {
            const auto product = static_cast<std::int16_t>(a * b);
            return static_cast<T>(product > INT8_MAX ? std::int16_t{INT8_MAX} : product);
        } else {
            return static_cast<T>(static_cast<Unsigned<T>>(a) * static_cast<Unsigned<T>>(b));
        }
    }
};

struct egda_MaoMax : Fold {
    template <class T>
    static T apply(T a, T b)
    {
        return a > b ? a : b;
    }
};

struct egda_MaoMin : Fold {
    template <class T>
    static T apply(T a, T b)
    {
        return a < b ? a : b;
    }
};

}  // namespace emantle::EMANTLE_TARGET
