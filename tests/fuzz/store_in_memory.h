#pragma once

#include "fuzz/input.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <emantle/frame/eerr.h>
#include <emantle/frame/estr/list.h>
#include <emantle/store/ehfa.h>
#include <emantle/store/emif.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// A store in a file that has no place on a disk, and what every reader of one does.

using fuzz::Unheard;

class MemoryFile {
public:
    MemoryFile() : descriptor_(memfd_create("store", 0)), name_("/proc/self/fd/" + std::to_string(descriptor_))
    {
        eerr_SetAltErrorFunction([](void*, Eerr_ErrorReport*, Eerr_ErrorReportingMode, Eerr_ErrorReport**) {}, nullptr);
    }

    const char* name() const { return name_.c_str(); }
    std::size_t size() const
    {
        struct stat status {};
        return fstat(descriptor_, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
    }
    void put(const std::uint8_t* data, std::size_t size)
    {
        /* Bytes behind the end of an earlier file are not there any more. */
        if (ftruncate(descriptor_, 0) != 0 || ftruncate(descriptor_, static_cast<off_t>(size)) != 0 ||
            pwrite(descriptor_, data, size, 0) != static_cast<ssize_t>(size)) {
            _exit(1);
        }
    }

private:
    int descriptor_;
    std::string name_;
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
        ehfa_CacheFree(cache);
    }
    if (Ehfa_Table* table = ehfa_TableOpen(file, node.c_str(), 0, report)) {
        for (int i = 0; i < 4 && ehfa_TableRecordNext(table, bytes, sizeof bytes, report) > 0; ++i) {
            emsc_HeapFree(ehfa_GetRecordFieldByIndex(table, bytes, i, report));
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
    for (long method = 0; method < 10; ++method) {
        ehfa_EntryPeek(file, method, report);
        ehfa_EntrySeek(file, method, "C", report);
    }
    const EstrStringList some(ehfa_ObjectList(file, nullptr, "*c*", nullptr, report));
    emsc_HeapFree(ehfa_CurrentEntryPath(file, report));
    ehfa_EntryPositionSet(file, position, report);
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
    Ehfa_CheckTotals totals;
    if (!ehfa_FileCheck(file, readOn, nullptr, &totals, report) || totals.live + totals.free + totals.lost != totals.fileSize) {
        std::abort();
    }
    ehfa_FileFreeSpaceSize(file, report);
}
