#include "tables/edsc/binfunction/bulk.h"
#include "tables/esta/raster.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace emantle::tables {

namespace {

constexpr long kRun = BulkBins::kRun;
/* Partial tables pay while they stay in the nearest cache together. */
constexpr long kPartialRows = 2048;
/* A table of 16-bit values pays while there are not many more cells than pixels. */
constexpr long kCellsPerPixel = 4;

const HistogramLoops& loops()
{
    static const HistogramLoops& chosen = histogramLoops(platform::fastestInstructionSet());
    return chosen;
}

/* Zeros, kept for the next block. */
std::uint32_t* counters(long count)
{
    thread_local std::vector<std::uint32_t> kept;
    kept.assign(static_cast<std::size_t>(count), 0);
    return kept.data();
}

/* From values to rows of a histogram: values below the range go to row 0, values above to the last row. */
class Rows {
public:
    Rows(const Esta_Histogram& histogram, EerrException& scope)
        : scope_(scope), histogram_(histogram), last_(histogram.numrows - 1)
    {
        if (histogram.binfunction != nullptr) {
            bulk_.emplace(scope, histogram.binfunction);
            even_ = evenBins();
        }
    }

    bool hasFunction() const noexcept { return bulk_.has_value(); }
    std::int32_t last() const noexcept { return last_; }
    /* Null where the bins are not even, or where a row outside them is in the way. */
    const EvenBins* even() const noexcept { return even_ ? &*even_ : nullptr; }

    void of(const double* values, long count, std::int32_t* places) const
    {
        require(hasFunction(), "NULL bin function");
        bulk_->apply(scope_, values, count, places);
        if (bulk_->binCount() != last_ + 1) {
            for (long at = 0; at < count; ++at) {
                places[at] = places[at] >= bulk_->binCount() ? last_ : places[at];
            }
        }
        loops().holdPlaces(places, count, last_);
    }

    /* Doubles go by the arithmetic that edsc_BinFunctionApplyToValues has for doubles in place. */
    void ofDoubles(double* values, long count, std::int32_t* places) const
    {
        require(hasFunction(), "NULL bin function");
        if (!isDirectOrLinear()) {
            of(values, count, places);
            return;
        }
        const DataPtr run(checked(
            scope_, egda_BaseDataCreate(1, count, EGDA_TYPE_F64, EGDA_RASTER_OBJECT, values, scope_)));
        checked(scope_, edsc_BinFunctionApplyToValues(histogram_.binfunction, run.get(), 0, last_, nullptr, run.get(),
                                                      scope_));
        for (long at = 0; at < count; ++at) {
            places[at] = static_cast<std::int32_t>(values[at] > 0 ? std::min<double>(values[at], last_) : 0);
        }
    }

private:
    bool isDirectOrLinear() const noexcept
    {
        return bulk_->arithmetic<single::Direct>() != nullptr || bulk_->arithmetic<single::Linear>() != nullptr;
    }

    std::optional<EvenBins> evenBins() const noexcept
    {
        const double start = bulk_->span().startBin;
        const double count = bulk_->span().binCount;
        if (count != last_ + 1.0) {
            return std::nullopt;
        }
        if (const single::Direct* direct = bulk_->arithmetic<single::Direct>()) {
            return EvenBins{1, direct->minLimit, 1, start, count};
        }
        const single::Linear* linear = bulk_->arithmetic<single::Linear>();
        if (linear != nullptr && std::fabs(std::log2(linear->span)) < 500) {
            return EvenBins{linear->numBins, linear->minLimit, linear->span, start, count};
        }
        return std::nullopt;
    }

    EerrException& scope_;
    const Esta_Histogram& histogram_;
    std::int32_t last_;
    std::optional<BulkBins> bulk_;
    std::optional<EvenBins> even_;
};

/* Adds the counts of `count` values, from `first` on and ascending, to the rows they belong to; the bin function is
 * asked once a value. Without one a value's row is its distance from the lowest value of the type. */
void addValues(Esta_Histogram& histogram, const Rows& rows, const std::uint32_t* counts, long count, double first,
               double lowest)
{
    double values[kRun];
    std::int32_t places[kRun];
    for (long from = 0; from < count; from += kRun) {
        const long run = std::min(kRun, count - from);
        for (long at = 0; at < run; ++at) {
            values[at] = first + static_cast<double>(from + at);
            places[at] = static_cast<std::int32_t>(std::min<double>(values[at] - lowest, rows.last()));
        }
        if (rows.hasFunction()) {
            rows.of(values, run, places);
        }
        for (long at = 0; at < run; ++at) {
            doublesOf(histogram)[places[at]] += counts[from + at];
        }
    }
}

void addBytes(Esta_Histogram& histogram, const Rows& rows, const PixelBlock& block, bool isSigned)
{
    require(rows.hasFunction() || isSigned, "NULL bin function");
    std::uint32_t counts[256] = {};
    loops().countBytes(block, counts);
    if (isSigned) {
        std::rotate(counts, counts + 128, counts + 256);
    }
    const double lowest = isSigned ? -128 : 0;
    addValues(histogram, rows, counts, 256, lowest, lowest);
}

/* Counts the rows of runs of pixels; the counts reach the histogram at the end. */
class RowCounts {
public:
    RowCounts(Esta_Histogram& histogram, long pixels)
        : histogram_(histogram), stride_(histogram.numrows <= kPartialRows ? histogram.numrows : 0),
          isDirect_(histogram.numrows > kPartialRows && pixels < histogram.numrows),
          tables_(stride_ != 0 ? kPartialTables : 1),
          counts_(isDirect_ ? nullptr : counters(tables_ * histogram.numrows))
    {
    }

    void take(const std::int32_t* places, const std::uint8_t* mask, long count)
    {
        if (!isDirect_) {
            loops().countPlaces(places, mask, count, counts_, stride_);
            return;
        }
        for (long at = 0; at < count; ++at) {
            doublesOf(histogram_)[places[at]] += mask == nullptr || mask[at] != 0;
        }
    }

    /* Whether there are tables, as there must be for the next. */
    bool isByTable() const noexcept { return !isDirect_; }

    void takeEven(const float* pixels, const std::uint8_t* mask, long count, const EvenBins& even)
    {
        loops().countEven(pixels, mask, count, even, counts_, stride_);
    }

    void finish()
    {
        for (long table = 0; !isDirect_ && table < tables_; ++table) {
            for (long row = 0; row < histogram_.numrows; ++row) {
                doublesOf(histogram_)[row] += counts_[table * histogram_.numrows + row];
            }
        }
    }

private:
    Esta_Histogram& histogram_;
    long stride_;
    bool isDirect_;
    long tables_;
    std::uint32_t* counts_;
};

/* Runs of pixels, each turned into rows by `place(pixels, count, places)`. */
template <class Place>
void addRuns(Esta_Histogram& histogram, const PixelBlock& block, long pixelBytes, Place place)
{
    RowCounts counts(histogram, block.rows * block.columns);
    std::int32_t places[kRun];
    for (long row = 0; row < block.rows; ++row) {
        const std::byte* pixels = block.pixels + row * block.pitch;
        const std::uint8_t* mask = block.mask != nullptr ? block.mask + row * block.maskPitch : nullptr;
        for (long column = 0; column < block.columns; column += kRun) {
            const long run = std::min(kRun, block.columns - column);
            place(pixels + column * pixelBytes, run, places);
            counts.take(places, mask != nullptr ? mask + column : nullptr, run);
        }
    }
    counts.finish();
}

void addWidened(Esta_Histogram& histogram, const Rows& rows, const PixelBlock& block, Egda_PixelType type,
                double lowest)
{
    static const CovarianceLoops& widening = covarianceLoops(platform::fastestInstructionSet());
    addRuns(histogram, block, egda_NumBytePerPixelFromType(type),
            [&](const std::byte* pixels, long count, std::int32_t* places) {
                double values[kRun];
                widening.widen[type](pixels, nullptr, count, values);
                if (type == EGDA_TYPE_F64) {
                    rows.ofDoubles(values, count, places);
                } else if (rows.hasFunction() || (type != EGDA_TYPE_U16 && type != EGDA_TYPE_S16)) {
                    rows.of(values, count, places);
                } else {
                    for (long at = 0; at < count; ++at) {
                        places[at] = static_cast<std::int32_t>(std::min<double>(values[at] - lowest, rows.last()));
                    }
                }
            });
}

void addWords(Esta_Histogram& histogram, const Rows& rows, const PixelBlock& block, Egda_PixelType type)
{
    static const StatisticsLoops& statistics = statisticsLoops(platform::fastestInstructionSet());
    const double lowest = type == EGDA_TYPE_S16 ? -32768 : 0;
    const long pixels = block.rows * block.columns;
    long low = static_cast<long>(lowest);
    long cells = 1L << 16;
    if (cells > kCellsPerPixel * pixels) {
        const ScalarSums sums = (block.mask != nullptr ? statistics.masked : statistics.whole)[type](block);
        if (sums.count == 0) {
            return;
        }
        low = static_cast<long>(sums.least);
        cells = static_cast<long>(sums.greatest) - low + 1;
    }
    if (cells > kCellsPerPixel * pixels) {
        addWidened(histogram, rows, block, type, lowest);
        return;
    }
    std::uint32_t* counts = counters(cells);
    loops().countWords(block, counts, static_cast<std::uint16_t>(low));
    addValues(histogram, rows, counts, cells, static_cast<double>(low), lowest);
}

void addEven(Esta_Histogram& histogram, const Rows& rows, const PixelBlock& block)
{
    RowCounts counts(histogram, block.rows * block.columns);
    if (!counts.isByTable()) {
        addWidened(histogram, rows, block, EGDA_TYPE_F32, 0);
        return;
    }
    for (long row = 0; row < block.rows; ++row) {
        counts.takeEven(reinterpret_cast<const float*>(block.pixels + row * block.pitch),
                        block.mask != nullptr ? block.mask + row * block.maskPitch : nullptr, block.columns,
                        *rows.even());
    }
    counts.finish();
}

}  // namespace

/* U8 and its like, 16-bit types where they have values enough, are counted by value first. Every pixel counts
 * somewhere: below the range in row 0, above it in the last row, NaN in row 0. Without a bin function only S8, S16
 * and U16 have a row, that of their distance from the lowest value of the type. */
void accumulateHistogram(Esta_Histogram& histogram, const Egda_BaseData& data, const Egda_BaseData* mask,
                         EerrException& scope)
{
    const PixelBlock block = pixelBlock(data, mask);
    if (data.numelements < 1) {
        return;
    }
    const Rows rows(histogram, scope);
    switch (data.datatype) {
    case EGDA_TYPE_U1:
    case EGDA_TYPE_U2:
    case EGDA_TYPE_U4:
    case EGDA_TYPE_U8:
        addBytes(histogram, rows, block, false);
        break;
    case EGDA_TYPE_S8:
        addBytes(histogram, rows, block, true);
        break;
    case EGDA_TYPE_U16:
    case EGDA_TYPE_S16:
        addWords(histogram, rows, block, data.datatype);
        break;
    case EGDA_TYPE_F32:
        if (rows.even() != nullptr) {
            addEven(histogram, rows, block);
        } else {
            addWidened(histogram, rows, block, data.datatype, 0);
        }
        break;
    default:
        addWidened(histogram, rows, block, data.datatype, 0);
        break;
    }
}

EMANTLE_API Emsc_Boolean esta_RasterAccumulateHistogram(Esta_Histogram* histogram, const Egda_BaseData* data,
                                                        const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_RasterAccumulateHistogram", 0, [&](EerrException& scope) {
        require(histogram != nullptr && histogram->datatype == EGDA_TYPE_F64 && histogram->numrows > 0, "Bad args");
        requirePixels(data, mask);
        accumulateHistogram(*histogram, *data, mask, scope);
        return 1;
    });
}

}  // namespace emantle::tables
