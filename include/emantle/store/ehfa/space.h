#ifndef EMANTLE_STORE_EHFA_SPACE_H
#define EMANTLE_STORE_EHFA_SPACE_H

#include <emantle/store/ehfa/file.h>

/* ehfa, the space: blocks of a store, and the check of a whole store.
 *  1. A block has at least 8 bytes. Free blocks form a list sorted by position, and neighbours in it are one block.
 *  2. A file never shrinks. */

/* The position of a new block of `size` bytes: the first free block that is as large, or larger by 8 or more; else the
 * end of the file, which grows. 0 on failure. */
EMANTLE_API uint32_t ehfa_NextFreePos(Ehfa_File* file, long size, Eerr_ErrorReport** err);

/* Gives a block back. Fewer than 8 bytes are lost to the file: a block of a smaller object is freed with 8. A block that reaches over the end of the file or into
 * free space is refused. */
EMANTLE_API Emsc_Boolean ehfa_FreeSpace(Ehfa_File* file, uint32_t position, long size, Eerr_ErrorReport** err);

/* The end of the file, in bytes; 0 for null. */
EMANTLE_API long ehfa_FileSize(const Ehfa_File* file);

/* The sum of the free blocks, in bytes; -1 on failure. */
EMANTLE_API long ehfa_FileFreeSpaceSize(Ehfa_File* file, Eerr_ErrorReport** err);

/* Prints the free list, a line a block. */
EMANTLE_API Emsc_Boolean ehfa_ShowFreeSpace(Ehfa_File* file, Eerr_ErrorReport** err);

/* What a piece of a file is. */
enum {
    EHFA_BLOCK_TAG = 0,        /* the tag, and the gap behind it */
    EHFA_BLOCK_HEADER = 1,     /* the file record */
    EHFA_BLOCK_DICTIONARY = 2, /* the dictionary text */
    EHFA_BLOCK_ENTRY = 3,
    EHFA_BLOCK_DATA = 4,  /* the data block of an entry */
    EHFA_BLOCK_RUN = 5,   /* a block that an object refers to: the values of a column, the blocks of a block store */
    EHFA_BLOCK_FREE = 6,  /* on the free list */
    EHFA_BLOCK_LOST = 7,  /* nothing leads to it */
    EHFA_BLOCK_NOTHING = 8 /* a finding without a place in the file */
};

/* One piece of a file, or one finding. The texts live until the callback returns. */
typedef struct Ehfa_CheckItem {
    int32_t kind; /* EHFA_BLOCK_... */
    uint32_t position;
    int64_t size;       /* as the file says; a finding may show it to be a lie */
    const char* path;   /* of the entry that the piece belongs to, else "" */
    const char* type;   /* of that entry, else "" */
    const char* finding; /* null for a sound piece, else what is wrong with it */
} Ehfa_CheckItem;

/* Answers 0 to end the check. */
typedef Emsc_Boolean (*Ehfa_CheckFunction)(const Ehfa_CheckItem* item, void* data);

typedef struct Ehfa_CheckTotals {
    int64_t fileSize;
    int64_t live;    /* bytes that something leads to */
    int64_t free;    /* bytes on the free list */
    int64_t lost;    /* bytes that nothing leads to */
    int64_t damaged; /* bytes claimed by two pieces, or by one that reaches outside the file */
    int64_t entries;
    int64_t objects; /* entries with a data block */
    int64_t freeBlocks;
    int64_t designs;
    int64_t findings;
} Ehfa_CheckTotals;

/* Walks everything that the file's links lead to, in depth-first order of the entries, and tells `function` (which may
 * be null) of each piece and each finding; each object's data are held against its design. Lost pieces come last, in
 * order of position. live + free + lost is the size of the file. The handle's current entry stays, and nothing is
 * written, printed or reported: what is wrong with the file is a finding. Memory is bound by the size of the file.
 * Fails for null arguments and when the file cannot be read. Answers 1 also when `function` ended the check. */
EMANTLE_API Emsc_Boolean ehfa_FileCheck(Ehfa_File* file, Ehfa_CheckFunction function, void* data,
                                        Ehfa_CheckTotals* totals, Eerr_ErrorReport** err);

#endif
