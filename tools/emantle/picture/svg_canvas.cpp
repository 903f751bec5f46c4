#include "picture/svg_canvas.h"

#include "console/clean_text.h"

#include <cstdio>

namespace tool {

namespace {

constexpr Ink kInks[] = {Ink::ground, Ink::grid, Ink::axis, Ink::bar, Ink::mean, Ink::median, Ink::text, Ink::faint};

/* Hundredths are as fine as any screen. */
std::string coordinate(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.2f", value);
    std::string number = text;
    number.erase(number.find_last_not_of('0') + 1);
    if (number.back() == '.') {
        number.pop_back();
    }
    return number == "-0" ? "0" : number;
}

std::string attribute(const char* name, double value)
{
    return std::string(" ") + name + "=\"" + coordinate(value) + '"';
}

std::string hexOf(Colour colour)
{
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", static_cast<unsigned>(colour.red) & 255U,
                  static_cast<unsigned>(colour.green) & 255U, static_cast<unsigned>(colour.blue) & 255U);
    return text;
}

std::string styleForFile()
{
    std::string style = "<style>text{font-family:'DejaVu Sans',Verdana,sans-serif}";
    for (const Ink ink : kInks) {
        style += std::string(".") + SvgCanvas::className(ink) + "{fill:" +
                 hexOf(colourOf(ink)) + "}line." + SvgCanvas::className(ink) + "{stroke:" + hexOf(colourOf(ink)) + "}";
    }
    return style + "</style>\n";
}

}  // namespace

const char* SvgCanvas::className(Ink ink)
{
    static constexpr const char* kNames[] = {"ink-ground", "ink-grid",   "ink-axis", "ink-bar",
                                             "ink-mean",   "ink-median", "ink-text", "ink-faint"};
    return kNames[static_cast<int>(ink)];
}

SvgCanvas::SvgCanvas(double width, double height, Use use, const std::string& description)
{
    const std::string label = escapedText(description);
    svg_ = use == Use::file ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" : "";
    svg_ += "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + coordinate(width) + " " + coordinate(height) + "\"";
    if (use == Use::file) {
        svg_ += attribute("width", width) + attribute("height", height);
    }
    svg_ += " role=\"img\" aria-label=\"" + label + "\">\n<title>" + label + "</title>\n";
    if (use == Use::file) {
        svg_ += styleForFile();
        fill(Ink::ground, {{{0, 0}, {width, 0}, {width, height}, {0, height}}});
    }
}

void SvgCanvas::fill(Ink ink, const std::vector<Polygon>& polygons)
{
    svg_ += std::string("<path class=\"") + className(ink) + "\" d=\"";
    for (const Polygon& polygon : polygons) {
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            if (i > 0 && polygon[i].y == polygon[i - 1].y) {
                svg_ += "H" + coordinate(polygon[i].x);
            } else if (i > 0 && polygon[i].x == polygon[i - 1].x) {
                svg_ += "V" + coordinate(polygon[i].y);
            } else {
                svg_ += (i == 0 ? "M" : "L") + coordinate(polygon[i].x) + " " + coordinate(polygon[i].y);
            }
        }
        svg_ += "Z";
    }
    svg_ += "\"/>\n";
}

void SvgCanvas::line(Ink ink, Point from, Point to, bool dashed)
{
    svg_ += std::string("<line class=\"") + className(ink) + '"' + attribute("x1", from.x) + attribute("y1", from.y) +
            attribute("x2", to.x) + attribute("y2", to.y) + (dashed ? " stroke-dasharray=\"4 3\"" : "") + "/>\n";
}

void SvgCanvas::text(Ink ink, Point at, Anchor anchor, double size, const std::string& text)
{
    static constexpr const char* kAnchors[] = {"", " text-anchor=\"middle\"", " text-anchor=\"end\""};
    svg_ += std::string("<text class=\"") + className(ink) + '"' + attribute("x", at.x) + attribute("y", at.y) +
            attribute("font-size", size) + kAnchors[static_cast<int>(anchor)] + ">" + escapedText(text) + "</text>\n";
}

}  // namespace tool
