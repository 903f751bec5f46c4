#pragma once

#include "console/owned.h"
#include "image/colour_map.h"

#include <emantle/tables/esta.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

using StackPtr = Owned<Esta_AllStatsStack, esta_AllStatsStackDelete>;
using TablePtr = Owned<Egda_BaseData, egda_BaseDataDelete>;

/* What is known of one layer. */
struct LayerDescription {
    std::string name;
    Egda_PixelType type = EGDA_TYPE_U8;
    StackPtr stack; /* one layer; finished by finishImage */

    const Esta_AllStats& all() const { return *stack->allStats[0]; }
    const Esta_Statistics& statistics() const { return *all().statistics; }
    Esta_Statistics& statistics() { return *stack->allStats[0]->statistics; }
    /* Null when there are no bins to count in. */
    const Esta_Histogram* histogram() const { return all().histogram; }
};

/* Rows of an image, counted from 0. */
struct RowRange {
    std::uint32_t first = 0;
    std::uint32_t last = 0; /* included */
};

/* What is known of one image, or of some of its rows. */
struct ImageDescription {
    std::string path;
    std::string name; /* of its node in a store */
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<LayerDescription> layers;
    StackPtr covariance; /* null for a single layer */
    TablePtr excluded;   /* the values left out; null for none */
    ColourMap colours;   /* of the first layer; empty for none */
    RowRange rows;
    int skipX = 1;
    int skipY = 1;

    /* The matrix by row and column; false when there is none. */
    bool hasCovariance() const { return covariance != nullptr; }
    double covarianceAt(std::size_t row, std::size_t column) const
    {
        const Egda_BaseData& matrix = *covariance->covariance;
        const auto* line = static_cast<const char*>(matrix.firstelement) + column * static_cast<std::size_t>(matrix.pitch);
        return reinterpret_cast<const double*>(line)[row];
    }
};

}  // namespace tool
