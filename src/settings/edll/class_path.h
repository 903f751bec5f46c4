#pragma once

#include <string>

namespace emantle::settings {

/* A library that is named without a folder is looked for in $VELTARA_HOME/usr/lib/$ARCHM; the name as it is where it is
 * not there. */
std::string libraryPathOf(const char* name);

}  // namespace emantle::settings
