#include "picture/histogram_picture.h"

#include "console/clean_text.h"
#include "picture/bars.h"
#include "picture/ticks.h"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

/* The width of most characters in terms of the height of the type. No canvas measures text for the others, so this is
 * rather wide. */
constexpr double kCharacter = 0.62;

/* Room for the bins of a byte, also in a small picture. */
constexpr double kFewestBars = 256;

/* Narrower bars are drawn as one shape, wider ones a little apart. */
constexpr double kLeastApart = 5;

/* A bar is at least this wide and high, so that a lonely pixel is seen. */
constexpr double kLeastSeen = 1;

double widthOf(const std::string& text, double size)
{
    return static_cast<double>(characterCount(text)) * size * kCharacter;
}

/* Lines of one unit are sharp in the middle of a pixel. */
double sharp(double place)
{
    return std::floor(place) + 0.5;
}

class HistogramPicture {
public:
    HistogramPicture(Canvas& canvas, const PictureSize& size, const StoredHistogram& histogram)
        : canvas_(canvas), size_(size), type_(size.text), histogram_(histogram),
          bars_(makeBars(histogram, static_cast<std::size_t>(std::max(kFewestBars, size.width / 2)))), right_(size.width - 1.5 * type_),
          top_(std::round(6.4 * type_)), bottom_(std::round(size.height - 3.6 * type_))
    {
        chooseCounts();
    }

    void draw()
    {
        drawTitle();
        drawCounts();
        drawBars();
        drawValues();
        if (bars_.empty()) {
            canvas_.text(Ink::faint, {(left_ + right_) / 2, (top_ + bottom_) / 2}, Anchor::middle, type_, "no pixels");
        } else if (histogram_.statistics && !bars_.countsBins) {
            drawMarkers();
        }
    }

private:
    double x(double value) const { return left_ + bars_.place(value) * (right_ - left_); }
    double y(double count) const { return bottom_ - (count / most_) * (bottom_ - top_); }

    /* Counts above a million are told in thousands or more, by the axis. */
    void chooseCounts()
    {
        static constexpr const char* kUnits[] = {"pixels", "pixels, thousands", "pixels, millions"};
        std::size_t unit = 0;
        double scale = 1;
        const double highest = std::max(bars_.highest, 1.);
        for (; unit < 2 && highest / scale >= 1e6; ++unit) {
            scale *= 1000;
        }
        unit_ = kUnits[unit];
        /* No step is less than a pixel. */
        const double lines = std::min(std::max(2., (bottom_ - top_) / (3 * type_)), scale == 1 ? highest : 1e9);
        const auto room = static_cast<std::size_t>(std::max(lines, 1.));
        counts_ = roundTicks(0, highest / scale, room);
        const double step = counts_.size() > 1 ? counts_[1].value - counts_[0].value : highest / scale;
        most_ = std::max(highest / scale, std::ceil(highest / scale / step - 1e-9) * step) * scale;
        if (counts_.back().value * scale < most_ * (1 - 1e-9)) {
            counts_ = roundTicks(0, most_ / scale, room + 1);
        }
        double widest = 0;
        for (Tick& tick : counts_) {
            if (tick.text.find_first_of(".e") == std::string::npos) {
                tick.text = groupedText(tick.value);
            }
            tick.value *= scale;
            widest = std::max(widest, widthOf(tick.text, type_));
        }
        left_ = std::round(widest + 1.6 * type_);
    }

    void drawTitle()
    {
        const double room = size_.width - 1.5 * type_;
        const double large = 1.2 * type_;
        const auto fitting = [&](double size) { return static_cast<std::size_t>(room / (size * kCharacter)); };
        canvas_.text(Ink::text, {0.8 * type_, 1.5 * type_}, Anchor::start, large,
                     shortened(histogram_.layer, fitting(large)));
        canvas_.text(Ink::faint, {0.8 * type_, 2.9 * type_}, Anchor::start, type_,
                     shortened(countsLine(histogram_, bars_), fitting(type_)));
    }

    void drawCounts()
    {
        for (const Tick& tick : counts_) {
            const double height = sharp(y(tick.value));
            if (tick.value > 0) {
                canvas_.line(Ink::grid, {left_, height}, {right_, height}, false);
            }
            canvas_.text(Ink::faint, {left_ - 0.5 * type_, height + 0.35 * type_}, Anchor::end, type_, tick.text);
        }
    }

    Polygon outline(std::size_t first, std::size_t last) const
    {
        Polygon shape{{x(bars_.bars[first].from), bottom_}};
        for (std::size_t i = first; i <= last; ++i) {
            shape.push_back({x(bars_.bars[i].from), top(i)});
            shape.push_back({x(bars_.bars[i].to), top(i)});
        }
        shape.push_back({x(bars_.bars[last].to), bottom_});
        return shape;
    }

    double top(std::size_t bar) const
    {
        const double count = bars_.bars[bar].count;
        return count > 0 ? std::min(y(count), bottom_ - kLeastSeen) : bottom_;
    }

    /* Bars that touch and are narrow are one shape: seams between them would shimmer. */
    void drawBars()
    {
        std::vector<Polygon> shapes;
        const std::size_t count = bars_.bars.size();
        for (std::size_t i = 0; i < count;) {
            const double from = x(bars_.bars[i].from);
            const double to = x(bars_.bars[i].to);
            const double middle = (from + to) / 2;
            if (bars_.bars[i].count <= 0) {
                ++i;
            } else if (to - from >= kLeastApart) {
                shapes.push_back({{from + 0.5, bottom_}, {from + 0.5, top(i)}, {to - 0.5, top(i)}, {to - 0.5, bottom_}});
                ++i;
            } else if (isAlone(i)) {
                const double half = std::max(kLeastSeen, to - from) / 2;
                shapes.push_back({{middle - half, bottom_}, {middle - half, top(i)}, {middle + half, top(i)},
                                  {middle + half, bottom_}});
                ++i;
            } else {
                std::size_t last = i;
                while (last + 1 < count && touches(last) && bars_.bars[last + 1].count > 0 && isNarrow(last + 1)) {
                    ++last;
                }
                shapes.push_back(outline(i, last));
                i = last + 1;
            }
        }
        if (!shapes.empty()) {
            canvas_.fill(Ink::bar, shapes);
        }
    }

    bool isNarrow(std::size_t bar) const { return x(bars_.bars[bar].to) - x(bars_.bars[bar].from) < kLeastApart; }
    bool touches(std::size_t bar) const
    {
        return x(bars_.bars[bar + 1].from) - x(bars_.bars[bar].to) < 0.01;
    }
    bool isAlone(std::size_t bar) const
    {
        const bool before = bar > 0 && touches(bar - 1) && bars_.bars[bar - 1].count > 0;
        const bool after = bar + 1 < bars_.bars.size() && touches(bar) && bars_.bars[bar + 1].count > 0;
        return !before && !after;
    }

    /* As many round numbers as fit beside each other. */
    std::vector<Tick> valueTicks() const
    {
        std::vector<Tick> ticks;
        const double least = bars_.countsBins ? 1 : 0; /* bins have whole numbers */
        for (std::size_t most = 12; most >= 2; --most) {
            if ((bars_.high - bars_.low) / static_cast<double>(most) < least && most > 2) {
                continue;
            }
            ticks = roundTicks(bars_.low, bars_.high, most);
            double needed = 0;
            double closest = right_ - left_;
            for (std::size_t i = 0; i < ticks.size(); ++i) {
                needed = std::max(needed, widthOf(ticks[i].text, type_) + 1.2 * type_);
                closest = i == 0 ? closest : std::min(closest, x(ticks[i].value) - x(ticks[i - 1].value));
            }
            if (needed <= closest) {
                break;
            }
        }
        return ticks;
    }

    void drawValues()
    {
        const double base = sharp(bottom_);
        canvas_.line(Ink::axis, {left_, base}, {right_, base}, false);
        if (bars_.empty()) {
            return;
        }
        drawLimits(base);
        for (const Tick& tick : valueTicks()) {
            const double place = x(tick.value);
            const double width = widthOf(tick.text, type_);
            const double middle = std::clamp(place, std::min(left_, width / 2), std::max(size_.width - width / 2 - 2, 0.));
            canvas_.line(Ink::axis, {sharp(place), base}, {sharp(place), base + 0.5 * type_}, false);
            canvas_.text(Ink::faint, {middle, base + 1.6 * type_}, Anchor::middle, type_, tick.text);
        }
        const char* what = bars_.countsBins ? "bin" : "value";
        canvas_.text(Ink::faint, {right_, base + 3 * type_}, Anchor::end, type_, what);
        canvas_.text(Ink::faint, {0.8 * type_, base + 3 * type_}, Anchor::start, type_, unit_);
    }

    /* A short mark at each limit of a bin, where the bins are wide enough to tell the marks apart. */
    void drawLimits(double base)
    {
        for (const Bars::Bar& bar : bars_.bars) {
            if (bars_.binsPerBar == 1 && x(bar.to) - x(bar.from) >= kLeastApart) {
                for (const double limit : {bar.from, bar.to}) {
                    canvas_.line(Ink::axis, {sharp(x(limit)), base}, {sharp(x(limit)), base + 0.25 * type_}, false);
                }
            }
        }
    }

    struct Marker {
        Ink ink;
        std::string label;
        double value;
        bool dashed;
    };

    bool isOnAxis(double value) const { return bars_.place(value) >= -1e-9 && bars_.place(value) <= 1 + 1e-9; }

    /* Labels in two rows, on one side of their lines. The line whose label lies across the other's begins above it, so
     * that no line goes through a label. */
    void drawMarkers()
    {
        const Esta_Statistics& statistics = *histogram_.statistics;
        std::vector<Marker> markers{{Ink::mean, "mean " + labelText(statistics.mean), statistics.mean, false},
                                    {Ink::median, "median " + labelText(statistics.median), statistics.median, true}};
        markers.erase(std::remove_if(markers.begin(), markers.end(),
                                     [&](const Marker& marker) { return !isOnAxis(marker.value); }),
                      markers.end());
        bool leftwards = false;
        for (const Marker& marker : markers) {
            leftwards = leftwards || x(marker.value) + 0.4 * type_ + widthOf(marker.label, type_) > size_.width;
        }
        std::stable_sort(markers.begin(), markers.end(), [&](const Marker& a, const Marker& b) {
            return leftwards ? a.value > b.value : a.value < b.value;
        });
        double baseline = 4.2 * type_;
        for (const Marker& marker : markers) {
            const double place = sharp(x(marker.value));
            canvas_.line(marker.ink, {place, baseline - 0.8 * type_}, {place, bottom_}, marker.dashed);
            canvas_.text(marker.ink, {place + (leftwards ? -0.4 : 0.4) * type_, baseline},
                         leftwards ? Anchor::end : Anchor::start, type_, marker.label);
            baseline += 1.3 * type_;
        }
    }

    Canvas& canvas_;
    PictureSize size_;
    double type_;
    const StoredHistogram& histogram_;
    Bars bars_;
    double left_ = 0; /* the frame of the bars */
    double right_;
    double top_;
    double bottom_;
    double most_ = 1; /* the count at the top of the frame */
    std::vector<Tick> counts_;
    std::string unit_;
};

}  // namespace

void drawHistogram(Canvas& canvas, const PictureSize& size, const StoredHistogram& histogram)
{
    HistogramPicture(canvas, size, histogram).draw();
}

std::string describeHistogram(const StoredHistogram& histogram)
{
    const Bars bars = makeBars(histogram, histogram.counts.size() + 1);
    std::string text = "Histogram of " + cleanText(histogram.layer) + ": " + countsLine(histogram, bars);
    if (!bars.empty()) {
        text += ", those with pixels from " + labelText(histogram.limits[bars.firstBin].lower) + " to " +
                labelText(histogram.limits[bars.lastBin].upper);
    }
    if (histogram.statistics) {
        text += "; mean " + labelText(histogram.statistics->mean) + ", median " + labelText(histogram.statistics->median);
    }
    return text;
}

}  // namespace tool
