#include "platform/cpu.h"

#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>

namespace target_test {

// A compiler refuses to inline these where the caller is not compiled for at least the same instructions.
#define ALWAYS_INLINE_FOR(features) inline __attribute__((always_inline, target(features)))
inline int probe_baseline()
{
    return 1;
}
ALWAYS_INLINE_FOR("avx2,fma,bmi2") int probe_avx2()
{
    return 1;
}
ALWAYS_INLINE_FOR("avx2,fma,bmi2,avx512f,avx512bw,avx512dq,avx512vl") int probe_avx512()
{
    return 1;
}

} // namespace target_test

#define PROBE_OF(target) target_test::probe_##target()
#define PROBE(target) PROBE_OF(target)

#define EMANTLE_LOOPS "platform/target_loops.h"
#include "platform/for_each_target.h"

using namespace emantle::platform;

TEST(InstructionSets, TheWishIsHeldAgainstTheMachine)
{
    using enum InstructionSet;
    EXPECT_EQ(chooseInstructionSet(avx512, "avx2"), avx2);
    EXPECT_EQ(chooseInstructionSet(avx512, "baseline"), baseline);
    EXPECT_EQ(chooseInstructionSet(avx2, "avx512"), avx2) << "never above the machine";
    EXPECT_EQ(chooseInstructionSet(avx2, ""), avx2);
    EXPECT_EQ(chooseInstructionSet(avx2, "sse9"), avx2);
    EXPECT_LE(fastestInstructionSet(), machineInstructionSet());
}

template <class T> void expectTheSameFromEveryTarget()
{
    constexpr std::size_t n = 101;
    T a[n], b[n];
    for (std::size_t i = 0; i < n; ++i) {
        a[i] = static_cast<T>(i * 2 + 1);
        b[i] = static_cast<T>(i);
    }
    using Add = void (*)(const T*, const T*, T*, std::size_t);
    const Add targets[] = {target_test::baseline::addTwice<T>, target_test::avx2::addTwice<T>,
                           target_test::avx512::addTwice<T>};
    for (int set = 0; set <= static_cast<int>(machineInstructionSet()); ++set) {
        T sum[n];
        targets[set](a, b, sum, n);
        for (std::size_t i = 0; i < n; ++i)
            EXPECT_EQ(sum[i], static_cast<T>(4 * i + 3)) << set << ' ' << i;
    }
}

TEST(InstructionSets, LoopsTemplatesAndLambdasAreCompiledForTheirTarget)
{
    expectTheSameFromEveryTarget<std::uint8_t>();
    expectTheSameFromEveryTarget<float>();
    expectTheSameFromEveryTarget<double>();
}

TEST(Machine, SizesArePlausible)
{
    EXPECT_EQ(pageSize() & (pageSize() - 1), 0u);
    EXPECT_GE(lastLevelCacheSize(), std::size_t{64} << 10);
}
