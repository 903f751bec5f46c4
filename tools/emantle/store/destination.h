#pragma once

#include "store/open_store.h"

#include <string>

namespace tool {

/* Where a node goes. */
struct Destination {
    std::string parent;
    std::string name;

    std::string path() const { return parent == ":" ? ":" + name : parent + ":" + name; }
};

/* What `path` means for `node`: a node that is there takes it below itself, under its own name; else `path` is the new one, whose
 * parent is there. Fails where the new place is taken. */
Destination destinationOf(const OpenStore& store, const std::string& path, const std::string& node);

/* Whether `path` is `node` or leads through it. */
bool isAtOrBelow(const std::string& path, const std::string& node);

}  // namespace tool
