#include "console/progress.h"

#include "console/interrupt.h"

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace tool {

namespace {

/* Work that is over sooner needs no meter. */
constexpr std::chrono::milliseconds kPatience(300);

}  // namespace

Progress::Progress(std::string task, bool wanted)
    : task_(std::move(task)), shown_(wanted && isatty(STDERR_FILENO) != 0), begun_(std::chrono::steady_clock::now())
{
}

Progress::~Progress()
{
    if (lastPercent_ >= 0) {
        std::fputs("\r\x1b[K", stderr);
    }
}

void Progress::update(double done, double total)
{
    throwIfInterrupted();
    if (!shown_) {
        return;
    }
    const int percent = total > 0 ? static_cast<int>(100 * done / total) : 100;
    if (percent != lastPercent_ && std::chrono::steady_clock::now() - begun_ > kPatience) {
        lastPercent_ = percent;
        std::fprintf(stderr, "\r\x1b[K%s %d %%", task_.c_str(), percent);
        std::fflush(stderr);
    }
}

}  // namespace tool
