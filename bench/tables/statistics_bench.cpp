/* One pass of statistics, histograms, distinct values and covariance over planes of 4096 x 4096, against the speed at
 * which one thread reads the same bytes and against the peers, all in one run. The table at the end is the result. */

#include <emantle/tables/edsc.h>
#include <emantle/tables/esta.h>

#include <benchmark/benchmark.h>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#ifdef EMANTLE_BENCH_EIGEN
#include <Eigen/Core>
#endif
#ifdef EMANTLE_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

constexpr int kSide = 4096;
constexpr long kPixels = static_cast<long>(kSide) * kSide;
constexpr int kLayers = 6;

/* What a measurement reads, and the least time of a pass. */
struct Result {
    std::string name;
    std::string who;
    double bytes;
    double pixels;
    double seconds;
};
std::vector<Result> results;

/* Processor time of this thread, which is all that works here: others on the machine do not count. */
double threadSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/* A measurement is run several times before its length is known: the best of all counts. */
void keep(const Result& result)
{
    for (Result& known : results) {
        if (known.name == result.name && known.who == result.who) {
            known.seconds = std::min(known.seconds, result.seconds);
            return;
        }
    }
    results.push_back(result);
}

template <class Call>
void measure(const std::string& name, const std::string& who, double bytes, double pixels, Call call)
{
    benchmark::RegisterBenchmark((name + "/" + who).c_str(), [=](benchmark::State& state) {
        double least = 1e9;
        for (auto _ : state) {
            const double start = threadSeconds();
            call();
            const double passed = threadSeconds() - start;
            least = std::min(least, passed);
            state.SetIterationTime(passed);
        }
        state.SetBytesProcessed(static_cast<long>(static_cast<double>(state.iterations()) * bytes));
        keep({name, who, bytes, pixels, least});
    })->UseManualTime()->MinTime(0.3);
}

template <class Pixel>
std::vector<Pixel> plane(unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<Pixel> pixels(kPixels);
    for (Pixel& pixel : pixels) {
        pixel = static_cast<Pixel>(std::is_floating_point_v<Pixel> ? random() % 25600 / 100.0 : random() >> 8);
    }
    return pixels;
}

/* Of 0 to 256, with all their digits. */
std::vector<float> anyReals()
{
    std::mt19937 random(4);
    std::vector<float> pixels(kPixels);
    std::generate(pixels.begin(), pixels.end(), [&] { return static_cast<float>(random() >> 8) * 0x1p-16F; });
    return pixels;
}

/* Pixels that live as long as the program, and the record over them. */
template <class Pixel>
Egda_BaseData* record(const std::vector<Pixel>& pixels, Egda_PixelType type)
{
    return egda_BaseDataCreate(kSide, kSide, type, EGDA_RASTER_OBJECT, const_cast<Pixel*>(pixels.data()), nullptr);
}

std::vector<std::uint8_t> randomMask()
{
    std::mt19937 random(99);
    std::vector<std::uint8_t> mask(kPixels);
    std::generate(mask.begin(), mask.end(), [&] { return static_cast<std::uint8_t>(random() >> 31); });
    return mask;
}

std::vector<std::uint8_t> maskOfRuns()
{
    std::vector<std::uint8_t> mask(kPixels);
    for (long at = 0; at < kPixels; ++at) {
        mask[static_cast<std::size_t>(at)] = at / 128 % 2 != 0;
    }
    return mask;
}

#if defined(__GNUC__) && !defined(__clang__)
__attribute__((target_clones("default", "avx2", "avx512f"), optimize("O3")))
#endif
std::uint64_t readAll(const void* bytes, long words)
{
    const auto* word = static_cast<const std::uint64_t*>(bytes);
    std::uint64_t sum = 0;
    for (long at = 0; at < words; ++at) {
        sum += word[at];
    }
    return sum;
}

#ifdef EMANTLE_BENCH_OPENCV
void openCvStatistics(const cv::Mat& image, const cv::Mat& mask)
{
    double least = 0;
    double greatest = 0;
    cv::minMaxLoc(image, &least, &greatest, nullptr, nullptr, mask);
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(image, mean, deviation, mask);
    benchmark::DoNotOptimize(mean);
    benchmark::DoNotOptimize(greatest);
}
#endif

template <class Pixel>
void addStatistics(const std::string& type, Egda_PixelType code, int openCvType)
{
    static const std::vector<Pixel> pixels = plane<Pixel>(1);
    static Egda_BaseData* const data = record(pixels, code);
    const double bytes = static_cast<double>(kPixels) * sizeof(Pixel);
    measure("bandwidth/" + type, "read", bytes, kPixels,
            [bytes] { benchmark::DoNotOptimize(readAll(pixels.data(), static_cast<long>(bytes / 8))); });
    static const std::vector<std::uint8_t> masks[] = {{}, randomMask(), maskOfRuns()};
    static Egda_BaseData* const maskData[] = {nullptr, record(masks[1], EGDA_TYPE_U8), record(masks[2], EGDA_TYPE_U8)};
    const char* const names[] = {"whole", "random", "runs"};
    for (int which = 0; which < 3; ++which) {
        const std::string name = "statistics/" + type + "/" + names[which];
        const double all = bytes + (which == 0 ? 0 : static_cast<double>(kPixels));
        measure(name, "eMantle", all, kPixels, [which] {
            Esta_AllStats* allStats = esta_AllStatsCreate(0, nullptr, nullptr);
            esta_RasterAccumulateStats(allStats, data, maskData[which], nullptr);
            esta_AllStatsFinish(allStats, nullptr);
            esta_AllStatsDelete(allStats, nullptr);
        });
#ifdef EMANTLE_BENCH_OPENCV
        measure(name, "OpenCV", all, kPixels, [which, openCvType] {
            const cv::Mat image(kSide, kSide, openCvType, const_cast<Pixel*>(pixels.data()));
            auto* const set = const_cast<std::uint8_t*>(masks[which].data());
            openCvStatistics(image, which == 0 ? cv::Mat() : cv::Mat(kSide, kSide, CV_8U, set));
        });
#endif
    }
    (void)openCvType;
}

template <class Pixel>
void addHistogram(const std::string& type, Egda_PixelType code, int openCvType, int bins,
                  const std::vector<Pixel>& pixels)
{
    Egda_BaseData* const data = record(pixels, code);
    const double bytes = static_cast<double>(kPixels) * sizeof(Pixel);
    const bool isReal = std::is_floating_point_v<Pixel>;
    Edsc_BinFunction* function =
        isReal ? edsc_BinFunctionCreateLinear(0, 256, static_cast<std::uint32_t>(bins), nullptr)
               : edsc_BinFunctionCreateDirect(0, static_cast<std::uint32_t>(bins), nullptr);
    Esta_Histogram* const histogram = esta_HistogramCreate(bins, function, nullptr);
    measure("histogram/" + type, "eMantle", bytes, kPixels,
            [=] { esta_RasterAccumulateHistogram(histogram, data, nullptr, nullptr); });
#ifdef EMANTLE_BENCH_OPENCV
    Pixel* const first = const_cast<Pixel*>(pixels.data());
    measure("histogram/" + type, "OpenCV", bytes, kPixels, [=] {
        const cv::Mat image(kSide, kSide, openCvType, first);
        const float range[] = {0, 256};
        const float* ranges[] = {range};
        const int channel = 0;
        cv::Mat counts;
        cv::calcHist(&image, 1, &channel, cv::Mat(), counts, 1, &bins, ranges);
        benchmark::DoNotOptimize(counts.data);
    });
#endif
    (void)openCvType;
}

void addDistinct()
{
    static const std::vector<std::uint16_t> pixels = plane<std::uint16_t>(3);
    static Egda_BaseData* const data = record(pixels, EGDA_TYPE_U16);
    const double bytes = static_cast<double>(kPixels) * 2;
    measure("distinct/U16", "eMantle", bytes, kPixels, [] {
        Eahg_Histogram* histogram = eahg_HistogramCreate(65536, EGDA_TYPE_U16, 0, nullptr);
        eahg_HistogramAccumulateValues(histogram, data, nullptr, nullptr);
        eahg_HistogramDestroy(&histogram, nullptr);
    });
    measure("distinct/U16", "unordered_map", bytes, kPixels, [] {
        std::unordered_map<std::uint16_t, std::uint32_t> counts;
        for (const std::uint16_t pixel : pixels) {
            ++counts[pixel];
        }
        benchmark::DoNotOptimize(counts.size());
    });
    measure("distinct/U16", "sort", bytes, kPixels, [] {
        std::vector<std::uint16_t> sorted = pixels;
        std::sort(sorted.begin(), sorted.end());
        benchmark::DoNotOptimize(sorted.data());
    });
}

#ifdef EMANTLE_BENCH_EIGEN
void eigenCovariance(const std::vector<float>* layers)
{
    constexpr long kRun = 1024;
    Eigen::Matrix<double, kLayers, kLayers> products = Eigen::Matrix<double, kLayers, kLayers>::Zero();
    Eigen::Matrix<double, kLayers, 1> sums = Eigen::Matrix<double, kLayers, 1>::Zero();
    Eigen::Matrix<double, Eigen::Dynamic, kLayers> run(kRun, kLayers);
    for (long from = 0; from < kPixels; from += kRun) {
        for (int layer = 0; layer < kLayers; ++layer) {
            run.col(layer) = Eigen::Map<const Eigen::VectorXf>(layers[layer].data() + from, kRun).cast<double>();
        }
        products.noalias() += run.transpose() * run;
        sums += run.colwise().sum().transpose();
    }
    benchmark::DoNotOptimize(products.data());
    benchmark::DoNotOptimize(sums.data());
}
#endif

void addCovariance()
{
    static std::vector<float> layers[kLayers];
    static std::vector<Egda_BaseData*> list;
    for (int layer = 0; layer < kLayers; ++layer) {
        layers[layer] = plane<float>(10 + static_cast<unsigned>(layer));
        list.push_back(record(layers[layer], EGDA_TYPE_F32));
    }
    static const std::vector<std::uint8_t> mask = randomMask();
    static Egda_BaseData* maskData = record(mask, EGDA_TYPE_U8);
    static Egda_BaseDataStack masks{1, 1, &maskData, 0};
    static Egda_BaseDataStack rectangles{kLayers, 1, list.data(), 0};
    static Esta_AllStatsStack* const stack = esta_AllStatsStackCreate(kLayers, 0, nullptr, nullptr);
    const double bytes = static_cast<double>(kPixels) * kLayers * 4;
    measure("covariance/6xF32/whole", "eMantle", bytes, kPixels, [] {
        esta_RectanglesSetMasks(&rectangles, nullptr);
        esta_AoiFeatRasterAccumCovariance(stack, &rectangles, nullptr);
    });
    measure("covariance/6xF32/random", "eMantle", bytes + static_cast<double>(kPixels), kPixels, [] {
        esta_RectanglesSetMasks(&rectangles, &masks);
        esta_AoiFeatRasterAccumCovariance(stack, &rectangles, nullptr);
    });
#ifdef EMANTLE_BENCH_EIGEN
    measure("covariance/6xF32/whole", "Eigen", bytes, kPixels, [] { eigenCovariance(layers); });
#endif
}

/* NumPy's figures, from the script beside this file, where an interpreter has it. */
void askNumPy()
{
#ifdef EMANTLE_BENCH_PYTHON
    const std::string script = EMANTLE_BENCH_FOLDER "/tables/statistics_numpy.py";
    for (const std::string python : {EMANTLE_BENCH_PYTHON, "/usr/bin/python3"}) {
        FILE* output = popen(("'" + python + "' '" + script + "' 2>/dev/null").c_str(), "r");
        if (output == nullptr) {
            continue;
        }
        char name[128];
        double seconds = 0;
        bool any = false;
        while (std::fscanf(output, "%127s %lf", name, &seconds) == 2) {
            results.push_back({name, "NumPy", 0, kPixels, seconds});
            any = true;
        }
        pclose(output);
        if (any) {
            return;
        }
    }
#endif
}

void printTable()
{
    std::map<std::string, double> bandwidth;
    for (const Result& result : results) {
        if (result.who == "read") {
            bandwidth[result.name.substr(result.name.rfind('/') + 1)] = result.bytes / result.seconds;
        }
    }
    std::printf("\n%-26s %10s %10s %12s   %s\n", "measurement", "GB/s", "Mpixel/s", "of bandwidth", "times ahead of");
    for (const Result& own : results) {
        if (own.who != "eMantle") {
            continue;
        }
        std::string type = own.name.substr(own.name.find('/') + 1);
        type = type.substr(0, type.find('/'));
        const auto speed = bandwidth.find(type.starts_with("6x") ? "F32" : type);
        std::printf("%-26s %10.2f %10.0f ", own.name.c_str(), own.bytes / own.seconds / 1e9,
                    own.pixels / own.seconds / 1e6);
        if (speed != bandwidth.end()) {
            std::printf("%11.0f%%  ", 100 * own.bytes / own.seconds / speed->second);
        }
        for (const Result& peer : results) {
            if (peer.name == own.name && peer.who != "eMantle") {
                std::printf(" %s %.1f", peer.who.c_str(), peer.seconds / own.seconds);
            }
        }
        std::printf("\n");
    }
    for (const auto& [type, speed] : bandwidth) {
        std::printf("read bandwidth over a plane of %s: %.1f GB/s\n", type.c_str(), speed / 1e9);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
#ifdef EMANTLE_BENCH_OPENCV
    cv::setNumThreads(1);
    constexpr int kTypes[] = {CV_8U, CV_16U, CV_32F, CV_64F};
#else
    constexpr int kTypes[] = {0, 0, 0, 0};
#endif
    addStatistics<std::uint8_t>("U8", EGDA_TYPE_U8, kTypes[0]);
    addStatistics<std::uint16_t>("U16", EGDA_TYPE_U16, kTypes[1]);
    addStatistics<float>("F32", EGDA_TYPE_F32, kTypes[2]);
    addStatistics<double>("F64", EGDA_TYPE_F64, kTypes[3]);
    static const std::vector<std::uint8_t> bytes = plane<std::uint8_t>(2);
    static const std::vector<float> hundredths = plane<float>(2);
    static const std::vector<float> reals = anyReals();
    addHistogram("U8", EGDA_TYPE_U8, kTypes[0], 256, bytes);
    addHistogram("F32", EGDA_TYPE_F32, kTypes[2], 256, reals);
    addHistogram("F32/hundredths", EGDA_TYPE_F32, kTypes[2], 256, hundredths);
    addDistinct();
    addCovariance();
    benchmark::RunSpecifiedBenchmarks();
    askNumPy();
    printTable();
    return 0;
}
