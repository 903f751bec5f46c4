/* Vectors of doubles. No guard: part of a file of loops. */

#define EMANTLE_JOIN(a, b) a##b
#define EMANTLE_OF_TARGET_(what, target) EMANTLE_JOIN(EMANTLE_##what##_, target)
#define EMANTLE_OF_TARGET(what) EMANTLE_OF_TARGET_(what, EMANTLE_TARGET)
#define EMANTLE_DOUBLES_baseline __m128d
#define EMANTLE_DOUBLES_avx2 __m256d
#define EMANTLE_DOUBLES_avx512 __m512d
#define EMANTLE_LANES_baseline 2
#define EMANTLE_LANES_avx2 4
#define EMANTLE_LANES_avx512 8

namespace emantle::EMANTLE_TARGET {

using Doubles = EMANTLE_OF_TARGET(DOUBLES);
using Words = std::uint64_t __attribute__((vector_size(sizeof(Doubles))));
inline constexpr long kLanes = EMANTLE_OF_TARGET(LANES);

inline Doubles load(const void* from)
{
    Doubles values;
    __builtin_memcpy(&values, from, sizeof(values));
    return values;
}

inline void store(void* to, Doubles values)
{
    __builtin_memcpy(to, &values, sizeof(values));
}

inline Doubles all(double value)
{
#if EMANTLE_OF_TARGET(LANES) == 8
    return _mm512_set1_pd(value);
#elif EMANTLE_OF_TARGET(LANES) == 4
    return _mm256_set1_pd(value);
#else
    return _mm_set1_pd(value);
#endif
}

/* Whether each lane lies from `least` to `most`; no number does not. */
inline bool areWithin(Doubles x, double least, double most)
{
#if EMANTLE_OF_TARGET(LANES) == 8
    return _mm512_mask_cmp_pd_mask(_mm512_cmp_pd_mask(x, all(least), _CMP_GE_OQ), x, all(most), _CMP_LE_OQ) == 0xFF;
#elif EMANTLE_OF_TARGET(LANES) == 4
    return _mm256_movemask_pd(_mm256_and_pd(_mm256_cmp_pd(x, all(least), _CMP_GE_OQ),
                                            _mm256_cmp_pd(x, all(most), _CMP_LE_OQ))) == 0xF;
#else
    return _mm_movemask_pd(_mm_and_pd(_mm_cmpge_pd(x, all(least)), _mm_cmple_pd(x, all(most)))) == 0x3;
#endif
}

#if EMANTLE_OF_TARGET(LANES) > 2

inline Words bitsOf(Doubles x) { return __builtin_bit_cast(Words, x); }
inline Doubles ofBits(Words bits) { return __builtin_bit_cast(Doubles, bits); }

inline constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
inline Doubles absolute(Doubles x) { return ofBits(bitsOf(x) & ~kSign); }
inline Doubles withSignOf(Doubles x, Doubles sign) { return ofBits(bitsOf(x) ^ (bitsOf(sign) & kSign)); }

#if EMANTLE_OF_TARGET(LANES) == 8

inline Doubles squareRoot(Doubles x) { return _mm512_maskz_sqrt_pd(0xFF, x); }
/* The upper twelve bits as a number with a sign. */
inline Doubles signedTop(Words word)
{
    return _mm512_cvtepi64_pd(_mm512_maskz_srai_epi64(0xFF, __builtin_bit_cast(__m512i, word), 52));
}
inline Doubles fma(Doubles a, Doubles b, Doubles c) { return _mm512_fmadd_pd(a, b, c); }
inline Doubles ifOdd(Words word, Doubles odd, Doubles even)
{
    const __mmask8 isOdd = _mm512_test_epi64_mask(__builtin_bit_cast(__m512i, word), _mm512_set1_epi64(1));
    return _mm512_mask_blend_pd(isOdd, even, odd);
}
/* The low bits of `index` count. */
inline Doubles lookUp(const double (&table)[16], Words index)
{
    return _mm512_permutex2var_pd(load(table), __builtin_bit_cast(__m512i, index), load(table + 8));
}
inline Doubles lookUp(const double (&table)[32], Words index)
{
    const auto at = __builtin_bit_cast(__m512i, index);
    return _mm512_mask_blend_pd(_mm512_test_epi64_mask(at, _mm512_set1_epi64(16)),
                                _mm512_permutex2var_pd(load(table), at, load(table + 8)),
                                _mm512_permutex2var_pd(load(table + 16), at, load(table + 24)));
}

#else

inline Doubles squareRoot(Doubles x) { return _mm256_sqrt_pd(x); }
inline Doubles signedTop(Words word)
{
    return ofBits(((word + kSign) >> 52) | 0x4330000000000000) - (0x1p52 + 2048);
}
inline Doubles fma(Doubles a, Doubles b, Doubles c) { return _mm256_fmadd_pd(a, b, c); }
inline Doubles ifOdd(Words word, Doubles odd, Doubles even)
{
    return _mm256_blendv_pd(even, odd, __builtin_bit_cast(__m256d, word << 63));
}
template <std::size_t size>
inline Doubles lookUp(const double (&table)[size], Words index)
{
    return _mm256_i64gather_pd(table, __builtin_bit_cast(__m256i, index & (size - 1)), sizeof(double));
}

#endif

/* Added to a number of up to 2^51 it leaves the nearest whole number in the low bits. */
inline constexpr double kToWhole = 0x1.8p52;

/* The sum of two numbers, the second of which is a correction. */
struct Pair {
    Doubles high;
    Doubles low;
};

/* The sum of numbers of which the first is the larger one or 0. */
inline Pair sumOf(Doubles a, Doubles b)
{
    const Doubles sum = a + b;
    return {sum, a - sum + b};
}

/* By one division, mended by what the quotient leaves. */
inline Doubles quotientOf(Pair a, Pair b)
{
    const Pair over = sumOf(a.high, a.low);
    const Pair by = sumOf(b.high, b.low);
    const Doubles inverse = 1 / by.high;
    const Doubles quotient = over.high * inverse;
    const Doubles left = fma(-quotient, by.high, over.high) + fma(-quotient, by.low, over.low);
    return fma(left, inverse, quotient);
}

#endif

}  // namespace emantle::EMANTLE_TARGET
