#pragma once

#include "store/open_store.h"

#include <nlohmann/json.hpp>

namespace tool {

/* The descriptor table at `node`: its rows, its bin function with the limits of each bin, and its columns with
 * their values. With a `column` only that one. */
nlohmann::ordered_json tableJson(const OpenStore& store, const std::string& node, const std::string& column);

}  // namespace tool
