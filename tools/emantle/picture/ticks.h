#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

struct Tick {
    double value;
    std::string text;
};

/* At most `most` round numbers (multiples of 1, 2 or 5 times a power of ten) from `low` to `high`, with texts of as many
 * digits as tell them apart. Where rounding leaves none between them, the two ends. */
std::vector<Tick> roundTicks(double low, double high, std::size_t most);

/* A whole number with its thousands set apart: "1,234,567"; "1.5e+20" where it is too long to read. */
std::string groupedText(double value);

/* A number of five or six digits, for labels. */
std::string labelText(double value);

}  // namespace tool
