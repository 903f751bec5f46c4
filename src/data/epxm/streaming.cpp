#include "data/epxm/streaming.h"

#include "platform/cpu.h"

#include <algorithm>
#include <cstdint>
#include <emmintrin.h>

namespace emantle {

namespace {

/* Stays in the first cache together with its source. */
constexpr long kPiece = 4096;
constexpr long kLine = 64;

/* `dest` is aligned to a line; `bytes` is a multiple of one. */
void writePast(char* dest, const char* piece, long bytes)
{
    for (long i = 0; i < bytes; i += static_cast<long>(sizeof(__m128i))) {
        _mm_stream_si128(reinterpret_cast<__m128i*>(dest + i),
                         _mm_load_si128(reinterpret_cast<const __m128i*>(piece + i)));
    }
}

}  // namespace

bool isStreamed(long bytes) noexcept
{
    static const long cache = std::max(kNeverStreamed, static_cast<long>(platform::lastLevelCacheSize()));
    return bytes > cache;
}

void convertStreaming(Epxm_ConvertRoutine routine, const void* source, long sourceSize, void* dest, long destSize,
                      long count)
{
    const auto* in = static_cast<const char*>(source);
    auto* out = static_cast<char*>(dest);
    const auto convertNext = [&](void* to, long elements) {
        routine(in, to, elements);
        in += elements * sourceSize;
        out += elements * destSize;
        count -= elements;
    };
    const long toLine = static_cast<long>(-reinterpret_cast<std::uintptr_t>(out) % kLine);
    if (toLine % destSize == 0) {
        convertNext(out, std::min(count, toLine / destSize));
        alignas(kLine) char piece[kPiece];
        while (count >= kPiece / destSize) {
            char* to = out;
            convertNext(piece, kPiece / destSize);
            writePast(to, piece, kPiece);
        }
        _mm_sfence();
    }
    for (const long most = kNeverStreamed / destSize; count > 0;) {
        convertNext(out, std::min(count, most));
    }
}

}  // namespace emantle
