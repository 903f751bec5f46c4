#pragma once

#include "store/value_json.h"

#include <emantle/store/ehfa.h>

#include <string>
#include <vector>

namespace tool {

/* A design as a dictionary's text has it. */
std::string designText(const Emif_Design& design);

/* The designs of a dictionary, in its order. */
std::vector<std::string> designTexts(const Emif_Dictionary& dictionary);

/* Puts the designs of a dictionary in front of those that `file` has. */
void takeDesigns(Ehfa_File* file, const Emif_Dictionary& designs);

/* The same for texts of designs; throws Failure where they are none. */
void takeDesigns(Ehfa_File* file, const std::vector<std::string>& texts);

/* Adds the design of a type, and those that it needs. Throws Failure where `to` has another one of that name. */
void bringDesign(const Ehfa_File& from, Ehfa_File& to, const char* type);

}  // namespace tool
