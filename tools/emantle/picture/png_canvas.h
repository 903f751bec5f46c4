#pragma once

#include "picture/canvas.h"

#include <memory>

namespace tool {

/* Draws pixels and encodes them as PNG, `scale` pixels a unit. */
class PngCanvas : public Canvas {
public:
    PngCanvas(double width, double height, double scale);
    ~PngCanvas() override;
    PngCanvas(const PngCanvas&) = delete;
    PngCanvas& operator=(const PngCanvas&) = delete;

    void fill(Ink ink, const std::vector<Polygon>& polygons) override;
    void line(Ink ink, Point from, Point to, bool dashed) override;
    void text(Ink ink, Point at, Anchor anchor, double size, const std::string& text) override;

    /* The bytes of the file. */
    std::string finish() const;

private:
    struct Drawing;
    std::unique_ptr<Drawing> drawing_;
};

}  // namespace tool
