// The bytes of a store: it is opened for reading, walked, read and checked, and none of that changes it.

#include "store_in_memory.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    MemoryFile& memory = memoryFile();
    memory.put(data, size);
    Unheard report;
    Ehfa_File* file = ehfa_FileOpen(memory.name(), "rb", eint_GetInit(), report);
    if (file == nullptr) {
        return 0;
    }
    readAll(file);
    wander(file);
    if (size % 8 == 0) { /* a listing takes many times as long as all the rest */
        listAll(file);
    }
    if (!ehfa_FileClose(file, report) || memory.size() != size) {
        std::abort();
    }
    return 0;
}
