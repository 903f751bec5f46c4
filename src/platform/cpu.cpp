#include "platform/cpu.h"

#include "platform/environment.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace emantle::platform {

// Asks for exactly what the target pragmas of for_each_target.h name.
InstructionSet machineInstructionSet() noexcept
{
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma") || !__builtin_cpu_supports("bmi2"))
        return InstructionSet::baseline;
    if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512bw") ||
        !__builtin_cpu_supports("avx512dq") || !__builtin_cpu_supports("avx512vl"))
        return InstructionSet::avx2;
    return InstructionSet::avx512;
}

InstructionSet chooseInstructionSet(InstructionSet machine, std::string_view wish) noexcept
{
    const InstructionSet wished = wish == "baseline" ? InstructionSet::baseline
                                  : wish == "avx2"   ? InstructionSet::avx2
                                                     : InstructionSet::avx512;
    return wished < machine ? wished : machine;
}

InstructionSet fastestInstructionSet() noexcept
{
    static const InstructionSet chosen = [] {
        std::string wish;
        getEnvironment("EMANTLE_INSTRUCTION_SET", wish);
        return chooseInstructionSet(machineInstructionSet(), wish);
    }();
    return chosen;
}

namespace {

// Of one cache of the first processor, in the kernel's words: a number of KiB. 0 where there is no such cache.
std::size_t cacheSize(int index) noexcept
{
    char name[64];
    std::snprintf(name, sizeof name, "/sys/devices/system/cpu/cpu0/cache/index%d/size", index);
    std::FILE* const file = std::fopen(name, "re");
    if (file == nullptr)
        return 0;
    unsigned long kilobytes = 0;
    const bool read = std::fscanf(file, "%luK", &kilobytes) == 1;
    std::fclose(file);
    return read ? kilobytes << 10 : 0;
}

} // namespace

// What sysconf tells is the sum of all such caches of the machine, also of those that this processor does not reach.
std::size_t lastLevelCacheSize() noexcept
{
    std::size_t largest = 0;
    for (int index = 0; index < 8; ++index)
        largest = std::max(largest, cacheSize(index));
    if (largest > 0)
        return largest;
    for (const int level : {_SC_LEVEL4_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE, _SC_LEVEL2_CACHE_SIZE})
        if (const long size = sysconf(level); size > 0)
            return static_cast<std::size_t>(size);
    return std::size_t{8} << 20;
}

std::size_t pageSize() noexcept
{
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

} // namespace emantle::platform
