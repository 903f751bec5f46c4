#include "picture/terminal_histogram.h"

#include "console/clean_text.h"
#include "picture/bars.h"
#include "picture/ticks.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr std::size_t kUsualColumns = 80;
constexpr std::size_t kFewestColumns = 24;
constexpr std::size_t kRows = 12;
constexpr std::size_t kWidestBar = 8;

/* From an empty cell to a full one. */
constexpr const char* kBlocks[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};

std::string leftPadded(const std::string& text, std::size_t width)
{
    const std::size_t has = characterCount(text);
    return std::string(width > has ? width - has : 0, ' ') + text;
}

class TerminalHistogram {
public:
    TerminalHistogram(const StoredHistogram& histogram, std::size_t columns) : histogram_(histogram)
    {
        Bars counting = makeBars(histogram, histogram.counts.size() + 1);
        const std::size_t room = std::max(columns, kFewestColumns);
        gutter_ = std::max<std::size_t>(characterCount(groupedText(counting.highest)), 4) + 1;
        for (int pass = 0; pass < 2; ++pass) {
            bars_ = makeBars(histogram, std::max<std::size_t>(room - gutter_ - 1, 8));
            gutter_ = characterCount(groupedText(bars_.highest)) + 1;
        }
        perBar_ = std::clamp<std::size_t>((room - gutter_ - 1) / std::max<std::size_t>(bars_.bars.size(), 1), 1, kWidestBar);
        room_ = room;
    }

    void print(std::ostream& out) const
    {
        out << shortened(histogram_.layer, room_) << '\n' << countsLine(histogram_, bars_) << '\n';
        if (bars_.empty()) {
            return;
        }
        out << '\n';
        printBars(out);
        printAxis(out);
        printMarkers(out);
    }

private:
    void printBars(std::ostream& out) const
    {
        for (std::size_t row = kRows; row-- > 0;) {
            const bool labelled = row == kRows - 1 || row == kRows / 2 - 1;
            const double shown = bars_.highest * static_cast<double>(row + 1) / kRows;
            std::string line = leftPadded(labelled ? groupedText(std::round(shown)) : "", gutter_ - 1) + (labelled ? " ┤" : " │");
            std::size_t blanks = 0;
            for (const Bars::Bar& bar : bars_.bars) {
                const std::size_t level = levelOf(bar.count, row);
                if (level == 0) {
                    blanks += perBar_;
                    continue;
                }
                line += std::string(blanks, ' ');
                blanks = 0;
                for (std::size_t i = 0; i < perBar_; ++i) {
                    line += kBlocks[level];
                }
            }
            out << line << '\n';
        }
    }

    /* How much of a row's cell a bar fills, in eighths; the least pixel fills one of the bottom row. */
    std::size_t levelOf(double count, std::size_t row) const
    {
        if (count <= 0) {
            return 0;
        }
        const double eighths = std::max(1., std::round(count / bars_.highest * kRows * 8));
        return static_cast<std::size_t>(std::clamp(eighths - static_cast<double>(row) * 8, 0., 8.));
    }

    std::size_t barOf(double value) const
    {
        if (bars_.range > 0) {
            const double place = std::max((value - bars_.bars.front().from) / bars_.range, 0.);
            return std::min(static_cast<std::size_t>(place), bars_.bars.size() - 1);
        }
        std::size_t bin = bars_.firstBin;
        while (bin < bars_.lastBin && histogram_.limits[bin + 1].lower <= value) {
            ++bin;
        }
        return std::min((bin - bars_.firstBin) / bars_.binsPerBar, bars_.bars.size() - 1);
    }

    /* Limits below their bins, as many as fit; the last number is the upper limit of the last bin. */
    void printAxis(std::ostream& out) const
    {
        const std::size_t columns = bars_.bars.size() * perBar_;
        std::string marks;
        std::string numbers;
        std::size_t next = 0;
        for (std::size_t column = 0; column < columns; ++column) {
            const bool starts = column % perBar_ == 0;
            if (starts && column >= next) {
                const std::string text = labelText(limitOf(column / perBar_));
                if (column + text.size() <= room_ - gutter_ - 1) {
                    numbers += std::string(column - characterCount(numbers), ' ') + text;
                    marks += "┬";
                    next = column + std::max<std::size_t>(text.size() + 2, 10);
                    continue;
                }
            }
            marks += "─";
        }
        out << leftPadded("0", gutter_ - 1) << " └" << marks << '\n';
        out << std::string(gutter_ + 1, ' ') << numbers << '\n';
    }

    double limitOf(std::size_t bar) const
    {
        return bars_.range > 0 ? bars_.bars[bar].from : histogram_.limits[bars_.firstBin + bar * bars_.binsPerBar].lower;
    }

    /* Below the bin that a value falls into. */
    void printMarkers(std::ostream& out) const
    {
        if (!histogram_.statistics) {
            return;
        }
        printMarker(out, "mean", histogram_.statistics->mean);
        printMarker(out, "median", histogram_.statistics->median);
        out << "\nminimum " << labelText(histogram_.statistics->minimum) << ", maximum "
            << labelText(histogram_.statistics->maximum) << ", mode " << labelText(histogram_.statistics->mode)
            << ", standard deviation " << labelText(histogram_.statistics->stddev) << '\n';
    }

    void printMarker(std::ostream& out, const char* name, double value) const
    {
        const std::string label = std::string(name) + " " + labelText(value);
        const std::size_t column = gutter_ + 1 + (std::isfinite(value) ? barOf(value) : 0) * perBar_ + (perBar_ - 1) / 2;
        const bool fitsAfter = column + 2 + label.size() <= room_;
        const bool fitsBefore = column >= label.size() + 1;
        if (!std::isfinite(value) || (!fitsAfter && !fitsBefore)) {
            out << label << '\n';
        } else if (fitsAfter) {
            out << std::string(column, ' ') << "▲ " << label << '\n';
        } else {
            out << std::string(column - label.size() - 1, ' ') << label << " ▲\n";
        }
    }

    const StoredHistogram& histogram_;
    Bars bars_;
    std::size_t room_ = 0;
    std::size_t gutter_ = 0; /* for the counts */
    std::size_t perBar_ = 1; /* columns */
};

}  // namespace

std::size_t terminalColumns()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    return kUsualColumns;
}

void printHistogram(std::ostream& out, const StoredHistogram& histogram, std::size_t columns)
{
    TerminalHistogram(histogram, columns).print(out);
}

}  // namespace tool
