#ifndef EMANTLE_SIBLINGS_ETHR_H
#define EMANTLE_SIBLINGS_ETHR_H

#include <emantle/frame/export.h>

/* ethr: the few thread services that the library stands on.
 *  1. A mutex works from its zero state: static storage needs no construction and no order.
 *  2. The unsafe section is one lock of the process, entered again freely by the thread that holds it. It brackets code
 *     that is not thread-safe: callbacks of the host, process-wide tables and caches.
 *  3. Nothing here fails and nothing is owned by the caller. */

/* A mutex. Zero is unlocked; the bytes belong to the functions below. Not recursive. */
typedef struct Ethr_Mutex {
    uint64_t words[5];
} Ethr_Mutex;

EMANTLE_API void ethr_MutexLock(Ethr_Mutex* mutex);
EMANTLE_API void ethr_MutexUnlock(Ethr_Mutex* mutex);

/* Enters and leaves the unsafe section. `reserved` is 0. */
EMANTLE_API void ethr_ThreadUnsafeCodeEnter(long reserved);
EMANTLE_API void ethr_ThreadUnsafeCodeExit(void);

/* A number that no other running thread of the process has; never 0. */
EMANTLE_API uintptr_t ethr_ThreadSelf(void);

/* Registers a pair that is called when thread-safe mode begins and ends. A pair registered while the mode is on is
 * begun at once; a pair that is registered already is left as it is. */
EMANTLE_API void ethr_RegisterThreadSafeModeCallbacks(void (*begin)(void), void (*end)(void));

/* Announces that more than one thread will call the library, and that this is over. Calls nest. */
EMANTLE_API void ethr_ThreadSafeModeBegin(void);
EMANTLE_API void ethr_ThreadSafeModeEnd(void);

#ifdef __cplusplus

/* The unsafe section for the length of a scope. */
class EthrMTUnsafeCode {
public:
    EthrMTUnsafeCode() noexcept { ethr_ThreadUnsafeCodeEnter(0); }
    ~EthrMTUnsafeCode() { ethr_ThreadUnsafeCodeExit(); }
    EthrMTUnsafeCode(const EthrMTUnsafeCode&) = delete;
    EthrMTUnsafeCode& operator=(const EthrMTUnsafeCode&) = delete;
};

/* A mutex held for the length of a scope. */
class EthrMutexLock {
public:
    explicit EthrMutexLock(Ethr_Mutex& mutex) noexcept : mutex_(mutex) { ethr_MutexLock(&mutex_); }
    ~EthrMutexLock() { ethr_MutexUnlock(&mutex_); }
    EthrMutexLock(const EthrMutexLock&) = delete;
    EthrMutexLock& operator=(const EthrMutexLock&) = delete;

private:
    Ethr_Mutex& mutex_;
};

#endif
#endif
