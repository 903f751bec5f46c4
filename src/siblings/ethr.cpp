#include <emantle/siblings/ethr.h>

#include "platform/threads.h"

#include <new>

namespace emantle {

namespace {

static_assert(sizeof(platform::Mutex) <= sizeof(Ethr_Mutex) && alignof(platform::Mutex) <= alignof(Ethr_Mutex));

platform::Mutex& lockOf(Ethr_Mutex* mutex)
{
    return *std::launder(reinterpret_cast<platform::Mutex*>(mutex));
}

platform::RecursiveMutex unsafeSection;

struct Pair {
    void (*begin)();
    void (*end)();
};

constexpr int kMostPairs = 32;
Pair pairs[kMostPairs];
int pairCount;
int modeDepth;
platform::Mutex modeMutex;

}  // namespace

}  // namespace emantle

using namespace emantle;

EMANTLE_API void ethr_MutexLock(Ethr_Mutex* mutex)
{
    lockOf(mutex).lock();
}

EMANTLE_API void ethr_MutexUnlock(Ethr_Mutex* mutex)
{
    lockOf(mutex).unlock();
}

EMANTLE_API void ethr_ThreadUnsafeCodeEnter(long)
{
    unsafeSection.lock();
}

EMANTLE_API void ethr_ThreadUnsafeCodeExit(void)
{
    unsafeSection.unlock();
}

EMANTLE_API uintptr_t ethr_ThreadSelf(void)
{
    return static_cast<uintptr_t>(platform::threadId());
}

EMANTLE_API void ethr_RegisterThreadSafeModeCallbacks(void (*begin)(void), void (*end)(void))
{
    modeMutex.lock();
    bool known = pairCount == kMostPairs;
    for (int i = 0; i < pairCount; ++i) {
        known = known || (pairs[i].begin == begin && pairs[i].end == end);
    }
    if (!known) {
        pairs[pairCount++] = {begin, end};
        if (modeDepth > 0 && begin != nullptr) {
            begin();
        }
    }
    modeMutex.unlock();
}

EMANTLE_API void ethr_ThreadSafeModeBegin(void)
{
    modeMutex.lock();
    if (modeDepth++ == 0) {
        for (int i = 0; i < pairCount; ++i) {
            if (pairs[i].begin != nullptr) {
                pairs[i].begin();
            }
        }
    }
    modeMutex.unlock();
}

EMANTLE_API void ethr_ThreadSafeModeEnd(void)
{
    modeMutex.lock();
    if (modeDepth > 0 && --modeDepth == 0) {
        for (int i = 0; i < pairCount; ++i) {
            if (pairs[i].end != nullptr) {
                pairs[i].end();
            }
        }
    }
    modeMutex.unlock();
}
