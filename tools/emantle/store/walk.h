#pragma once

#include "store/open_store.h"

#include <functional>
#include <string>
#include <vector>

namespace tool {

/* A node on the way through a tree. */
struct Node {
    int depth = 0; /* below the start */
    std::uint32_t position = 0;
    std::string path;
    Ehfa_Entry entry{};
};

/* What to do with a node; false leaves out all below it. */
using Visit = std::function<bool(const Node&)>;

/* Visits the current node and all below it, depth first. Where a link is broken the library tells so and the walk goes on
 * beside it; a sound store has no more entries than fit into it, so a longer walk is broken off. */
void walk(Ehfa_File* file, const Visit& visit);

/* The place of a node in a tree that is to be made anew. */
struct Place {
    int depth = 0;
    std::uint32_t position = 0;
};

/* The current node and all below it, in the order of the walk, which an interrupt does not end. */
std::vector<Place> placesBelow(Ehfa_File* file);

}  // namespace tool
