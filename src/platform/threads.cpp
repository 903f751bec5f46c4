#include "platform/threads.h"

#include <cerrno>
#include <cmath>
#include <ctime>
#include <sched.h>
#include <sys/single_threaded.h>
#include <unistd.h>

namespace emantle::platform {

std::int64_t threadId() noexcept
{
    [[gnu::tls_model("initial-exec")]] static thread_local std::int64_t id = 0;
    if (id == 0)
        id = gettid();
    return id;
}

// The only thread of the process takes no mutex: its locked instructions keep the loads of one call from starting before the
// last call has ended, which costs a search in a large table half its speed. A thread that was started since then waits for
// the owner's number to go.
void RecursiveMutex::lock() noexcept
{
    if (!heldByThisThread()) {
        const bool alone = __libc_single_threaded != 0;
        if (!alone) {
            mutex_.lock();
            while (owner_.load(std::memory_order_acquire) != 0)
                sched_yield();
        }
        withoutMutex_ = alone;
        owner_.store(threadId(), std::memory_order_relaxed);
    }
    ++depth_;
}

bool RecursiveMutex::try_lock() noexcept
{
    if (!heldByThisThread()) {
        if (!mutex_.try_lock())
            return false;
        if (owner_.load(std::memory_order_acquire) != 0) {
            mutex_.unlock();
            return false;
        }
        withoutMutex_ = false;
        owner_.store(threadId(), std::memory_order_relaxed);
    }
    ++depth_;
    return true;
}

void RecursiveMutex::unlock() noexcept
{
    if (!heldByThisThread() || --depth_ > 0)
        return;
    const bool locked = !withoutMutex_;
    owner_.store(0, std::memory_order_release);
    if (locked)
        mutex_.unlock();
}

// Only this thread writes its own number there, so a relaxed load cannot mislead it.
bool RecursiveMutex::heldByThisThread() const noexcept
{
    return owner_.load(std::memory_order_relaxed) == threadId();
}

void sleepSeconds(double seconds) noexcept
{
    if (!(seconds > 0))
        return;
    const double whole = std::floor(std::fmin(seconds, 1e9));
    timespec left{static_cast<time_t>(whole), static_cast<long>((std::fmin(seconds, 1e9) - whole) * 1e9)};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

} // namespace emantle::platform
