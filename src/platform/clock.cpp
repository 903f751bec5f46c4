#include "platform/clock.h"

#include <ctime>

namespace emantle::platform {
namespace {

timespec now(clockid_t clock) noexcept
{
    timespec time{};
    clock_gettime(clock, &time);
    return time;
}

double seconds(const timespec& time) noexcept
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

} // namespace

double secondsSinceEpoch() noexcept
{
    return seconds(now(CLOCK_REALTIME));
}

std::int64_t wholeSecondsSinceEpoch() noexcept
{
    return now(CLOCK_REALTIME).tv_sec;
}

double monotonicSeconds() noexcept
{
    return seconds(now(CLOCK_MONOTONIC));
}

double processorSeconds() noexcept
{
    return seconds(now(CLOCK_PROCESS_CPUTIME_ID));
}

} // namespace emantle::platform
