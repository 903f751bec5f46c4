#include "store/hfa/activity.h"
#include "store/hfa/block_store.h"
#include "store/hfa/block_store_node.h"
#include "store/hfa/bytes.h"

#include <algorithm>
#include <cstring>
#include <memory>

/* Block stores that are open: their blocks, and the stream over them. */

namespace emantle::hfa {

namespace {

BlockStore& storeOf(Ehfa_Cache* cache)
{
    require(cache != nullptr, "Args");
    return *static_cast<BlockStore*>(cache);
}

void flushAll(BlockStore& store, bool keepLent, EerrException& scope)
{
    store.flush(keepLent, scope);
    writeNode(store, scope);
}

/* One call on an open block store. Where it changes the file at all it takes along everything that is held: the file has
 * the stream as it was behind some call. A call that fails leaves file and block store as they were before it. */
template <class Body>
auto inOneCall(Ehfa_Cache* cache, EerrException& scope, Body&& body)
{
    BlockStore& store = storeOf(cache);
    if (store.file == nullptr) {
        return body(store);
    }
    Handle& handle = opened(store.file);
    const std::unique_ptr<BlockStore> before = handle.readOnly ? nullptr : store.copy();
    try {
        Activity activity(handle, scope);
        const uint64_t changes = handle.changes;
        auto result = body(store);
        if (handle.changes != changes && !inBatchMode(handle)) {
            asFunction(scope, "ehfa_CacheFlush", "error flushing cache!", [&] { flushAll(store, true, scope); });
        }
        return result;
    } catch (...) {
        if (before != nullptr) {
            store.takeBack(*before);
        }
        throw;
    }
}

bool isWritable(const BlockStore& store) { return store.file == nullptr || !store.file->readOnly; }

void requireWritable(const BlockStore& store)
{
    require(isWritable(store), "File %s is open for reading only", store.file != nullptr ? store.file->name : "");
}

/* Adds blocks until there is one for `position`. */
void extendTo(BlockStore& store, int64_t position, EerrException& scope)
{
    require(position < int64_t{kFileLimit},
            "Cannot allocate free block; resulting file would exceed the OS or EHFA limit");
    if (position / store.blockSize >= store.blockCount) {
        requireWritable(store);
    }
    while (position / store.blockSize >= store.blockCount) {
        store.extend(scope);
    }
}

/* Calls `body` for each piece of `size` bytes from the position on that lies in one block. */
template <class Body>
void eachPiece(const BlockStore& store, int64_t size, Body&& body)
{
    for (int64_t done = 0; done < size;) {
        const int64_t at = store.position + done;
        const auto offset = static_cast<int32_t>(at % store.blockSize);
        const auto length = static_cast<int32_t>(std::min<int64_t>(size - done, store.blockSize - offset));
        body(static_cast<int32_t>(at / store.blockSize), offset, length, done);
        done += length;
    }
}

void seek(BlockStore& store, int64_t offset, long whence, EerrException& scope)
{
    require(whence >= 0 && whence <= 2, "Invalid seek method");
    require(offset >= -int64_t{kFileLimit} && offset <= int64_t{kFileLimit}, "A seek by %ld leaves the cache",
            static_cast<long>(offset));
    const int64_t bases[] = {0, store.position, int64_t{store.byteCount} - 1};
    const int64_t target = bases[whence] + offset;
    require(target >= 0, "A seek by %ld leaves the cache", static_cast<long>(offset));
    /* The end of what is only read can be reached, and needs no block. */
    if (isWritable(store) || target > store.byteCount) {
        asFunction(scope, "ehfa_CacheExtend", "error extending cache", [&] { extendTo(store, target, scope); });
    }
    store.position = target;
}

long read(BlockStore& store, unsigned char* buffer, long size, EerrException& scope)
{
    const int64_t there = std::clamp<int64_t>(store.byteCount - store.position, 0, size);
    eachPiece(store, there, [&](int32_t number, int32_t offset, int32_t length, int64_t done) {
        const Ehfa_CacheSlot& slot =
            asFunction(scope, "ehfa_CacheGetBlock", "error retrieving cache block",
                       [&]() -> auto& { return store.fetch(number, BlockStore::Use::read, scope); });
        std::memcpy(buffer + done, static_cast<const unsigned char*>(slot.buffer) + offset, static_cast<std::size_t>(length));
    });
    store.position += there;
    return static_cast<long>(there);
}

long write(BlockStore& store, const unsigned char* bytes, long size, EerrException& scope)
{
    if (size == 0) {
        return 0;
    }
    requireWritable(store);
    const int64_t end = store.position + size;
    eachPiece(store, size, [&](int32_t number, int32_t offset, int32_t length, int64_t done) {
        asFunction(scope, "ehfa_CacheExtend", "error extending cache",
                   [&] { extendTo(store, store.position + done, scope); });
        const auto use = length == store.blockSize ? BlockStore::Use::overwrite : BlockStore::Use::write;
        const Ehfa_CacheSlot& slot = asFunction(scope, "ehfa_CacheGetBlock", "error retrieving cache block",
                                                [&]() -> auto& { return store.fetch(number, use, scope); });
        std::memcpy(static_cast<unsigned char*>(slot.buffer) + offset, bytes + done, static_cast<std::size_t>(length));
    });
    store.position = end;
    store.byteCount = static_cast<int32_t>(std::max<int64_t>(store.byteCount, end));
    return size;
}

/* Gives the blocks back once neither index nor head leads to them. */
void reduceAndRelease(BlockStore& store, EerrException& scope)
{
    std::vector<uint32_t> gone;
    store.reduce(gone, scope);
    store.position = std::min<int64_t>(store.position, store.byteCount);
    asFunction(scope, "ehfa_CacheFlush", "error flushing cache!", [&] { flushAll(store, false, scope); });
    for (const uint32_t position : gone) {
        asFunction(scope, "ehfa_CacheFreeSpace", "error occurred in ehfa_CacheFreeSpace",
                   [&] { store.access().release(position, store.blockSize, scope); });
    }
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Ehfa_Cache* ehfa_CacheNew(Ehfa_File* file, int32_t blockSize, int32_t slotCount, int32_t blockCount,
                                      uint32_t rootPtr, const Ehfa_CacheMethods* methods, void* data,
                                      Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Cache*>(err, "ehfa_CacheNew", nullptr, [&](EerrException& scope) -> Ehfa_Cache* {
        require(file != nullptr || methods != nullptr, "Args");
        if (methods != nullptr) {
            require(methods->read != nullptr && methods->write != nullptr && methods->allocate != nullptr, "Args");
            return new BlockStore({methods, data}, nullptr, blockSize, slotCount, blockCount, rootPtr, scope);
        }
        FileReference reference = sharedReference(file);
        std::unique_ptr<BlockStore> store;
        {
            Activity activity(opened(file), scope);
            store = std::make_unique<BlockStore>(accessTo(file), file, blockSize, slotCount, blockCount, rootPtr, scope);
        }
        reference.release();
        return store.release();
    });
}

EMANTLE_API void ehfa_CacheFree(Ehfa_Cache* cache)
{
    if (cache != nullptr) {
        const FileReference reference(cache->file);
        delete static_cast<BlockStore*>(cache);
    }
}

EMANTLE_API Emsc_Boolean ehfa_CacheClose(Ehfa_Cache* cache, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_CacheClose", 0, [&](EerrException& scope) {
        if (cache == nullptr) {
            return 1;
        }
        std::unique_ptr<BlockStore> store(&storeOf(cache));
        FileReference reference(store->file);
        inOneCall(cache, scope, [&](BlockStore&) {
            asFunction(scope, "ehfa_CacheFlush", "error flushing cache!", [&] { store->flush(false, scope); });
            checked(scope, ehfa_CacheRootPtr(cache, scope), "error retrieving cache root");
            writeNode(*store, scope);
            return 1;
        });
        checked(scope, ehfa_FileClose(reference.release(), scope));
        return 1;
    });
}

EMANTLE_API void* ehfa_CacheGetBlock(Ehfa_Cache* cache, int32_t number, Emsc_Boolean write, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "ehfa_CacheGetBlock", nullptr, [&](EerrException& scope) {
        return inOneCall(cache, scope, [&](BlockStore& store) {
            if (write == 0) {
                return store.fetch(number, BlockStore::Use::read, scope).buffer;
            }
            requireWritable(store);
            const Ehfa_CacheSlot& slot = store.fetch(number, BlockStore::Use::write, scope);
            store.lend(slot);
            return slot.buffer;
        });
    });
}

EMANTLE_API uint32_t* ehfa_CacheGetBlockPtrAddr(Ehfa_Cache* cache, int32_t number, Emsc_Boolean write,
                                                Eerr_ErrorReport** err)
{
    return guarded<uint32_t*>(err, "ehfa_CacheGetBlockPtrAddr", nullptr, [&](EerrException& scope) {
        return inOneCall(cache, scope, [&](BlockStore& store) {
            if (write != 0) {
                requireWritable(store);
            }
            uint32_t* place = store.pointerTo(number, write != 0, scope);
            if (write != 0) {
                store.lendPointer(number);
            }
            return place;
        });
    });
}

EMANTLE_API Emsc_Boolean ehfa_CacheFlush(Ehfa_Cache* cache, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_CacheFlush", 0, [&](EerrException& scope) {
        return inOneCall(cache, scope, [&](BlockStore& store) {
            flushAll(store, false, scope);
            return 1;
        });
    });
}

EMANTLE_API Emsc_Boolean ehfa_CacheExtend(Ehfa_Cache* cache, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_CacheExtend", 0, [&](EerrException& scope) {
        return inOneCall(cache, scope, [&](BlockStore& store) {
            requireWritable(store);
            store.extend(scope);
            return 1;
        });
    });
}

EMANTLE_API Emsc_Boolean ehfa_CacheReduce(Ehfa_Cache* cache, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_CacheReduce", 0, [&](EerrException& scope) {
        return inOneCall(cache, scope, [&](BlockStore& store) {
            requireWritable(store);
            reduceAndRelease(store, scope);
            return 1;
        });
    });
}

EMANTLE_API uint32_t ehfa_CacheRootPtr(const Ehfa_Cache* cache, Eerr_ErrorReport** err)
{
    return guarded<uint32_t>(err, "ehfa_CacheRootPtr", 0, [&] {
        require(cache != nullptr, "Args");
        return static_cast<const BlockStore*>(cache)->root();
    });
}

EMANTLE_API Emsc_Boolean ehfa_CacheSeek(Ehfa_Cache* cache, long offset, long whence, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_CacheSeek", 0, [&](EerrException& scope) {
        return inOneCall(cache, scope, [&](BlockStore& store) {
            seek(store, offset, whence, scope);
            return 1;
        });
    });
}

EMANTLE_API long ehfa_CacheRead(Ehfa_Cache* cache, void* buffer, long size, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "ehfa_CacheRead", -1, [&](EerrException& scope) {
        require(size >= 0 && (buffer != nullptr || size == 0), "Args");
        return inOneCall(cache, scope, [&](BlockStore& store) {
            return read(store, static_cast<unsigned char*>(buffer), size, scope);
        });
    });
}

EMANTLE_API long ehfa_CacheWrite(Ehfa_Cache* cache, const void* bytes, long size, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "ehfa_CacheWrite", -1, [&](EerrException& scope) {
        require(size >= 0 && size <= long{kFileLimit} && (bytes != nullptr || size == 0), "Args");
        return inOneCall(cache, scope, [&](BlockStore& store) {
            return write(store, static_cast<const unsigned char*>(bytes), size, scope);
        });
    });
}

EMANTLE_API long ehfa_CacheGetCurrPos(const Ehfa_Cache* cache)
{
    return cache != nullptr ? static_cast<long>(cache->position) : 0;
}
