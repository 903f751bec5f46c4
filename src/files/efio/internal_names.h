#pragma once

#include <string>

/* Work on names that are expanded already: a name found in a directory may hold a `$`. */

namespace emantle::files {

/* Makes what is missing of a path. Throws. */
void makeDirectories(const std::string& path);

/* efio_MakeTemp on a name as it stands. Throws where the directory does not exist; false when every name is taken. */
bool fillTemporary(std::string& name);

}  // namespace emantle::files
