/* Group functions, colours and look-ups, over records of 256 x 256, which the caches hold, and of 4096 x 4096: time for
 * an element, and the bytes read and written as a share of the speed of copying such records in the same run. */

#include <emantle/data/bin_operators.h>
#include <emantle/data/egda.h>
#include <emantle/data/epxm/convert.h>

#include <benchmark/benchmark.h>
#include <algorithm>
#include <cstring>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#ifdef EMANTLE_BENCH_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

/* A record that stays for the run, filled with numbers from 1 to 7. */
Egda_BaseData* record(long side, int type, int which)
{
    static std::map<std::vector<long>, Egda_BaseData*> records;
    Egda_BaseData*& base = records[{side, type, which}];
    if (base == nullptr) {
        base = egda_BaseDataCreate(side, side, type, EGDA_RASTER_OBJECT, nullptr, nullptr);
        std::vector<double> line(static_cast<std::size_t>(side));
        for (long row = 0; row < side; ++row) {
            for (long i = 0; i < side; ++i) {
                line[static_cast<std::size_t>(i)] =
                    1 + static_cast<double>((row * 31 + i * 17 + which * 13 + i * i % 11) % 7);
            }
            emsc_AddressOf_epxm_Convert()[EGDA_TYPE_F64][type](
                line.data(), static_cast<char*>(base->data) + row * base->pitch, side);
        }
    }
    return base;
}

Egda_BaseData* scalar(int type, double value)
{
    Egda_BaseData* base = egda_ScalarCreate(type, nullptr);
    egda_BaseDataSetScalar(base, value, EGDA_SET_ALL, 0, nullptr);
    return base;
}

double threadSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/* Bytes a second, read and written, of a copy of as many bytes as a record of bytes or doubles has. */
double copySpeed(long bytes)
{
    static std::map<long, double> speeds;
    double& speed = speeds[bytes];
    if (speed == 0) {
        std::vector<char> from(static_cast<std::size_t>(bytes), 1);
        std::vector<char> to(from.size(), 2);
        for (int run = 0; run < 30; ++run) {
            const double start = threadSeconds();
            const long copies = std::max(1L, (1L << 22) / bytes);
            for (long i = 0; i < copies; ++i) {
                std::memcpy(to.data(), from.data(), from.size());
                benchmark::ClobberMemory();
            }
            const double passed = threadSeconds() - start;
            speed = std::max(speed, 2 * static_cast<double>(bytes) * static_cast<double>(copies) / passed);
        }
    }
    return speed;
}

template <class Call>
void measure(benchmark::State& state, long elements, long bytesPerElement, Call call)
{
    const double copy = copySpeed(elements * (bytesPerElement + 1) / 2);
    const double start = threadSeconds();
    for (auto _ : state) {
        call();
        benchmark::ClobberMemory();
    }
    const double passed = threadSeconds() - start;
    const double all = static_cast<double>(elements) * static_cast<double>(state.iterations());
    state.counters["ns/element"] = passed * 1e9 / all;
    state.counters["of copy %"] = 100 * all * static_cast<double>(bytesPerElement) / passed / copy;
}

/* What stands in the list before the data: scalars, and work buffers. */
struct Row {
    const char* name;
    long op;
    std::vector<double> leading;
    int sources;
    int type;
    int result;
};

void run(benchmark::State& state, const Row& row, bool masked)
{
    const long side = state.range(0);
    std::vector<Egda_BaseData*> records;
    for (const double value : row.leading) {
        records.push_back(value < 0 ? record(16, row.type, 20) : scalar(EGDA_TYPE_F64, value));
    }
    for (int i = 0; i < row.sources; ++i) {
        records.push_back(record(side, row.type, i));
    }
    std::vector<Egda_BaseDataStack> stacks;
    for (Egda_BaseData*& base : records) {
        stacks.push_back({1, 1, &base, 0});
    }
    std::vector<Egda_BaseDataStack*> list;
    for (Egda_BaseDataStack& stack : stacks) {
        list.push_back(&stack);
    }
    Egda_BaseData* mask = masked ? record(side, EGDA_TYPE_U8, 30) : nullptr;
    for (long i = 0; masked && i < side * side; i += 3) {
        static_cast<unsigned char*>(mask->data)[i] = 0;
    }
    const Egda_BaseDataStackArray array{static_cast<int32_t>(list.size()), list.data(), mask};
    Egda_BaseData* to = record(side, row.result, 40);
    Egda_BaseDataStack dest{1, 1, &to, 0};
    const long bytes = row.sources * egda_NumBytePerPixelFromType(row.type) + egda_NumBytePerPixelFromType(row.result);
    measure(state, side * side, bytes + masked, [&] { egda_BaseDataStackOperation(row.op, &dest, &array, nullptr); });
}

void addRow(const Row& row)
{
    for (const bool masked : {false, true}) {
        const std::string name = std::string(row.name) + ' ' + egda_PixelNameFromType(row.type) +
                                 (masked ? ", masked" : "");
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { run(state, row, masked); })
            ->Arg(256)
            ->Arg(4096);
    }
}

void addThreeLayers(const char* name, long op)
{
    benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
        const long side = state.range(0);
        Egda_BaseData* layers[] = {record(side, EGDA_TYPE_F64, 0), record(side, EGDA_TYPE_F64, 1),
                                   record(side, EGDA_TYPE_F64, 2)};
        Egda_BaseData* results[] = {record(side, EGDA_TYPE_F64, 40), record(side, EGDA_TYPE_F64, 41),
                                    record(side, EGDA_TYPE_F64, 42)};
        Egda_BaseDataStack from{3, 1, layers, 0};
        Egda_BaseDataStack to{3, 1, results, 0};
        Egda_BaseDataStack* list = &from;
        const Egda_BaseDataStackArray array{1, &list, nullptr};
        measure(state, side * side, 48, [&] { egda_BaseDataStackOperation(op, &to, &array, nullptr); });
    })
        ->Arg(256)
        ->Arg(2048);
}

void addLookUps()
{
    static unsigned char table[256];
    for (int i = 0; i < 256; ++i) {
        table[i] = static_cast<unsigned char>(255 - i * i % 251);
    }
    benchmark::RegisterBenchmark("LUT u8/eMantle", [](benchmark::State& state) {
        const long side = state.range(0);
        Egda_BaseData* sources[] = {record(side, EGDA_TYPE_U8, 0),
                                    egda_BaseDataCreate(256, 1, EGDA_TYPE_U8, EGDA_TABLE_OBJECT, table, nullptr)};
        Egda_BaseData* dest = record(side, EGDA_TYPE_U8, 40);
        measure(state, side * side, 2,
                [&] { egda_BaseDataOperation(EGDA_OP_LUT_TRANSFORMATION, dest, sources, 2, nullptr); });
    })
        ->Arg(256)
        ->Arg(4096);
#ifdef EMANTLE_BENCH_OPENCV
    benchmark::RegisterBenchmark("LUT u8/OpenCV", [](benchmark::State& state) {
        cv::setNumThreads(1);
        const long side = state.range(0);
        const int size = static_cast<int>(side);
        const cv::Mat from(size, size, CV_8U, record(side, EGDA_TYPE_U8, 0)->data);
        cv::Mat to(size, size, CV_8U, record(side, EGDA_TYPE_U8, 40)->data);
        const cv::Mat lut(1, 256, CV_8U, table);
        measure(state, side * side, 2, [&] { cv::LUT(from, lut, to); });
    })
        ->Arg(256)
        ->Arg(4096);
#endif
}

const bool kRegistered = [] {
    constexpr double buffer = -1;
    const std::vector<double> maxima{255, 255, 255};
    for (const int type : {EGDA_TYPE_U8, EGDA_TYPE_F32}) {
        addRow({"mean of 4", EGDA_OP_MEAN, {}, 4, type, EGDA_TYPE_F64});
        addRow({"sdevi of 4", EGDA_OP_SDEVI, {}, 4, type, EGDA_TYPE_F64});
        addRow({"diversity of 4", EGDA_OP_DIVERSITY, {buffer}, 4, type, type});
        addRow({"density of 4", EGDA_OP_DENSITY, {}, 4, type, type});
        addRow({"majority of 4", EGDA_OP_MAJORITY, {buffer, buffer}, 4, type, type});
        addRow({"minority of 4", EGDA_OP_MINORITY, {buffer, buffer}, 4, type, type});
        addRow({"position of 4", EGDA_OP_POSITION, {buffer, buffer, 0.5}, 4, type, type});
        addRow({"rank of 4", EGDA_OP_RANK, {buffer, buffer, 1}, 4, type, type});
        addRow({"index of 4", EGDA_OP_INDEX, {}, 4, type, type});
        addRow({"pick of 3", EGDA_OP_PICK, {}, 4, type, type});
        addRow({"condition of 2", EGDA_OP_CONDITION, {}, 4, type, type});
        addRow({"if or", EGDA_OP_IF_OR, {}, 3, type, type});
        addRow({"intensity", EGDA_OP_INTEN, maxima, 3, type, EGDA_TYPE_F64});
        addRow({"hue", EGDA_OP_HUE, maxima, 3, type, EGDA_TYPE_F64});
        addRow({"saturation", EGDA_OP_SATUR, maxima, 3, type, EGDA_TYPE_F64});
        addRow({"red", EGDA_OP_RED, maxima, 3, type, EGDA_TYPE_F64});
        addRow({"green", EGDA_OP_GREEN, maxima, 3, type, EGDA_TYPE_F64});
        addRow({"blue", EGDA_OP_BLUE, maxima, 3, type, EGDA_TYPE_F64});
        addRow({"red of HSV", EGDA_OP_HSV_TO_RED, maxima, 3, type, EGDA_TYPE_F64});
        addRow({"green of HSV", EGDA_OP_HSV_TO_GREEN, maxima, 3, type, EGDA_TYPE_F64});
        addRow({"blue of HSV", EGDA_OP_HSV_TO_BLUE, maxima, 3, type, EGDA_TYPE_F64});
        addRow({"red of CYMK", EGDA_OP_CYMK_TO_RED, {255, 255, 255, 255}, 4, type, EGDA_TYPE_F64});
        addRow({"green of CYMK", EGDA_OP_CYMK_TO_GREEN, {255, 255, 255, 255}, 4, type, EGDA_TYPE_F64});
        addRow({"blue of CYMK", EGDA_OP_CYMK_TO_BLUE, {255, 255, 255, 255}, 4, type, EGDA_TYPE_F64});
    }
    addThreeLayers("RGB to IHS, three layers f64", EGDA_OP_RGB_TO_IHS);
    addThreeLayers("IHS to RGB, three layers f64", EGDA_OP_IHS_TO_RGB);
    addLookUps();
    return true;
}();

}  // namespace
