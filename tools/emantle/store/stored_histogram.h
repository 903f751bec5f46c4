#pragma once

#include "store/stored_table.h"

#include <emantle/tables/esta.h>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/* The histogram of a layer as its store keeps it, with the layer's statistics where it has them. */
struct StoredHistogram {
    std::string layer;     /* the node */
    std::string function;  /* the title of the bin function */
    std::vector<double> counts;
    std::vector<BinLimits> limits; /* as many */
    std::optional<Esta_Statistics> statistics;

    double total() const;
};

/* Fails where the node has no table, the table no bins or no column "Histogram". */
StoredHistogram readHistogram(const OpenStore& store, const std::string& node);

std::optional<Esta_Statistics> readStatistics(const OpenStore& store, const std::string& layer);

}  // namespace tool
