#include "store/hfa/space.h"

#include "frame/guard/plain_scope.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/print.h"

#include <emantle/frame/emsc.h>
#include <algorithm>

namespace emantle::hfa {

namespace {

/* What a file grew by beyond the block that was asked for. The block is there whether this succeeds or not. */
void giveBackRest(Handle& handle, uint64_t position, int64_t size, EerrException& scope)
{
    try {
        freeBlock(handle, static_cast<uint32_t>(position), size, scope);
    } catch (const Failure&) {
        takeThrown(scope, __LINE__);
        tellAndForget(scope, "ehfa_NextFreePos");
    }
}

}  // namespace

uint32_t allocateBlock(Handle& handle, int64_t wanted, EerrException& scope)
{
    constexpr const char* kBeyondLimit = "Cannot allocate free block; resulting file would exceed the OS or EHFA limit";
    require(wanted >= 1, "Zero or negative size; long integer overflow?");
    require(wanted <= kFileLimit, kBeyondLimit);
    requireWritable(handle, scope);
    const uint32_t size = std::max<uint32_t>(kNodeSize, static_cast<uint32_t>(wanted));

    FreeList& list = handle.freeBlocks;
    asFunction(scope, "freeListItemGet", "freeListItemGet fail", [&] { list.load(handle, Teller::allocation, scope); });
    if (const FreeBlock block = list.firstFit(size); block.size != 0) {
        list.take(handle, block, size);
        return block.position;
    }

    uint64_t start = handle.fileEnd;
    uint64_t length = size;
    const FreeBlock tail = list.last();
    const bool extendsTail = tail.size != 0 && uint64_t{tail.position} + tail.size == handle.fileEnd;
    if (extendsTail) {
        start = tail.position;
        if (tail.size >= size) {
            length = 2 * uint64_t{size} + kNodeSize - tail.size;
        }
    }
    if (handle.mapWanted != 0) {
        const auto page = static_cast<uint64_t>(emsc_MemPageSizeGet());
        length = (length + page - 1) / page * page;
    }
    require(start + length <= kFileLimit, kBeyondLimit);
    if (extendsTail) {
        asFunction(scope, "freeListItemRemove", "freeListItemRemove failed", [&] { list.remove(handle, tail); });
    }
    if (start + length > handle.fileEnd) {
        handle.journal.clearBehindEnd(handle, scope);
        if (start == handle.fileEnd) {
            handle.journal.noteAllocated(start, size);
        }
        handle.fileEnd = static_cast<uint32_t>(start + length);
    }
    noteChange(handle);
    if (length > size) {
        giveBackRest(handle, start + size, static_cast<int64_t>(length - size), scope);
    }
    return static_cast<uint32_t>(start);
}

void freeBlock(Handle& handle, uint32_t position, int64_t size, EerrException& scope)
{
    if (size < kNodeSize) {
        return;
    }
    requireWritable(handle, scope);
    require(size <= kFileLimit && isAllocatable(handle, position, static_cast<uint64_t>(size)),
            "%ld bytes at %ld cannot be freed: they are no block of %s", static_cast<long>(size),
            static_cast<long>(position), handle.nameText.c_str());
    asFunction(scope, "freeListItemGet", "freeListItemGet failed",
               [&] { handle.freeBlocks.load(handle, Teller::freeing, scope); });
    handle.freeBlocks.add(handle, position, static_cast<uint32_t>(size), scope);
    handle.journal.noteUsed(position, uint64_t{position} + static_cast<uint64_t>(size));
}

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API uint32_t ehfa_NextFreePos(Ehfa_File* file, long size, Eerr_ErrorReport** err)
{
    return guarded<uint32_t>(err, "ehfa_NextFreePos", 0, [&](EerrException& scope) {
        Activity activity(opened(file), scope);
        return allocateBlock(opened(file), size, scope);
    });
}

EMANTLE_API Emsc_Boolean ehfa_FreeSpace(Ehfa_File* file, uint32_t position, long size, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_FreeSpace", 0, [&](EerrException& scope) {
        Activity activity(opened(file), scope);
        freeBlock(opened(file), position, size, scope);
        return 1;
    });
}

EMANTLE_API long ehfa_FileSize(const Ehfa_File* file)
{
    return file != nullptr ? static_cast<long>(file->fileEnd) : 0;
}

EMANTLE_API long ehfa_FileFreeSpaceSize(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "ehfa_FileFreeSpaceSize", -1, [&](EerrException& scope) {
        Handle& handle = opened(file, "Args");
        Activity activity(handle, scope);
        asFunction(scope, "freeListItemGet", "freeListItemGet failed",
                   [&] { handle.freeBlocks.load(handle, Teller::nobody, scope); });
        require(!handle.freeBlocks.isDamaged(), "Corrupt free list");
        long sum = 0;
        handle.freeBlocks.forEach([&](FreeBlock block) { sum += block.size; });
        return sum;
    });
}

EMANTLE_API Emsc_Boolean ehfa_ShowFreeSpace(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_ShowFreeSpace", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        handle.freeBlocks.load(handle, Teller::nobody, scope);
        std::vector<FreeBlock> blocks;
        handle.freeBlocks.forEach([&](FreeBlock block) { blocks.push_back(block); });
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            const long next = i + 1 < blocks.size() ? static_cast<long>(blocks[i + 1].position) : 0;
            print("Pointer %ld is %ld bytes...next @%ld\n", static_cast<long>(blocks[i].position),
                  static_cast<long>(blocks[i].size), next);
        }
        if (handle.freeBlocks.isDamaged()) {
            print("Corrupt file!\n");
        }
        return 1;
    });
}
