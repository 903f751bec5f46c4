#pragma once

#include "describe/description.h"
#include "store/new_store.h"

#include <set>
#include <string>
#include <vector>

namespace tool {

/* A store that keeps accumulations which are not finished yet: a node an image with what was looked at, below it a node a
 * layer and, of several layers, one for the covariance. */
class PartWriter {
public:
    /* With `replace` a file of that name may be there. */
    PartWriter(const std::string& path, bool replace);

    /* An image of scanRows. */
    void add(const ImageDescription& image);

    /* Closes the store and gives it its name. */
    void commit() { store_.commit(); }

private:
    void addState(const std::string& node, const std::string& name, const Esta_AllStatsStack& stack);
    void check() const;

    NewStore store_;
    Reports reports_;
    std::set<std::string> names_;
};

/* The images of such a store, in its order, their paths being that of the store with the name. Fails where there is none. */
std::vector<ImageDescription> readParts(const std::string& path);

/* Puts a part of an image to another part of it. Fails where the two do not belong together. */
void mergePart(ImageDescription& target, const ImageDescription& source);

}  // namespace tool
