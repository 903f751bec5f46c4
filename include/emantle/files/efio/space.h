#ifndef EMANTLE_FILES_EFIO_SPACE_H
#define EMANTLE_FILES_EFIO_SPACE_H

#include <emantle/frame/eerr.h>

/* efio, room on a disk: that of the file system which holds the nearest part of the name that exists, as far as this user
 * may write. -1 on failure, "Cannot determine if disk space is available". */

/* A number of bytes by units of 1024, each below the next. */
typedef struct Efio_DiskSpace {
    int32_t bytes;
    int32_t kilobytes;
    int32_t megabytes;
    int32_t gigabytes;
    int32_t terabytes;
} Efio_DiskSpace;

EMANTLE_API int64_t efio_BytesAvailable(const char* name, Eerr_ErrorReport** err);
EMANTLE_API double efio_FbytesAvailable(const char* name, Eerr_ErrorReport** err);

/* In whole blocks of `blockSize` bytes. */
EMANTLE_API int64_t efio_BlocksAvailable(const char* name, long blockSize, Eerr_ErrorReport** err);

/* 0, with the room in `space`, or -1. */
EMANTLE_API long efio_SpaceAvailable(const char* name, Efio_DiskSpace* space, Eerr_ErrorReport** err);

/* Whether there is room for `bytes` more; where there is not, that is also reported. */
EMANTLE_API Emsc_Boolean efio_CheckBytesAvailable(const char* name, long bytes, Eerr_ErrorReport** err);

EMANTLE_API void efio_DiskSpaceFromBytes(uint64_t bytes, Efio_DiskSpace* space);

/* "2 Terabytes 1 Gigabyte", a heap text; units of which there is none are left out, and nothing is "0 Bytes". */
EMANTLE_API char* efio_DiskSpaceToString(const Efio_DiskSpace* space, Eerr_ErrorReport** err);

#endif
