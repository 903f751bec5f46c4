#pragma once

#include "describe/description.h"

#include <iosfwd>
#include <nlohmann/json.hpp>

namespace tool {

/* A table, a row a layer, then the covariance matrix where there is one. */
void print(std::ostream& out, const ImageDescription& image);

nlohmann::ordered_json toJson(const ImageDescription& image);

}  // namespace tool
