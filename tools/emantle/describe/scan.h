#pragma once

#include "describe/bin_spec.h"
#include "describe/description.h"

#include <optional>
#include <string>
#include <vector>

namespace tool {

struct ScanOptions {
    std::optional<BinSpec> bins; /* the usual bins of the type where there are none */
    std::vector<double> exclude;
    int skipX = 1;
    int skipY = 1;
    bool quiet = false;
};

/* The image with accumulations that are not finished yet: of all rows, or of `rows` alone. Bins that follow the range of
 * a layer follow that of the whole image, so that those of its parts agree. */
ImageDescription scanRows(const std::string& path, const ScanOptions& options, const std::optional<RowRange>& rows);

/* Reads an image as often as its bins need, band by band, and says what is in it. A layer with more distinct values than
 * asked for gets the 256 linear bins, and `remarks` a line about it. */
ImageDescription describeImage(const std::string& path, const ScanOptions& options, std::vector<std::string>& remarks);

}  // namespace tool
