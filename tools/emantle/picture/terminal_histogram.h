#pragma once

#include "store/stored_histogram.h"

#include <cstddef>
#include <iosfwd>

namespace tool {

/* The columns of the terminal that standard output is; 80 where it is none. */
std::size_t terminalColumns();

/* Draws a histogram with block characters, `columns` wide: the axis counts bins, and tells the lower limits of some. */
void printHistogram(std::ostream& out, const StoredHistogram& histogram, std::size_t columns);

}  // namespace tool
