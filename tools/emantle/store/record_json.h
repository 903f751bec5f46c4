#pragma once

#include <emantle/store/emif.h>
#include <nlohmann/json.hpp>

namespace tool {

/* A host record as JSON, by its design: an object of its items, single values plain, runs of characters as text, other
 * arrays as arrays. Arrays longer than `most` are cut, which a text "..." behind the last value shows; 0 cuts nothing. */
nlohmann::ordered_json recordJson(const void* record, const Emif_Design& design, std::size_t most);

}  // namespace tool
