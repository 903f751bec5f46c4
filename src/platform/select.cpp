#include "platform/select.h"

#include "platform/clock.h"
#include "platform/errors.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <poll.h>

namespace emantle::platform {
namespace {

constexpr short kReadable = POLLIN | POLLHUP | POLLERR, kWritable = POLLOUT | POLLERR, kExceptional = POLLPRI;

void add(std::vector<pollfd>& polled, const ReadySet& set, short events)
{
    for (const int descriptor : set.descriptors)
        polled.push_back({descriptor, events, 0});
}

// Keeps the members whose entries, from `at` on, have one of `events`.
int keepReady(ReadySet& set, const std::vector<pollfd>& polled, std::size_t at, short events)
{
    std::vector<int> ready;
    for (std::size_t i = 0; i < set.descriptors.size(); ++i)
        if ((polled[at + i].revents & events) != 0)
            ready.push_back(set.descriptors[i]);
    set.descriptors = std::move(ready);
    return static_cast<int>(set.descriptors.size());
}

int milliseconds(double until)
{
    const double left = std::ceil((until - monotonicSeconds()) * 1000);
    return static_cast<int>(std::clamp(left, 0.0, 1e9));
}

}  // namespace

int waitUntilReady(ReadySet& read, ReadySet& write, ReadySet& except, double seconds)
{
    std::vector<pollfd> polled;
    add(polled, read, POLLIN);
    add(polled, write, POLLOUT);
    add(polled, except, POLLPRI);
    if (std::isnan(seconds))
        seconds = 0;
    const double until = monotonicSeconds() + seconds;
    for (;;) {
        const int wait = seconds < 0 ? -1 : milliseconds(until);
        const int count = poll(polled.data(), polled.size(), wait);
        if (count < 0 && errno != EINTR) {
            socketError();
            return -1;
        }
        if (count > 0 || (count == 0 && (seconds < 0 || monotonicSeconds() >= until)))
            break;
    }
    if (std::any_of(polled.begin(), polled.end(), [](const pollfd& each) { return (each.revents & POLLNVAL) != 0; })) {
        failWith(error::notASocket);
        return -1;
    }
    const std::size_t writes = read.descriptors.size(), excepts = writes + write.descriptors.size();
    const int readable = keepReady(read, polled, 0, kReadable);
    const int writable = keepReady(write, polled, writes, kWritable);
    return readable + writable + keepReady(except, polled, excepts, kExceptional);
}

}  // namespace emantle::platform
