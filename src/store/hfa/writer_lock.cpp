#include "store/hfa/writer_lock.h"

#include "files/efio/record.h"
#include "frame/guard/guard.h"
#include "platform/errors.h"
#include "platform/paths.h"
#include "platform/threads.h"

#include <list>
#include <mutex>

namespace emantle::hfa {

namespace {

/* One file that this process writes. The lock is that of a descriptor of its own: closing another one of the same file
 * does not give it up. */
struct Held {
    uint64_t device;
    uint64_t serial;
    platform::File file;
    int handles;
    platform::RecursiveMutex turn;
    uint64_t changes = 0; /* of a handle that has its turn */
};

Held* heldOf(void* key)
{
    return static_cast<Held*>(key);
}

platform::Mutex mutex;

std::list<Held>& heldFiles()
{
    static auto* const list = new std::list<Held>; /* handles may be closed while the process ends */
    return *list;
}

}  // namespace

void WriterLock::acquire(const Efio_File* file, const char* name)
{
    release();
    platform::FileStatus status;
    const int missing = platform::fileStatus(file->name, status);
    require(missing == 0, "Unable to open %s", name);
    const std::lock_guard guard(mutex);
    for (Held& held : heldFiles()) {
        if (held.device == status.device && held.serial == status.serial) {
            ++held.handles;
            key_ = &held;
            seen_ = UINT64_MAX; /* it may have been read before this */
            return;
        }
    }
    std::list<Held> fresh(1);
    fresh.front().device = status.device;
    fresh.front().serial = status.serial;
    fresh.front().handles = 1;
    const int failure = fresh.front().file.open(file->name, platform::Disposition::openExisting, platform::Access::write);
    require(failure == 0, "Cannot gain write access to file %s\nError %d", name, failure);
    require(fresh.front().file.lock() != platform::error::tryAgain, "File %s is being written by another process", name);
    heldFiles().splice(heldFiles().end(), fresh);
    key_ = &heldFiles().back();
    seen_ = 0;
}

void WriterLock::beginTurn() const
{
    if (key_ != nullptr) {
        heldOf(key_)->turn.lock();
    }
}

void WriterLock::endTurn() const noexcept
{
    if (key_ != nullptr) {
        heldOf(key_)->turn.unlock();
    }
}

bool WriterLock::hasNews() const noexcept
{
    return key_ != nullptr && heldOf(key_)->changes != seen_;
}

void WriterLock::noteSeen() noexcept
{
    seen_ = key_ != nullptr ? heldOf(key_)->changes : 0;
}

void WriterLock::noteChanged() noexcept
{
    if (key_ != nullptr) {
        seen_ = ++heldOf(key_)->changes;
    }
}

void WriterLock::release() noexcept
{
    auto* held = static_cast<Held*>(std::exchange(key_, nullptr));
    if (held == nullptr) {
        return;
    }
    const std::lock_guard guard(mutex);
    if (--held->handles == 0) {
        heldFiles().remove_if([&](const Held& each) { return &each == held; });
    }
}

}  // namespace emantle::hfa
