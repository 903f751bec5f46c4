#pragma once

#include "store/content.h"

#include <emantle/store/emif.h>

namespace tool {

/* An entry in a text form that keeps every bit of it:
 *  {"depth", "name", "type", "modified"} and, where it has data, {"data"} by its design with {"tail"} for bytes behind the
 *  record, or {"bytes"} where there is no design that fits; {"values"} of a column, {"block"} that is kept by reference,
 *  {"blocks"} of a block store, null for one without a place. */
Json contentJson(const Content& content, int depth, const Emif_Dictionary* dictionary);

/* The way back. Throws WrongText. */
Content contentFrom(const Json& json, const Emif_Dictionary* dictionary);

}  // namespace tool
