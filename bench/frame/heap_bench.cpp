#include <emantle/frame/emsc.h>
#include <emantle/frame/estr.h>

#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>

/* The heap against the C library's, which clears its blocks as ours does: blocks of the range's size, a thousand of which
 * live at once. And the expansion of a path. */

namespace {

constexpr std::size_t living = 1000;

template <auto Allocate, auto Release> void blocks(benchmark::State& state)
{
    const long size = state.range(0);
    std::array<void*, living> block{};
    std::size_t next = 0;
    for (auto _ : state) {
        Release(block[next]);
        block[next] = Allocate(size);
        benchmark::DoNotOptimize(block[next]);
        next = (next + 1) % living;
    }
    for (void* each : block) {
        Release(each);
    }
    state.SetItemsProcessed(state.iterations());
}

void* allocateCleared(long size)
{
    return std::calloc(1, static_cast<std::size_t>(size));
}

void expandPath(benchmark::State& state)
{
    estr_PutEnv("BENCH_HOME", "/opt/of/a/product");
    estr_PutEnv("BENCH_ARCH", "linux64");
    char buffer[256];
    for (auto _ : state) {
        benchmark::DoNotOptimize(estr_PathExpand("$BENCH_HOME/lib//${BENCH_ARCH}/units.dat", buffer, sizeof buffer));
    }
}

BENCHMARK_TEMPLATE(blocks, emsc_HeapMalloc, emsc_HeapFree)->Arg(16)->Arg(64)->Arg(256);
BENCHMARK_TEMPLATE(blocks, allocateCleared, std::free)->Arg(16)->Arg(64)->Arg(256);
BENCHMARK(expandPath);

}  // namespace
