#include "data/operators/line_loops.h"

#include "data/operators/complex_loops.h"

namespace emantle::EMANTLE_TARGET {

/* Processors divide whole numbers one at a time, and floating ones by the vector. A quotient of numbers of 16 bits is
 * exact in float after truncation, one of 32 bits in double: it is never so near the next whole number that rounding
 * could reach that. */
template <class T>
using Quotient = std::conditional_t<(sizeof(T) < 4), float, double>;

template <class T>
inline Quotient<T> toQuotient(T value)
{
    if constexpr (std::is_same_v<T, std::uint32_t>) {
        /* Vector units before AVX-512 convert signed numbers alone. */
        return static_cast<double>(static_cast<std::int32_t>(value ^ 0x80000000U)) + 2147483648.0;
    } else {
        return static_cast<Quotient<T>>(value);
    }
}

/* By 0 it gives anything. The smallest number by -1 wraps to itself. */
template <class T>
inline T divided(T a, T b)
{
    const Quotient<T> quotient = toQuotient(a) / toQuotient(b == 0 ? T{1} : b);
    if constexpr (std::is_same_v<T, std::uint32_t>) {
        const bool upper = quotient >= 2147483648.0;
        const auto rest = static_cast<std::int32_t>(upper ? quotient - 2147483648.0 : quotient);
        return static_cast<std::uint32_t>(rest) + (upper ? 0x80000000U : 0U);
    } else if constexpr (std::is_same_v<T, std::int32_t>) {
        return static_cast<std::int32_t>(quotient < 2147483648.0 ? quotient : -2147483648.0);
    } else {
        return static_cast<T>(static_cast<std::int32_t>(quotient));
    }
}

struct egda_MaoDiv : Fold {
    template <class T>
        requires(!std::is_floating_point_v<T>)
    static bool stops(T b)
    {
        if constexpr (isComplexValue<T>) {
            return static_cast<double>(b.real * b.real + b.imaginary * b.imaginary) < 1e-5;
        } else {
            return b == 0;
        }
    }
    template <class T>
        requires(isComplexValue<T>)
    static consteval LineCell cell()
    {
        return complexCell<ComplexQuotient, T>(scanForStop<egda_MaoDiv, T>);
    }
    template <class T>
    static T apply(T a, T b)
    {
        if constexpr (std::is_integral_v<T>) {
            return divided(a, b);
        } else {
            return a / b;
        }
    }
};

/* fmod where the quotient is so small that one multiplication gives the remainder, exactly; the rest is left to the C
 * library. In float the product is exact in double; in double it takes a fused multiplication, which the baseline
 * lacks. */
template <class T>
struct Remainder {
    static constexpr double kMostQuotient = sizeof(T) == 4 ? 0x1p28 : 0x1p51;

    static double product(double quotient, double b, double a)
    {
        if constexpr (sizeof(T) == 4) {
            return a - quotient * b;
        } else {
            return __builtin_fma(-quotient, b, a);
        }
    }

    static double truncated(double quotient)
    {
        if constexpr (sizeof(T) == 4) {
            return static_cast<double>(static_cast<std::int32_t>(quotient));
        } else {
            return __builtin_trunc(quotient);
        }
    }

    /* Signs are put aside; the quotient may have been rounded up to the next whole number. */
    static T apply(T a, T b, bool& hard)
    {
        const double divisor = __builtin_fabs(static_cast<double>(b));
        const double value = __builtin_fabs(static_cast<double>(a));
        const double quotient = value / divisor;
        const bool plain = quotient < kMostQuotient && divisor <= static_cast<double>(std::numeric_limits<T>::max());
        hard |= !plain;
        double rest = product(truncated(plain ? quotient : 0.0), plain ? divisor : 1.0, value);
        rest = rest < 0 ? rest + divisor : rest;
        return static_cast<T>(__builtin_copysign(rest, static_cast<double>(a)));
    }
};

template <class T>
void remainderLoop(void* dest, const void* a, const void* b, long count)
{
    auto* out = static_cast<Cell<T>*>(dest);
    const auto* x = static_cast<const Cell<T>*>(a);
    const auto* y = static_cast<const Cell<T>*>(b);
    constexpr long run = 64;
    constexpr bool isFused = sizeof(T) == 4 || !isBaseline;
    for (long first = 0; first < count; first += run) {
        const long most = count - first < run ? count - first : run;
        Cell<T> rest[run];
        bool hard = !isFused;
        if constexpr (isFused) {
            for (long i = 0; i < most; ++i) {
                rest[i].value = Remainder<T>::apply(x[first + i].value, y[first + i].value, hard);
            }
        }
        for (long i = 0; hard && i < most; ++i) {
            const T value = x[first + i].value;
            const T divisor = y[first + i].value;
            rest[i].value = static_cast<T>(__builtin_fmod(value, divisor)); /* exact, so it fits a float again */
        }
        __builtin_memcpy(out + first, rest, static_cast<std::size_t>(most) * sizeof(T));
    }
}

struct egda_MaoRem : Fold {
    template <class T>
        requires(std::is_integral_v<T>)
    static bool stops(T b)
    {
        return b == 0;
    }
    template <class T>
        requires(std::is_integral_v<T>)
    static T apply(T a, T b)
    {
        const T quotient = divided(a, b);
        return static_cast<T>(static_cast<unsigned>(a) - static_cast<unsigned>(quotient) * static_cast<unsigned>(b));
    }
    template <class T>
        requires(std::is_floating_point_v<T>)
    static consteval LineCell cell()
    {
        return {remainderLoop<T>, remainderLoop<T>, nullptr,
                {{codeOf<T>, codeOf<T>}, {codeOf<T>, codeOf<T>}}, codeOf<T>, false};
    }
};

}  // namespace emantle::EMANTLE_TARGET
