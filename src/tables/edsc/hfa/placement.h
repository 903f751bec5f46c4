#pragma once

#include <string>

namespace emantle::tables {

/* Where this thread's next table of a store goes; the calls that make tables have no argument for it. */
struct Edsc_HFAPlacement {
    bool pending = false;
    std::string parentPath;
    std::string name;
    long insertMode = 0;
    long seekMode = 17;
};

Edsc_HFAPlacement& placementOfThread();

/* Hands the placement out and resets it. */
Edsc_HFAPlacement takePlacement();

}  // namespace emantle::tables
