#pragma once

#include "describe/description.h"

#include <emantle/store/ehfa.h>
#include <set>
#include <string>

namespace tool {

/* A store in the making. It is written beside its final name and takes that name when it is complete; until then
 * whatever ends the program's work takes it away again. */
class StoreWriter {
public:
    /* With `replace` a file of that name may be there. Fails where the folder is missing or not writable. */
    StoreWriter(const std::string& path, bool replace);
    ~StoreWriter();
    StoreWriter(const StoreWriter&) = delete;
    StoreWriter& operator=(const StoreWriter&) = delete;

    /* A node for the image, named after its file, with a child a layer. */
    void add(const ImageDescription& image);

    /* Closes the store and gives it its name. */
    void commit();

private:
    std::string uniqueNodeName(const std::string& imagePath);
    void addLayer(const std::string& imageNode, const ImageDescription& image, const LayerDescription& layer);
    void addTable(const std::string& layerNode, const ImageDescription& image, const LayerDescription& layer);
    void check() const;

    std::string path_;
    std::string temporary_;
    Ehfa_File* file_ = nullptr;
    Emif_Design* imageDesign_ = nullptr; /* both in the store's dictionary */
    Emif_Design* layerDesign_ = nullptr;
    Reports reports_;
    std::set<std::string> names_;
};

}  // namespace tool
