#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* The length of one call on a handle. The outermost one brings a stale handle up to date first. When it is left, all that
 * the calls changed reaches the file, or stays in memory where changes are gathered; then the change is told of. A call
 * that is left by an exception leaves file and handle as they were before it.
 * The end can fail as well, so an activity is declared before whatever the call makes. */
class Activity {
public:
    Activity(Handle& handle, EerrException& scope);
    ~Activity() noexcept(false);
    Activity(const Activity&) = delete;
    Activity& operator=(const Activity&) = delete;

private:
    void begin();
    void endTurn() noexcept;
    void leave(bool failed);

    Handle& handle_;
    EerrException& scope_;
    uint64_t changes_;
    int exceptions_;
    bool hasTurn_ = false;
};

/* Makes the changes of the handle those of its file. */
void commit(Handle& handle, EerrException& scope);

/* The same for a handle that may hold changes back, unless it is within a call. */
void commitGathered(Handle& handle, EerrException& scope);

/* Takes the mark of a change off the dictionary: designs that were added for reading do not make the file dirty. They go to
 * the file with its next change. */
void holdBackDesigns(Handle& handle) noexcept;

/* Counts a change, of which the end of the call tells. */
inline void noteChange(Handle& handle)
{
    ++handle.changes;
    if (handle.readOnly == 0) {
        handle.activity = 2;
    }
}

}  // namespace emantle::hfa
