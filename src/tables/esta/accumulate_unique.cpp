#include "tables/esta/unique.h"

#include "tables/esta/raster.h"

#include <algorithm>
#include <cmath>
#include <emantle/data/epxm/convert.h>
#include <limits>

namespace emantle::tables {

namespace {

/* The values of a unique-value histogram as doubles, magnitudes of complex ones, ascending, with their counts. */
struct Distinct {
    std::vector<double> values;
    std::vector<double> counts;
};

/* Whether the table `exclude`, F64 or C128, holds the value of row `row`. */
bool isExcluded(const Egda_BaseData* exclude, const Egda_BaseData& values, long row)
{
    for (long at = 0; exclude != nullptr && at < exclude->numelements; ++at) {
        if (exclude->datatype == EGDA_TYPE_C128) {
            const auto& a = static_cast<const Egda_Complex128*>(exclude->data)[at];
            const auto& b = static_cast<const Egda_Complex128*>(values.data)[row];
            if (a.real == b.real && a.imaginary == b.imaginary) {
                return true;
            }
        } else if (doublesOf(*exclude)[at] == doublesOf(values)[row]) {
            return true;
        }
    }
    return false;
}

double valueOf(const Egda_BaseData& values, long row)
{
    if (values.datatype != EGDA_TYPE_C128) {
        return doublesOf(values)[row];
    }
    const auto& value = static_cast<const Egda_Complex128*>(values.data)[row];
    return std::sqrt(value.real * value.real + value.imaginary * value.imaginary);
}

DataPtr converted(const Egda_BaseData* exclude, Egda_PixelType type, EerrException& scope)
{
    if (exclude == nullptr) {
        return nullptr;
    }
    DataPtr table(checked(scope, egda_TableCreate(exclude->numelements, type, scope), "egda_TableCreate failed"));
    checked(scope,
            epxm_ConvertPixels(table->data, type, exclude->data, exclude->datatype, exclude->numelements, scope));
    return table;
}

Distinct distinctOf(Eahg_Histogram& histogram, const Egda_BaseData* exclude, EerrException& scope)
{
    Distinct distinct;
    if (histogram.uniqueCount < 1) {
        return distinct;
    }
    Egda_BaseData* values = nullptr;
    Egda_BaseData* counts = nullptr;
    checked(scope, eahg_HistogramConvertToValuesAndCounts(&histogram, &values, &counts, scope),
            "eahg_HistogramConvertToValuesAndCounts failed");
    const DataPtr ownedValues(values);
    const DataPtr ownedCounts(counts);
    const DataPtr excluded = converted(exclude, values->datatype, scope);
    for (long row = 0; row < values->numrows; ++row) {
        if (!isExcluded(excluded.get(), *values, row)) {
            distinct.values.push_back(valueOf(*values, row));
            distinct.counts.push_back(doublesOf(*counts)[row]);
        }
    }
    return distinct;
}

struct UniqueSums {
    double count = 0;
    double sum = 0;
    double squares = 0;
    double least = std::numeric_limits<double>::quiet_NaN();
    double greatest = std::numeric_limits<double>::quiet_NaN();
};

UniqueSums sumsOf(const Distinct& distinct)
{
    UniqueSums sums;
    for (std::size_t row = 0; row < distinct.values.size(); ++row) {
        const double value = distinct.values[row];
        const double product = value * distinct.counts[row];
        sums.count += distinct.counts[row];
        sums.sum += product;
        sums.squares += product * value;
        if (!std::isnan(value)) {
            sums.least = std::isnan(sums.least) ? value : sums.least;
            sums.greatest = value;
        }
    }
    return sums;
}

/* A copy of `histogram` with the values that lie in its bins added; the others are dropped. */
HistogramPtr filled(const Esta_Histogram& histogram, const Distinct& distinct, EerrException& scope)
{
    HistogramPtr copy(checked(scope, esta_HistogramCopy(&histogram, nullptr, scope),
                              "Error reported by function esta_HistogramCopy"));
    const long bins = std::min<long>(copy->numrows, edsc_BinFunctionBinCount(copy->binfunction, scope));
    for (std::size_t row = 0; row < distinct.values.size(); ++row) {
        const std::int32_t bin = checked(scope, edsc_BinFunctionApply(copy->binfunction, distinct.values[row], scope),
                                         "edsc_BinFunctionApply failed");
        if (bin >= 0 && bin < bins) {
            doublesOf(*copy)[bin] += distinct.counts[row];
        }
    }
    return copy;
}

/* A histogram with one bin for each value. NaN has none, and values that only their sign of zero or the angle of a
 * complex number told apart share one. Null when no value is left. */
HistogramPtr made(const Distinct& distinct, EerrException& scope)
{
    Distinct rows;
    for (std::size_t row = 0; row < distinct.values.size(); ++row) {
        if (!rows.values.empty() && rows.values.back() == distinct.values[row]) {
            rows.counts.back() += distinct.counts[row];
        } else if (!std::isnan(distinct.values[row])) {
            rows.values.push_back(distinct.values[row]);
            rows.counts.push_back(distinct.counts[row]);
        }
    }
    if (rows.values.empty()) {
        return nullptr;
    }
    const long count = static_cast<long>(rows.values.size());
    const DataPtr limits(checked(
        scope, egda_BaseDataCreate(count, 1, EGDA_TYPE_F64, EGDA_TABLE_OBJECT, rows.values.data(), scope)));
    const BinFunctionPtr function(checked(scope,
                                          edsc_BinFunctionCreateFromTitle(EDSC_TITLE_UNIQUE,
                                                                          static_cast<std::uint32_t>(count), scope,
                                                                          limits.get()),
                                          "edsc_BinFunctionCreateFromTitle failed"));
    HistogramPtr histogram(checked(scope, esta_HistogramCreate(count, function.get(), scope),
                                   "Error reported by function esta_HistogramCreate"));
    std::copy(rows.counts.begin(), rows.counts.end(), doublesOf(*histogram));
    return histogram;
}

void add(Esta_AllStats& allStats, const UniqueSums& sums)
{
    if (Esta_Statistics* const statistics = allStats.statistics) {
        statistics->mean += sums.sum;
        statistics->stddev += sums.squares;
        if (allStats.count == 0) {
            statistics->minimum = sums.count > 0 ? sums.least : 0;
            statistics->maximum = sums.count > 0 ? sums.greatest : 0;
        } else if (!std::isnan(sums.least)) {
            statistics->minimum = std::min(statistics->minimum, sums.least);
            statistics->maximum = std::max(statistics->maximum, sums.greatest);
        }
    }
    allStats.count += sums.count;
}

void takeStatistics(Esta_AllStats& allStats, const Egda_BaseData* data, const Egda_BaseData* mask,
                    EerrException& scope)
{
    checked(scope, esta_AoiFeatRasterAccumStats(&allStats, data, mask, scope), "erga_AoiFeatRasterAccumStats failed");
}

/* Takes `rows` by `columns` pixels from (row, column) on. */
void takeView(Esta_AllStats& allStats, const Egda_BaseData& data, const Egda_BaseData* mask, long row, long column,
              long rows, long columns, EerrException& scope)
{
    if (rows < 1 || columns < 1) {
        return;
    }
    const auto view = [&](const Egda_BaseData* whole) {
        return DataPtr(whole == nullptr ? nullptr
                                        : checked(scope, egda_BaseDataDerived(whole, row, column, rows, columns, scope),
                                                  "egda_BaseDataDerived failed"));
    };
    const DataPtr part = view(&data);
    const DataPtr maskPart = view(mask);
    takeStatistics(allStats, part.get(), maskPart.get(), scope);
}

/* Takes what is left behind the first `taken` pixels: the rest of the row in which the limit was met, then whole
 * rows. */
void takeRest(Esta_AllStats& allStats, const Egda_BaseData& data, const Egda_BaseData* mask, long taken,
              EerrException& scope)
{
    const long width = data.numcolumns;
    const long row = taken / width;
    const long column = taken % width;
    if (column == 0) {
        takeView(allStats, data, mask, row, 0, data.numrows - row, width, scope);
        return;
    }
    takeView(allStats, data, mask, row, column, 1, width - column, scope);
    takeView(allStats, data, mask, row + 1, 0, data.numrows - row - 1, width, scope);
}

}  // namespace

void endAtLimit(Esta_AllStats& allStats, EerrException& scope)
{
    const bool hadHistogram = allStats.histogram != nullptr;
    checked(scope, esta_AllStatsUVHistogramEnd(&allStats, nullptr, scope), "esta_AllStatsUVHistogramEnd failed");
    if (!hadHistogram) {
        replaceHistogram(allStats.histogram, nullptr);
    }
}

void takeKept(Esta_AllStats& allStats, Eahg_Histogram& kept, EerrException& scope)
{
    const Distinct distinct = distinctOf(kept, nullptr, scope);
    if (allStats.histogram != nullptr) {
        replaceHistogram(allStats.histogram, filled(*allStats.histogram, distinct, scope));
    }
    add(allStats, sumsOf(distinct));
}

EMANTLE_API Emsc_Boolean esta_AllStatsUVHistogramBegin(Esta_AllStats* allStats, double maxUnique,
                                                       Egda_PixelType dataType, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsUVHistogramBegin", 0, [&](EerrException& scope) {
        require(allStats != nullptr, "Bad args");
        if (allStats->uvHistogram == nullptr) {
            allStats->uvHistogram = checked(scope, eahg_HistogramCreate(maxUnique, dataType, 0, scope),
                                            "eahg_HistogramCreate failed");
        }
        return 1;
    });
}

EMANTLE_API Emsc_Boolean esta_AllStatsUVHistogramAccumulate(Esta_AllStats* allStats, const Egda_BaseData* data,
                                                            const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsUVHistogramAccumulate", 0, [&](EerrException& scope) {
        require(allStats != nullptr && allStats->statistics != nullptr && allStats->uvHistogram != nullptr, "Bad args");
        require(data != nullptr && data->objecttype != EGDA_MATRIX_OBJECT, "Bad args");
        const long left = checked(scope, eahg_HistogramAccumulateValues(allStats->uvHistogram, data, mask, scope),
                                  "eahg_HistogramAccumulateValues failed");
        if (left == 0) {
            return 1;
        }
        endAtLimit(*allStats, scope);
        takeRest(*allStats, *data, mask, data->numelements - left, scope);
        return 1;
    });
}

/* A complex value that is left out equals in both parts. With no value at all the extremes are 0, as they are after a
 * block in which no pixel counts. */
EMANTLE_API Emsc_Boolean esta_AllStatsUVHistogramEnd(Esta_AllStats* allStats, const Egda_BaseData* exclude,
                                                     Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsUVHistogramEnd", 0, [&](EerrException& scope) {
        require(allStats != nullptr && allStats->uvHistogram != nullptr, "Bad args");
        const Distinct distinct = distinctOf(*allStats->uvHistogram, exclude, scope);
        HistogramPtr histogram = allStats->histogram != nullptr ? filled(*allStats->histogram, distinct, scope)
                                                                : made(distinct, scope);
        replaceHistogram(allStats->histogram, std::move(histogram));
        add(*allStats, sumsOf(distinct));
        eahg_HistogramDestroy(&allStats->uvHistogram, scope);
        check(scope);
        return 1;
    });
}

}  // namespace emantle::tables
