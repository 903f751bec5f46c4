#pragma once

#include <string>
#include <string_view>

// The process environment. The value of PATH, and of no other variable, has `:` between its items in the process and
// `;` for callers. Nothing is locked: writing belongs to the start of a process, before other threads call in.
namespace emantle::platform {

// False, with `value` as it was, when the variable is unset or empty.
bool getEnvironment(std::string_view name, std::string& value);

// Sets the variable; an empty value removes it. 22 for a name that is empty or holds `=` or a zero.
int setEnvironment(std::string_view name, std::string_view value);

} // namespace emantle::platform
