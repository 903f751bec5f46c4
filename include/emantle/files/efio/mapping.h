#ifndef EMANTLE_FILES_EFIO_MAPPING_H
#define EMANTLE_FILES_EFIO_MAPPING_H

#include <emantle/files/efio/handle.h>

/* efio, files in memory.
 *  1. A map holds windows of one open file: the whole of it, or extents. A file open for reading gives windows to read, any
 *     other windows to read and write. Through an address and through the file's functions one sees the same bytes.
 *  2. An address stands until the next call on its map. It is asked for before each access: that flushes what the file
 *     has gathered, and drops what it read ahead.
 *  3. A map leaves the file's size alone: what lies beyond the end is written with the file's functions first.
 *  4. The file stays the caller's and must outlive its map. Statuses are 0 or -1.
 *  5. The kernel ends a process that touches a mapped page behind the end of a file that another process has shortened:
 *     map only files of which efio_FileSystemIsLocal says yes. */

typedef struct Efio_MmapInfo Efio_MmapInfo;

/* A map without windows, the caller's, for efio_MmapDestroy. `growthStep` (bytes, at least 0) says how far the file must
 * have grown behind a window of the whole before efio_MmapAddressGet maps it anew. */
EMANTLE_API Efio_MmapInfo* efio_MmapCreate(Efio_File* file, long growthStep, Eerr_ErrorReport** err);

/* Gives up all windows and the map; null does nothing. */
EMANTLE_API void efio_MmapDestroy(Efio_MmapInfo* map, Eerr_ErrorReport** err);

/* Maps the whole file as it is now, in place of all windows. An empty file has no window, which is no failure. */
EMANTLE_API long efio_MmapMap(Efio_MmapInfo* map, Eerr_ErrorReport** err);

/* Gives up all windows. */
EMANTLE_API long efio_MmapUnmap(Efio_MmapInfo* map, Eerr_ErrorReport** err);

/* Adds a window of `length` bytes at `offset`; fails where it reaches beyond the end of the file. */
EMANTLE_API long efio_MmapMapExtent(Efio_MmapInfo* map, long offset, long length, Eerr_ErrorReport** err);

/* Gives up the window that was mapped with just this offset and length; fails where there is none. */
EMANTLE_API long efio_MmapUnmapExtent(Efio_MmapInfo* map, long offset, long length, Eerr_ErrorReport** err);

/* The address of `length` bytes at `offset`, where one window holds them all; else null without a report, and the caller
 * reads or writes. A null map gives null. */
EMANTLE_API void* efio_MmapAddressGet(Efio_MmapInfo* map, long offset, long length, Eerr_ErrorReport** err);

/* One window without a map, given back with efio_Munmap; null on failure. */
EMANTLE_API void* efio_Mmap(Efio_File* file, long offset, long length, Eerr_ErrorReport** err);
EMANTLE_API long efio_Munmap(void* address, Eerr_ErrorReport** err);

#endif
