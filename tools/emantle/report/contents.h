#pragma once

#include "store/stored_histogram.h"

#include <optional>
#include <string>
#include <vector>

namespace tool {

/* Nodes that a page lists. */
constexpr std::size_t kMostNodes = 10000;

/* What a report tells of a store. What could not be read is left out and named in `remarks`. */
struct ReportLayer {
    std::string node;
    std::string pixelType; /* empty when the store does not say */
    std::optional<Esta_Statistics> statistics;
    std::optional<StoredHistogram> histogram;
    std::vector<double> excluded;
    std::int32_t skipX = 1;
    std::int32_t skipY = 1;
};

struct ReportImage {
    std::string node;
    std::string extent; /* "349 x 352 pixels"; empty when the store does not say */
    std::vector<ReportLayer> layers;
    std::vector<std::vector<double>> covariance; /* by rows; empty for none */

    std::string layerName(std::size_t layer) const;
    /* From -1 to 1; not-a-number where a layer does not vary. */
    double correlation(std::size_t row, std::size_t column) const;
};

struct ReportNode {
    int depth;
    std::string name;
    std::string type;
    std::int32_t size;
    double modified;
};

struct ReportContents {
    std::vector<ReportNode> nodes; /* the first kMostNodes of them */
    std::size_t nodeCount = 0;
    std::vector<ReportImage> images;
    std::vector<std::string> remarks;
};

/* An image is a node that has layers or a covariance; a layer one that has statistics or a histogram. */
ReportContents gatherContents(const OpenStore& store);

}  // namespace tool
