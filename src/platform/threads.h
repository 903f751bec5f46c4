#pragma once

#include <atomic>
#include <cstdint>
#include <pthread.h>
#include <sys/single_threaded.h>

// Locks that work from all-zero static storage: they need no construction order and, having nothing to destroy, may
// still be used while the program ends. Both fit std::lock_guard.
namespace emantle::platform {

// Identifies the calling thread among those alive; never 0.
std::int64_t threadId() noexcept;

// Whether the process has no other thread. What starts none itself may then leave out a lock, whose instructions keep the loads
// of one call from starting before the last call has ended.
inline bool onlyThread() noexcept { return __libc_single_threaded != 0; }

class Mutex {
public:
    constexpr Mutex() noexcept = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() noexcept { pthread_mutex_lock(&mutex_); }
    bool try_lock() noexcept { return pthread_mutex_trylock(&mutex_) == 0; }
    void unlock() noexcept { pthread_mutex_unlock(&mutex_); }

private:
    pthread_mutex_t mutex_{};
};

// May be locked again by the thread that holds it.
class RecursiveMutex {
public:
    constexpr RecursiveMutex() noexcept = default;
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;

    void lock() noexcept;
    bool try_lock() noexcept;
    // By a thread that does not hold it: nothing happens.
    void unlock() noexcept;
    bool heldByThisThread() const noexcept;

private:
    Mutex mutex_;
    std::atomic<std::int64_t> owner_{0};
    std::int64_t depth_ = 0;
};

// Fractions count.
void sleepSeconds(double seconds) noexcept;

} // namespace emantle::platform
