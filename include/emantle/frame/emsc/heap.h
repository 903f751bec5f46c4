#ifndef EMANTLE_FRAME_EMSC_HEAP_H
#define EMANTLE_FRAME_EMSC_HEAP_H

#include <emantle/frame/export.h>

/* emsc, the heap: all memory that crosses the library's boundary.
 *  1. Blocks are zero-filled, and given back to emsc_HeapFree or one of its forms, which accept null.
 *  2. A size of 0 or below has no block: the result is null. Null is also the answer when memory is out; nothing is
 *     reported, and the caller reports.
 *  3. Small blocks are aligned to 16 bytes, blocks of 4096 bytes and more to 64. */

EMANTLE_API void* emsc_HeapMalloc(long size);

/* Resizes a block; new bytes are zero. Size 0 frees `p` and gives null; a null `p` acts as emsc_HeapMalloc. On failure
 * the result is null and `p` stays valid. */
EMANTLE_API void* emsc_HeapRealloc(void* p, long size);

EMANTLE_API void emsc_HeapFree(void* p);

/* Frees `*p` and sets it to null. */
EMANTLE_API void emsc_HeapFreeEx(void** p);

/* emsc_HeapFree in the shape of a callback. */
EMANTLE_API void emsc_FreeFunc(void* p);

/* Frees `*p`, leaving `*p` as it was. */
EMANTLE_API void emsc_FreePtrFunc(void** p);

/* Creates the big heap, a pool of fixed size for blocks of at least a page, where the preference "memory" "heap_size"
 * asks for one (megabytes; below 1 there is none). */
EMANTLE_API void emsc_HeapBigInit(void);

/* Leaves the big heap in place. */
EMANTLE_API void emsc_HeapBigExit(void);

/* 0. */
EMANTLE_API long emsc_HeapInfo(void);

/* Does nothing. */
EMANTLE_API void emsc_HeapPrint(void);

/* Switch the heap's lock on and off; the thread services call them when thread-safe mode begins and ends. */
EMANTLE_API void emsc_HeapInitThreadSafeMode(void);
EMANTLE_API void emsc_HeapEndThreadSafeMode(void);

#endif
