#ifndef EMANTLE_FILES_EFIO_STATUS_H
#define EMANTLE_FILES_EFIO_STATUS_H

#include <emantle/files/efio/handle.h>

/* efio, what the system knows of a file. A status is 0 or -1. */

enum { EFIO_ACCESS_EXISTS = 0, EFIO_ACCESS_EXECUTE = 1, EFIO_ACCESS_WRITE = 2, EFIO_ACCESS_READ = 4 };

typedef struct Efio_Status {
    efio_off_t size;   /* bytes */
    int64_t accessed;  /* seconds since 1970-01-01 UTC, as the next two */
    int64_t modified;
    int64_t changed;
    uint32_t mode;     /* kind and permissions as in stat(2) */
    uint32_t links;
    uint32_t owner;
    uint32_t group;
    uint64_t device;   /* with `serial` one file, under whatever name */
    uint64_t serial;
} Efio_Status;

/* Whether the process has the rights of EFIO_ACCESS_*, or-ed. No right is no failure. */
EMANTLE_API Emsc_Boolean efio_Access(const char* name, long rights, Eerr_ErrorReport** err);
EMANTLE_API long efio_Chmod(const char* name, long mode, Eerr_ErrorReport** err);

/* True where the file exists and cannot be written. */
EMANTLE_API Emsc_Boolean efio_IsFileReadOnly(const char* name, Eerr_ErrorReport** err);

/* Fails where there is nothing. The next two tell by their result: 1, or 0 for nothing; -1 on failure. The last one looks
 * at a link itself. */
EMANTLE_API long efio_Stat(const char* name, Efio_Status* status, Eerr_ErrorReport** err);
EMANTLE_API long efio_StatIfPresent(const char* name, Efio_Status* status, Eerr_ErrorReport** err);
EMANTLE_API long efio_LstatIfPresent(const char* name, Efio_Status* status, Eerr_ErrorReport** err);

/* Sets the time of the last change, in seconds since 1970-01-01 UTC. */
EMANTLE_API long efio_SetModTime(const char* name, int64_t seconds, Eerr_ErrorReport** err);

/* Always false. */
EMANTLE_API Emsc_Boolean efio_IsSymbolicLink(const char* name);

/* True where the first bytes are text: no zero, and no control characters but those of lines and pages. */
EMANTLE_API Emsc_Boolean efio_IsFileAscii(const char* name, Eerr_ErrorReport** err);

/* Grants rights, or-ed of 1 read, 2 write, 4 execute and 8 all, to owner, group and others. */
EMANTLE_API long efio_AddAllUserPermissions(const char* name, long flags, Eerr_ErrorReport** err);

/* A field of a module's version resource. Modules here carry none: null, and a report. */
EMANTLE_API char* efio_GetFileVersionInfoField(const char* name, const char* field, Eerr_ErrorReport** err);

/* The cache: one file's information, read once. */
typedef struct Efio_StatCache Efio_StatCache;

/* Options, each with the type that `value` points to. */
enum {
    EFIO_STAT_EXISTS = 0,        /* int32_t, as those up to 6: 1 or 0 */
    EFIO_STAT_IS_FILE = 1,
    EFIO_STAT_IS_DIRECTORY = 2,
    EFIO_STAT_IS_LINK = 3,
    EFIO_STAT_READABLE = 4,
    EFIO_STAT_WRITABLE = 5,
    EFIO_STAT_EXECUTABLE = 6,
    EFIO_STAT_MODE = 7,          /* uint32_t, the permissions; can be set */
    EFIO_STAT_SIZE = 8,          /* int32_t, at most 2147483647, with a warning when there is more */
    EFIO_STAT_ACCESSED = 9,      /* int64_t, seconds since 1970-01-01 UTC, as the next two; can be set */
    EFIO_STAT_MODIFIED = 10,     /* can be set */
    EFIO_STAT_CHANGED = 11,
    EFIO_STAT_LINKS = 12,        /* uint32_t, as the next two */
    EFIO_STAT_OWNER = 13,
    EFIO_STAT_GROUP = 14,
    EFIO_STAT_DEVICE = 15,       /* uint64_t, as the next */
    EFIO_STAT_SERIAL = 16,
    EFIO_STAT_LOCAL = 17,        /* int32_t: whether this computer holds the file */
    EFIO_STAT_SIZE_EXTENDED = 20, /* int64_t */
    EFIO_STAT_TIMES = 22,        /* int64_t[2], accessed and modified; can be set */
    EFIO_STAT_ALL = 25           /* Efio_Status */
};

/* Makes the cache of a file, which need not exist, in `*cache`; the caller's, for efio_StatCacheFree. */
EMANTLE_API long efio_StatCacheCreate(const char* name, Efio_StatCache** cache, Eerr_ErrorReport** err);
EMANTLE_API void efio_StatCacheFree(Efio_StatCache* cache);

EMANTLE_API long efio_StatCacheGet(Efio_StatCache* cache, long option, void* value, Eerr_ErrorReport** err);

/* Writes permissions or times to the file, and to the cache. */
EMANTLE_API long efio_StatCacheSet(Efio_StatCache* cache, long option, const void* value, Eerr_ErrorReport** err);

#endif
