#include "data/epxm/streaming.h"

#include "platform/cpu.h"

#include <algorithm>
#include <cstdint>

namespace emantle {

namespace {

constexpr long kLine = 64;

}  // namespace

bool isStreamed(long bytes) noexcept
{
    /* Beside its sources a destination of half the cache does not stay in it. */
    static const long least = std::max(kNeverStreamed, static_cast<long>(platform::lastLevelCacheSize() / 2));
    return bytes >= least;
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
        alignas(kLine) char piece[kStreamedPiece];
        while (count >= kStreamedPiece / destSize) {
            char* to = out;
            convertNext(piece, kStreamedPiece / destSize);
            writePast(to, piece, kStreamedPiece);
        }
        finishWritingPast();
    }
    for (const long most = kNeverStreamed / destSize; count > 0;) {
        convertNext(out, std::min(count, most));
    }
}

}  // namespace emantle
