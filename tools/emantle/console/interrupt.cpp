#include "console/interrupt.h"

#include "console/failure.h"

#include <csignal>

namespace tool {

namespace {

volatile std::sig_atomic_t interrupted = 0;

void leaveMark(int)
{
    interrupted = 1;
}

}  // namespace

void catchInterrupts()
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, leaveMark);
    }
    std::signal(SIGPIPE, SIG_DFL);
    /* A file that may not grow is a failed write like any other. */
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

void throwIfInterrupted()
{
    if (interrupted != 0) {
        throw Interrupted();
    }
}

}  // namespace tool
