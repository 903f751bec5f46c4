/* Every operation of the list over records of 256 x 256, which the caches hold, and of 4096 x 4096, against the speed of
 * copying the same destination and against the peers, all in one run. Destinations and masks are there before the clock
 * starts. Products, quotients and inverses of matrices are measured at 256 and 512; matrix_bench holds them against peers.
 * The table at the end is the result; an argument --rows=TEXT runs only rows whose name contains the text. */

#include <emantle/data/egda.h>
#include <emantle/data/epxm/convert.h>

#include <benchmark/benchmark.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "data/operands.h"

#ifdef EMANTLE_BENCH_EIGEN
#include <Eigen/Core>
#endif
#ifdef EMANTLE_BENCH_OPENCV
#include <opencv2/core.hpp>
#endif

using namespace operands;

namespace {

constexpr long kSides[] = {256, 4096};
constexpr int kTypes[] = {EGDA_TYPE_U8, EGDA_TYPE_S8, EGDA_TYPE_U16, EGDA_TYPE_S16, EGDA_TYPE_U32, EGDA_TYPE_S32,
                          EGDA_TYPE_F32, EGDA_TYPE_F64};

/* Seconds by "<row>/<type>/<side>", then by who it was; and the bytes that the operator must read and write. */
std::map<std::string, std::map<std::string, double>> results;
std::map<std::string, double> moved;
std::vector<std::string> order;
std::string wanted;

double threadSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/* The best of several runs, each of so many calls that the clock's own cost does not show. */
double best(const std::function<void()>& call)
{
    call();
    double once = threadSeconds();
    call();
    once = threadSeconds() - once;
    const int calls = static_cast<int>(std::clamp(2e-4 / std::max(once, 1e-9), 1.0, 1000.0));
    double least = 1e9;
    double all = 0;
    for (int run = 0; run < 25 && (run < 4 || all < 0.02); ++run) {
        const double start = threadSeconds();
        for (int i = 0; i < calls; ++i) {
            call();
            benchmark::ClobberMemory();
        }
        const double passed = threadSeconds() - start;
        all += passed;
        least = std::min(least, passed / calls);
    }
    return least;
}

void measure(const std::string& row, const std::string& who, const std::function<void()>& call)
{
    if (row.find(wanted) == std::string::npos) {
        return;
    }
    if (!results.contains(row)) {
        order.push_back(row);
    }
    results[row][who] = best(call);
}

std::string rowName(const std::string& what, int type, long side)
{
    return what + '/' + egda_PixelNameFromType(type) + '/' + std::to_string(side);
}

/* One operation by number. */
void own(const std::string& row, long op, int type, long side, bool masked, int folded = 2)
{
    const Arguments arguments(op, type, side, masked, folded);
    if (!arguments.run()) {
        return;
    }
    measure(row, "eMantle", [&] { arguments.call(); });
    moved[row] = arguments.traffic() / 2;
    Egda_BaseData* dest = arguments.dest();
    const char* from = static_cast<char*>(operand(side, dest->datatype, 0)->data);
    measure(row, "copy", [=] { std::memcpy(dest->data, from, static_cast<std::size_t>(dest->pitch * side)); });
}

#ifdef EMANTLE_BENCH_OPENCV
cv::Mat matOf(Egda_BaseData* record)
{
    static const int depths[] = {CV_8U, CV_8U, CV_8U, CV_8U, CV_8S, CV_16U, CV_16S, -1, CV_32S, CV_32F, CV_64F};
    return {record->numrows, record->numcolumns, CV_MAKETYPE(depths[record->datatype], 1), record->data};
}

using OpenCv = std::function<void(const cv::Mat& a, const cv::Mat& b, cv::Mat& out, const cv::Mat& under)>;
const std::map<long, OpenCv>& openCvOperations()
{
    using Mat = const cv::Mat&;
    static const auto compare = [](int how) {
        return [how](Mat a, Mat b, cv::Mat& out, Mat) { cv::compare(a, b, out, how); };
    };
    static const std::map<long, OpenCv> all{
        {EGDA_OP_ADD, [](Mat a, Mat b, cv::Mat& out, Mat under) { cv::add(a, b, out, under); }},
        {EGDA_OP_SUB, [](Mat a, Mat b, cv::Mat& out, Mat under) { cv::subtract(a, b, out, under); }},
        {EGDA_OP_MUL, [](Mat a, Mat b, cv::Mat& out, Mat) { cv::multiply(a, b, out); }},
        {EGDA_OP_DIV, [](Mat a, Mat b, cv::Mat& out, Mat) { cv::divide(a, b, out); }},
        {EGDA_OP_MAX, [](Mat a, Mat b, cv::Mat& out, Mat) { cv::max(a, b, out); }},
        {EGDA_OP_MIN, [](Mat a, Mat b, cv::Mat& out, Mat) { cv::min(a, b, out); }},
        {EGDA_OP_EQ, compare(cv::CMP_EQ)},
        {EGDA_OP_NE, compare(cv::CMP_NE)},
        {EGDA_OP_GT, compare(cv::CMP_GT)},
        {EGDA_OP_GE, compare(cv::CMP_GE)},
        {EGDA_OP_LT, compare(cv::CMP_LT)},
        {EGDA_OP_LE, compare(cv::CMP_LE)},
        {EGDA_OP_COPY, [](Mat a, Mat, cv::Mat& out, Mat under) { a.copyTo(out, under); }},
    };
    return all;
}

void openCv(const std::string& row, long op, int type, int destType, long side, bool masked)
{
    const auto found = openCvOperations().find(op);
    const bool hasMask = op == EGDA_OP_ADD || op == EGDA_OP_SUB || op == EGDA_OP_COPY;
    const bool looksUp = op == EGDA_OP_LUT_TRANSFORMATION && type == EGDA_TYPE_U8;
    if ((found == openCvOperations().end() && !looksUp) || type == EGDA_TYPE_U32 || (masked && !hasMask)) {
        return;
    }
    const cv::Mat a = matOf(operand(side, type, 0));
    const cv::Mat b = matOf(operand(side, type, 1));
    if (looksUp) {
        cv::Mat out = matOf(operand(side, type, kDest));
        const cv::Mat table(1, 256, CV_8U, operand(16, EGDA_TYPE_U8, 0)->data);
        return measure(row, "OpenCV", [&] { cv::LUT(a, table, out); });
    }
    const cv::Mat under = masked ? matOf(mask(side)) : cv::Mat();
    cv::Mat out = matOf(operand(side, destType, kDest));
    measure(row, "OpenCV", [&] { found->second(a, b, out, under); });
}
#endif

#ifdef EMANTLE_BENCH_EIGEN
template <class T>
using Array = Eigen::Map<Eigen::Array<T, Eigen::Dynamic, 1>>;

template <class T>
void eigen(const std::string& row, long op, int type, int destType, long side)
{
    const auto at = [side](int of, int which) { return operand(side, of, which)->data; };
    const Array<T> a(static_cast<T*>(at(type, 0)), side * side);
    const Array<T> b(static_cast<T*>(at(type, 1)), side * side);
    Array<T> out(static_cast<T*>(at(type, kDest)), side * side);
    Array<bool> flags(static_cast<bool*>(at(EGDA_TYPE_U8, kDest)), side * side);
    const auto run = [&](const std::function<void()>& call) { measure(row, "Eigen", call); };
    switch (op) {
    case EGDA_OP_ADD: return run([&] { out = a + b; });
    case EGDA_OP_SUB: return run([&] { out = a - b; });
    case EGDA_OP_MUL: return run([&] { out = a * b; });
    case EGDA_OP_DIV: return run([&] { out = a / b; });
    case EGDA_OP_MAX: return run([&] { out = a.max(b); });
    case EGDA_OP_MIN: return run([&] { out = a.min(b); });
    case EGDA_OP_EQ: return run([&] { flags = a == b; });
    case EGDA_OP_GT: return run([&] { flags = a > b; });
    case EGDA_OP_LE: return run([&] { flags = a <= b; });
    case EGDA_OP_COPY: return run([&] { out = a; });
    default: break;
    }
    if constexpr (std::is_floating_point_v<T>) {
        Array<double> wide(static_cast<double*>(at(EGDA_TYPE_F64, kDest)), side * side);
        switch (op) {
        case EGDA_OP_SQRT: return run([&] { wide = a.template cast<double>().sqrt(); });
        case EGDA_OP_SIN: return run([&] { wide = a.template cast<double>().sin(); });
        case EGDA_OP_EXP: return run([&] { wide = a.template cast<double>().exp(); });
        case EGDA_OP_LOG: return run([&] { wide = a.template cast<double>().log(); });
        case EGDA_OP_ABS: return run([&] { out = a.abs(); });
        case EGDA_OP_NEG: return run([&] { out = -a; });
        default: break;
        }
    }
    (void)destType;
}

void eigen(const std::string& row, long op, int type, int destType, long side)
{
    switch (type) {
    case EGDA_TYPE_U8: return eigen<std::uint8_t>(row, op, type, destType, side);
    case EGDA_TYPE_S16: return eigen<std::int16_t>(row, op, type, destType, side);
    case EGDA_TYPE_S32: return eigen<std::int32_t>(row, op, type, destType, side);
    case EGDA_TYPE_F32: return eigen<float>(row, op, type, destType, side);
    case EGDA_TYPE_F64: return eigen<double>(row, op, type, destType, side);
    default: return;
    }
}
#endif

/* The functions as the C library computes them, for the speed, and exactly enough to tell how far a result is off. */
struct Function {
    double (*library)(double);
    long double (*exact)(long double);
    double low;
    double high;
};
const std::map<long, Function>& functions()
{
    static const std::map<long, Function> all{
        {EGDA_OP_SIN, {std::sin, std::sin, -100, 100}},     {EGDA_OP_COS, {std::cos, std::cos, -100, 100}},
        {EGDA_OP_TAN, {std::tan, std::tan, -100, 100}},     {EGDA_OP_SINH, {std::sinh, std::sinh, -20, 20}},
        {EGDA_OP_COSH, {std::cosh, std::cosh, -20, 20}},    {EGDA_OP_TANH, {std::tanh, std::tanh, -5, 5}},
        {EGDA_OP_ASIN, {std::asin, std::asin, -1, 1}},      {EGDA_OP_ACOS, {std::acos, std::acos, -1, 1}},
        {EGDA_OP_ATAN, {std::atan, std::atan, -100, 100}},  {EGDA_OP_ASINH, {std::asinh, std::asinh, -100, 100}},
        {EGDA_OP_ACOSH, {std::acosh, std::acosh, 1, 100}},  {EGDA_OP_LOG, {std::log, std::log, 0, 1000}},
        {EGDA_OP_EXP, {std::exp, std::exp, -50, 50}},       {EGDA_OP_LOG10, {std::log10, std::log10, 0, 1000}},
        {EGDA_OP_SQRT, {std::sqrt, std::sqrt, 0, 1000}}};
    return all;
}

/* The greatest error over a quarter of a million arguments, in units in the last place. */
double worstUlps(long op, const Function& function)
{
    constexpr long count = 1 << 18;
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> pick(function.low, function.high);
    std::vector<double> in(count);
    std::vector<double> out(count);
    std::generate(in.begin(), in.end(), [&] { return pick(random); });
    Egda_BaseData* from = egda_BaseDataCreate(1, count, EGDA_TYPE_F64, EGDA_RASTER_OBJECT, in.data(), nullptr);
    Egda_BaseData* to = egda_BaseDataCreate(1, count, EGDA_TYPE_F64, EGDA_RASTER_OBJECT, out.data(), nullptr);
    egda_BaseDataOperation(op, to, &from, 1, nullptr);
    egda_BaseDataDelete(from, nullptr);
    egda_BaseDataDelete(to, nullptr);
    double worst = 0;
    for (long i = 0; i < count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const long double exact = function.exact(in[at]);
        const long double unit = std::ldexp(1.0L, std::ilogb(exact) - 52);
        worst = std::max(worst, static_cast<double>(std::abs((out[at] - exact) / unit)));
    }
    return worst;
}

/* Of rows of functions in F64. */
std::map<std::string, double> ulps;

void addLibrary(const std::string& row, long op, int type, long side)
{
    if (op == EGDA_OP_POW && type == EGDA_TYPE_F64) {
        const auto* base = static_cast<const double*>(operand(side, type, 0)->data);
        const auto* exponent = static_cast<const double*>(operand(side, type, 1)->data);
        auto* power = static_cast<double*>(operand(side, type, kDest)->data);
        measure(row, "C library", [&] {
            for (long i = 0; i < side * side; ++i) {
                power[i] = std::pow(base[i], exponent[i]);
            }
        });
    }
    const auto found = functions().find(op);
    if (found == functions().end() || type != EGDA_TYPE_F64) {
        return;
    }
    const auto* in = static_cast<const double*>(operand(side, type, 0)->data);
    auto* out = static_cast<double*>(operand(side, type, kDest)->data);
    measure(row, "C library", [&] {
        for (long i = 0; i < side * side; ++i) {
            out[i] = found->second.library(in[i]);
        }
    });
    ulps[row] = worstUlps(op, found->second);
}

void addOperation(long op, int type, long side, bool masked)
{
    const int destType = destTypeFor(op, type);
    const std::string row = rowName(std::string(tableName(op)) + (masked ? " masked" : ""), type, side);
    if (row.find(wanted) == std::string::npos) {
        return;
    }
    own(row, op, type, side, masked);
#ifdef EMANTLE_BENCH_OPENCV
    openCv(row, op, type, destType, side, masked);
    if (op >= EGDA_OP_CONVERT_TO_U8 && op <= EGDA_OP_CONVERT_ROUND_TO_S32 && !masked && type != EGDA_TYPE_U32 &&
        destType != EGDA_TYPE_U32 && destType < EGDA_TYPE_C64) {
        const cv::Mat from = matOf(operand(side, type, 0));
        cv::Mat to = matOf(operand(side, destType, kDest));
        measure(row, "OpenCV", [&] { from.convertTo(to, to.type()); });
    }
#endif
    if (!masked) {
        addLibrary(row, op, type, side);
    }
#ifdef EMANTLE_BENCH_EIGEN
    if (!masked) {
        eigen(row, op, type, destType, side);
    }
#endif
}

/* What walks elements is measured in every type. */
std::vector<int> typesFor(long op)
{
    if (op >= EGDA_OP_MATRIX_MUL && op <= EGDA_OP_MATRIX_INV) {
        return {EGDA_TYPE_F32, EGDA_TYPE_F64};
    }
    if (op == EGDA_OP_EIGEN_VECTOR || op == EGDA_OP_EIGEN_VALUE) {
        return {EGDA_TYPE_F64};
    }
    return hasOwnArguments(op) ? std::vector<int>{EGDA_TYPE_U8, EGDA_TYPE_F32}
                               : std::vector<int>{std::begin(kTypes), std::end(kTypes)};
}

void addRows(long op, long side)
{
    const bool isMatrix = op >= EGDA_OP_MATRIX_MUL && op <= EGDA_OP_MATRIX_INV;
    for (const int type : typesFor(op)) {
        if (emsc_AddressOf_egda_BaseDataOP()[op][EGDA_MATRIX_OBJECT][type].routine == egda_NoOperation) {
            const std::string row = rowName(tableName(op), type, side);
            if (row.find(wanted) != std::string::npos) {
                order.push_back(row);
            }
        } else if (op != EGDA_OP_FILL_ARRAY || side == kSides[0]) { /* which takes a source for each element */
            addOperation(op, type, isMatrix ? std::min(side, 512L) : side, false);
        }
    }
}

/* NumPy's figures, from the script beside this file, where an interpreter has it. */
void askNumPy()
{
#ifdef EMANTLE_BENCH_PYTHON
    const std::string script = EMANTLE_BENCH_FOLDER "/data/operators_numpy.py";
    for (const std::string python : {EMANTLE_BENCH_PYTHON, "/usr/bin/python3"}) {
        FILE* output = popen(("'" + python + "' '" + script + "' '" + wanted + "' 2>/dev/null").c_str(), "r");
        if (output == nullptr) {
            continue;
        }
        char name[128];
        double seconds = 0;
        bool any = false;
        while (std::fscanf(output, " %127[^\t] %lf", name, &seconds) == 2) {
            if (results.contains(name)) {
                results[name]["NumPy"] = seconds;
            }
            any = true;
        }
        pclose(output);
        if (any) {
            return;
        }
    }
#endif
}

/* The share of the bandwidth holds the bytes that an operator reads and writes against a copy of its destination. */
void printTable()
{
    std::printf("%-38s %9s %10s   %s\n", "operator/type/side", "ns/elem", "of copying", "times ahead of");
    for (const std::string& row : order) {
        const auto& times = results[row];
        if (times.empty()) {
            std::printf("%-38s not served: egda_NoOperation\n", row.c_str());
            continue;
        }
        const double side = std::stod(row.substr(row.rfind('/') + 1));
        const double seconds = times.at("eMantle");
        std::printf("%-38s %9.4f %9.0f%%  ", row.c_str(), seconds / (side * side) * 1e9,
                    100 * moved[row] * times.at("copy") / seconds);
        for (const auto& [who, time] : times) {
            if (who != "eMantle" && who != "copy") {
                std::printf(" %s %.2f", who.c_str(), time / seconds);
            }
        }
        if (ulps.contains(row)) {
            std::printf("   within %.2f ulp", ulps[row]);
        }
        std::printf("\n");
    }
}

}  // namespace

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--rows=", 7) == 0) {
            wanted = argv[i] + 7;
        }
    }
#ifdef EMANTLE_BENCH_OPENCV
    cv::setNumThreads(1);
#endif
    for (const long side : kSides) {
        for (long op = 0; op < EGDA_NUM_OPERATIONS; ++op) {
            addRows(op, side);
        }
        for (const int type : kTypes) {
            const std::string row = rowName("egda_MaoAdd of four", type, side);
            if (row.find(wanted) != std::string::npos) {
                own(row, EGDA_OP_ADD, type, side, false, 4);
            }
        }
        for (const long op : {EGDA_OP_ADD, EGDA_OP_SUB, EGDA_OP_MUL, EGDA_OP_DIV, EGDA_OP_GT, EGDA_OP_COPY,
                              EGDA_OP_SQRT, EGDA_OP_CONVERT_TO_U8, EGDA_OP_MEAN, EGDA_OP_IF_OR, EGDA_OP_HUE}) {
            for (const int type : typesFor(op)) {
                addOperation(op, type, side, true);
            }
        }
    }
    askNumPy();
    printTable();
    return 0;
}
