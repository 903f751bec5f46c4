#include "data/bin_operators/byte_table.h"

#include "platform/cpu.h"

#include <immintrin.h>

/* Tables of bytes in registers. A load an element costs more than finding 32 or 64 elements at once in all of the table. */

namespace emantle {

namespace {

void plain(std::uint8_t* dest, const std::uint8_t* source, const std::uint8_t* table, long count)
{
    long i = 0;
    for (; i + 8 <= count; i += 8) {
        std::uint64_t in;
        __builtin_memcpy(&in, source + i, sizeof in);
        std::uint64_t out = 0;
        for (int shift = 0; shift < 64; shift += 8) {
            out |= static_cast<std::uint64_t>(table[in >> shift & 255]) << shift;
        }
        __builtin_memcpy(dest + i, &out, sizeof out);
    }
    for (; i < count; ++i) {
        dest[i] = table[source[i]];
    }
}

/* Each sixteenth of the table answers for its own indices: the addition makes all others negative, which a shuffle answers
 * with 0. */
__attribute__((target("avx2"))) void shuffles(std::uint8_t* dest, const std::uint8_t* source, const std::uint8_t* table,
                                              long count)
{
    __m256i parts[16];
    for (int i = 0; i < 16; ++i) {
        parts[i] = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(table + 16 * i)));
    }
    long at = 0;
    for (; at + 32 <= count; at += 32) {
        const __m256i index = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source + at));
        __m256i found = _mm256_setzero_si256();
        for (int i = 0; i < 16; ++i) {
            const __m256i inPart = _mm256_xor_si256(index, _mm256_set1_epi8(static_cast<char>(16 * i)));
            const __m256i orNegative = _mm256_adds_epu8(inPart, _mm256_set1_epi8(0x70));
            found = _mm256_or_si256(found, _mm256_shuffle_epi8(parts[i], orNegative));
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dest + at), found);
    }
    plain(dest + at, source + at, table, count - at);
}

__attribute__((target("avx512f,avx512bw,avx512vbmi"))) void permutations(std::uint8_t* dest, const std::uint8_t* source,
                                                                         const std::uint8_t* table, long count)
{
    const __m512i first = _mm512_loadu_si512(table);
    const __m512i second = _mm512_loadu_si512(table + 64);
    const __m512i third = _mm512_loadu_si512(table + 128);
    const __m512i fourth = _mm512_loadu_si512(table + 192);
    const auto find = [&](__m512i index) __attribute__((target("avx512f,avx512bw,avx512vbmi"), always_inline)) {
        const __m512i lower = _mm512_permutex2var_epi8(first, index, second);
        const __m512i upper = _mm512_permutex2var_epi8(third, index, fourth);
        return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), lower, upper);
    };
    long at = 0;
    for (; at + 64 <= count; at += 64) {
        _mm512_storeu_si512(dest + at, find(_mm512_loadu_si512(source + at)));
    }
    if (at < count) {
        const __mmask64 rest = _cvtu64_mask64((std::uint64_t{1} << (count - at)) - 1);
        _mm512_mask_storeu_epi8(dest + at, rest, find(_mm512_maskz_loadu_epi8(rest, source + at)));
    }
}

ByteTableLoop fastest() noexcept
{
    const ByteTableLoops loops = byteTableLoops();
    switch (platform::fastestInstructionSet()) {
    case platform::InstructionSet::avx512:
        return loops.permutations != nullptr ? loops.permutations : loops.shuffles;
    case platform::InstructionSet::avx2:
        return loops.shuffles;
    case platform::InstructionSet::baseline:
        break;
    }
    return loops.plain;
}

}  // namespace

ByteTableLoops byteTableLoops() noexcept
{
    const platform::InstructionSet machine = platform::machineInstructionSet();
    const bool permutes = machine == platform::InstructionSet::avx512 && __builtin_cpu_supports("avx512vbmi");
    return {plain, machine >= platform::InstructionSet::avx2 ? shuffles : nullptr, permutes ? permutations : nullptr};
}

void lookUpBytes(std::uint8_t* dest, const std::uint8_t* source, const std::uint8_t* table, long count) noexcept
{
    static const ByteTableLoop loop = fastest();
    loop(dest, source, table, count);
}

}  // namespace emantle
