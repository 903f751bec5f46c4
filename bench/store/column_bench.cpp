#include "store/store_bench.h"

#include <benchmark/benchmark.h>
#include <emantle/frame/eint.h>
#include <emantle/store/ehfa.h>
#include <emantle/tables/edsc/hfa.h>

#ifdef EMANTLE_BENCH_HDF5
#include <hdf5.h>
#endif

#include <vector>

/* Columns of 1,000,000 elements: the store beside a library for arrays, and beside the same bytes through stdio. Each figure
 * is for the whole of its work, from the opening of the file to its close. */

namespace {

using namespace store_bench;

constexpr int kRows = 1000000;
constexpr int kWidth = 32;

struct Column {
    Ehfa_File* file = nullptr;
    void* table = nullptr;
    void* column = nullptr;

    explicit Column(bool fresh, int type)
    {
        const std::string name = folder() + "/column.img";
        if (fresh) {
            file = ehfa_FileCreate(name.c_str(), eint_GetInit(), nullptr);
            edsc_HFATableCreate(file, ":T", kRows, &table, nullptr);
            edsc_HFAColumnCreate(table, "c", type, kWidth, &column, nullptr);
        } else {
            int32_t found = 0;
            int32_t width = 0;
            file = ehfa_FileOpen(name.c_str(), "r", eint_GetInit(), nullptr);
            edsc_HFATableOpen(file, ":T", &table, nullptr);
            edsc_HFAColumnOpen(table, "c", &found, &width, &column, nullptr);
        }
        demand(column != nullptr, "column");
    }
    ~Column()
    {
        edsc_HFAColumnClose(column, nullptr);
        edsc_HFATableClose(table, nullptr);
        ehfa_FileClose(file, nullptr);
    }
};

const std::vector<double>& doubles()
{
    static const std::vector<double> values(kRows, 1.5);
    return values;
}

const std::vector<char*>& strings()
{
    static std::vector<char> bytes(std::size_t{kRows} * (kWidth + 1), 'x');
    static const std::vector<char*> texts = [] {
        std::vector<char*> made(kRows);
        for (int i = 0; i < kRows; ++i) {
            made[static_cast<std::size_t>(i)] = &bytes[static_cast<std::size_t>(i) * (kWidth + 1)];
            made[static_cast<std::size_t>(i)][kWidth] = '\0';
        }
        return made;
    }();
    return texts;
}

const void* valuesOf(int type)
{
    return type == EDSC_COLUMN_REAL ? static_cast<const void*>(doubles().data()) : static_cast<const void*>(strings().data());
}

void setBytes(benchmark::State& state, int type)
{
    state.SetBytesProcessed(state.iterations() * kRows * (type == EDSC_COLUMN_REAL ? 8 : kWidth));
}

void writeColumn(benchmark::State& state)
{
    const auto type = static_cast<int>(state.range(0));
    const void* values = valuesOf(type);
    for (auto _ : state) {
        std::filesystem::remove(folder() + "/column.img");
        state.SetIterationTime(secondsOf([&] {
            Column column(true, type);
            demand(edsc_HFAColumnDataWrite(column.column, 0, kRows, values, nullptr) == 0, "write");
        }));
    }
    setBytes(state, type);
}

void rewriteColumn(benchmark::State& state)
{
    const auto type = static_cast<int>(state.range(0));
    const void* values = valuesOf(type);
    Column column(true, type);
    edsc_HFAColumnDataWrite(column.column, 0, kRows, values, nullptr);
    for (auto _ : state) {
        state.SetIterationTime(secondsOf([&] {
            demand(edsc_HFAColumnDataWrite(column.column, 0, kRows, values, nullptr) == 0, "write");
        }));
    }
    setBytes(state, type);
}

void readColumn(benchmark::State& state)
{
    const auto type = static_cast<int>(state.range(0));
    {
        Column column(true, type);
        edsc_HFAColumnDataWrite(column.column, 0, kRows, valuesOf(type), nullptr);
    }
    std::vector<double> numbers(kRows);
    std::vector<char*> texts(kRows);
    void* target = type == EDSC_COLUMN_REAL ? static_cast<void*>(numbers.data()) : static_cast<void*>(texts.data());
    for (auto _ : state) {
        state.SetIterationTime(secondsOf([&] {
            Column column(false, type);
            demand(edsc_HFAColumnDataRead(column.column, 0, kRows, target, nullptr) == 0, "read");
        }));
        for (char*& text : texts) {
            emsc_HeapFree(text);
            text = nullptr;
        }
    }
    setBytes(state, type);
}

/* The same bytes through stdio: numbers in one piece, texts one at a time. */
void writePlain(benchmark::State& state)
{
    const auto type = static_cast<int>(state.range(0));
    const std::string name = folder() + "/plain";
    valuesOf(type);
    for (auto _ : state) {
        std::filesystem::remove(name);
        state.SetIterationTime(secondsOf([&] {
            FILE* out = std::fopen(name.c_str(), "wb");
            if (type == EDSC_COLUMN_REAL) {
                std::fwrite(doubles().data(), 8, kRows, out);
            } else {
                for (const char* text : strings()) {
                    std::fwrite(text, kWidth, 1, out);
                }
            }
            std::fclose(out);
        }));
    }
    setBytes(state, type);
}

void readPlain(benchmark::State& state)
{
    const auto type = static_cast<int>(state.range(0));
    const std::string name = folder() + "/plain";
    FILE* out = std::fopen(name.c_str(), "wb");
    std::vector<char> bytes(std::size_t{kRows} * (type == EDSC_COLUMN_REAL ? 8 : kWidth), 'x');
    std::fwrite(bytes.data(), 1, bytes.size(), out);
    std::fclose(out);
    std::vector<char*> texts(kRows);
    for (auto _ : state) {
        state.SetIterationTime(secondsOf([&] {
            FILE* in = std::fopen(name.c_str(), "rb");
            if (type == EDSC_COLUMN_REAL) {
                demand(std::fread(bytes.data(), 8, kRows, in) == kRows, "fread");
            } else {
                for (char*& text : texts) {
                    text = static_cast<char*>(std::malloc(kWidth + 1));
                    demand(std::fread(text, kWidth, 1, in) == 1, "fread");
                    text[kWidth] = '\0';
                }
            }
            std::fclose(in);
        }));
        for (char*& text : texts) {
            std::free(text);
            text = nullptr;
        }
    }
    setBytes(state, type);
}

#ifdef EMANTLE_BENCH_HDF5
void writeHdf5(benchmark::State& state)
{
    const std::string name = folder() + "/column.h5";
    doubles();
    for (auto _ : state) {
        std::filesystem::remove(name);
        state.SetIterationTime(secondsOf([&] {
            const hsize_t rows = kRows;
            const hid_t file = H5Fcreate(name.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
            const hid_t space = H5Screate_simple(1, &rows, nullptr);
            const hid_t set = H5Dcreate2(file, "c", H5T_NATIVE_DOUBLE, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
            H5Dwrite(set, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, doubles().data());
            H5Dclose(set);
            H5Sclose(space);
            H5Fclose(file);
        }));
    }
    setBytes(state, EDSC_COLUMN_REAL);
}
BENCHMARK(writeHdf5)->UseManualTime()->Unit(benchmark::kMillisecond);
#endif

#define COLUMNS(function) \
    BENCHMARK(function)->ArgName("type")->Arg(EDSC_COLUMN_REAL)->Arg(EDSC_COLUMN_STRING)->UseManualTime()->Unit(benchmark::kMillisecond)
COLUMNS(writeColumn);
COLUMNS(rewriteColumn);
COLUMNS(writePlain);
COLUMNS(readColumn);
COLUMNS(readPlain);

}  // namespace
