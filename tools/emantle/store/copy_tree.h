#pragma once

#include "console/progress.h"
#include "store/content.h"
#include "store/walk.h"

#include <string>

namespace tool {

/* Writes entries of a tree in depth-first order, each below or beside the one before. */
class TreeWriter {
public:
    /* The entry that is current in `file` is the one above depth 1. */
    explicit TreeWriter(Ehfa_File* file) : file_(file) {}

    /* `depth` is at least 1, and at most one more than that of the entry before. */
    void add(int depth, const Content& content);

    int depth() const { return depth_; }

private:
    Ehfa_File* file_;
    int depth_ = 0;
};

/* Copies all that is below the root of a store to the root of an empty one. */
void copyStore(const OpenStore& source, Ehfa_File* target, Progress& progress);

/* Copies a node with all below it, as the last child of the current entry of `target`, under `name`. The target may be the
 * source's own store, at an entry that is not below the node. What was begun is taken back where it fails. */
void copyNode(const OpenStore& source, const std::string& node, Ehfa_File* target, const std::string& name,
              Progress& progress);

/* Sets the time of the root. */
void setRootTime(Ehfa_File* file, double modified);

}  // namespace tool
