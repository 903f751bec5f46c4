#include "store/stored_histogram.h"

#include "console/interrupt.h"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

constexpr std::int32_t kRowsAtOnce = 65536;

using StatisticsPtr = Owned<Esta_Statistics, esta_StatisticsDelete>;

}  // namespace

/* A damaged count is no count. */
double StoredHistogram::total() const
{
    double sum = 0;
    for (const double count : counts) {
        sum += std::isfinite(count) && count > 0 ? count : 0;
    }
    return sum;
}

std::optional<Esta_Statistics> readStatistics(const OpenStore& store, const std::string& layer)
{
    Reports reports;
    const StatisticsPtr statistics(esta_StatisticsRead(store.get(), layer.c_str(), nullptr, 0, reports));
    reports.check(store.path() + ": the statistics of " + oneLine(layer) + " cannot be read");
    return statistics ? std::optional(*statistics) : std::nullopt;
}

StoredHistogram readHistogram(const OpenStore& store, const std::string& node)
{
    StoredHistogram histogram;
    const StoredTable table(store, node);
    const Edsc_BinFunction* bins = table.bins();
    if (bins == nullptr || !table.hasColumn("Histogram")) {
        throw Failure(store.path() + ": " + oneLine(table.path()) + " holds no histogram");
    }
    histogram.layer = table.owner();
    histogram.function = bins->title == nullptr ? "" : bins->title;
    Reports reports;
    const std::uint32_t binCount = edsc_BinFunctionBinCount(bins, reports);
    reports.check(store.path() + ": the bins of " + oneLine(table.path()) + " cannot be counted");
    StoredColumn column(table, "Histogram");
    if (column.isText()) {
        throw Failure(store.path() + ": the histogram of " + oneLine(table.path()) + " is text");
    }
    const auto rows = static_cast<std::int32_t>(std::min<std::int64_t>(column.rows(), binCount));
    for (std::int32_t first = 0; first < rows; first += kRowsAtOnce) {
        throwIfInterrupted();
        const std::int32_t read = column.read(first, std::min(kRowsAtOnce, rows - first));
        for (std::int32_t row = 0; row < read; ++row) {
            histogram.counts.push_back(column.number(row));
            histogram.limits.push_back(limitsOf(*bins, first + row));
        }
    }
    histogram.statistics = readStatistics(store, histogram.layer);
    return histogram;
}

}  // namespace tool
