#pragma once

#include "console/failure.h"

#include <emantle/store/ehfa.h>
#include <string>

namespace tool {

enum class Access { reading, writing };

/* A store that is there. */
class OpenStore {
public:
    explicit OpenStore(const std::string& path, Access access = Access::reading);
    ~OpenStore();
    OpenStore(const OpenStore&) = delete;
    OpenStore& operator=(const OpenStore&) = delete;

    Ehfa_File* get() const { return file_; }
    const std::string& path() const { return path_; }

    /* Makes the node at `node` (":" or "" for the root; a leading ":" may be left out) the current one. */
    void seek(const std::string& node) const;
    bool has(const std::string& node) const;

    /* Fails with the first thing that the library told of this run. What could be done has been; a part of the tree may be
     * missing from it. */
    void requireWhole() const;

    /* Ends the use of the store, with all that was written in the file. */
    void close();

private:
    std::string path_;
    Ehfa_File* file_ = nullptr;
};

/* A path as the store writes it: with a ":" in front and none at the end; ":" for the root. */
std::string nodePath(const std::string& node);

/* The path of the parent of a node, and a node's own name. */
std::string parentOf(const std::string& node);
std::string nameOf(const std::string& node);

/* The path of a node as the store writes it, without the ":" at the end; ":" for the root. */
std::string currentNode(Ehfa_File* file);

}  // namespace tool
