#pragma once

#include <cstdlib>
#include <gtest/gtest.h>
#include <re2/re2.h>
#include <string>
#include <vector>

/* Holds a file against the grammar of XML, where the parser for it is installed. */
inline void expectXml(const std::string& path)
{
    static const bool hasParser = std::system("command -v xmllint >/dev/null") == 0;
    if (hasParser) {
        EXPECT_EQ(std::system(("xmllint --noout '" + path + "'").c_str()), 0);
    }
}

struct SvgText {
    double x;
    std::string text;
};

inline std::vector<SvgText> textsOf(const std::string& svg)
{
    static const RE2 pattern("<text class=\"[^\"]*\" x=\"([^\"]*)\"[^>]*>([^<]*)</text>");
    std::vector<SvgText> texts;
    re2::StringPiece rest(svg);
    for (SvgText text; RE2::FindAndConsume(&rest, pattern, &text.x, &text.text);) {
        texts.push_back(text);
    }
    return texts;
}

/* A shape of bars; one of several bars has the height of its first. */
struct SvgBar {
    double left;
    double right;
    double bottom;
    double height;
};

inline std::vector<SvgBar> barsOf(const std::string& svg)
{
    static const RE2 pattern("M([-0-9.]+) ([-0-9.]+)V([-0-9.]+)[HV0-9.]*H([-0-9.]+)V");
    const std::size_t start = svg.find("class=\"ink-bar\" d=\"");
    std::vector<SvgBar> bars;
    if (start == std::string::npos) {
        return bars;
    }
    const std::string path = svg.substr(start, svg.find('>', start) - start);
    for (std::size_t at = path.find('M'); at != std::string::npos; at = path.find('M', at + 1)) {
        const std::string shape = path.substr(at, path.find('Z', at) - at);
        SvgBar bar{};
        double top = 0;
        EXPECT_TRUE(RE2::PartialMatch(shape, pattern, &bar.left, &bar.bottom, &top, &bar.right)) << shape;
        bar.height = bar.bottom - top;
        bars.push_back(bar);
    }
    return bars;
}
