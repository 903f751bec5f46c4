#pragma once

#include "fuzz/files_in_memory.h"
#include "fuzz/input.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <emantle/frame/eerr.h>
#include <emantle/frame/estr/list.h>
#include <emantle/store/ehfa.h>
#include <emantle/store/emif.h>
#include <string>

// A store in a file that has no place on a disk, and what every reader of one does.

using fuzz::Unheard;

/* One that takes the place of the last one each time. */
class MemoryFile {
public:
    MemoryFile() { fuzz::dropReports(); }
    const char* name() const { return "/memory/store"; }
    std::size_t size() const { return fuzz::sizeOfFile(name()); }
    bool holds(const std::uint8_t* data, std::size_t size) const { return fuzz::isFile(name(), data, size); }
    void put(const std::uint8_t* data, std::size_t size) { fuzz::putFile(name(), data, size); }
};

inline MemoryFile& memoryFile()
{
    static MemoryFile file;
    return file;
}

inline Emsc_Boolean readOn(const Ehfa_CheckItem*, void*) { return 1; }

/* Opens the block store and the record table of a node, and reads a little of both. */
inline void readStreams(Ehfa_File* file, const std::string& path)
{
    Unheard report;
    const std::string node = "(" + path.substr(0, path.size() - 1) + ")";
    char bytes[300];
    if (Ehfa_Cache* cache = ehfa_CacheOpen(file, node.c_str(), report)) {
        for (int i = 0; i < 8 && ehfa_CacheRead(cache, bytes, sizeof bytes, report) > 0; ++i) {
        }
        ehfa_CacheSeek(cache, 0, 2, report);
        ehfa_CacheRead(cache, bytes, 1, report);
        ehfa_CacheGetBlock(cache, cache->blockCount - 1, 0, report);
        ehfa_CacheGetBlockPtrAddr(cache, 0, 0, report);
        ehfa_CacheFree(cache);
    }
    if (Ehfa_Table* table = ehfa_TableOpen(file, node.c_str(), 0, report)) {
        for (int i = 0; i < 4 && ehfa_TableRecordNext(table, bytes, sizeof bytes, report) > 0; ++i) {
            emsc_HeapFree(ehfa_GetRecordFieldByIndex(table, bytes, i, report));
        }
        if (table->design != nullptr && table->design->hostSize <= int{sizeof bytes}) {
            ehfa_TableRecordLoad(table, 0, bytes, sizeof bytes, report);
        }
        ehfa_TableFree(table);
    }
}

/* Prints every object by its design, for nobody. */
inline void listAll(Ehfa_File* file)
{
    Unheard report;
    const auto route = EerrDispatcher::Connect(EerrDispatcher::LogSlot([](const char*, va_list) {}));
    ehfa_ListFile(file, nullptr, report);
    ehfa_ShowFreeSpace(file, report);
}

/* Goes to and fro. */
inline void wander(Ehfa_File* file)
{
    Unheard report;
    ehfa_EntrySeek(file, EHFA_SEEK_ROOT, nullptr, report);
    Ehfa_EntryPosition* position = ehfa_EntryPositionGet(file, report);
    for (long method = 0; method < 19; ++method) {
        if (method < 10) {
            ehfa_EntryPeek(file, method, report);
        }
        ehfa_EntrySeek(file, method, method == EHFA_SEEK_BACK || method == EHFA_SEEK_PATH ? ":C" : "C", report);
    }
    for (const char* type : {"S", "Raw", "Ehfa_CacheNode"}) {
        ehfa_EntrySeek(file, EHFA_SEEK_ROOT, nullptr, report);
        ehfa_EntrySeek(file, EHFA_SEEK_DEPTH_TYPE, type, report);
        ehfa_EntrySeek(file, EHFA_SEEK_SIBLING_TYPE, type, report);
    }
    /* In the order of the file, from the first block behind the root on. */
    ehfa_EntrySeek(file, EHFA_SEEK_ROOT, nullptr, report);
    char bytes[8];
    ehfa_FileMIFDataRead(file, 82 + 120, 8, bytes, report);
    while (ehfa_EntrySeek(file, EHFA_SEEK_SEQUENTIAL, nullptr, report) != nullptr && file->entryPtr != 0) {
        if (ehfa_EntryCurrentHasChild(file) + ehfa_EntryCurrentHasNext(file) + ehfa_EntryCurrentHasPrev(file) == 3) {
            break;
        }
        void* data = ehfa_FileMIFDataRead(file, -1, std::min(file->currentEntry.dataSize, 4096), nullptr, report);
        emsc_HeapFree(data);
    }
    const EstrStringList some(ehfa_ObjectList(file, nullptr, "*c*", nullptr, report));
    emsc_HeapFree(ehfa_CurrentEntryPath(file, report));
    ehfa_EntrySetCurrentPosition(file, position, report);
    ehfa_EntryPositionFree(position, report);
}

/* Walks a store and reads all that it finds. */
inline void readAll(Ehfa_File* file)
{
    constexpr int kMost = 100;
    Unheard report;
    EstrStringList paths(ehfa_ObjectList(file, ":", nullptr, nullptr, report));
    const Estr_StringList* list = paths;
    for (int i = 0; list != nullptr && i < list->count && i < kMost; ++i) {
        void* data = nullptr;
        const char* type = ehfa_ObjectDataReadIfPresent(file, list->strings[i], nullptr, EHFA_SEEK_BACK, &data, nullptr, nullptr, report);
        emsc_HeapFree(data);
        if (type != nullptr && std::string(type) == "Ehfa_CacheNode") {
            readStreams(file, list->strings[i]);
        }
    }
    /* A check may fail where another handle has written over what is damaged, and then says so. */
    Ehfa_CheckTotals totals;
    const bool isChecked = ehfa_FileCheck(file, readOn, nullptr, &totals, report) != 0;
    if (isChecked == report.holdsAny() || (isChecked && totals.live + totals.free + totals.lost != totals.fileSize)) {
        std::abort();
    }
    ehfa_FileFreeSpaceSize(file, report);
}
