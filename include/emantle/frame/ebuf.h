#ifndef EMANTLE_FRAME_EBUF_H
#define EMANTLE_FRAME_EBUF_H

#include <emantle/frame/export.h>

/* ebuf: a growing array of elements of one size in one block.
 *  1. A buffer is the address of its block: a header of 16 bytes, and behind it the elements. It moves when it grows;
 *     holders keep the handle, and pass its address to what may grow it.
 *  2. Elements are counted from 0. `used` of them hold data; fresh memory is zero.
 *  3. Null is accepted for a buffer and for the address of a handle. Nothing is reported.
 *  4. A buffer belongs to one owner; nothing is locked. */

typedef struct Ebuf_Buffer {
    int32_t elementSize;
    int32_t used;
    int32_t capacity;
    int32_t reserved;
} Ebuf_Buffer;

/* A buffer of `n` zero elements, all in use; the caller's. Null when `n` is below 0, `elementSize` below 1, or memory
 * is out. */
EMANTLE_API Ebuf_Buffer* ebuf_BufferAllocate(long n, long elementSize);

/* Copies `count` elements from `source` (null: zeros) to element `start` on, and grows the buffer to hold them. The
 * elements between the old `used` and `start` are zero. Returns the elements written: 0 for a negative `start` or a
 * `count` below 1, and fewer than `count` when memory is out. `source` must not lie in the buffer. */
EMANTLE_API long ebuf_BufferCopyIn(Ebuf_Buffer** buffer, long start, long count, const void* source);

/* Copies `count` elements from `start` on to `target`. Returns the elements copied, of which none lies beyond `used`. */
EMANTLE_API long ebuf_BufferCopyOut(const Ebuf_Buffer* buffer, long start, long count, void* target);

/* Frees `*buffer` and sets it to null. */
EMANTLE_API void ebuf_BufferFree(Ebuf_Buffer** buffer);

/* The elements in use, and the bytes of one; 0 for null. */
EMANTLE_API long ebuf_BufferSize(const Ebuf_Buffer* buffer);
EMANTLE_API long ebuf_BufferElementSize(const Ebuf_Buffer* buffer);

/* The element that begins at `address`; -1 where none in use does. */
EMANTLE_API long ebuf_BufferPosition(const Ebuf_Buffer* buffer, const void* address);

/* The address of an element; null where it is not in use. Valid until the buffer grows. */
EMANTLE_API void* ebuf_BufferAddress(Ebuf_Buffer* buffer, long index);

#endif
