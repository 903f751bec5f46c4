#pragma once

#include "frame/guard/nested.h"
#include "store/hfa/free_list.h"
#include "store/hfa/path.h"

#include <emantle/store/ehfa.h>
#include <emantle/store/emif.h>
#include <string>

/* What an open store is behind its public record. */

namespace emantle::hfa {

/* The sizes of the records of the file, and where a new one puts them; docs/format.md draws them. */
inline constexpr uint32_t kTagSize = 20;
inline constexpr uint32_t kHeaderPosition = 64;
inline constexpr uint32_t kHeaderSize = 18;
inline constexpr uint32_t kEntrySize = 128;
inline constexpr uint32_t kNodeSize = 8; /* of a free block; so no block is smaller */
inline constexpr uint32_t kFileLimit = 0x7FFFFFFF;

/* Deeper trees are taken for damage: no path of a file is then out of proportion to it. */
inline constexpr int kDepthLimit = 1000;

struct Handle : Ehfa_File {
    Handle() : Ehfa_File{} { entry = &currentEntry; }

    std::string nameText;
    Path pathOfCurrent;
    PathIndex paths;
    FreeList freeBlocks;
    bool headerHeldBack = false; /* the file's record lags behind this one */
    bool entriesLag = false;     /* set while the handle's tables are not to be used */
    Ehfa_Entry peeked{};
};

inline Handle& opened(Ehfa_File* file, Say text = "Invalid EHFA file handle")
{
    require(file != nullptr, text);
    return *static_cast<Handle*>(file);
}

inline bool inBatchMode(const Handle& handle) { return (handle.flags & EHFA_FLAG_BATCH) != 0; }
inline bool heldBack(const Handle& handle) { return (handle.flags & EHFA_FLAG_NO_FLUSH) != 0; }
inline bool isAtRoot(const Handle& handle) { return handle.entryPtr == handle.rootEntryPtr; }

}  // namespace emantle::hfa
