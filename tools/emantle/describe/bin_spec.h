#pragma once

#include <emantle/data/egda.h>
#include <emantle/tables/edsc.h>

#include "console/owned.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tool {

using BinFunctionPtr = Owned<Edsc_BinFunction, edsc_BinFunctionDelete>;

/* The least and the greatest value of a layer; both 0 for a layer without values. */
struct Range {
    double minimum = 0;
    double maximum = 0;
};

/* How a layer's values are binned: "direct[:MIN:COUNT]", "linear[:COUNT]", "log[:COUNT]" or "unique[:MAX]". */
struct BinSpec {
    enum class Kind { direct, linear, logarithmic, unique };

    Kind kind = Kind::linear;
    std::optional<double> minimum; /* direct only; with `count` */
    std::optional<std::uint32_t> count;

    /* Throws std::invalid_argument with what is wrong with the text. */
    static BinSpec parse(const std::string& text);

    /* Direct over the type's range for the types up to 8 bits, 256 linear bins for the rest. */
    static BinSpec usualFor(Egda_PixelType type);

    /* Whether the bins can only be made when the layer's range is known. */
    bool needsRange(Egda_PixelType type) const;

    /* Not for unique values, whose bins are the values themselves. */
    BinFunctionPtr make(Egda_PixelType type, const Range& range) const;

    std::uint32_t mostUnique() const;
};

}  // namespace tool
