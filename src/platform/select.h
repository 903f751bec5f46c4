#pragma once

#include <vector>

namespace emantle::platform {

// Descriptors to wait on; after a wait those that are ready.
struct ReadySet {
    std::vector<int> descriptors;
};

// Waits until a descriptor can be read, can be written or has an exceptional condition, at most `seconds` (below 0: without
// end), interruptions included. The number that are ready, 0 when the time is over; -1 with the socket error's number in errno,
// the sets as they were.
int waitUntilReady(ReadySet& read, ReadySet& write, ReadySet& except, double seconds);

}  // namespace emantle::platform
