#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <time.h>
#include <unistd.h>

/* What the benchmarks of the store share: a folder for their files, a clock, and an end for what goes wrong. */

namespace store_bench {

[[noreturn]] inline void stop(const char* what)
{
    std::fprintf(stderr, "%s failed\n", what);
    std::exit(1);
}

inline void demand(bool holds, const char* what)
{
    if (!holds) {
        stop(what);
    }
}

/* In a started process the folder of the one that started it. */
inline std::string& childFolder()
{
    static std::string name;
    return name;
}

inline std::string folder()
{
    if (!childFolder().empty()) {
        return childFolder();
    }
    static const std::string name = [] {
        const char* base = std::getenv("EMANTLE_BENCH_DIR");
        std::string made = std::string(base != nullptr ? base : "/tmp") + "/store_bench_XXXXXX";
        demand(mkdtemp(made.data()) != nullptr, "mkdtemp");
        std::atexit([] { std::filesystem::remove_all(folder()); });
        return made;
    }();
    return name;
}

/* The clock on the wall; with EMANTLE_BENCH_CPU the time that the process had, for machines that others use as well. */
inline double now()
{
    static const bool cpu = std::getenv("EMANTLE_BENCH_CPU") != nullptr;
    timespec time{};
    clock_gettime(cpu ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

template <class Work>
double secondsOf(Work&& work)
{
    const double start = now();
    work();
    return now() - start;
}

}  // namespace store_bench
