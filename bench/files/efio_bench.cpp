#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <emantle/files/efio.h>
#include <string>
#include <utility>
#include <vector>

/* The file layer against stdio: a file of 1 GiB from end to end in pieces of the range's size, and probes of a hierarchical
 * file. Memory bandwidth of the same run stands first. */

namespace {

constexpr long fileSize = 1L << 30;

const std::string& scratch()
{
    static const std::string name = [] {
        const char* directory = std::getenv("EMANTLE_BENCH_DIR");
        std::string made = std::string(directory == nullptr ? "/tmp" : directory) + "/efio_bench.bin";
        std::atexit([] { std::remove(scratch().c_str()); });
        return made;
    }();
    return name;
}

void fill()
{
    static bool filled;
    if (std::exchange(filled, true)) {
        return;
    }
    const std::vector<char> block(1 << 20, 'x');
    std::FILE* file = std::fopen(scratch().c_str(), "wb");
    for (long i = 0; i < fileSize; i += static_cast<long>(block.size())) {
        std::fwrite(block.data(), 1, block.size(), file);
    }
    std::fclose(file);
}

void memoryCopy(benchmark::State& state)
{
    constexpr long copied = 64L << 20;
    std::vector<char> from(copied, 'x'), to(copied);
    for (auto _ : state) {
        std::copy(from.begin(), from.end(), to.begin());
        benchmark::DoNotOptimize(to.data());
    }
    state.SetBytesProcessed(state.iterations() * copied);
}

void efioWrite(benchmark::State& state)
{
    const std::vector<char> piece(static_cast<std::size_t>(state.range(0)), 'y');
    for (auto _ : state) {
        Efio_File* file = efio_Open(scratch().c_str(), "wb", nullptr);
        for (long i = 0; i + state.range(0) <= fileSize; i += state.range(0)) {
            efio_WriteSeq(file, piece.data(), state.range(0), nullptr);
        }
        efio_Close(file, nullptr);
    }
    state.SetBytesProcessed(state.iterations() * fileSize);
}

void stdioWrite(benchmark::State& state)
{
    const std::vector<char> piece(static_cast<std::size_t>(state.range(0)), 'y');
    for (auto _ : state) {
        std::FILE* file = std::fopen(scratch().c_str(), "wb");
        for (long i = 0; i + state.range(0) <= fileSize; i += state.range(0)) {
            std::fwrite(piece.data(), 1, piece.size(), file);
        }
        std::fclose(file);
    }
    state.SetBytesProcessed(state.iterations() * fileSize);
}

void efioRead(benchmark::State& state)
{
    fill();
    std::vector<char> piece(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        Efio_File* file = efio_Open(scratch().c_str(), "rb", nullptr);
        for (long i = 0; i + state.range(0) <= fileSize; i += state.range(0)) {
            efio_ReadSeq(file, piece.data(), state.range(0), nullptr);
        }
        efio_Close(file, nullptr);
    }
    state.SetBytesProcessed(state.iterations() * fileSize);
}

void stdioRead(benchmark::State& state)
{
    fill();
    std::vector<char> piece(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        std::FILE* file = std::fopen(scratch().c_str(), "rb");
        for (long i = 0; i + state.range(0) <= fileSize; i += state.range(0)) {
            benchmark::DoNotOptimize(std::fread(piece.data(), 1, piece.size(), file));
        }
        std::fclose(file);
    }
    state.SetBytesProcessed(state.iterations() * fileSize);
}

/* Probes of 128 bytes, each followed by three neighbours: what a walk over entry records asks for. */
constexpr long recordSize = 128, neighbours = 3;

long nextRecord(unsigned& seed)
{
    seed = seed * 1664525 + 1013904223;
    return static_cast<long>(seed % (fileSize / recordSize - neighbours - 1)) * recordSize;
}

void efioProbe(benchmark::State& state)
{
    fill();
    Efio_File* file = efio_Open(scratch().c_str(), "rb", nullptr);
    char record[recordSize];
    unsigned seed = 1;
    for (auto _ : state) {
        const long offset = nextRecord(seed);
        for (long i = 0; i <= neighbours; ++i) {
            efio_Seek(file, offset + i * recordSize, EFIO_SEEK_SET, nullptr);
            efio_ReadSeq(file, record, recordSize, nullptr);
        }
    }
    efio_Close(file, nullptr);
}

void stdioProbe(benchmark::State& state)
{
    fill();
    std::FILE* file = std::fopen(scratch().c_str(), "rb");
    char record[recordSize];
    unsigned seed = 1;
    for (auto _ : state) {
        const long offset = nextRecord(seed);
        for (long i = 0; i <= neighbours; ++i) {
            std::fseek(file, offset + i * recordSize, SEEK_SET);
            benchmark::DoNotOptimize(std::fread(record, 1, recordSize, file));
        }
    }
    std::fclose(file);
}

void mappedProbe(benchmark::State& state)
{
    fill();
    Efio_File* file = efio_Open(scratch().c_str(), "rb", nullptr);
    Efio_MmapInfo* map = efio_MmapCreate(file, 0, nullptr);
    efio_MmapMap(map, nullptr);
    unsigned seed = 1;
    for (auto _ : state) {
        const long offset = nextRecord(seed);
        for (long i = 0; i <= neighbours; ++i) {
            benchmark::DoNotOptimize(
                *static_cast<char*>(efio_MmapAddressGet(map, offset + i * recordSize, recordSize, nullptr)));
        }
    }
    efio_MmapDestroy(map, nullptr);
    efio_Close(file, nullptr);
}

}  // namespace

BENCHMARK(memoryCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(efioWrite)->Arg(200)->Arg(65536)->Unit(benchmark::kMillisecond);
BENCHMARK(stdioWrite)->Arg(200)->Arg(65536)->Unit(benchmark::kMillisecond);
BENCHMARK(efioRead)->Arg(200)->Arg(65536)->Unit(benchmark::kMillisecond);
BENCHMARK(stdioRead)->Arg(200)->Arg(65536)->Unit(benchmark::kMillisecond);
BENCHMARK(efioProbe);
BENCHMARK(stdioProbe);
BENCHMARK(mappedProbe);
