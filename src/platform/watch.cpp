#include "platform/watch.h"

#include "platform/errors.h"
#include "platform/paths.h"

#include <cerrno>
#include <sys/inotify.h>
#include <unistd.h>

namespace emantle::platform {
namespace {

constexpr unsigned kNames = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr unsigned kContents = IN_MODIFY | IN_ATTRIB;

}  // namespace

DirectoryWatch::~DirectoryWatch()
{
    if (descriptor_ >= 0)
        close(descriptor_);
}

int DirectoryWatch::start(std::string_view directory, Of of)
{
    if (descriptor_ < 0)
        descriptor_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (descriptor_ < 0)
        return systemError();
    const unsigned events = (of == Of::names ? kNames : kContents) | IN_ONLYDIR;
    return inotify_add_watch(descriptor_, kernelName(directory).c_str(), events) < 0 ? systemError() : 0;
}

DirectoryWatch::News DirectoryWatch::poll()
{
    News news = News::none;
    alignas(inotify_event) char events[4096];
    for (;;) {
        const ssize_t size = read(descriptor_, events, sizeof events);
        if (size > 0) {
            news = News::some;
        } else if (size < 0 && errno == EINTR) {
            continue;
        } else {
            return size < 0 && errno == EAGAIN ? news : News::failed;
        }
    }
}

}  // namespace emantle::platform
