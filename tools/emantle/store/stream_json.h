#pragma once

#include "store/value_json.h"

#include <emantle/store/emif.h>

#include <optional>

namespace tool {

/* Records as they lie in a file, in a text form that keeps every bit.
 *  1. A record is an object of its items. Where the design says one element it stands alone, else in an array; arrays of
 *     bytes and of packed elements are strings of hexadecimal digits, two for a byte and one for a packed element.
 *     Characters are text. An item behind a pointer is null where its count is 0.
 *  2. Typed values are {"rows", "columns", "type", "object", "values"}, the values line by line.
 *  3. Positions that readers ignore are not part of the form. */

/* The record at the start of `bytes`, and how many bytes it takes. Nothing where the design does not fit the bytes, or where
 * the form would lose a bit of them. */
struct StreamRecord {
    Json json;
    std::size_t size = 0;
};
std::optional<StreamRecord> recordFromStream(const Bytes& bytes, const Emif_Design& design);

/* The way back, for a block that will lie at `position` of its file. Throws WrongText. */
Bytes streamFromRecord(const Json& json, const Emif_Design& design, std::uint32_t position);

/* Whether a record of the design holds positions of its own. */
bool holdsPositions(const Emif_Design& design);

}  // namespace tool
