#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* The length of one call on a handle. The outermost one brings a stale handle up to date first, and tells of a change
 * when it is left. */
class Activity {
public:
    Activity(Handle& handle, EerrException& scope);
    ~Activity();
    Activity(const Activity&) = delete;
    Activity& operator=(const Activity&) = delete;

private:
    Handle& handle_;
    bool outermost_;
};

}  // namespace emantle::hfa
