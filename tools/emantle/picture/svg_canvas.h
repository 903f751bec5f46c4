#pragma once

#include "picture/canvas.h"

namespace tool {

/* Writes SVG. A picture for a file has its colours on white; one for a page has only classes, such as "ink-bar", and the
 * page has the colours. */
class SvgCanvas : public Canvas {
public:
    enum class Use { file, page };

    /* `description` is read out where the picture cannot be seen. */
    SvgCanvas(double width, double height, Use use, const std::string& description);

    void fill(Ink ink, const std::vector<Polygon>& polygons) override;
    void line(Ink ink, Point from, Point to, bool dashed) override;
    void text(Ink ink, Point at, Anchor anchor, double size, const std::string& text) override;

    /* The whole document, after the last mark. */
    std::string finish() const { return svg_ + "</svg>\n"; }

    static const char* className(Ink ink);

private:
    std::string svg_;
};

}  // namespace tool
