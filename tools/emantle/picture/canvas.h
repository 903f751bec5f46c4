#pragma once

#include <string>
#include <vector>

namespace tool {

/* What a mark stands for; a canvas gives it its colour. */
enum class Ink { ground, grid, axis, bar, mean, median, text, faint };

struct Point {
    double x;
    double y;
};

using Polygon = std::vector<Point>;

enum class Anchor { start, middle, end };

/* Something to draw on. Lengths are units of a picture of `width` by `height` units, y downwards. */
class Canvas {
public:
    virtual ~Canvas() = default;

    virtual void fill(Ink ink, const std::vector<Polygon>& polygons) = 0;
    /* A line of one unit. */
    virtual void line(Ink ink, Point from, Point to, bool dashed) = 0;
    /* The baseline of the text goes through `at`; `size` is the height of the type. */
    virtual void text(Ink ink, Point at, Anchor anchor, double size, const std::string& text) = 0;
};

/* Red, green and blue from 0 to 255 of an ink on white paper. */
struct Colour {
    int red;
    int green;
    int blue;
};

inline Colour colourOf(Ink ink)
{
    switch (ink) {
    case Ink::ground: return {255, 255, 255};
    case Ink::grid: return {226, 230, 235};
    case Ink::axis: return {95, 106, 120};
    case Ink::bar: return {84, 134, 189};
    case Ink::mean: return {190, 57, 10};
    case Ink::median: return {16, 112, 84};
    case Ink::text: return {28, 37, 48};
    default: return {92, 103, 117};
    }
}

}  // namespace tool
