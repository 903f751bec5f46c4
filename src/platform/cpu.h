#pragma once

#include <cstddef>
#include <string_view>

namespace emantle::platform {

// What the loops are compiled for. avx2 stands for AVX2 with FMA and BMI2, avx512 for F, BW, DQ and VL on top of it.
// The names are those of the namespaces that for_each_target.h makes.
enum class InstructionSet { baseline, avx2, avx512 };

// The best that the processor and the kernel offer.
InstructionSet machineInstructionSet() noexcept;

// `machine`, or what `wish` ("baseline", "avx2", "avx512") names where that is not above it. Any other wish counts as
// none.
InstructionSet chooseInstructionSet(InstructionSet machine, std::string_view wish) noexcept;

// The machine's, or what EMANTLE_INSTRUCTION_SET asks for when the first call is made.
InstructionSet fastestInstructionSet() noexcept;

// The one of three of a kind that is made for a set: tables of loops, or loops.
template <class Made>
constexpr Made& madeFor(InstructionSet set, Made& baseline, Made& avx2, Made& avx512) noexcept
{
    switch (set) {
    case InstructionSet::avx512:
        return avx512;
    case InstructionSet::avx2:
        return avx2;
    case InstructionSet::baseline:
        break;
    }
    return baseline;
}

// Bytes of the last-level cache that a processor reaches; 8 MiB where the kernel does not tell.
std::size_t lastLevelCacheSize() noexcept;

std::size_t pageSize() noexcept;

} // namespace emantle::platform
