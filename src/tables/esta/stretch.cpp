#include "tables/esta/owners.h"

#include <algorithm>
#include <cmath>

namespace emantle::tables {

namespace {

/* What the stretch of a bin function needs: its limits, and the distance of its entries. */
struct Entries {
    double first;
    double step;
    long count;
};

struct Range {
    double low;
    double high;
};

/* `value` in whole bytes, 255 where it is none. */
std::uint8_t byteOf(double value)
{
    return value >= 0 && value <= 255 ? static_cast<std::uint8_t>(value) : std::uint8_t{255};
}

/* Mean and deviations within the extremes, moved outwards to entries; without statistics entry numbers. */
Range rangeOf(const Esta_Statistics* statistics, const Entries& entries, double deviations)
{
    if (statistics == nullptr) {
        return {0, static_cast<double>(entries.count - 1)};
    }
    const double low = std::max(statistics->mean - deviations * statistics->stddev, statistics->minimum);
    const double high = std::min(statistics->mean + deviations * statistics->stddev, statistics->maximum);
    return {std::floor((low - entries.first) / entries.step) * entries.step + entries.first,
            std::ceil((high - entries.first) / entries.step) * entries.step + entries.first};
}

void fill(std::uint8_t* table, const Entries& entries, const Range& range)
{
    const double slope = 255 / ((range.high - range.low) / entries.step);
    double y = 0;
    for (long entry = 0; entry < entries.count; ++entry) {
        /* As the ends of the range are computed, so that an end meets its entry. */
        const double x = static_cast<double>(entry) * entries.step + entries.first;
        if (x < range.low && x < range.high) {
            table[entry] = 0;
        } else if (x < range.high) {
            table[entry] = byteOf(std::min(y, 255.0));
            y += slope;
        } else {
            table[entry] = 255;
        }
    }
}

}  // namespace

EMANTLE_API Egda_BaseData* esta_LUTCreateForNStdDevStretch(const Esta_Statistics* statistics,
                                                           const Edsc_BinFunction* binFunction, double deviations,
                                                           double* gain, double* offset, Eerr_ErrorReport** err)
{
    constexpr const char* kName = "esta_LUTCreateForNStdDevStretch";
    return guarded<Egda_BaseData*>(err, kName, nullptr, [&](EerrException& scope) {
        const long bins = binFunction == nullptr ? 0 : static_cast<long>(edsc_BinFunctionBinCount(binFunction, scope));
        check(scope);
        require(bins > 0, "No bin function supplied to %s", kName);
        const double first = checked(scope, edsc_BinFunctionMinLimit(binFunction, scope));
        const double last = checked(scope, edsc_BinFunctionMaxLimit(binFunction, scope));
        DataPtr table(checked(scope, egda_TableCreate(bins, EGDA_TYPE_U8, scope),
                              "Error reported by function egda_TableCreate"));
        auto* const bytes = static_cast<std::uint8_t*>(table->data);
        double ownGain = 1;
        double ownOffset = -last;
        if (bins < 2) {
            bytes[0] = byteOf(last);
        } else {
            const Entries entries{first, (last - first) / static_cast<double>(bins - 1), bins};
            ownGain = 1 / entries.step;
            ownOffset = -first * ownGain;
            fill(bytes, entries, rangeOf(statistics, entries, deviations));
        }
        if (gain != nullptr) {
            *gain = ownGain;
        }
        if (offset != nullptr) {
            *offset = ownOffset;
        }
        return table.release();
    });
}

}  // namespace emantle::tables
