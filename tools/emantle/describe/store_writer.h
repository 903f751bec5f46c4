#pragma once

#include "describe/description.h"
#include "store/new_store.h"

#include <emantle/store/ehfa.h>
#include <set>
#include <string>

namespace tool {

/* A name for a node, made from `name`: without what paths are made of, and none of those `taken`, which it joins. */
std::string uniqueNodeName(const std::string& name, std::set<std::string>& taken);

/* The store that keeps what `describe` finds. */
class StoreWriter {
public:
    /* With `replace` a file of that name may be there. Fails where the folder is missing or not writable. */
    StoreWriter(const std::string& path, bool replace);

    /* A node for the image, named after its file, with a child a layer. */
    void add(const ImageDescription& image);

    /* Closes the store and gives it its name. */
    void commit();

private:
    void addLayer(const std::string& imageNode, const ImageDescription& image, const LayerDescription& layer);
    void addTable(const std::string& layerNode, const ImageDescription& image, const LayerDescription& layer);
    void addColours(Edsc_TableInstance& table, const Esta_Histogram& histogram, const ColourMap& colours);
    void check() const;

    NewStore store_;
    Ehfa_File* file_ = nullptr;
    Emif_Design* imageDesign_ = nullptr; /* both in the store's dictionary */
    Emif_Design* layerDesign_ = nullptr;
    Reports reports_;
    std::set<std::string> names_;
};

}  // namespace tool
