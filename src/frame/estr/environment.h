#pragma once

#include <string>

namespace emantle {

/* The value of a variable as estr_GetEnv gives it; false, with `value` as it was, where it has none. Throws std::bad_alloc:
 * a variable that cannot be read must not pass for one without a value. */
bool environmentValue(const char* name, std::string& value);

} // namespace emantle
