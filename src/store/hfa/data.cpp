#include "frame/memory/heap_ptr.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"

#include <algorithm>

namespace emantle::hfa {

namespace {

uint32_t positionOf(const Handle& handle, long position)
{
    if (position == -1) {
        position = handle.cursor;
    }
    require(position >= 0 && position <= long{kFileLimit}, "The position %ld does not lie in file %s", position,
            handle.nameText.c_str());
    return static_cast<uint32_t>(position);
}

/* Blocks have 8 bytes and more, so a run of them goes on behind the padding of a small one. */
void passPadding(Handle& handle, uint32_t position, long size)
{
    if (size > 0 && size < long{kNodeSize}) {
        handle.cursor = position + kNodeSize;
    }
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API void* ehfa_FileMIFDataRead(Ehfa_File* file, long position, long size, void* buffer, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "ehfa_FileMIFDataRead", nullptr, [&](EerrException& scope) -> void* {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        const uint32_t start = positionOf(handle, position);
        require(size >= 0 && isInside(handle, start, static_cast<uint64_t>(size)),
                "%ld bytes at %ld do not lie in file %s", size, long{start}, handle.nameText.c_str());
        HeapPtr<char> fresh;
        if (buffer == nullptr) {
            fresh = allocate<char>(static_cast<std::size_t>(std::max(size, 1L)));
        }
        if (size > 0) {
            readBytes(handle, start, buffer != nullptr ? buffer : fresh.get(), static_cast<std::size_t>(size), scope);
            passPadding(handle, start, size);
        }
        return buffer != nullptr ? buffer : fresh.release();
    });
}

EMANTLE_API Emsc_Boolean ehfa_FileMIFDataWrite(Ehfa_File* file, long position, long size, const void* bytes,
                                               Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_FileMIFDataWrite", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        const uint32_t start = positionOf(handle, position);
        require(size >= 0 && (bytes != nullptr || size == 0), "Args");
        require(isInside(handle, start, static_cast<uint64_t>(size)), "%ld bytes at %ld do not lie in file %s", size,
                long{start}, handle.nameText.c_str());
        if (size > 0) {
            writeBytes(handle, start, bytes, static_cast<std::size_t>(size), scope);
        }
        return 1;
    });
}

EMANTLE_API void* ehfa_FileHostDataRead(Ehfa_File* file, long position, const Emif_Design* design, long size,
                                        void* record, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "ehfa_FileHostDataRead", nullptr, [&](EerrException& scope) {
        Handle& handle = opened(file);
        require(design != nullptr && record != nullptr, "Design fetch failed");
        Activity activity(handle, scope);
        const uint32_t start = positionOf(handle, position);
        if (size != 0) {
            readRecord(handle, start, design, record, scope);
            passPadding(handle, start, size);
        }
        return record;
    });
}

EMANTLE_API Emsc_Boolean ehfa_FileHostDataWrite(Ehfa_File* file, long position, const Emif_Design* design, long,
                                                const void* record, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_FileHostDataWrite", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        require(design != nullptr && record != nullptr, "Design fetch failed");
        Activity activity(handle, scope);
        const uint32_t start = positionOf(handle, position);
        const int64_t size = checked(scope, emif_ObjectSize(record, design, scope), "emif_ObjectSize failed");
        require(isInside(handle, start, static_cast<uint64_t>(size)), "%ld bytes at %ld do not lie in file %s",
                static_cast<long>(size), long{start}, handle.nameText.c_str());
        writeRecord(handle, start, design, record, scope);
        return 1;
    });
}
