#pragma once

namespace emantle {

/* estr_WildCompareSensitive for the inside of the library. Throws std::bad_alloc: a name that could not be compared must not
 * pass for one that does not fit. */
bool wildMatches(const char* pattern, const char* text, bool sensitive);

}  // namespace emantle
