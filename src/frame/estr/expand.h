#pragma once

#include <emantle/frame/eerr.h>
#include <string>

namespace emantle {

/* `text` with its references to variables replaced, once or to the last. Throws where a variable refers to itself. */
std::string expandVariables(const char* text, bool recursive);

}  // namespace emantle
