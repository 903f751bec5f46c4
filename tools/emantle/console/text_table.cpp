#include "console/text_table.h"

#include <algorithm>
#include <ostream>

namespace tool {

void TextTable::print(std::ostream& out) const
{
    std::vector<std::size_t> widths;
    for (const auto& line : lines_) {
        widths.resize(std::max(widths.size(), line.size()));
        for (std::size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    for (const auto& line : lines_) {
        std::string text;
        for (std::size_t i = 0; i < line.size(); ++i) {
            const std::string padding(widths[i] - line[i].size(), ' ');
            text += (i == 0 ? "" : "  ") + (i == 0 ? line[i] + padding : padding + line[i]);
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out << text << '\n';
    }
}

}  // namespace tool
