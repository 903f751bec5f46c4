#ifndef EMANTLE_STORE_EHFA_CACHE_H
#define EMANTLE_STORE_EHFA_CACHE_H

#include <emantle/store/ehfa/file.h>

/* ehfa, the block store: a stream of bytes inside a store, cut into blocks of one size, with an index of as many levels as
 * it needs. Its head is an object of the design Ehfa_CacheNode.
 *  1. A block store is named by a file and a node in it, as in "scene.img(:tables)", or where a handle is given by the path
 *     of the node alone. With a null handle the file is opened by its name, for writing where that is possible. The handle
 *     stays open as long as the block store does.
 *  2. Blocks are held in a ring of slots. What is written to them reaches the file when a slot is needed for another
 *     block, when blocks are added or taken off, at ehfa_CacheFlush and at ehfa_CacheClose; then all that is held does,
 *     with the head. So the file always has the stream as it was behind some call.
 *  3. New blocks are zero. A block's buffer belongs to the block store and is valid until as many other blocks as there
 *     are slots have been asked for.
 *  4. The handle's current entry is moved by Create, Open and Delete only.
 *  5. A call that fails leaves everything as it was.
 *  6. Blocks that a damaged index places outside of the file are reported when they are asked for. */

enum { EHFA_CACHE_BLOCK_SIZE = 1024, EHFA_CACHE_SLOTS = 2 }; /* of new ones */

/* The head as it lies in the file. */
typedef struct Ehfa_CacheNode {
    int32_t blocksize;
    int32_t blockcount;
    int32_t bytecount;
    uint32_t rootptr; /* the root block of the index */
} Ehfa_CacheNode;

typedef struct Ehfa_CacheSlot {
    int32_t number;    /* of the block; -1 for an empty slot */
    uint32_t position; /* in the file; 0 for none */
    Emsc_Boolean dirty;
    void* buffer;
} Ehfa_CacheSlot;

/* What moves blocks. Each function answers 0 with a report when it fails, and runs in the unsafe section. A null `release`
 * lets go of blocks without giving them back. */
typedef struct Ehfa_CacheMethods {
    Emsc_Boolean (*read)(void* data, uint32_t position, void* buffer, long size, Eerr_ErrorReport** err);
    Emsc_Boolean (*write)(void* data, uint32_t position, const void* buffer, long size, Eerr_ErrorReport** err);
    uint32_t (*allocate)(void* data, long size, Eerr_ErrorReport** err);
    Emsc_Boolean (*release)(void* data, uint32_t position, long size, Eerr_ErrorReport** err);
} Ehfa_CacheMethods;

/* One level of an open block store: the data, or above them an index whose blocks are the index blocks of the level below.
 * Callers read it. */
typedef struct Ehfa_Cache {
    int32_t blockSize;
    int32_t blockCount;
    int32_t byteCount; /* the length of the stream */
    uint32_t rootPtr;  /* at the top level, else 0 */
    Ehfa_File* file;   /* null where a caller's methods move the blocks */
    struct Ehfa_Cache* parent; /* the level above; null at the top */
    uint32_t* index;           /* at the top level, blockSize / 4 positions; else null */
    Ehfa_CacheSlot* slots;
    int32_t slotCount;
    int32_t nextVictim;
    Ehfa_CacheSlot* current; /* the slot last asked for */
    int64_t position;        /* of the stream */
} Ehfa_Cache;

/* The design of the head, which stays the library's. */
EMANTLE_API Emif_Design* ehfa_CacheInit(Eerr_ErrorReport** err);

/* Opens a store for writing, or makes an empty one where there is no such file. "error opening %s", "error creating %s". */
EMANTLE_API Ehfa_File* ehfa_CacheFileOpen(const char* name, Eint_InitToolkitData* context, Eerr_ErrorReport** err);

/* Makes an empty block store under a node that is not there yet, and whose parent is; with a null handle the file is made
 * too where it is absent. The result is the caller's, for ehfa_CacheClose. */
EMANTLE_API Ehfa_Cache* ehfa_CacheCreate(Ehfa_File* file, const char* name, Eerr_ErrorReport** err);

/* Opens one; the caller's. "Object %s not found!" where the node is absent or none of a block store. */
EMANTLE_API Ehfa_Cache* ehfa_CacheOpen(Ehfa_File* file, const char* name, Eerr_ErrorReport** err);

/* Deletes the node with all below it, and frees every block. Blocks that a damaged index places where none can be are told
 * as warnings and left. */
EMANTLE_API Emsc_Boolean ehfa_CacheDelete(Ehfa_File* file, const char* name, Eerr_ErrorReport** err);

/* Flushes and frees, also when the flush fails. Accepts null. */
EMANTLE_API Emsc_Boolean ehfa_CacheClose(Ehfa_Cache* cache, Eerr_ErrorReport** err);

/* A block store without a node: the caller keeps count and root. `blockSize` is a multiple of 4 and at least 8. With a
 * `rootPtr` of 0 a root block is allocated. Null methods are those of `file`; `data` goes to the caller's own. */
EMANTLE_API Ehfa_Cache* ehfa_CacheNew(Ehfa_File* file, int32_t blockSize, int32_t slotCount, int32_t blockCount,
                                      uint32_t rootPtr, const Ehfa_CacheMethods* methods, void* data,
                                      Eerr_ErrorReport** err);

/* Frees a block store without writing anything. Accepts null. */
EMANTLE_API void ehfa_CacheFree(Ehfa_Cache* cache);

/* The buffer of a block, `blockSize` bytes; with a `write` of 1 it is written back. "Block number (%d) not allocated!". */
EMANTLE_API void* ehfa_CacheGetBlock(Ehfa_Cache* cache, int32_t number, Emsc_Boolean write, Eerr_ErrorReport** err);

/* Where the index holds the position of a block, valid as a buffer of the level above is; with a `write` of 1 that part of
 * the index is written back. "Block number (%d) is not allocated!". */
EMANTLE_API uint32_t* ehfa_CacheGetBlockPtrAddr(Ehfa_Cache* cache, int32_t number, Emsc_Boolean write,
                                                Eerr_ErrorReport** err);

/* Writes everything that is held: blocks, then the levels of the index from below, then the head where there is one. */
EMANTLE_API Emsc_Boolean ehfa_CacheFlush(Ehfa_Cache* cache, Eerr_ErrorReport** err);

/* Adds one block at the end, which becomes the current slot. The length of the stream stays. */
EMANTLE_API Emsc_Boolean ehfa_CacheExtend(Ehfa_Cache* cache, Eerr_ErrorReport** err);

/* Takes the last block off, cuts the stream off there, flushes, and gives back the block and the index blocks that have
 * become empty. Fails without a block. */
EMANTLE_API Emsc_Boolean ehfa_CacheReduce(Ehfa_Cache* cache, Eerr_ErrorReport** err);

/* The position of the root block of the index. */
EMANTLE_API uint32_t ehfa_CacheRootPtr(const Ehfa_Cache* cache, Eerr_ErrorReport** err);

/* Moves the position in the stream: from the start (0), from the position (1), from the last byte (2). Adds blocks until
 * there is one at the new position; the stream does not grow by that. In a file that is open for reading only a position
 * behind the end of the stream is refused. */
EMANTLE_API Emsc_Boolean ehfa_CacheSeek(Ehfa_Cache* cache, long offset, long whence, Eerr_ErrorReport** err);

/* Reads up to `size` bytes from the position on. Returns how many there were before the end of the stream; -1 on failure,
 * which leaves the position. */
EMANTLE_API long ehfa_CacheRead(Ehfa_Cache* cache, void* buffer, long size, Eerr_ErrorReport** err);

/* Writes `size` bytes at the position; the stream grows where they pass its end. Returns `size`; -1 on failure, which
 * leaves position and length. */
EMANTLE_API long ehfa_CacheWrite(Ehfa_Cache* cache, const void* bytes, long size, Eerr_ErrorReport** err);

/* The position in the stream; 0 for null. */
EMANTLE_API long ehfa_CacheGetCurrPos(const Ehfa_Cache* cache);

#endif
