#include "data/epxm/streaming.h"

#include "platform/cpu.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

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

void copyStreaming(const void* source, void* dest, long bytes) noexcept
{
    const auto from = reinterpret_cast<std::uintptr_t>(source);
    const auto to = reinterpret_cast<std::uintptr_t>(dest);
    const auto size = static_cast<std::uintptr_t>(bytes);
    if (from < to + size && to < from + size) {
        std::memmove(dest, source, size);
        return;
    }
    const std::uintptr_t first = -to % kLine;
    const std::uintptr_t whole = (size - first) / kLine * kLine;
    const auto* in = static_cast<const char*>(source);
    auto* out = static_cast<char*>(dest);
    std::memcpy(out, in, first);
    writePast(out + first, in + first, static_cast<long>(whole));
    finishWritingPast();
    std::memcpy(out + first + whole, in + first + whole, size - first - whole);
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
