#ifndef EMANTLE_FRAME_EDLM_H
#define EMANTLE_FRAME_EDLM_H

#include <emantle/frame/eerr.h>

/* edlm: lists of records of one size, kept in chunks.
 *  1. Objects are stored by value, `objectSize` bytes each, and counted from 0. They do not move when the list grows.
 *  2. A list is the caller's, and goes back to edlm_FreeList or edlm_FreeListAndContents.
 *  3. A list that edlm_SortList has sorted keeps an index: the numbers of its objects in the order of the comparison. It
 *     is maintained by every change, and edlm_FindOnList and edlm_AddIfUnique search it.
 *  4. A null list is "Null List passed.", a null argument "Bad argument", no memory "Out of memory". A list whose counts
 *     contradict each other is "Edlm_List corrupted", one whose index does "Invalid index list". A failure leaves the
 *     list as it was.
 *  5. Nothing is locked: a list belongs to one owner. */

/* As in qsort: below, at or above 0. */
typedef int (*Edlm_CompareFunction)(const void* a, const void* b);
/* Gives back what an object owns, not the object. */
typedef void (*Edlm_FreeFunction)(void* object);
/* Makes `target`, which holds the bytes of `source`, own copies of what `source` owns. */
typedef void (*Edlm_CopyFunction)(const void* source, void* target, Eerr_ErrorReport** err);
typedef void (*Edlm_PrintFunction)(long index, const void* object);

typedef struct Edlm_List {
    int32_t objectSize;
    int32_t chunkCount;
    int32_t chunkSize; /* objects a chunk */
    int32_t capacity;
    int32_t count;
    int32_t reserved;
    int32_t indexCapacity; /* room in `chunks` */
    Edlm_CompareFunction compare; /* the order of `index` */
    void* reservedPointer;
    void** chunks;
    struct Edlm_List* index; /* of int32_t, or null */
} Edlm_List;

/* An empty list; both sizes must be above 0, else "Illegal value passed in". */
EMANTLE_API Edlm_List* edlm_InitList(long objectSize, long chunkSize, Eerr_ErrorReport** err);

/* Sets the count to 0; the chunks stay. */
EMANTLE_API void edlm_ResetList(Edlm_List* list, Eerr_ErrorReport** err);

/* Appends a copy of the object and returns its number; -1 on failure. */
EMANTLE_API long edlm_Add(Edlm_List* list, const void* object, Eerr_ErrorReport** err);
/* The same unless an equal object is there, whose number is returned instead. */
EMANTLE_API long edlm_AddIfUnique(Edlm_List* list, const void* object, Eerr_ErrorReport** err);

/* The number of the first object that equals `object`; -1, without a report, when none does. With a null `compare`
 * objects are equal by the list's index, and without one by their bytes. */
EMANTLE_API long edlm_FindOnList(const Edlm_List* list, const void* object, Edlm_CompareFunction compare,
                                 Eerr_ErrorReport** err);

/* Removes an object; those behind it move up. Returns whether it did: "Attempt to delete from empty list", "Attempt to
 * delete item not on list". */
EMANTLE_API Emsc_Boolean edlm_Delete(Edlm_List* list, long index, Eerr_ErrorReport** err);

/* Inserts a copy of `object` before the object `index`, which must exist, else "Attempt to insert before item not on
 * list". Returns whether it did. */
EMANTLE_API Emsc_Boolean edlm_Insert(Edlm_List* list, long index, const void* object, Eerr_ErrorReport** err);

/* Overwrites an object: "Attempt to replace in empty list", "Attempt to replace item not on list". */
EMANTLE_API Emsc_Boolean edlm_Replace(Edlm_List* list, long index, const void* object, Eerr_ErrorReport** err);

/* The address of an object, in the list; null with "Index out of range". What is written there behind an index's back
 * leaves the index as it was. */
EMANTLE_API void* edlm_GetAddr(const Edlm_List* list, long index, Eerr_ErrorReport** err);

/* A copy of the list with its index. `copy` is called for each object and may be null; where it fails, the result is
 * null and what it copied before is lost unless `release`, which may be null too, gives it back. */
EMANTLE_API Edlm_List* edlm_CopyList(const Edlm_List* list, Eerr_ErrorReport** err);
EMANTLE_API Edlm_List* edlm_CopyListEx(const Edlm_List* list, Edlm_CopyFunction copy, Edlm_FreeFunction release,
                                       Eerr_ErrorReport** err);

/* Moves all objects into one chunk and returns its address, which stays the list's and is valid until the next change;
 * null for an empty list. */
EMANTLE_API void* edlm_Consolidate(Edlm_List* list, Eerr_ErrorReport** err);

/* Copies all objects to `array`, or with a null `array` to a new heap block, the caller's; null for an empty list. */
EMANTLE_API void* edlm_CopyToArray(const Edlm_List* list, void* array, Eerr_ErrorReport** err);

EMANTLE_API long edlm_CountList(const Edlm_List* list, Eerr_ErrorReport** err);

/* Removes the last object, after copying it to `object` unless that is null. False, without a report, for an empty
 * list. */
EMANTLE_API Emsc_Boolean edlm_Pop(Edlm_List* list, void* object, Eerr_ErrorReport** err);

/* Calls `print` for each object, in order. */
EMANTLE_API void edlm_PrintList(const Edlm_List* list, Edlm_PrintFunction print, Eerr_ErrorReport** err);

/* Sorts the objects, equal ones staying in their order, and gives the list an index of this comparison. */
EMANTLE_API void edlm_SortList(Edlm_List* list, Edlm_CompareFunction compare, Eerr_ErrorReport** err);

/* Frees the list, the second after calling `release` for each object. Null for either is accepted. */
EMANTLE_API void edlm_FreeList(Edlm_List* list, Eerr_ErrorReport** err);
EMANTLE_API void edlm_FreeListAndContents(Edlm_List* list, Edlm_FreeFunction release, Eerr_ErrorReport** err);

#endif
