/* Conversion of pixels between types: bytes read and written a second, within the cache and beyond it, against the
 * memory's own speed and the peers in the same run. */

#include <emantle/data/egda.h>
#include <emantle/data/epxm/convert.h>

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#ifdef EMANTLE_BENCH_EIGEN
#include <Eigen/Core>
#endif
#ifdef EMANTLE_BENCH_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

constexpr long kInCache = 4096;       /* a row of an image */
constexpr long kBeyond = 16 << 20;    /* pixels that no cache holds */

template <class From>
std::vector<From> pixels(long count)
{
    std::vector<From> values(static_cast<std::size_t>(count));
    for (long i = 0; i < count; ++i) {
        values[static_cast<std::size_t>(i)] = static_cast<From>((i * 2654435761u >> 16) % 300 + i % 4 * 0.25);
    }
    return values;
}

template <class From, class To, class Convert>
void run(benchmark::State& state, Convert convert)
{
    const long count = state.range(0);
    const std::vector<From> in = pixels<From>(count);
    std::vector<To> out(static_cast<std::size_t>(count));
    for (auto _ : state) {
        convert(in.data(), out.data(), count);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * count * static_cast<long>(sizeof(From) + sizeof(To)));
    state.counters["pixels/s"] =
        benchmark::Counter(static_cast<double>(state.iterations() * count), benchmark::Counter::kIsRate);
}

template <class From, class To>
void add(const std::string& name, int from, int to)
{
    const auto sizes = [](benchmark::internal::Benchmark* bench) { bench->Arg(kInCache)->Arg(kBeyond); };
    sizes(benchmark::RegisterBenchmark((name + "/eMantle").c_str(), [=](benchmark::State& state) {
        const Epxm_ConvertRoutine routine = emsc_AddressOf_epxm_Convert()[from][to];
        run<From, To>(state, [=](const From* in, To* out, long count) { routine(in, out, count); });
    }));
#ifdef EMANTLE_BENCH_OPENCV
    if constexpr (!std::is_same_v<From, std::uint32_t> && !std::is_same_v<To, std::uint32_t>) {
        sizes(benchmark::RegisterBenchmark((name + "/OpenCV convertTo").c_str(), [](benchmark::State& state) {
            cv::setNumThreads(1);
            run<From, To>(state, [](const From* in, To* out, long count) {
                const cv::Mat source(1, static_cast<int>(count), cv::DataType<From>::type, const_cast<From*>(in));
                cv::Mat dest(1, static_cast<int>(count), cv::DataType<To>::type, out);
                source.convertTo(dest, dest.type());
            });
        }));
    }
#endif
#ifdef EMANTLE_BENCH_EIGEN
    sizes(benchmark::RegisterBenchmark((name + "/Eigen cast, no clamp").c_str(), [](benchmark::State& state) {
        run<From, To>(state, [](const From* in, To* out, long count) {
            using In = Eigen::Map<const Eigen::Array<From, Eigen::Dynamic, 1>>;
            using Out = Eigen::Map<Eigen::Array<To, Eigen::Dynamic, 1>>;
            Out(out, count) = In(in, count).template cast<To>();
        });
    }));
#endif
}

void addRange()
{
    for (const int type : {EGDA_TYPE_U8, EGDA_TYPE_U16, EGDA_TYPE_F32, EGDA_TYPE_F64}) {
        benchmark::RegisterBenchmark(
            (std::string("minimum and maximum of ") + egda_PixelNameFromType(type) + "/eMantle").c_str(),
            [=](benchmark::State& state) {
                const long count = state.range(0);
                Egda_BaseData* base = egda_BaseDataCreate(1, count, type, EGDA_RASTER_OBJECT, nullptr, nullptr);
                egda_BaseDataSetScalar(base, 7, EGDA_SET_ALL, 0, nullptr);
                double least = 0;
                double greatest = 0;
                for (auto _ : state) {
                    egda_BaseDataStats(base, count, 1, &least, &greatest);
                    benchmark::DoNotOptimize(least + greatest);
                }
                state.SetBytesProcessed(state.iterations() * count * base->numbytes);
                egda_BaseDataDelete(base, nullptr);
            })
            ->Arg(kInCache)
            ->Arg(kBeyond);
    }
}

const bool kRegistered = [] {
    benchmark::RegisterBenchmark("memory/memcpy", [](benchmark::State& state) {
        run<std::uint8_t, std::uint8_t>(state, [](const std::uint8_t* in, std::uint8_t* out, long count) {
            std::memcpy(out, in, static_cast<std::size_t>(count));
        });
    })->Arg(4 * kInCache)->Arg(4 * kBeyond);
    add<float, std::uint8_t>("f32 to u8", EGDA_TYPE_F32, EGDA_TYPE_U8);
    add<float, std::int16_t>("f32 to s16", EGDA_TYPE_F32, EGDA_TYPE_S16);
    add<double, std::uint8_t>("f64 to u8", EGDA_TYPE_F64, EGDA_TYPE_U8);
    add<double, float>("f64 to f32", EGDA_TYPE_F64, EGDA_TYPE_F32);
    add<std::uint16_t, std::uint8_t>("u16 to u8", EGDA_TYPE_U16, EGDA_TYPE_U8);
    add<std::uint8_t, float>("u8 to f32", EGDA_TYPE_U8, EGDA_TYPE_F32);
    add<std::uint8_t, double>("u8 to f64", EGDA_TYPE_U8, EGDA_TYPE_F64);
    add<double, std::uint32_t>("f64 to u32", EGDA_TYPE_F64, EGDA_TYPE_U32);
    addRange();
    return true;
}();

}  // namespace
