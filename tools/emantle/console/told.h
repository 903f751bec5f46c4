#pragma once

#include <iosfwd>
#include <string>

namespace tool {

/* From now on, what the library tells without failing is kept, one line each; of very many the first ones. A failure
 * says more about its cause than what was told on the way to it, so that nothing is printed before it is known how the
 * run ends. */
void keepToldLines();

/* The first line; empty when nothing was told. */
std::string firstToldLine();

void printToldLines(std::ostream& out);

} // namespace tool
