/* Products and inverses of matrices, on one thread, against the peers in the same run. Eigen is measured as it is compiled
 * for any machine and, in a file of its own, for this one. */

#include <emantle/data/egda.h>

#include <benchmark/benchmark.h>
#include <string>
#include <vector>

#include "data/matrix_peers.h"

#ifdef EMANTLE_BENCH_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

template <class T>
constexpr Egda_PixelType kType = sizeof(T) == sizeof(float) ? EGDA_TYPE_F32 : EGDA_TYPE_F64;

/* Far from singular. */
template <class T>
std::vector<T> square(long n)
{
    std::vector<T> values(static_cast<std::size_t>(n * n));
    for (long i = 0; i < n * n; ++i) {
        values[static_cast<std::size_t>(i)] =
            static_cast<T>((i * 2654435761u >> 8) % 1000) / 500 - 1 + (i / n == i % n ? static_cast<T>(n) : 0);
    }
    return values;
}

template <class T>
Egda_BaseData* wrap(std::vector<T>& values, long n)
{
    return egda_BaseDataCreate(n, n, kType<T>, EGDA_MATRIX_OBJECT, values.data(), nullptr);
}

template <class T, class Run>
void measure(benchmark::State& state, double operations, Run run)
{
    const long n = state.range(0);
    std::vector<T> a = square<T>(n);
    std::vector<T> b = square<T>(n);
    std::vector<T> out(a.size());
    for (auto _ : state) {
        run(a.data(), b.data(), out.data(), n);
        benchmark::ClobberMemory();
    }
    state.counters["operations/s"] =
        benchmark::Counter(operations * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

double productOperations(long n)
{
    return 2.0 * static_cast<double>(n) * static_cast<double>(n) * static_cast<double>(n);
}

template <class T>
void ourProduct(benchmark::State& state)
{
    const long n = state.range(0);
    std::vector<T> a = square<T>(n);
    std::vector<T> b = square<T>(n);
    std::vector<T> out(a.size());
    Egda_BaseData* sources[] = {wrap(a, n), wrap(b, n)};
    Egda_BaseData* dest = wrap(out, n);
    for (auto _ : state) {
        egda_BaseDataOperation(EGDA_OP_MATRIX_MUL, dest, sources, 2, nullptr);
        benchmark::ClobberMemory();
    }
    state.counters["operations/s"] = benchmark::Counter(
        productOperations(n) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    for (Egda_BaseData* base : {sources[0], sources[1], dest}) {
        egda_BaseDataDelete(base, nullptr);
    }
}

template <class T>
void ourInverse(benchmark::State& state)
{
    const long n = state.range(0);
    std::vector<T> a = square<T>(n);
    std::vector<T> out(a.size());
    Egda_BaseData* base = wrap(a, n);
    Egda_BaseData* inverse = wrap(out, n);
    for (auto _ : state) {
        benchmark::DoNotOptimize(egda_MatrixInvert(base, inverse, nullptr));
        benchmark::ClobberMemory();
    }
    egda_BaseDataDelete(base, nullptr);
    egda_BaseDataDelete(inverse, nullptr);
}

#ifdef EMANTLE_BENCH_OPENCV
template <class T>
void openCvProduct(benchmark::State& state)
{
    cv::setNumThreads(1);
    measure<T>(state, productOperations(state.range(0)), [](T* a, T* b, T* out, long n) {
        const int size = static_cast<int>(n);
        cv::Mat to(size, size, cv::DataType<T>::type, out);
        cv::gemm(cv::Mat(size, size, cv::DataType<T>::type, a), cv::Mat(size, size, cv::DataType<T>::type, b), 1,
                 cv::noArray(), 0, to);
    });
}

template <class T>
void openCvInverse(benchmark::State& state)
{
    measure<T>(state, 0, [](T* a, T*, T* out, long n) {
        const int size = static_cast<int>(n);
        cv::Mat to(size, size, cv::DataType<T>::type, out);
        cv::invert(cv::Mat(size, size, cv::DataType<T>::type, a), to);
    });
}
#endif

template <class T>
void add(const std::string& type)
{
    const auto products = [](benchmark::internal::Benchmark* bench) { bench->Arg(16)->Arg(64)->Arg(512); };
    const auto inverses = [](benchmark::internal::Benchmark* bench) { bench->Arg(4)->Arg(16)->Arg(64); };
    const auto row = [&](const std::string& name, auto function) {
        return benchmark::RegisterBenchmark((type + ' ' + name).c_str(), function);
    };
    products(row("product/eMantle", ourProduct<T>));
#ifdef EMANTLE_BENCH_EIGEN
    products(row("product/Eigen", [](benchmark::State& state) {
        measure<T>(state, productOperations(state.range(0)), eigenProduct<T>);
    }));
    if (machineHasNativePeers()) {
        products(row("product/Eigen for this machine", [](benchmark::State& state) {
            measure<T>(state, productOperations(state.range(0)), eigenNativeProduct<T>);
        }));
    }
#endif
#ifdef EMANTLE_BENCH_OPENCV
    products(row("product/OpenCV", openCvProduct<T>));
#endif
    inverses(row("inverse/eMantle", ourInverse<T>));
#ifdef EMANTLE_BENCH_EIGEN
    inverses(row("inverse/Eigen", [](benchmark::State& state) { measure<T>(state, 0, eigenInverse<T>); }));
    if (machineHasNativePeers()) {
        inverses(row("inverse/Eigen for this machine",
                     [](benchmark::State& state) { measure<T>(state, 0, eigenNativeInverse<T>); }));
    }
#endif
#ifdef EMANTLE_BENCH_OPENCV
    inverses(row("inverse/OpenCV", openCvInverse<T>));
#endif
}

const bool kRegistered = [] {
    add<float>("f32");
    add<double>("f64");
    return true;
}();

}  // namespace
