#include "store/hfa/object.h"

#include "frame/memory/heap_ptr.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/edit.h"
#include "store/hfa/space.h"
#include "store/hfa/tree.h"

#include <emantle/files/efio.h>
#include <cstdarg>
#include <cstring>
#include <ctime>

namespace emantle::hfa {

bool goToObject(Handle& handle, const char* path, const char* name, long method, EerrException& scope, Say failure)
{
    const auto seek = [&](long how, const char* what) {
        return asFunction(
            scope, "ehfa_EntrySeek", "Seek failed for %s", [&] { return seekEntry(handle, how, what, scope); },
            what != nullptr ? what : "<NULL>");
    };
    return asFunction(scope, "ehfa_ObjectSeek", failure, [&] {
        return (path == nullptr || seek(EHFA_SEEK_PATH, path)) && seek(method, name);
    });
}

void requireData(const Handle& handle)
{
    const Ehfa_Entry& entry = handle.currentEntry;
    require(entry.dataSize >= 0 && isAllocatable(handle, entry.data, static_cast<uint32_t>(entry.dataSize)),
            "The data of %s, %ld bytes at %ld, do not lie in file %s", entry.name, static_cast<long>(entry.dataSize),
            static_cast<long>(entry.data), handle.nameText.c_str());
}

namespace {

/* Goes to where an object is written, and writes its entry; what follows knows whether the entry is new. */
bool beginObject(Handle& handle, const char* path, const char* name, const char* type, long method,
                 EerrException& scope)
{
    if (path != nullptr) {
        const bool found = asFunction(scope, "ehfa_EntrySeek", "ehfa_EntrySeek failed",
                                      [&] { return seekEntry(handle, EHFA_SEEK_PATH, path, scope); });
        require(found, "nodePath %s not found", path);
    }
    const bool isNew = method != EHFA_WRITE_CURRENT || isAtRoot(handle);
    asFunction(scope, "ehfa_EntryWrite", "ehfa_EntryWrite failed",
               [&] { writeTreeEntry(handle, method, name, type, NewEntry::isWrittenLater, scope); });
    return isNew;
}

uint32_t blockOf(Handle& handle, int64_t size, EerrException& scope)
{
    return asFunction(scope, "ehfa_NextFreePos", "ehfa_NextFreePos failed",
                      [&] { return allocateBlock(handle, size, scope); });
}

/* Gives up the block of an object that gets another one. */
void dropBlock(Handle& handle, const Ehfa_Entry& entry, EerrException& scope)
{
    const int64_t size = blockSizeOf(entry.dataSize);
    if (entry.data != 0 && entry.dataSize > 0 && isAllocatable(handle, entry.data, static_cast<uint64_t>(size))) {
        asFunction(scope, "ehfa_FreeSpace", "ehfa_FreeSpace failed",
                   [&] { freeBlock(handle, entry.data, size, scope); });
    }
}

void stampEntry(Handle& handle, uint32_t data, int64_t size, EerrException& scope)
{
    handle.currentEntry.data = data;
    handle.currentEntry.dataSize = static_cast<int32_t>(size);
    handle.currentEntry.modTime = static_cast<double>(std::time(nullptr));
    asFunction(scope, "ehfa_EntryWrite", "ehfa_EntryWrite failed", [&] { rewriteCurrent(handle, scope); });
}

void writeBytesOfObject(Handle& handle, bool isNew, const void* bytes, int64_t size, EerrException& scope)
{
    const Ehfa_Entry old = handle.currentEntry;
    uint32_t block = old.data;
    if (isNew || size != old.dataSize || block == 0) {
        if (!isNew) {
            dropBlock(handle, old, scope);
        }
        block = size > 0 ? blockOf(handle, size, scope) : 0;
    } else if (size > 0) {
        requireData(handle);
    }
    stampEntry(handle, block, size, scope);
    if (size > 0) {
        asFunction(scope, "ehfa_FileMIFDataWrite", "ehfa_FileMIFDataWrite failed",
                   [&] { writeBytes(handle, block, bytes, static_cast<std::size_t>(size), scope); });
    }
}

const char* typeForThread(const char* type)
{
    thread_local char text[EHFA_TYPE_MAX + 1];
    std::memcpy(text, type, sizeof text);
    return text;
}

}  // namespace

void writeObject(Handle& handle, const char* path, const char* name, const char* type, long method, const void* record,
                 const Emif_Design* design, EerrException& scope)
{
    const int64_t size = checked(scope, emif_ObjectSize(record, design, scope), "emif_ObjectSize failed");
    require(size <= kFileLimit, "emif_ObjectSize failed");
    const bool isNew = beginObject(handle, path, name, type, method, scope);
    const Ehfa_Entry old = handle.currentEntry;
    uint32_t block = old.data;
    /* An object without data has no block that could be freed later. */
    if (isNew || block == 0 || size > old.dataSize || size == 0) {
        if (!isNew) {
            dropBlock(handle, old, scope);
        }
        block = size > 0 ? blockOf(handle, size, scope) : 0;
    } else {
        requireData(handle);
    }
    stampEntry(handle, block, size, scope);
    if (size > 0) {
        asFunction(scope, "ehfa_FileHostDataWrite", "ehfa_FileHostDataWrite failed",
                   [&] { writeRecord(handle, block, design, record, scope); });
    }
}

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Ehfa_Entry* ehfa_ObjectRead(Ehfa_File* file, const char* path, const char* name, long method, void* record,
                                        const Emif_Design* design, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Entry*>(err, "ehfa_ObjectRead", nullptr, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        require(goToObject(handle, path, name, method, scope), "Object read failure!");
        if (record != nullptr && handle.currentEntry.dataSize != 0) {
            const bool sequential = method == EHFA_SEEK_SEQUENTIAL;
            if (sequential) {
                passGaps(handle, scope);
            } else {
                requireData(handle);
            }
            checked(scope,
                    ehfa_FileHostDataRead(file, sequential ? -1 : static_cast<long>(handle.currentEntry.data), design,
                                          handle.currentEntry.dataSize, record, scope),
                    "ehfa_FileHostDataRead failed");
        }
        return handle.entry;
    });
}

EMANTLE_API void* ehfa_ObjectReadIfPresent(Ehfa_File* file, const char* path, const char* name, long method,
                                           void* record, const Emif_Design* design, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "ehfa_ObjectReadIfPresent", nullptr, [&](EerrException& scope) -> void* {
        Handle& handle = opened(file);
        require(record != nullptr, "NULL emifobjectin parameter");
        Activity activity(handle, scope);
        if (!goToObject(handle, path, name, method, scope) || handle.currentEntry.dataSize == 0) {
            return nullptr;
        }
        requireData(handle);
        return checked(scope,
                       ehfa_FileHostDataRead(file, handle.currentEntry.data, design, handle.currentEntry.dataSize,
                                             record, scope),
                       "ehfa_FileHostDataRead failed");
    });
}

EMANTLE_API const char* ehfa_ObjectDataReadIfPresent(Ehfa_File* file, const char* path, const char* name, long method,
                                                     void** data, int32_t* size, char** nameOut,
                                                     Eerr_ErrorReport** err)
{
    return guarded<const char*>(err, "ehfa_ObjectDataReadIfPresent", nullptr, [&](EerrException& scope) -> const char* {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        if (!goToObject(handle, path, name, method, scope)) {
            return nullptr;
        }
        const Ehfa_Entry& entry = handle.currentEntry;
        HeapPtr<char> bytes;
        if (data != nullptr && entry.dataSize != 0) {
            requireData(handle);
            bytes = allocate<char>(static_cast<std::size_t>(entry.dataSize));
            asFunction(scope, "ehfa_FileMIFDataRead", "ehfa_FileMIFDataRead failed", [&] {
                readBytes(handle, entry.data, bytes.get(), static_cast<std::size_t>(entry.dataSize), scope);
            });
        }
        if (nameOut != nullptr) {
            *nameOut = heapText(entry.name).release();
        }
        if (data != nullptr) {
            *data = bytes.release();
        }
        if (size != nullptr) {
            *size = entry.dataSize;
        }
        return typeForThread(entry.type);
    });
}

EMANTLE_API Ehfa_Entry* ehfa_ObjectWrite(Ehfa_File* file, const char* path, const char* name, const char* type,
                                         long method, const void* record, const Emif_Design* design,
                                         Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Entry*>(err, "ehfa_ObjectWrite", nullptr, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        writeObject(handle, path, name, type, method, record, design, scope);
        return handle.entry;
    });
}

EMANTLE_API Ehfa_Entry* ehfa_ObjectDataWrite(Ehfa_File* file, const char* path, const char* name, const char* type,
                                             long method, const void* bytes, long size, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Entry*>(err, "ehfa_ObjectDataWrite", nullptr, [&](EerrException& scope) {
        Handle& handle = opened(file);
        require(size >= 0 && size <= long{kFileLimit} && (bytes != nullptr || size == 0), "Args");
        Activity activity(handle, scope);
        const bool isNew = beginObject(handle, path, name, type, method, scope);
        writeBytesOfObject(handle, isNew, bytes, size, scope);
        return handle.entry;
    });
}

EMANTLE_API Emsc_Boolean ehfa_ObjectDelete(Ehfa_File* file, const char* path, const char* name, long method,
                                           Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_ObjectDelete", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        const bool isThere = goToObject(handle, path, name, method, scope, "ObjectSeek failure!");
        if (isThere) {
            asFunction(scope, "ehfa_EntryDelete", "EntryDelete failure!", [&] { deleteCurrent(handle, scope); });
        }
        return 1;
    });
}
