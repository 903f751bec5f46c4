#include "data/epxm/streaming.h"

#include "platform/cpu.h"

#include <immintrin.h>

#define EMANTLE_LOOPS "data/epxm/streaming_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

namespace {

using CopyPast = void (*)(void* dest, const void* block, long bytes);

CopyPast fastestCopyPast() noexcept
{
    return platform::madeFor(platform::fastestInstructionSet(), baseline::copyPast, avx2::copyPast, avx512::copyPast);
}

}  // namespace

void writePast(void* dest, const void* block, long bytes) noexcept
{
    static const CopyPast copy = fastestCopyPast();
    copy(dest, block, bytes);
}

void finishWritingPast() noexcept
{
    _mm_sfence();
}

}  // namespace emantle
