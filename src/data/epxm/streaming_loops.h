/* Copying past the caches: whole lines at once where the vectors are as long. No guard: a file of loops. */

#define EMANTLE_JOIN(a, b) a##b
#define EMANTLE_STREAM_(target) EMANTLE_JOIN(EMANTLE_STREAM_, target)
#define EMANTLE_STREAM_baseline(to, from) _mm_stream_si128(to, _mm_loadu_si128(from))
#define EMANTLE_STREAM_avx2(to, from) _mm256_stream_si256(to, _mm256_loadu_si256(from))
#define EMANTLE_STREAM_avx512(to, from) _mm512_stream_si512(to, _mm512_loadu_si512(from))
#define EMANTLE_WORDS_(target) EMANTLE_JOIN(EMANTLE_WORDS_, target)
#define EMANTLE_WORDS_baseline __m128i
#define EMANTLE_WORDS_avx2 __m256i
#define EMANTLE_WORDS_avx512 __m512i

namespace emantle::EMANTLE_TARGET {

inline void copyPast(void* dest, const void* block, long bytes)
{
    using Words = EMANTLE_WORDS_(EMANTLE_TARGET);
    auto* to = static_cast<Words*>(dest);
    const auto* from = static_cast<const Words*>(block);
    for (long i = 0; i < bytes / static_cast<long>(sizeof(Words)); ++i) {
        EMANTLE_STREAM_(EMANTLE_TARGET)(to + i, from + i);
    }
}

}  // namespace emantle::EMANTLE_TARGET

#undef EMANTLE_JOIN
#undef EMANTLE_STREAM_
#undef EMANTLE_STREAM_baseline
#undef EMANTLE_STREAM_avx2
#undef EMANTLE_STREAM_avx512
#undef EMANTLE_WORDS_
#undef EMANTLE_WORDS_baseline
#undef EMANTLE_WORDS_avx2
#undef EMANTLE_WORDS_avx512
