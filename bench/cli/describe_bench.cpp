/* What `emantle describe` costs above its parts, and how much memory it holds.
 *  1. A layer of 10,000 x 10,000 bytes in the page cache: the decoder reading it all, the accumulation of what it read,
 *     and the tool from start to exit. The ratio printed last is the tool's time to the sum of the other two.
 *  2. An image of 30,000 x 30,000 bytes: the peak resident memory of the tool.
 *  3. Six layers of 4096 x 4096 bytes with their covariance: the tool from start to exit, and a NumPy script that computes
 *     the same figures of the same pixels from a raw file, without what starting Python costs. The script also holds the
 *     figures of the tool against its own.
 * The images are made in the folder for temporary files (EMANTLE_BENCH_IMAGES names another) and removed. */

#include <emantle/tables/esta.h>

#include <benchmark/benchmark.h>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::uint32_t kStripRows = 16;

std::string pathOf(const char* name)
{
    const char* folder = std::getenv("EMANTLE_BENCH_IMAGES");
    const auto parent = folder == nullptr ? std::filesystem::temp_directory_path() : std::filesystem::path(folder);
    return (parent / (std::to_string(getpid()) + name)).string();
}

/* A file that goes when the program ends. */
struct Image {
    Image(const char* name, std::uint32_t imageSide) : path(pathOf(name)), side(imageSide)
    {
        TIFF* file = TIFFOpen(path.c_str(), "w");
        TIFFSetField(file, TIFFTAG_IMAGEWIDTH, side);
        TIFFSetField(file, TIFFTAG_IMAGELENGTH, side);
        TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, kStripRows);
        TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        std::mt19937 random(7);
        std::vector<std::uint8_t> strip(static_cast<std::size_t>(kStripRows) * side);
        for (std::uint8_t& pixel : strip) {
            pixel = static_cast<std::uint8_t>((random() % 100) + (random() % 100));
        }
        for (std::uint32_t row = 0; row < side; row += kStripRows) {
            const std::size_t bytes = static_cast<std::size_t>(std::min(kStripRows, side - row)) * side;
            strip[row % strip.size()] = static_cast<std::uint8_t>(row);
            TIFFWriteEncodedStrip(file, row / kStripRows, strip.data(), static_cast<tmsize_t>(bytes));
        }
        TIFFClose(file);
    }
    ~Image() { std::filesystem::remove(path); }

    std::string path;
    std::uint32_t side;
};

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/* Strips of about a megabyte, as one who only reads would take them. */
double readAll(const Image& image)
{
    const auto start = std::chrono::steady_clock::now();
    TIFF* file = TIFFOpen(image.path.c_str(), "rm");
    std::vector<std::uint8_t> strip(static_cast<std::size_t>(TIFFStripSize(file)));
    for (std::uint32_t i = 0; i < TIFFNumberOfStrips(file); ++i) {
        benchmark::DoNotOptimize(TIFFReadEncodedStrip(file, i, strip.data(), static_cast<tmsize_t>(strip.size())));
    }
    TIFFClose(file);
    return secondsSince(start);
}

/* Statistics and 256 direct bins of as many pixels, in blocks that the tool would take. */
double accumulate(const Image& image)
{
    constexpr std::uint32_t kRows = 96;
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(kRows) * image.side);
    std::mt19937 random(7);
    for (std::uint8_t& pixel : pixels) {
        pixel = static_cast<std::uint8_t>((random() % 100) + (random() % 100));
    }
    Esta_AllStats* all = esta_AllStatsCreate(256, nullptr, nullptr);
    Egda_BaseData* block = egda_BaseDataCreate(kRows, image.side, EGDA_TYPE_U8, EGDA_RASTER_OBJECT, pixels.data(), nullptr);
    const auto start = std::chrono::steady_clock::now();
    for (std::uint32_t row = 0; row < image.side; row += kRows) {
        esta_RasterAccumulateStats(all, block, nullptr, nullptr);
        esta_RasterAccumulateHistogram(all->histogram, block, nullptr, nullptr);
    }
    const double seconds = secondsSince(start);
    egda_BaseDataDelete(block, nullptr);
    esta_AllStatsDelete(all, nullptr);
    return seconds;
}

struct Run {
    double seconds;
    double peakMegabytes;
};

/* `emantle describe` as its user starts it. */
Run describe(const Image& image)
{
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        static_cast<void>(std::freopen("/dev/null", "w", stdout));
        execl(EMANTLE_TOOL, EMANTLE_TOOL, "describe", image.path.c_str(), "--json", static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (status != 0) {
        std::fprintf(stderr, "the tool failed\n");
        std::exit(1);
    }
    return {secondsSince(start), static_cast<double>(usage.ru_maxrss) / 1024};
}

void describeAgainstItsParts(benchmark::State& state)
{
    const Image image("_bench.tif", 10000);
    readAll(image);
    double read = 1e9;
    double taken = 1e9;
    double whole = 1e9;
    for (auto _ : state) {
        read = std::min(read, readAll(image));
        taken = std::min(taken, accumulate(image));
        const double run = describe(image).seconds;
        whole = std::min(whole, run);
        state.SetIterationTime(run);
    }
    state.counters["read_ms"] = 1000 * read;
    state.counters["accumulate_ms"] = 1000 * taken;
    state.counters["describe_ms"] = 1000 * whole;
    state.counters["ratio"] = whole / (read + taken);
}
BENCHMARK(describeAgainstItsParts)->UseManualTime()->Iterations(7)->Unit(benchmark::kMillisecond);

#ifdef EMANTLE_BENCH_PYTHON
constexpr std::uint32_t kSceneSide = 4096;
constexpr std::uint16_t kSceneLayers = 6;

/* The same planes twice: as an image, and bare. */
struct Scene {
    Scene() : image(pathOf("_scene.tif")), raw(pathOf("_scene.raw")), figures(pathOf("_scene.json"))
    {
        TIFF* file = TIFFOpen(image.c_str(), "w");
        TIFFSetField(file, TIFFTAG_IMAGEWIDTH, kSceneSide);
        TIFFSetField(file, TIFFTAG_IMAGELENGTH, kSceneSide);
        TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, kSceneLayers);
        TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, kStripRows);
        TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_SEPARATE);
        TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        std::FILE* bare = std::fopen(raw.c_str(), "wb");
        std::mt19937 random(7);
        std::vector<std::uint8_t> strip(static_cast<std::size_t>(kStripRows) * kSceneSide);
        for (std::uint32_t i = 0; i < kSceneLayers * kSceneSide / kStripRows; ++i) {
            for (std::uint8_t& pixel : strip) {
                pixel = static_cast<std::uint8_t>((random() % 100) + (random() % 100));
            }
            TIFFWriteEncodedStrip(file, i, strip.data(), static_cast<tmsize_t>(strip.size()));
            std::fwrite(strip.data(), 1, strip.size(), bare);
        }
        std::fclose(bare);
        TIFFClose(file);
    }
    ~Scene()
    {
        for (const std::string& path : {image, raw, figures}) {
            std::filesystem::remove(path);
        }
    }

    std::string image;
    std::string raw;
    std::string figures;
};

/* Seconds that the script says it took; below 0 where NumPy is missing. */
double numpyDescribes(const Scene& scene)
{
    for (const std::string python : {EMANTLE_BENCH_PYTHON, "/usr/bin/python3"}) {
        const std::string command = "OMP_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1 " + python + " " EMANTLE_BENCH_FOLDER
                                    "/cli/describe_numpy.py " + scene.raw + " " + scene.figures + " 2>/dev/null";
        std::FILE* pipe = popen(command.c_str(), "r");
        double seconds = -1;
        const bool told = pipe != nullptr && std::fscanf(pipe, "%lf", &seconds) == 1;
        if (pipe != nullptr && pclose(pipe) == 0 && told) {
            return seconds;
        }
    }
    return -1;
}

void describeAgainstNumPy(benchmark::State& state)
{
    const Scene scene;
    const std::string command = EMANTLE_TOOL " describe --json " + scene.image + " > " + scene.figures;
    double whole = 1e9;
    double numpy = 1e9;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (std::system(command.c_str()) != 0) {
            state.SkipWithError("the tool failed");
            return;
        }
        const double seconds = secondsSince(start);
        whole = std::min(whole, seconds);
        state.SetIterationTime(seconds);
        const double script = numpyDescribes(scene);
        if (script < 0) {
            state.SkipWithError("NumPy is missing, or its figures are others");
            return;
        }
        numpy = std::min(numpy, script);
    }
    state.counters["describe_ms"] = 1000 * whole;
    state.counters["numpy_ms"] = 1000 * numpy;
    state.counters["times_ahead"] = numpy / whole;
}
BENCHMARK(describeAgainstNumPy)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
#endif

void memoryOfLargeImage(benchmark::State& state)
{
    const Image image("_large.tif", 30000);
    Run run{};
    for (auto _ : state) {
        run = describe(image);
        state.SetIterationTime(run.seconds);
    }
    state.counters["peak_MiB"] = run.peakMegabytes;
}
BENCHMARK(memoryOfLargeImage)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
