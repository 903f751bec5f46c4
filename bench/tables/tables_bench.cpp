/* What surrounds the statistics of a layer: merging, measures of regions, matching and equalisation, and the columns of
 * a table, each against its peer in the same run. The table at the end is the result. A layer through a look-up table is
 * measured with the operators (data/group_bench.cpp, "LUT u8"). */

#include <emantle/frame/eint.h>
#include <emantle/store/ehfa.h>
#include <emantle/tables/edsc.h>
#include <emantle/tables/ehst.h>
#include <emantle/tables/esta.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kSide = 4096;
constexpr long kPixels = static_cast<long>(kSide) * kSide;
constexpr long kRows = 1000000;
constexpr long kWidth = 32;

/* The least seconds of each measurement, by name and by who. */
std::map<std::string, std::map<std::string, double>> results;
std::vector<std::string> names;

/* The clock on the wall, of which the least of many runs counts: a virtual machine's account of processor time is too
 * coarse for single transfers. */
double secondsNow()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void keep(const std::string& name, const std::string& who, double seconds)
{
    if (results.find(name) == results.end()) {
        names.push_back(name);
    }
    double& known = results[name].try_emplace(who, seconds).first->second;
    known = std::min(known, seconds);
}

template <class Call>
void measure(const std::string& name, const std::string& who, Call call)
{
    benchmark::RegisterBenchmark((name + "/" + who).c_str(), [=](benchmark::State& state) {
        for (auto _ : state) {
            const double start = secondsNow();
            call();
            const double passed = secondsNow() - start;
            keep(name, who, passed);
            state.SetIterationTime(passed);
        }
    })->UseManualTime()->MinTime(0.3);
}

template <class Pixel>
Egda_BaseData* raster(const std::vector<Pixel>& pixels, Egda_PixelType type)
{
    return egda_BaseDataCreate(kSide, kSide, type, EGDA_RASTER_OBJECT, const_cast<Pixel*>(pixels.data()), nullptr);
}

void addMerge()
{
    static Edsc_BinFunction* const bins = edsc_BinFunctionCreateDirect(0, 256, nullptr);
    static Esta_AllStatsStack* const target = esta_AllStatsStackCreate(6, 256, bins, nullptr);
    static Esta_AllStatsStack* const source = esta_AllStatsStackCreate(6, 256, bins, nullptr);
    for (int layer = 0; layer < 6; ++layer) {
        source->allStats[layer]->count = 100;
    }
    measure("merge/6 layers, 256 bins", "eMantle", [] {
        for (int turn = 0; turn < 1000; ++turn) {
            esta_AllStatsStackMerge(target, source, nullptr);
        }
    });
}

void addTools()
{
    static Ehst_Histogram* const histogram = ehst_HistogramCreate(65536, nullptr);
    static Ehst_Histogram* const levels = ehst_HistogramCreate(65536, nullptr);
    static Esta_Histogram* const shares = esta_HistogramCreate(65536, nullptr, nullptr);
    static Esta_Histogram* const others = esta_HistogramCreate(65536, nullptr, nullptr);
    static Egda_BaseData* const lut = egda_TableCreate(65536, EGDA_TYPE_U16, nullptr);
    std::mt19937 random(1);
    for (int bin = 0; bin < 65536; ++bin) {
        histogram->counts[bin] = random() % 1000;
        static_cast<double*>(shares->data)[bin] = static_cast<double>(random() % 1000);
        static_cast<double*>(others->data)[bin] = static_cast<double>(random() % 1000);
    }
    measure("equalisation/65536 bins", "eMantle", [] { ehst_HistogramEqualize(histogram, levels, 256); });
    measure("matching/65536 bins", "eMantle",
            [] { esta_FeatureHistogramMatchLUTlayer(shares, others, lut, nullptr); });
}

void addRegions()
{
    std::mt19937 random(5);
    static std::vector<float> pixels(kPixels);
    static std::vector<std::uint8_t> mask(kPixels);
    std::generate(pixels.begin(), pixels.end(), [&] { return static_cast<float>(random() >> 8) * 0x1p-16F; });
    std::generate(mask.begin(), mask.end(), [&] { return static_cast<std::uint8_t>(random() % 10 == 0); });
    static Egda_BaseData* const data = raster(pixels, EGDA_TYPE_F32);
    static Egda_BaseData* const set = raster(mask, EGDA_TYPE_U8);
    static Egda_BaseData* const result = egda_TableCreate(1, EGDA_TYPE_F64, nullptr);
    static double number = 0;
    measure("region/F32 10%/total", "eMantle", [] { esta_AoiFeatTotal(data, set, nullptr, &number, nullptr); });
    measure("region/F32 10%/extremes", "eMantle",
            [] { benchmark::DoNotOptimize(esta_AoiFeatMaxMin(data, set, nullptr, nullptr)); });
    measure("region/F32 10%/deviation", "eMantle",
            [] { esta_AoiFeatSdeviation(data, set, nullptr, 0, &number, nullptr); });
    measure("region/F32 10%/median", "eMantle", [] {
        emsc_AddressOf_esta_AoiFeatBaseDataComparedMedian()[EGDA_TYPE_F32](data, set, result, nullptr);
    });
    measure("region/F32 10%/majority", "eMantle", [] {
        emsc_AddressOf_esta_AoiFeatBaseDataComparedMajority()[EGDA_TYPE_F32](data, set, result, nullptr);
    });
}

void addDistinct()
{
    std::mt19937 random(3);
    static std::vector<std::uint16_t> pixels(kPixels);
    std::generate(pixels.begin(), pixels.end(), [&] { return static_cast<std::uint16_t>(random()); });
    static Egda_BaseData* const data = raster(pixels, EGDA_TYPE_U16);
    measure("distinct/U16", "eMantle", [] {
        Esta_AllStats* allStats = esta_AllStatsCreate(0, nullptr, nullptr);
        esta_AllStatsUVHistogramBegin(allStats, 65536, EGDA_TYPE_U16, nullptr);
        esta_AllStatsUVHistogramAccumulate(allStats, data, nullptr, nullptr);
        esta_AllStatsUVHistogramEnd(allStats, nullptr, nullptr);
        esta_AllStatsDelete(allStats, nullptr);
    });
}

/* The same bytes through stdio; a file that is there is written over. */
struct PlainFile {
    std::string name;
    std::vector<char> bytes;

    void write() const
    {
        FILE* file = std::fopen(name.c_str(), "r+b");
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
    }
    void read(std::vector<char>& to) const
    {
        FILE* file = std::fopen(name.c_str(), "rb");
        benchmark::DoNotOptimize(std::fread(to.data(), 1, to.size(), file));
        std::fclose(file);
    }
};

/* `bytes` are what the column has in the file. */
void addColumn(const std::string& folder, const std::string& what, std::int32_t type, Egda_BaseData* data,
               const std::vector<char>& bytes)
{
    Eint_InitToolkitData* const context = eint_GetInit();
    Ehfa_File* const file = ehfa_FileCreate((folder + "/" + what + ".img").c_str(), context, nullptr);
    Edsc_TableInstance* const table =
        edsc_TableCreate(file, ":", "Table", EHFA_WRITE_LAST_CHILD, kRows, nullptr, nullptr, nullptr);
    Edsc_ColumnInstance* const column =
        edsc_ColumnCreate(table, "Column", type, nullptr, static_cast<int>(kWidth), nullptr);
    Egda_BaseData* const back = egda_TableCreate(kRows, data->datatype, nullptr);
    auto* const plain = new PlainFile{folder + "/" + what + ".raw", bytes};
    std::fclose(std::fopen(plain->name.c_str(), "wb"));
    plain->write();
    auto* const buffer = new std::vector<char>(plain->bytes.size());
    measure("column/write/" + what, "eMantle", [=] { edsc_ColumnWrite(column, 0, kRows, data, nullptr); });
    measure("column/write/" + what, "fwrite", [=] { plain->write(); });
    measure("column/read/" + what, "eMantle", [=] { edsc_ColumnRead(column, 0, kRows, back, nullptr); });
    measure("column/read/" + what, "fread", [=] { plain->read(*buffer); });
    if (type == EDSC_COLUMN_STRING) {
        auto* const fields = new std::vector<char>(bytes);
        measure("column/write/" + what + ", fields", "eMantle",
                [=] { edsc_ColumnWriteOld(column, 0, kRows, fields->data(), nullptr); });
        measure("column/write/" + what + ", fields", "fwrite", [=] { plain->write(); });
        measure("column/read/" + what + ", fields", "eMantle",
                [=] { edsc_ColumnReadOld(column, 0, kRows, fields->data(), nullptr); });
        measure("column/read/" + what + ", fields", "fread", [=] { plain->read(*buffer); });
    }
}

void addColumns(const std::string& folder)
{
    Egda_BaseData* const numbers = egda_TableCreate(kRows, EGDA_TYPE_F64, nullptr);
    for (long row = 0; row < kRows; ++row) {
        static_cast<double*>(numbers->data)[row] = static_cast<double>(row) * 0.25;
    }
    const auto* const first = static_cast<const char*>(numbers->data);
    addColumn(folder, "1M doubles", EDSC_COLUMN_REAL, numbers, std::vector<char>(first, first + kRows * 8));
    Egda_BaseData* const texts = egda_TableCreate(kRows, EGDA_TYPE_STRING, nullptr);
    std::vector<char> fields(kRows * kWidth + 1);
    for (long row = 0; row < kRows; ++row) {
        auto* const text = static_cast<char*>(emsc_HeapMalloc(kWidth + 1));
        std::snprintf(text, kWidth + 1, "class %026ld", row);
        static_cast<char**>(texts->data)[row] = text;
        std::memcpy(fields.data() + row * kWidth, text, kWidth);
    }
    fields.pop_back();
    addColumn(folder, "1M strings", EDSC_COLUMN_STRING, texts, fields);
}

/* NumPy's figures, from the script beside this file, where an interpreter has it. */
void askNumPy()
{
#ifdef EMANTLE_BENCH_PYTHON
    const std::string script = EMANTLE_BENCH_FOLDER "/tables/tables_numpy.py";
    for (const std::string python : {EMANTLE_BENCH_PYTHON, "/usr/bin/python3"}) {
        FILE* output = popen(("'" + python + "' '" + script + "' 2>/dev/null").c_str(), "r");
        char line[256];
        bool any = false;
        while (output != nullptr && std::fgets(line, sizeof line, output) != nullptr) {
            const std::string text(line);
            const std::size_t tab = text.find('\t');
            if (tab != std::string::npos) {
                keep(text.substr(0, tab), "NumPy", std::stod(text.substr(tab + 1)));
                any = true;
            }
        }
        if (output != nullptr) {
            pclose(output);
        }
        if (any) {
            return;
        }
    }
#endif
}

void printTable()
{
    std::printf("\n%-34s %14s   %s\n", "measurement", "microseconds", "times ahead of");
    for (const std::string& name : names) {
        const auto own = results[name].find("eMantle");
        if (own == results[name].end()) {
            continue;
        }
        const double turns = name.starts_with("merge/") ? 1000 : 1;
        std::printf("%-34s %14.1f  ", name.c_str(), own->second / turns * 1e6);
        for (const auto& [who, seconds] : results[name]) {
            if (who != "eMantle") {
                std::printf(" %s %.2f", who.c_str(), seconds / own->second);
            }
        }
        std::printf("\n");
    }
}

}  // namespace

int main(int argc, char** argv)
{
    const bool isWhole = argc < 2;
    benchmark::Initialize(&argc, argv);
    eint_InitToolkit(nullptr);
    const std::string folder = std::filesystem::temp_directory_path() / ("tables_bench_" + std::to_string(getpid()));
    std::filesystem::create_directory(folder);
    addMerge();
    addTools();
    addRegions();
    addDistinct();
    addColumns(folder);
    benchmark::RunSpecifiedBenchmarks();
    if (isWhole) { /* a filtered run does without */
        askNumPy();
    }
    printTable();
    std::filesystem::remove_all(folder);
    return 0;
}
