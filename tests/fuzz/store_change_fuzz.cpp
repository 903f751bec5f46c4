// A number of steps, two bytes for each, and behind them the bytes of a store: it is opened for writing and changed by
// the steps. What comes out can be opened and read, and has grown by no more than what was written.

#include "store_in_memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kMostSteps = 24;
constexpr std::size_t kSmallStore = 4096;
constexpr std::size_t kGrowth = 64 * 1024; /* of all steps together, but for copies */

const char* nameOf(std::uint8_t seed)
{
    static const char* const kNames[] = {"A", "B", "C", "c", "cache", "t", "n1", "n2"};
    return kNames[seed % std::size(kNames)];
}

std::string pathOf(std::uint8_t seed) { return std::string(":") + (seed & 8 ? "C:" : "") + nameOf(seed); }

void changeStream(Ehfa_File* file, std::uint8_t argument)
{
    Unheard report;
    const std::string path = pathOf(argument);
    Ehfa_Cache* cache = ehfa_CacheOpen(file, path.c_str(), report);
    if (cache == nullptr) {
        cache = ehfa_CacheCreate(file, path.c_str(), report);
    }
    if (cache != nullptr) {
        if (argument & 16) {
            ehfa_CacheReduce(cache, report);
        }
        ehfa_CacheSeek(cache, argument & 32 ? 1 : 0, argument & 64 ? 2 : 0, report);
        ehfa_CacheWrite(cache, "0123456789abcdef", 16, report);
        ehfa_CacheClose(cache, report);
    }
}

void step(Ehfa_File* file, std::uint8_t kind, std::uint8_t argument)
{
    Unheard report;
    const std::string path = pathOf(argument);
    static const char bytes[256] = "bytes";
    switch (kind % 14) {
    case 0: ehfa_EntrySeek(file, argument % 10, argument % 10 == 7 || argument % 10 == 8 ? path.c_str() : nullptr, report); break;
    case 1: ehfa_EntrySeek(file, EHFA_SEEK_PATH, path.c_str(), report); break;
    case 2: ehfa_EntryDelete(file, report); break;
    case 3: ehfa_EntryWrite(file, argument % 5, nameOf(argument), "T", report); break;
    case 4: ehfa_ObjectDataWrite(file, nullptr, nameOf(argument), "T", argument % 5, bytes, argument, report); break;
    case 5: ehfa_ObjectDataWrite(file, path.c_str(), nullptr, nullptr, EHFA_WRITE_CURRENT, bytes, argument, report); break;
    case 6: ehfa_EntryMove(file, path.c_str(), pathOf(static_cast<std::uint8_t>(argument * 7)).c_str(), report); break;
    case 7: ehfa_NextFreePos(file, argument, report); break;
    case 8: ehfa_FreeSpace(file, 64u * argument, 8 + argument % 64, report); break;
    case 9: ehfa_FileChange(file, report, int{EHFA_OPTION_FLUSH_ON_WRITE}, argument % 2, int{EHFA_OPTION_ENTRY_CACHING}, argument / 2 % 2, 0); break;
    case 10: ehfa_FileFlush(file, report); break;
    case 11: changeStream(file, argument); break;
    case 12: ehfa_CacheDelete(file, path.c_str(), report); break;
    default: ehfa_ObjectCopy(file, path.c_str(), nullptr, EHFA_SEEK_BACK, ":", EHFA_WRITE_LAST_CHILD, report, 0); break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::size_t steps = std::min<std::size_t>({data[0], kMostSteps, (size - 1) / 2});
    const std::uint8_t* store = data + 1 + 2 * steps;
    const std::size_t storeSize = size - 1 - 2 * steps;
    MemoryFile& memory = memoryFile();
    memory.put(store, storeSize);
    Unheard report;
    Ehfa_File* file = ehfa_FileOpen(memory.name(), "r+b", eint_GetInit(), report);
    if (file == nullptr) {
        return 0;
    }
    for (std::size_t i = 0; i < steps; ++i) {
        step(file, data[1 + 2 * i], data[2 + 2 * i]);
    }
    ehfa_FileClose(file, report);
    /* A step copies no more than there is; the dictionary is written once more, in the worst case. */
    if (memory.size() > (2 + steps) * std::max(storeSize, kSmallStore) + kGrowth) {
        std::abort();
    }
    file = ehfa_FileOpen(memory.name(), "rb", eint_GetInit(), report);
    if (file != nullptr) {
        readAll(file);
        ehfa_FileClose(file, report);
    }
    return 0;
}
