// The bytes of a store: it is opened for reading, walked, read and checked, and none of that changes it.

#include "store_in_memory.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    MemoryFile& memory = memoryFile();
    memory.put(data, size);
    Unheard report;
    if (size % 16 == 3) {
        ehfa_IsHFAFile(memory.name(), report);
    }
    Ehfa_File* file = ehfa_FileOpen(memory.name(), "rb", eint_GetInit(), report);
    if (file == nullptr) {
        return 0;
    }
    readAll(file);
    /* These take many times as long as all the rest. */
    if (size % 4 == 1) {
        wander(file);
    } else if (size % 16 == 0) {
        listAll(file);
    } else if (size % 16 == 2) { /* the handle is made one for writing, which may finish a change that is pending */
        ehfa_FileClose(ehfa_FileOpen(memory.name(), "r+b", eint_GetInit(), report), report);
        readAll(file);
        ehfa_FileClose(file, report);
        return 0;
    }
    if (!ehfa_FileClose(file, report) || !memory.holds(data, size)) {
        std::abort();
    }
    return 0;
}
