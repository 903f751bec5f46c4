namespace emantle {
namespace {
namespace EMANTLE_TARGET {

/* A word of the mask is looked at before its bytes are; then nothing branches on a pixel. */
inline long packWords(const std::uint32_t* pixels, const std::uint8_t* mask, long count, std::uint32_t* packed)
{
    long size = 0;
    for (long from = 0; from < count; from += 8) {
        const long length = count - from < 8 ? count - from : 8;
        std::uint64_t word = 0;
        __builtin_memcpy(&word, mask + from, (std::size_t)length);
        if (word == 0) {
            continue;
        }
        for (long at = 0; at < length; ++at) {
            __builtin_memcpy(packed + size, pixels + from + at, sizeof *packed);
            size += ((word >> (8 * at)) & 0xff) != 0;
        }
    }
    return size;
}

template <int width>
long packBy(const std::uint32_t* pixels, const std::uint8_t* mask, long count, std::uint32_t* packed)
{
    if constexpr (width == 64) {
        long size = 0;
        long at = 0;
        for (; at + 16 <= count; at += 16) {
            const __mmask16 set = _mm_test_epi8_mask(_mm_loadu_si128((const __m128i*)(mask + at)), _mm_set1_epi8(-1));
            const __m512i kept = _mm512_maskz_compress_epi32(set, _mm512_loadu_si512(pixels + at));
            _mm512_storeu_si512(packed + size, kept);
            size += __builtin_popcount(set);
        }
        return size + packWords(pixels + at, mask + at, count - at, packed + size);
    } else {
        return packWords(pixels, mask, count, packed);
    }
}

long pack(const void* pixels, const std::uint8_t* mask, long count, void* packed)
{
    return packBy<vector_bytes::EMANTLE_TARGET>((const std::uint32_t*)pixels, mask, count, (std::uint32_t*)packed);
}

}  // namespace EMANTLE_TARGET
}  // namespace
}  // namespace emantle
