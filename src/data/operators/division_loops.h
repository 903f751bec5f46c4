#include "data/operators/line_loops.h"

#include "data/operators/complex_loops.h"

/* Where estimates of inverses are good enough for a quotient to be cheaper by them. */
#define EMANTLE_JOIN(a, b) a##b
#define EMANTLE_DIVIDES_BY_INVERSES(target) EMANTLE_JOIN(EMANTLE_DIVIDES_BY_INVERSES_, target)
#define EMANTLE_DIVIDES_BY_INVERSES_baseline 0
#define EMANTLE_DIVIDES_BY_INVERSES_avx2 0
#define EMANTLE_DIVIDES_BY_INVERSES_avx512 1

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

#if EMANTLE_DIVIDES_BY_INVERSES(EMANTLE_TARGET)

inline __m512d toDoubles(__m256i whole, std::int32_t) { return _mm512_maskz_cvtepi32_pd(0xFF, whole); }
inline __m512d toDoubles(__m256i whole, std::uint32_t) { return _mm512_maskz_cvtepu32_pd(0xFF, whole); }
inline __m256i toWhole(__m512d values, std::int32_t) { return _mm512_maskz_cvttpd_epi32(0xFF, values); }
inline __m256i toWhole(__m512d values, std::uint32_t) { return _mm512_maskz_cvttpd_epu32(0xFF, values); }

/* An estimate of 1 / b to 14 bits, three multiplications that make it 42, and an excess of 2^-37: more than the error, so
 * that a quotient that is whole does not come out below itself, and so little that one of 32 bits does not reach the
 * next whole number, from which it is at least 1 / b away. What is too large becomes the smallest number, as it has to. */
template <class T>
inline __m256i quotientsByInverse(__m256i a, __m256i b)
{
    const __m512d divisor = toDoubles(b, T{});
    const __m512d estimate = _mm512_maskz_rcp14_pd(0xFF, divisor);
    const __m512d error = _mm512_fnmadd_pd(divisor, estimate, _mm512_set1_pd(1 + 0x1p-37));
    const __m512d inverse = _mm512_fmadd_pd(estimate, _mm512_fmadd_pd(error, error, error), estimate);
    return toWhole(_mm512_maskz_mul_pd(0xFF, toDoubles(a, T{}), inverse), T{});
}

template <class T>
void divideByInverses(void* dest, const void* a, const void* b, long count)
{
    auto* out = static_cast<std::int32_t*>(dest);
    const auto* x = static_cast<const char*>(a);
    const auto* y = static_cast<const char*>(b);
    constexpr long lanes = 8;
    long i = 0;
    for (; i + lanes <= count; i += lanes) {
        const __m256i dividends = _mm256_loadu_si256(reinterpret_cast<const __m256i_u*>(x + i * 4));
        const __m256i divisors = _mm256_loadu_si256(reinterpret_cast<const __m256i_u*>(y + i * 4));
        _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(out + i), quotientsByInverse<T>(dividends, divisors));
    }
    const auto rest = static_cast<__mmask8>((1U << (count - i)) - 1);
    const __m256i dividends = _mm256_maskz_loadu_epi32(rest, x + i * 4);
    const __m256i divisors = _mm256_maskz_loadu_epi32(rest, y + i * 4);
    _mm256_mask_storeu_epi32(out + i, rest, quotientsByInverse<T>(dividends, divisors));
}

#endif

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
#if EMANTLE_DIVIDES_BY_INVERSES(EMANTLE_TARGET)
    template <class T>
        requires(std::is_integral_v<T> && sizeof(T) == 4)
    static consteval LineCell cell()
    {
        constexpr OperandTypes operand{codeOf<T>, codeOf<T>};
        return {divideByInverses<T>, divideByInverses<T>, scanForStop<egda_MaoDiv, T>, {operand, operand}, codeOf<T>,
                false};
    }
#endif
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

#undef EMANTLE_JOIN
#undef EMANTLE_DIVIDES_BY_INVERSES
#undef EMANTLE_DIVIDES_BY_INVERSES_baseline
#undef EMANTLE_DIVIDES_BY_INVERSES_avx2
#undef EMANTLE_DIVIDES_BY_INVERSES_avx512
