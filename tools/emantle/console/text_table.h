#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace tool {

/* Lines of cells printed in columns, two blanks apart: the first column to the left, the others to the right. */
class TextTable {
public:
    void add(std::vector<std::string> cells) { lines_.push_back(std::move(cells)); }
    void print(std::ostream& out) const;

private:
    std::vector<std::vector<std::string>> lines_;
};

}  // namespace tool
