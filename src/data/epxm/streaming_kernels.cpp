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
    switch (platform::fastestInstructionSet()) {
    case platform::InstructionSet::avx512:
        return avx512::copyPast;
    case platform::InstructionSet::avx2:
        return avx2::copyPast;
    case platform::InstructionSet::baseline:
        break;
    }
    return baseline::copyPast;
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
