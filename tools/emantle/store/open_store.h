#pragma once

#include "console/failure.h"

#include <emantle/store/ehfa.h>
#include <string>

namespace tool {

/* A store opened for reading. */
class OpenStore {
public:
    explicit OpenStore(const std::string& path);
    ~OpenStore();
    OpenStore(const OpenStore&) = delete;
    OpenStore& operator=(const OpenStore&) = delete;

    Ehfa_File* get() const { return file_; }
    const std::string& path() const { return path_; }

    /* Makes the node at `node` (":" or "" for the root; a leading ":" may be left out) the current one. */
    void seek(const std::string& node) const;

private:
    std::string path_;
    Ehfa_File* file_ = nullptr;
};

/* The path of a node as the store writes it, without the ":" at the end; ":" for the root. */
std::string currentNode(Ehfa_File* file);

}  // namespace tool
