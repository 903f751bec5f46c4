#include "picture/png_canvas.h"

#include "console/clean_text.h"
#include "console/failure.h"

#include <cairo.h>
#include <cmath>

namespace tool {

namespace {

cairo_status_t append(void* bytes, const unsigned char* data, unsigned length)
{
    static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

void require(cairo_status_t status)
{
    if (status != CAIRO_STATUS_SUCCESS) {
        throw Failure(std::string("the picture cannot be drawn: ") + cairo_status_to_string(status));
    }
}

}  // namespace

struct PngCanvas::Drawing {
    Drawing(int width, int height)
        : surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height)), context(cairo_create(surface))
    {
    }
    ~Drawing()
    {
        cairo_destroy(context);
        cairo_surface_destroy(surface);
    }
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;

    void take(Ink ink) const
    {
        const Colour colour = colourOf(ink);
        cairo_set_source_rgb(context, colour.red / 255., colour.green / 255., colour.blue / 255.);
    }

    cairo_surface_t* surface;
    cairo_t* context;
};

PngCanvas::PngCanvas(double width, double height, double scale)
    : drawing_(std::make_unique<Drawing>(static_cast<int>(std::lround(width * scale)),
                                         static_cast<int>(std::lround(height * scale))))
{
    cairo_scale(drawing_->context, scale, scale);
    cairo_set_line_width(drawing_->context, 1);
    cairo_select_font_face(drawing_->context, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    fill(Ink::ground, {{{0, 0}, {width, 0}, {width, height}, {0, height}}});
}

PngCanvas::~PngCanvas() = default;

void PngCanvas::fill(Ink ink, const std::vector<Polygon>& polygons)
{
    drawing_->take(ink);
    cairo_new_path(drawing_->context);
    for (const Polygon& polygon : polygons) {
        for (const Point& point : polygon) {
            cairo_line_to(drawing_->context, point.x, point.y);
        }
        cairo_close_path(drawing_->context);
        cairo_new_sub_path(drawing_->context);
    }
    cairo_fill(drawing_->context);
}

void PngCanvas::line(Ink ink, Point from, Point to, bool dashed)
{
    static constexpr double kDashes[] = {4, 3};
    drawing_->take(ink);
    cairo_set_dash(drawing_->context, kDashes, dashed ? 2 : 0, 0);
    cairo_move_to(drawing_->context, from.x, from.y);
    cairo_line_to(drawing_->context, to.x, to.y);
    cairo_stroke(drawing_->context);
}

void PngCanvas::text(Ink ink, Point at, Anchor anchor, double size, const std::string& text)
{
    const std::string clean = cleanText(text);
    cairo_text_extents_t extents;
    drawing_->take(ink);
    cairo_set_font_size(drawing_->context, size);
    cairo_text_extents(drawing_->context, clean.c_str(), &extents);
    const double before = anchor == Anchor::start ? 0 : anchor == Anchor::middle ? 0.5 : 1;
    cairo_move_to(drawing_->context, at.x - before * extents.x_advance, at.y);
    cairo_show_text(drawing_->context, clean.c_str());
}

std::string PngCanvas::finish() const
{
    require(cairo_status(drawing_->context));
    cairo_surface_flush(drawing_->surface);
    std::string bytes;
    require(cairo_surface_write_to_png_stream(drawing_->surface, append, &bytes));
    return bytes;
}

}  // namespace tool
