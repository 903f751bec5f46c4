#include "store/hfa/space.h"

#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/print.h"

#include <emantle/files/efio.h>
#include <algorithm>
#include <optional>

namespace emantle::hfa {

namespace {

/* The file grows by its last four bytes; what lies before them is the file system's zeros. */
void extendTo(Handle& handle, uint64_t end, EerrException& scope)
{
    if (end <= handle.fileEnd) {
        return;
    }
    const unsigned char zeros[4] = {};
    checked(scope,
            efio_FileWriteDirect(handle.file, static_cast<long>(end - sizeof zeros), zeros, sizeof zeros, scope),
            "efio_FileWriteDirect failed");
    handle.fileEnd = static_cast<uint32_t>(end);
    handle.activity = 2;
}

bool fits(const FreeBlock& block, uint32_t size)
{
    return block.size == size || block.size >= uint64_t{size} + kNodeSize;
}

}  // namespace

uint32_t allocateBlock(Handle& handle, int64_t wanted, EerrException& scope)
{
    require(wanted >= 1, "Zero or negative size; long integer overflow?");
    require(wanted <= kFileLimit, "Cannot allocate free block; resulting file would exceed the OS or EHFA limit");
    const uint32_t size = std::max<uint32_t>(kNodeSize, static_cast<uint32_t>(wanted));

    FreeList& list = handle.freeBlocks;
    asFunction(scope, "freeListItemGet", "freeListItemGet fail", [&] { list.load(handle, Teller::allocation, scope); });
    const auto& blocks = list.blocks();
    for (std::size_t index = 0; index < blocks.size(); ++index) {
        if (fits(blocks[index], size)) {
            const uint32_t position = blocks[index].position;
            list.take(handle, index, size, scope);
            return position;
        }
    }

    uint64_t start = handle.fileEnd;
    uint64_t length = size;
    std::optional<std::size_t> tail;
    if (!blocks.empty() && uint64_t{blocks.back().position} + blocks.back().size == handle.fileEnd) {
        tail = blocks.size() - 1;
        start = blocks.back().position;
        if (blocks.back().size >= size) {
            length = 2 * uint64_t{size} + kNodeSize - blocks.back().size;
        }
    }
    require(start + length <= kFileLimit,
            "Cannot allocate free block; resulting file would exceed the OS or EHFA limit");
    extendTo(handle, start + length, scope);
    if (tail) {
        asFunction(scope, "freeListItemRemove", "freeListItemRemove failed",
                   [&] { list.remove(handle, *tail, scope); });
    }
    return static_cast<uint32_t>(start);
}

void freeBlock(Handle& handle, uint32_t position, int64_t size, EerrException& scope)
{
    if (size < kNodeSize) {
        return;
    }
    require(size <= kFileLimit && isAllocatable(handle, position, static_cast<uint64_t>(size)),
            "%ld bytes at %ld cannot be freed: they are no block of %s", static_cast<long>(size),
            static_cast<long>(position), handle.nameText.c_str());
    asFunction(scope, "freeListItemGet", "freeListItemGet failed",
               [&] { handle.freeBlocks.load(handle, Teller::freeing, scope); });
    handle.freeBlocks.add(handle, position, static_cast<uint32_t>(size), scope);
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
        for (const FreeBlock& block : handle.freeBlocks.blocks()) {
            sum += block.size;
        }
        return sum;
    });
}

EMANTLE_API Emsc_Boolean ehfa_ShowFreeSpace(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_ShowFreeSpace", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        handle.freeBlocks.load(handle, Teller::nobody, scope);
        const auto& blocks = handle.freeBlocks.blocks();
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
