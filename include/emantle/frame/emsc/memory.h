#ifndef EMANTLE_FRAME_EMSC_MEMORY_H
#define EMANTLE_FRAME_EMSC_MEMORY_H

#include <emantle/frame/export.h>

/* emsc, raw memory.
 *  1. Sizes and counts of 0 or below, and null pointers, are nothing to do. */

/* Copy `n` bytes and return `dst`; for emsc_MemMove the two may overlap. */
EMANTLE_API void* emsc_MemCpy(void* dst, const void* src, long n);
EMANTLE_API void* emsc_MemMove(void* dst, const void* src, long n);

/* A heap copy of `n` bytes, the caller's. Null for nothing to copy and when memory is out. */
EMANTLE_API void* emsc_MemDup(const void* src, long n);

/* Reverses the bytes of each of `count` items of 2, 4 or 8 bytes, in place. For any other size an item takes twice
 * `size` / 2 bytes, and byte i of its first half is swapped with byte `count` - 1 - i: the far end depends on the count,
 * as the formats of old files expect. The buffer holds `count` times `size` bytes; a swap that would leave it is not
 * done. */
EMANTLE_API void emsc_MemSwab(void* buf, long count, long size);

/* Converts `count` items between containers of one byte that hold one item of 8 bits, and packed ones of 4, 2 or 1 bits,
 * the first item in the highest bits. A unit is the bits of an item, a package those of its container, which is 8. The
 * last packed byte is filled up with zero bits. Returns true when it failed; the report, "Args" or "Unit or package
 * size params not yet supported", is printed. */
EMANTLE_API Emsc_Boolean emsc_MemRepack(void* dst, long dstUnit, long dstPackage, const void* src, long srcUnit,
                                        long srcPackage, long count);

/* The page size used for bookkeeping: 4096. */
EMANTLE_API long emsc_MemPageSizeGet(void);

#endif
