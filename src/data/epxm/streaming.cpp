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

}  // namespace

void writePast(void* dest, const void* block, long bytes) noexcept
{
    auto* to = static_cast<__m128i*>(dest);
    const auto* from = static_cast<const __m128i*>(block);
    for (long i = 0; i < bytes / static_cast<long>(sizeof(__m128i)); ++i) {
        _mm_stream_si128(to + i, _mm_load_si128(from + i));
    }
}

void finishWritingPast() noexcept
{
    _mm_sfence();
}

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
        finishWritingPast();
    }
    for (const long most = kNeverStreamed / destSize; count > 0;) {
        convertNext(out, std::min(count, most));
    }
}

}  // namespace emantle
