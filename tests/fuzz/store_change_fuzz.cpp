// A number of steps, two bytes for each, and behind them the bytes of a store: it is opened for writing and changed by
// the steps. What comes out can be opened and read, and has grown by no more than what was written.

#include "store_in_memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kMostSteps = 4;
constexpr std::size_t kSmallStore = 4096;
constexpr std::size_t kGrowth = 64 * 1024;      /* of all steps together, but for copies */
constexpr std::size_t kEntries = 4 * 32 * 1024; /* of a step: a file may say that its entries are that large */

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

/* Writes to the record table of a name, which it makes where there is none. */
void changeTable(Ehfa_File* file, std::uint8_t argument)
{
    Unheard report;
    Ehfa_Table* table = ehfa_TableOpen(file, pathOf(argument).c_str(), 0, report);
    if (table == nullptr) {
        char number[] = "number";
        char text[] = "text";
        const Ehfa_TableField fields[] = {{number, EHFA_FIELD_INT, 0}, {text, EHFA_FIELD_CHAR, 5}};
        static const std::string definitions = "other 1\na char 3\nnumbers 3\na int\nb Float 20\nc bool 1\n";
        fuzz::putFile("/memory/definitions", reinterpret_cast<const std::uint8_t*>(definitions.data()), definitions.size());
        Ehfa_TableRecordStructure* structure =
            argument & 8 ? ehfa_TableDesignCreateFromFile("/memory/definitions", argument & 4 ? "numbers" : "other", report)
                         : ehfa_TableRecordStructureCreate(2, fields, report);
        Ehfa_Table* master = ehfa_TableCreate(file->name, nullptr, nullptr, nullptr, 0, 0, nullptr, report);
        table = ehfa_TableCreate(file->name, master, nameOf(argument), structure, 1, argument & 16, nullptr, report);
        ehfa_TableRecordStructureFree(structure);
        ehfa_TableClose(master, report);
    }
    if (table != nullptr) {
        char record[300] = "1234567\4abc";
        ehfa_TableRecordWrite(table, argument & 32 ? -1 : argument % 4, record, 13, report);
        ehfa_TableRecordRead(table, argument % 4, record, sizeof record - 1, report);
        if (table->recordLength < int{sizeof record}) {
            ehfa_ModifyRecordFieldByIndex(table, argument % 4, record, argument % 3, "7", report);
        }
        emsc_HeapFree(ehfa_GetRecordFieldByName(table, record, "text", report));
        ehfa_ModifyRecordFieldByName(table, argument % 4, record, "absent", "7", report);
        ehfa_TableClose(table, report);
    }
}

/* Rebuilds the store elsewhere; what comes out is sound. */
void copyWhole(Ehfa_File* file)
{
    constexpr char copy[] = "/memory/copy";
    Unheard report;
    if (ehfa_FileCopy(file->name, copy, eint_GetInit(), report, 0)) {
        Ehfa_File* made = ehfa_FileOpen(copy, "rb", eint_GetInit(), report);
        if (made == nullptr) {
            std::abort();
        }
        readAll(made);
        ehfa_FileClose(made, report);
        efio_FileUnlink(copy, report);
    }
}

void copyRecord(Ehfa_File* file, std::uint8_t argument)
{
    Unheard report;
    const std::string path = pathOf(argument);
    const Ehfa_Entry* entry = ehfa_EntrySeek(file, EHFA_SEEK_PATH, path.c_str(), report);
    const Emif_Design* design = entry == nullptr ? nullptr : emif_FindDesignByName(file->dictionary, entry->type, report);
    if (design != nullptr && design->hostSize <= 4096) {
        void* record = emif_NewObject(design, report);
        ehfa_ObjectReadIfPresent(file, path.c_str(), nullptr, EHFA_SEEK_BACK, record, design, report);
        ehfa_ObjectWrite(file, nullptr, nameOf(argument / 2), design->name, EHFA_WRITE_AFTER, record, design, report);
        emif_FreeObject(&record, design, report);
    }
}

std::size_t allowance; /* what the steps of one input may add beyond the rule */

/* Pieces that do not pass through the pages. */
void changeLarge(Ehfa_File* file, std::uint8_t argument)
{
    static const std::vector<char> bytes(150000, 'x');
    Unheard report;
    allowance += 2 * bytes.size();
    if (argument % 2 == 0) {
        ehfa_ObjectDataWrite(file, nullptr, nameOf(argument), "T", EHFA_WRITE_AFTER, bytes.data(), 150000, report);
    } else if (const uint32_t place = ehfa_NextFreePos(file, 150000, report)) {
        ehfa_FileMIFDataWrite(file, long{place} + 1000, 140000, bytes.data(), report);
        emsc_HeapFree(ehfa_FileMIFDataRead(file, place, 150000, nullptr, report));
        ehfa_FreeSpace(file, place, 150000, report);
    }
}

/* A block store without a node, of blocks so small that it gets levels. */
void changeRawStream(Ehfa_File* file, std::uint8_t argument)
{
    Unheard report;
    Ehfa_Cache* cache = ehfa_CacheNew(file, 8 + 4 * (argument % 4), 1 + argument / 4 % 3, 0, 0, nullptr, nullptr, report);
    if (cache == nullptr) {
        return;
    }
    char bytes[200] = "raw";
    ehfa_CacheWrite(cache, bytes, sizeof bytes, report);
    ehfa_CacheExtend(cache, report);
    ehfa_CacheReduce(cache, report);
    ehfa_CacheSeek(cache, argument, 0, report);
    fuzz::need(ehfa_CacheGetCurrPos(cache) == argument);
    ehfa_CacheRead(cache, bytes, 50, report);
    ehfa_CacheGetBlock(cache, 1, 1, report);
    ehfa_CacheGetBlockPtrAddr(cache, 2, 1, report);
    ehfa_CacheFlush(cache, report);
    Ehfa_Cache* again = ehfa_CacheNew(file, cache->blockSize, 2, cache->blockCount, ehfa_CacheRootPtr(cache, report), nullptr, nullptr, report);
    ehfa_CacheFree(again);
    ehfa_CacheClose(cache, report);
}

/* The dictionary of the file, once more in a block of its own. */
void moveDictionary(Ehfa_File* file, std::uint8_t argument)
{
    Unheard report;
    Emif_Dictionary* dictionary = nullptr;
    int32_t length = 0;
    uint32_t position = 0;
    if (ehfa_DictionaryRead(file, &dictionary, file->dictionaryPtr + argument, &length, report)) {
        ehfa_DictionaryWrite(file, dictionary, &position, &length, 0, report);
        ehfa_DictionaryWrite(file, dictionary, &position, &length, 1, report);
        ehfa_DictionaryDelete(file, position, length, report);
        emif_DictionaryDestroy(dictionary);
    }
}

/* What is asked of files, and other handles of this one. */
void askFile(Ehfa_File* file, std::uint8_t argument)
{
    Unheard report;
    const char* name = memoryFile().name();
    switch (argument % 8) {
    case 0: ehfa_IsHFAFile(name, report); ehfa_FileIsOpen(name, eint_GetInit(), report); break;
    case 1: ehfa_FileSync(file, report); ehfa_FileIsNotFlushedOnWrite(file); break;
    case 2: ehfa_FileReinitialize(name, nullptr, nullptr, report); break;
    case 3: ehfa_FileClose(ehfa_FileOpenWithOptions(name, "r+b", eint_GetInit(), report, int{EHFA_OPTION_WORD}, 1, 0), report); break;
    case 4: ehfa_FileClose(ehfa_FileCreateWithOptions(name, eint_GetInit(), report, int{EHFA_OPTION_ENTRY_CACHE}, 1, 0), report); break;
    case 5:
        ehfa_FileChange(file, report, int{EHFA_OPTION_RENAME}, "/memory/other", 0);
        ehfa_FileChange(file, report, int{EHFA_OPTION_RENAME}, name, 0);
        break;
    case 6: ehfa_FileChange(file, report, int{EHFA_OPTION_ENTRY_CACHE}, argument / 8 % 2, int{EHFA_OPTION_MAP}, 1, 4096, 0); break;
    default: ehfa_FileSize(file);
    }
}

/* A reader of the same file, which sees what the other handle has changed. */
void readBeside(Ehfa_File*& reader)
{
    if (reader == nullptr) {
        reader = ehfa_FileOpen(memoryFile().name(), "rb", eint_GetInit(), Unheard());
    } else {
        wander(reader);
        readAll(reader);
    }
}

/* Keeps a place, and goes there whatever has become of it. */
void keepPlace(Ehfa_File* file, Ehfa_EntryPosition*& place)
{
    Unheard report;
    if (place == nullptr) {
        place = ehfa_EntryPositionGet(file, report);
    } else {
        ehfa_EntryPositionSet(file, place, report);
        ehfa_FileChange(file, report, int{EHFA_OPTION_WORD}, 1, 0);
        ehfa_EntryPositionSet(file, place, report);
    }
}

/* A handle of another thread changes the file in between. */
void writeBeside()
{
    std::thread([] {
        Unheard report;
        if (Ehfa_File* file = ehfa_FileOpen(memoryFile().name(), "r+b", eint_GetInit(), report)) {
            ehfa_ObjectDataWrite(file, ":", "beside", "T", EHFA_WRITE_FIRST_CHILD, "beside", 6, report);
            ehfa_FileClose(file, report);
        }
    }).join();
}

Ehfa_File* reader;
Ehfa_EntryPosition* place;

void step(Ehfa_File* file, std::uint8_t kind, std::uint8_t argument)
{
    Unheard report;
    const std::string path = pathOf(argument);
    static const char bytes[256] = "bytes";
    switch (kind % 27) {
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
    case 13: changeTable(file, argument); break;
    case 14: /* takes as long as a hundred other steps */
        if (argument == 0) {
            copyWhole(file);
        }
        break;
    case 15: copyRecord(file, argument); break;
    case 16: ehfa_ObjectDelete(file, path.c_str(), nullptr, EHFA_SEEK_BACK, report); break;
    case 17: ehfa_HeaderReWrite(file, report); break;
    case 18: ehfa_DictionaryMergeWithFileDictionary(file, file->dictionary, report); break;
    case 19: wander(file); break;
    case 20:
        if (argument < 4) {
            changeLarge(file, argument);
        }
        break;
    case 21: changeRawStream(file, argument); break;
    case 22: moveDictionary(file, argument); break;
    case 23: askFile(file, argument); break;
    case 24:
        if (argument % 2 == 0) {
            readBeside(reader);
        } else {
            keepPlace(file, place);
        }
        break;
    case 25:
        if (argument == 0) {
            writeBeside();
        }
        break;
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
    allowance = 0;
    Unheard report;
    Ehfa_File* file = ehfa_FileOpen(memory.name(), "r+b", eint_GetInit(), report);
    if (file == nullptr) {
        return 0;
    }
    for (std::size_t i = 0; i < steps; ++i) {
        step(file, data[1 + 2 * i], data[2 + 2 * i]);
    }
    ehfa_FileClose(std::exchange(reader, nullptr), report);
    ehfa_EntryPositionFree(std::exchange(place, nullptr), report);
    ehfa_FileClose(file, report);
    /* A step copies no more than there is; the dictionary is written once more, in the worst case. */
    if (memory.size() > (2 + steps) * std::max(storeSize, kSmallStore) + steps * kEntries + kGrowth + allowance) {
        std::abort();
    }
    if (memory.holds(store, storeSize)) {
        return 0;
    }
    file = ehfa_FileOpen(memory.name(), "rb", eint_GetInit(), report);
    if (file != nullptr) {
        readAll(file);
        ehfa_FileClose(file, report);
    }
    return 0;
}
