/* Floats to unsigned bytes, the most frequent of the conversions that round, written out by hand: the instruction
 * itself turns NaN and whatever is far below zero into a negative number, and packing turns negative numbers into 0, so
 * that the upper limit alone is left to test. Compiled once for each instruction set. */

#define EMANTLE_JOIN(a, b) a##b
#define EMANTLE_WIDTH(target) EMANTLE_JOIN(EMANTLE_WIDTH_, target)
#define EMANTLE_WIDTH_baseline 16
#define EMANTLE_WIDTH_avx2 32
#define EMANTLE_WIDTH_avx512 64

namespace emantle::EMANTLE_TARGET {

#if EMANTLE_WIDTH(EMANTLE_TARGET) == 64

using Floats = __m512;
using Integers = __m512i;

/* The masked forms with every lane chosen are the plain ones, about which g++ 12 warns by mistake. */
inline constexpr __mmask16 kAll = 0xFFFF;

inline Floats all(float value)
{
    return _mm512_set1_ps(value);
}

inline Integers rounded(const void* in, Floats high, Floats half)
{
    const Floats limited = _mm512_maskz_min_ps(kAll, high, _mm512_loadu_ps(in));
    return _mm512_maskz_cvttps_epi32(kAll, _mm512_add_ps(limited, half));
}

inline void storeBytes(std::uint8_t* out, Integers a, Integers b, Integers c, Integers d)
{
    const Integers order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const Integers packed = _mm512_packus_epi16(_mm512_packs_epi32(a, b), _mm512_packs_epi32(c, d));
    _mm512_storeu_si512(out, _mm512_maskz_permutexvar_epi32(kAll, order, packed));
}

#elif EMANTLE_WIDTH(EMANTLE_TARGET) == 32

using Floats = __m256;
using Integers = __m256i;

inline Floats all(float value)
{
    return _mm256_set1_ps(value);
}

inline Integers rounded(const void* in, Floats high, Floats half)
{
    const Floats values = _mm256_loadu_ps(static_cast<const float*>(in));
    return _mm256_cvttps_epi32(_mm256_add_ps(_mm256_min_ps(high, values), half));
}

inline void storeBytes(std::uint8_t* out, Integers a, Integers b, Integers c, Integers d)
{
    const Integers order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const Integers packed = _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
    _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(out), _mm256_permutevar8x32_epi32(packed, order));
}

#else

using Floats = __m128;
using Integers = __m128i;

inline Floats all(float value)
{
    return _mm_set1_ps(value);
}

inline Integers rounded(const void* in, Floats high, Floats half)
{
    const Floats values = _mm_loadu_ps(static_cast<const float*>(in));
    return _mm_cvttps_epi32(_mm_add_ps(_mm_min_ps(high, values), half));
}

inline void storeBytes(std::uint8_t* out, Integers a, Integers b, Integers c, Integers d)
{
    _mm_storeu_si128(reinterpret_cast<__m128i_u*>(out),
                     _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d)));
}

#endif

/* Converts as many of `count` as fill whole vectors, and says how many those were. */
inline long floatsToBytes(const void* source, void* dest, long count, float highest, float belowHalf)
{
    constexpr long lanes = sizeof(Floats) / sizeof(float);
    const auto* in = static_cast<const char*>(source);
    auto* out = static_cast<std::uint8_t*>(dest);
    const Floats high = all(highest);
    const Floats half = all(belowHalf);
    long i = 0;
    for (; i + 4 * lanes <= count; i += 4 * lanes) {
        const char* from = in + i * static_cast<long>(sizeof(float));
        storeBytes(out + i, rounded(from, high, half), rounded(from + sizeof(Floats), high, half),
                   rounded(from + 2 * sizeof(Floats), high, half), rounded(from + 3 * sizeof(Floats), high, half));
    }
    return i;
}

}  // namespace emantle::EMANTLE_TARGET

#undef EMANTLE_JOIN
#undef EMANTLE_WIDTH
#undef EMANTLE_WIDTH_baseline
#undef EMANTLE_WIDTH_avx2
#undef EMANTLE_WIDTH_avx512
