#include "platform/threads.h"

#include <cerrno>
#include <cmath>
#include <ctime>
#include <unistd.h>

namespace emantle::platform {

std::int64_t threadId() noexcept
{
    // Read in every call on a store: without a call of its own for the address.
    [[gnu::tls_model("initial-exec")]] static thread_local std::int64_t id = 0;
    if (id == 0)
        id = gettid();
    return id;
}

void RecursiveMutex::lock() noexcept
{
    if (!heldByThisThread()) {
        mutex_.lock();
        owner_.store(threadId(), std::memory_order_relaxed);
    }
    ++depth_;
}

bool RecursiveMutex::try_lock() noexcept
{
    if (!heldByThisThread()) {
        if (!mutex_.try_lock())
            return false;
        owner_.store(threadId(), std::memory_order_relaxed);
    }
    ++depth_;
    return true;
}

void RecursiveMutex::unlock() noexcept
{
    if (!heldByThisThread() || --depth_ > 0)
        return;
    owner_.store(0, std::memory_order_relaxed);
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
