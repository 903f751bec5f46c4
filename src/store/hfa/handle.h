#pragma once

#include "frame/guard/nested.h"
#include "store/hfa/children.h"
#include "store/hfa/free_list.h"
#include "store/hfa/journal.h"
#include "store/hfa/path.h"
#include "store/hfa/writer_lock.h"

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

/* What a handle was when its outermost call began. */
struct Step {
    int32_t version = 0;
    uint32_t freeList = 0;
    uint32_t rootEntryPtr = 0;
    uint32_t dictionaryPtr = 0;
    int32_t dictionaryLength = 0;
    uint32_t flags = 0;
    uint32_t batchStart = 0;
    uint32_t entryPtr = 0;
    Ehfa_Entry currentEntry{};
    Path path;
    int32_t dictionaryChanged = 0;
    bool headerHeldBack = false;
    uint64_t changes = 0;
    uint32_t fileEnd = 0;
    FreeBlock oldDictionary{};
};

struct Handle : Ehfa_File {
    Handle() : Ehfa_File{} { entry = &currentEntry; }

    std::string nameText;
    Path pathOfCurrent;
    Children children;
    /* Entries without the links that lead astray, by position. */
    std::unordered_map<uint32_t, Ehfa_Entry> mended;
    FreeList freeBlocks;
    Pages pages;
    Journal journal;
    Step step;
    uint64_t changes = 0;        /* counts what the calls change */
    int depth = 0;               /* of calls within calls */
    int gathering = 0;           /* not 0: changes stay in memory beyond the call that makes them */
    bool isBroken = false;       /* a call within the present one failed half-way */
    bool headerHeldBack = false; /* the file's record lags behind this one */
    bool designsHeldBack = false; /* the dictionary has designs that go to the file with the next change only */
    FreeBlock oldDictionary{};   /* what the dictionary has moved out of and is not free yet; all 0 for none */
    uint32_t cursor = 0;         /* where a read without a position goes on */
    WriterLock lock;
    Ehfa_Entry peeked{};
};

inline Handle& opened(Ehfa_File* file, Say text = "Invalid EHFA file handle")
{
    require(file != nullptr, text);
    return *static_cast<Handle*>(file);
}

inline bool inBatchMode(const Handle& handle) { return (handle.flags & EHFA_FLAG_BATCH) != 0; }
inline bool heldBack(const Handle& handle) { return (handle.flags & EHFA_FLAG_NO_FLUSH) != 0; }
/* Whether changes stay in memory at the end of a call. */
inline bool gathers(const Handle& handle) { return heldBack(handle) || inBatchMode(handle) || handle.gathering > 0; }
inline bool isAtRoot(const Handle& handle) { return handle.entryPtr == handle.rootEntryPtr; }

}  // namespace emantle::hfa
