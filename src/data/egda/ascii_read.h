#pragma once

#include "frame/guard/guard.h"

#include <emantle/data/egda/stack.h>
#include <emantle/files/efio/handle.h>

namespace emantle {

/* Reads the elements of `stack` from the place where `file` stands; throws for the caller `callerSays`. */
void readAscii(EerrException& scope, Efio_File* file, Egda_BaseDataStack& stack, Say callerSays);

/* The elements of a line of text; throws for the caller `callerSays`. */
long countAsciiElements(EerrException& scope, std::string_view line, Egda_PixelType type, Say callerSays);

}  // namespace emantle
