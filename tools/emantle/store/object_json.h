#pragma once

#include "store/open_store.h"

#include <nlohmann/json.hpp>

namespace tool {

/* The object of the current entry, which is `node`, by its design: see recordJson; null when it holds none. */
nlohmann::ordered_json objectJson(const OpenStore& store, const std::string& node, std::size_t most);

}  // namespace tool
