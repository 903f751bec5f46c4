/* Floats and doubles to whole numbers of up to 16 bits and to signed ones of 32, written out by hand: the instruction
 * itself turns NaN and whatever is far below zero into the smallest number, and packing limits what is narrower, so
 * that the upper limit alone is left to test. Compiled once for each instruction set. */

#define EMANTLE_JOIN(a, b) a##b
#define EMANTLE_WIDTH(target) EMANTLE_JOIN(EMANTLE_WIDTH_, target)
#define EMANTLE_WIDTH_baseline 16
#define EMANTLE_WIDTH_avx2 32
#define EMANTLE_WIDTH_avx512 64

namespace emantle::EMANTLE_TARGET {

#if EMANTLE_WIDTH(EMANTLE_TARGET) == 64

using Floats = __m512;
using RealDoubles = __m512d;
using Integers = __m512i;

/* The masked forms with every lane chosen are the plain ones, about which g++ 12 warns by mistake. */
inline constexpr __mmask16 kAll = 0xFFFF;

/* The lesser of a limit and what lies at `in`; NaN stays. */
inline Floats limited(const void* in, float high)
{
    return _mm512_maskz_min_ps(kAll, _mm512_set1_ps(high), _mm512_loadu_ps(in));
}

inline RealDoubles limited(const void* in, double high)
{
    return _mm512_maskz_min_pd(0xFF, _mm512_set1_pd(high), _mm512_loadu_pd(in));
}

/* Adds `half` with the sign of the value. */
inline Floats outward(Floats values, float half)
{
    const Integers halves = _mm512_castps_si512(_mm512_set1_ps(half));
    const Integers sign = _mm512_set1_epi32(INT32_MIN);
    return _mm512_add_ps(values, _mm512_castsi512_ps(
                                     _mm512_ternarylogic_epi32(halves, sign, _mm512_castps_si512(values), 0xF8)));
}

inline RealDoubles outward(RealDoubles values, double half)
{
    const Integers halves = _mm512_castpd_si512(_mm512_set1_pd(half));
    const Integers sign = _mm512_set1_epi64(INT64_MIN);
    return _mm512_add_pd(values, _mm512_castsi512_pd(
                                     _mm512_ternarylogic_epi64(halves, sign, _mm512_castpd_si512(values), 0xF8)));
}

inline Integers truncated(Floats values)
{
    return _mm512_maskz_cvttps_epi32(kAll, values);
}

inline Integers truncated(RealDoubles first, RealDoubles second)
{
    const Integers low = _mm512_castsi256_si512(_mm512_maskz_cvttpd_epi32(0xFF, first));
    return _mm512_maskz_inserti64x4(0xFF, low, _mm512_maskz_cvttpd_epi32(0xFF, second), 1);
}

/* What is too high for 32 bits has become the smallest number, whose inverse is the largest. */
inline Integers limitedAbove(Integers whole, const void* in)
{
    const __mmask16 tooHigh = _mm512_cmp_ps_mask(_mm512_loadu_ps(in), _mm512_set1_ps(2147483648.0F), _CMP_GE_OQ);
    return _mm512_mask_set1_epi32(whole, tooHigh, INT32_MAX);
}

inline void storeWhole(std::int32_t* out, Integers a)
{
    _mm512_storeu_si512(out, a);
}

inline void storeWhole(std::int16_t* out, Integers a, Integers b)
{
    const Integers order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    _mm512_storeu_si512(out, _mm512_maskz_permutexvar_epi64(0xFF, order, _mm512_packs_epi32(a, b)));
}

inline void storeWhole(std::uint16_t* out, Integers a, Integers b)
{
    const Integers order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    _mm512_storeu_si512(out, _mm512_maskz_permutexvar_epi64(0xFF, order, _mm512_packus_epi32(a, b)));
}

inline Integers packed(std::uint8_t, Integers a, Integers b)
{
    return _mm512_packus_epi16(a, b);
}

inline Integers packed(std::int8_t, Integers a, Integers b)
{
    return _mm512_packs_epi16(a, b);
}

template <class Byte>
inline void storeBytes(Byte* out, Integers a, Integers b, Integers c, Integers d)
{
    const Integers order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const Integers bytes = packed(Byte{}, _mm512_packs_epi32(a, b), _mm512_packs_epi32(c, d));
    _mm512_storeu_si512(out, _mm512_maskz_permutexvar_epi32(kAll, order, bytes));
}

#elif EMANTLE_WIDTH(EMANTLE_TARGET) == 32

using Floats = __m256;
using RealDoubles = __m256d;
using Integers = __m256i;

inline Floats limited(const void* in, float high)
{
    return _mm256_min_ps(_mm256_set1_ps(high), _mm256_loadu_ps(static_cast<const float*>(in)));
}

inline RealDoubles limited(const void* in, double high)
{
    return _mm256_min_pd(_mm256_set1_pd(high), _mm256_loadu_pd(static_cast<const double*>(in)));
}

inline Floats outward(Floats values, float half)
{
    const Floats sign = _mm256_and_ps(values, _mm256_set1_ps(-0.0F));
    return _mm256_add_ps(values, _mm256_or_ps(sign, _mm256_set1_ps(half)));
}

inline RealDoubles outward(RealDoubles values, double half)
{
    const RealDoubles sign = _mm256_and_pd(values, _mm256_set1_pd(-0.0));
    return _mm256_add_pd(values, _mm256_or_pd(sign, _mm256_set1_pd(half)));
}

inline Integers truncated(Floats values)
{
    return _mm256_cvttps_epi32(values);
}

inline Integers truncated(RealDoubles first, RealDoubles second)
{
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm256_cvttpd_epi32(first)), _mm256_cvttpd_epi32(second), 1);
}

inline Integers limitedAbove(Integers whole, const void* in)
{
    const Floats tooHigh = _mm256_cmp_ps(_mm256_loadu_ps(static_cast<const float*>(in)),
                                         _mm256_set1_ps(2147483648.0F), _CMP_GE_OQ);
    return _mm256_xor_si256(whole, _mm256_castps_si256(tooHigh));
}

inline void storeWhole(std::int32_t* out, Integers a)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(out), a);
}

inline void storeWhole(std::int16_t* out, Integers a, Integers b)
{
    const Integers words = _mm256_permute4x64_epi64(_mm256_packs_epi32(a, b), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(out), words);
}

inline void storeWhole(std::uint16_t* out, Integers a, Integers b)
{
    const Integers words = _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(out), words);
}

inline Integers packed(std::uint8_t, Integers a, Integers b)
{
    return _mm256_packus_epi16(a, b);
}

inline Integers packed(std::int8_t, Integers a, Integers b)
{
    return _mm256_packs_epi16(a, b);
}

template <class Byte>
inline void storeBytes(Byte* out, Integers a, Integers b, Integers c, Integers d)
{
    const Integers order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const Integers bytes = packed(Byte{}, _mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
    _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(out), _mm256_permutevar8x32_epi32(bytes, order));
}

#else

using Floats = __m128;
using RealDoubles = __m128d;
using Integers = __m128i;

inline Floats limited(const void* in, float high)
{
    return _mm_min_ps(_mm_set1_ps(high), _mm_loadu_ps(static_cast<const float*>(in)));
}

inline RealDoubles limited(const void* in, double high)
{
    return _mm_min_pd(_mm_set1_pd(high), _mm_loadu_pd(static_cast<const double*>(in)));
}

inline Floats outward(Floats values, float half)
{
    const Floats sign = _mm_and_ps(values, _mm_set1_ps(-0.0F));
    return _mm_add_ps(values, _mm_or_ps(sign, _mm_set1_ps(half)));
}

inline RealDoubles outward(RealDoubles values, double half)
{
    const RealDoubles sign = _mm_and_pd(values, _mm_set1_pd(-0.0));
    return _mm_add_pd(values, _mm_or_pd(sign, _mm_set1_pd(half)));
}

inline Integers truncated(Floats values)
{
    return _mm_cvttps_epi32(values);
}

inline Integers truncated(RealDoubles first, RealDoubles second)
{
    return _mm_unpacklo_epi64(_mm_cvttpd_epi32(first), _mm_cvttpd_epi32(second));
}

inline Integers limitedAbove(Integers whole, const void* in)
{
    const Floats tooHigh = _mm_cmpge_ps(_mm_loadu_ps(static_cast<const float*>(in)), _mm_set1_ps(2147483648.0F));
    return _mm_xor_si128(whole, _mm_castps_si128(tooHigh));
}

inline void storeWhole(std::int32_t* out, Integers a)
{
    _mm_storeu_si128(reinterpret_cast<__m128i_u*>(out), a);
}

inline void storeWhole(std::int16_t* out, Integers a, Integers b)
{
    _mm_storeu_si128(reinterpret_cast<__m128i_u*>(out), _mm_packs_epi32(a, b));
}

/* Packing knows signed words alone: the range is moved below zero and back. Nothing here is above 65535; what is below
 * 0 must be limited first, since the smallest number would wrap. */
inline void storeWhole(std::uint16_t* out, Integers a, Integers b)
{
    const auto moved = [](Integers whole) {
        const Integers notNegative = _mm_andnot_si128(_mm_srai_epi32(whole, 31), whole);
        return _mm_sub_epi32(notNegative, _mm_set1_epi32(32768));
    };
    const Integers words = _mm_packs_epi32(moved(a), moved(b));
    _mm_storeu_si128(reinterpret_cast<__m128i_u*>(out), _mm_xor_si128(words, _mm_set1_epi16(INT16_MIN)));
}

inline Integers packed(std::uint8_t, Integers a, Integers b)
{
    return _mm_packus_epi16(a, b);
}

inline Integers packed(std::int8_t, Integers a, Integers b)
{
    return _mm_packs_epi16(a, b);
}

template <class Byte>
inline void storeBytes(Byte* out, Integers a, Integers b, Integers c, Integers d)
{
    _mm_storeu_si128(reinterpret_cast<__m128i_u*>(out),
                     packed(Byte{}, _mm_packs_epi32(a, b), _mm_packs_epi32(c, d)));
}

#endif

inline void storeWhole(std::uint8_t* out, Integers a, Integers b, Integers c, Integers d)
{
    storeBytes(out, a, b, c, d);
}

inline void storeWhole(std::int8_t* out, Integers a, Integers b, Integers c, Integers d)
{
    storeBytes(out, a, b, c, d);
}

/* The largest float below one half. The sum rounds up wherever the fraction is a half, so adding it in float rounds as
 * adding one half in double does. */
inline constexpr float kBelowHalf = 0x1.fffffep-2f;

/* As many whole numbers as a vector has floats, from `in`. */
template <class To, bool rounds>
inline Integers wholeNumbers(const char* in, float)
{
    constexpr bool fits = To::high <= 65535; /* a float; the 32-bit limit is not */
    constexpr auto high = fits ? static_cast<float>(To::high) : 2147483648.0F;
    const Floats values = limited(in, high);
    const Integers whole = truncated(rounds ? outward(values, kBelowHalf) : values);
    return fits ? whole : limitedAbove(whole, in);
}

template <class To, bool rounds>
inline Integers wholeNumbers(const char* in, double)
{
    const RealDoubles first = limited(in, static_cast<double>(To::high));
    const RealDoubles second = limited(in + sizeof(RealDoubles), static_cast<double>(To::high));
    return rounds ? truncated(outward(first, 0.5), outward(second, 0.5)) : truncated(first, second);
}

/* Converts as many of `count` as fill whole vectors, and says how many those were. */
template <class To, bool rounds, class Float>
inline long floatsToWhole(const void* source, void* dest, long count)
{
    using Stored = typename To::Storage;
    constexpr long lanes = sizeof(Integers) / sizeof(std::int32_t);
    constexpr long step = lanes * static_cast<long>(sizeof(Float));
    constexpr long vectors = sizeof(std::int32_t) / sizeof(Stored);
    const auto* in = static_cast<const char*>(source);
    auto* out = static_cast<Stored*>(dest);
    long i = 0;
    for (; i + vectors * lanes <= count; i += vectors * lanes) {
        const char* from = in + i * static_cast<long>(sizeof(Float));
        const auto next = [&](long vector) { return wholeNumbers<To, rounds>(from + vector * step, Float{}); };
        if constexpr (vectors == 4) {
            storeWhole(out + i, next(0), next(1), next(2), next(3));
        } else if constexpr (vectors == 2) {
            storeWhole(out + i, next(0), next(1));
        } else {
            storeWhole(out + i, next(0));
        }
    }
    return i;
}

}  // namespace emantle::EMANTLE_TARGET

#undef EMANTLE_JOIN
#undef EMANTLE_WIDTH
#undef EMANTLE_WIDTH_baseline
#undef EMANTLE_WIDTH_avx2
#undef EMANTLE_WIDTH_avx512
