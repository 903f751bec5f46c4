#ifndef EMANTLE_FILES_EFIO_SELECT_H
#define EMANTLE_FILES_EFIO_SELECT_H

#include <emantle/frame/export.h>

/* efio, sets of descriptors to wait on. Descriptors are 0 to EFIO_FD_LIMIT - 1; others are never members. Null sets are
 * empty. */

enum { EFIO_FD_LIMIT = 1024 };

typedef struct Efio_FdSet {
    uint64_t words[EFIO_FD_LIMIT / 64];
} Efio_FdSet;

EMANTLE_API void efio_FD_SET(int descriptor, Efio_FdSet* set);
EMANTLE_API void efio_FD_CLR(int descriptor, Efio_FdSet* set);
EMANTLE_API void efio_FD_ZERO(Efio_FdSet* set);
EMANTLE_API Emsc_Boolean efio_FD_ISSET(int descriptor, const Efio_FdSet* set);

/* An empty set, the caller's, for emsc_HeapFree; null when memory is out. */
EMANTLE_API Efio_FdSet* efio_NewFdSet(void);
EMANTLE_API void efio_CopyFdSet(const Efio_FdSet* from, Efio_FdSet* to);

/* Waits until a descriptor below `width` is ready, and leaves in the sets those that are. `seconds` below 0 waits without
 * end. The number of ready members, 0 when the time is over, -1 with errno set on failure. */
EMANTLE_API long efio_Select(int width, Efio_FdSet* read, Efio_FdSet* write, Efio_FdSet* except, double seconds);

#endif
