#ifndef EMANTLE_STORE_EHFA_ENTRY_H
#define EMANTLE_STORE_EHFA_ENTRY_H

#include <emantle/store/ehfa/file.h>

/* ehfa, the entries: moving through the tree and changing it.
 *  1. The current entry is a copy held in the handle; the pointer that these calls return is that copy.
 *  2. A path is the names from below the root, joined by ":" and with one at the end; the root is ":".
 *  3. The root never has siblings, is never renamed, and stays when it is deleted. */

/* How ehfa_EntrySeek moves. */
enum {
    EHFA_SEEK_ROOT = 0,
    EHFA_SEEK_NEXT = 1,
    EHFA_SEEK_PREV = 2,
    EHFA_SEEK_FIRST = 3, /* first and last sibling */
    EHFA_SEEK_LAST = 4,
    EHFA_SEEK_CHILD = 5,
    EHFA_SEEK_PARENT = 6,
    EHFA_SEEK_NAME_FORWARD = 7, /* from the current entry on through the siblings; at the root from the first child */
    EHFA_SEEK_PATH = 8,         /* a relative path starts from the parent of the current entry */
    EHFA_SEEK_DEPTH_NEXT = 9,   /* next in depth-first order */
    EHFA_SEEK_DEPTH_TYPE = 10,
    EHFA_SEEK_DEPTH_NAME = 11,
    EHFA_SEEK_CHILD_NAME = 12,
    EHFA_SEEK_SIBLING_NAME = 13,
    EHFA_SEEK_CHILD_TYPE = 14,
    EHFA_SEEK_SIBLING_TYPE = 15, /* from the first sibling */
    EHFA_SEEK_TYPE_FORWARD = 16, /* from the current entry */
    EHFA_SEEK_BACK = 17,         /* a path of ehfa_CurrentEntryPath, or null for the handle's own */
    EHFA_SEEK_SEQUENTIAL = 18    /* reads the entry at the file's present position */
};

/* Moves. Null when there is nothing there: without a report, and with the current entry as it was for the methods of
 * one step; a path seek stays at the last part found, a search by name or type at the last entry it saw. Methods 7, 8
 * and 10 to 16 need `name`; the others but 17 warn about one. */
EMANTLE_API Ehfa_Entry* ehfa_EntrySeek(Ehfa_File* file, long method, const char* name, Eerr_ErrorReport** err);

/* How ehfa_EntryWrite writes. At the root 1, 2 and 0 act as 4. */
enum {
    EHFA_WRITE_CURRENT = 0, /* rewrites the current entry; a null name or type leaves it */
    EHFA_WRITE_AFTER = 1,
    EHFA_WRITE_BEFORE = 2,
    EHFA_WRITE_FIRST_CHILD = 3,
    EHFA_WRITE_LAST_CHILD = 4
};

/* Writes the current entry or a new one, which becomes current; it has no data and keeps the time of the entry held
 * before. A type is cut after 31 characters. */
EMANTLE_API Ehfa_Entry* ehfa_EntryWrite(Ehfa_File* file, long method, const char* name, const char* type,
                                        Eerr_ErrorReport** err);

/* Deletes the current entry with all below it, and frees the blocks of the entries and of their data. Current is then the
 * next sibling, else the previous one, else the parent. Blocks that data refer to, as the values of a column, the blocks
 * of a block store and what an Ehfa_Data points to, stay allocated: who wrote them frees them, by edsc_HFAColumnDestroy,
 * ehfa_CacheDelete or ehfa_FreeSpace. */
EMANTLE_API Emsc_Boolean ehfa_EntryDelete(Ehfa_File* file, Eerr_ErrorReport** err);

/* Makes the entry at `source`, with all below it, the last child of the parent that `destination` names, under the last
 * name of `destination`, which must not exist. The entry becomes current. A relative path is one of ehfa_EntrySeek. */
EMANTLE_API Emsc_Boolean ehfa_EntryMove(Ehfa_File* file, const char* source, const char* destination,
                                        Eerr_ErrorReport** err);

/* The entry that a seek of methods 0 to 6 or 9 would reach; the current entry and the path stay. Null when there is none.
 * The record is the handle's and lives until the next peek. */
EMANTLE_API const Ehfa_Entry* ehfa_EntryPeek(Ehfa_File* file, long method, Eerr_ErrorReport** err);

/* A place in the tree. */
typedef struct Ehfa_EntryPosition {
    char* path;
    uint32_t position;
} Ehfa_EntryPosition;

/* The current place; the caller's, for ehfa_EntryPositionFree. */
EMANTLE_API Ehfa_EntryPosition* ehfa_EntryPositionGet(Ehfa_File* file, Eerr_ErrorReport** err);
/* Goes back there; at the root when the place is gone. The place stays the caller's. */
EMANTLE_API Emsc_Boolean ehfa_EntryPositionSet(Ehfa_File* file, const Ehfa_EntryPosition* position,
                                               Eerr_ErrorReport** err);
/* Accepts null. */
EMANTLE_API void ehfa_EntryPositionFree(Ehfa_EntryPosition* position, Eerr_ErrorReport** err);

EMANTLE_API Ehfa_EntryPosition* ehfa_EntryGetCurrentPosition(Ehfa_File* file, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean ehfa_EntrySetCurrentPosition(Ehfa_File* file, const Ehfa_EntryPosition* position,
                                                      Eerr_ErrorReport** err);

/* The path of the current entry; heap text of the caller's. */
EMANTLE_API char* ehfa_CurrentEntryPath(Ehfa_File* file, Eerr_ErrorReport** err);

/* Whether the current entry has that link. */
EMANTLE_API Emsc_Boolean ehfa_EntryCurrentHasNext(const Ehfa_File* file);
EMANTLE_API Emsc_Boolean ehfa_EntryCurrentHasPrev(const Ehfa_File* file);
EMANTLE_API Emsc_Boolean ehfa_EntryCurrentHasChild(const Ehfa_File* file);

#endif
