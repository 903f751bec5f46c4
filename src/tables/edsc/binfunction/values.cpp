#include "frame/guard/guard.h"
#include "tables/edsc/binfunction/bulk.h"
#include "tables/edsc/binfunction/internals.h"

#include <algorithm>
#include <cstring>
#include <emantle/data/egda/basedata.h>
#include <emantle/data/epxm/convert.h>
#include <limits>
#include <vector>

/* Whole records of values and bins. */

using namespace emantle;
using namespace emantle::tables;

namespace {

bool isBinType(Egda_PixelType type) noexcept { return type >= EGDA_TYPE_U8 && type <= EGDA_TYPE_F64; }

/* A matrix lies column by column, which the walk over lines below does not follow. */
bool isTiled(const Egda_BaseData& data) noexcept { return data.objecttype == EGDA_MATRIX_OBJECT; }

bool isPacked(const Egda_BaseData& data) noexcept
{
    return data.pitch == std::int64_t{data.numcolumns} * data.numbytes;
}

bool isUsableMask(const Egda_BaseData* mask) noexcept
{
    return mask == nullptr || (!isTiled(*mask) && mask->numbytes == 1);
}

struct Extent {
    std::int32_t rows;
    std::int32_t columns;

    void limitTo(const Egda_BaseData* data) noexcept
    {
        if (data != nullptr) {
            rows = std::min(rows, data->numrows);
            columns = std::min(columns, data->numcolumns);
        }
    }
};

char* rowOf(const Egda_BaseData& data, std::int32_t row) noexcept
{
    return static_cast<char*>(data.firstelement) + std::ptrdiff_t{row} * data.pitch;
}

/* Whether what is written to `to` may change elements of `from` that are yet to be read: rows are read before they are
 * written, so elements of one size at the same places do no harm. */
bool disturbs(const Egda_BaseData& from, const Egda_BaseData* to) noexcept
{
    if (to == nullptr) {
        return false;
    }
    const auto end = [](const Egda_BaseData& data) { return rowOf(data, data.numrows); };
    const bool apart = rowOf(from, 0) >= end(*to) || rowOf(*to, 0) >= end(from);
    const bool alike = rowOf(from, 0) == rowOf(*to, 0) && from.pitch == to->pitch && from.numbytes == to->numbytes;
    return !apart && !alike;
}

/* `data`, or a copy of it where one of the outputs disturbs it. */
class SteadyInput {
public:
    SteadyInput(EerrException& scope, const Egda_BaseData& data, const Egda_BaseData* one, const Egda_BaseData* other)
    {
        if (disturbs(data, one) || disturbs(data, other)) {
            copy_.reset(checked(scope, egda_BaseDataCopy(&data, nullptr, scope), "egda_BaseDataCopy failed"));
        }
        input_ = copy_ == nullptr ? &data : copy_.get();
    }
    const Egda_BaseData& operator*() const noexcept { return *input_; }

private:
    BaseDataPtr copy_;
    const Egda_BaseData* input_;
};

/* The kinds whose binning is one multiplication and one subtraction. False for the others. */
bool rescaleOf(const Edsc_BinFunction& record, Rescale& rescale) noexcept
{
    if (record.functions->BinFunctionApply == edsc_BFDirectBinFunctionApply) {
        rescale.scale = 1;
        rescale.offset = record.startBin + static_cast<const DirectBins*>(record.internals)->minLimit;
        return true;
    }
    if (record.functions->BinFunctionApply == edsc_BFLinearBinFunctionApply) {
        const auto* bins = static_cast<const SpanBins*>(record.internals);
        const double span = bins->upperBound - bins->minLimit;
        rescale.scale = bins->numBins / span;
        rescale.offset = bins->numBins * bins->minLimit / span + record.startBin;
        if (std::int64_t{record.startBin} + record.binCount == bins->numBins) {
            rescale.lastInside = bins->maxLimit;
        }
        return true;
    }
    return false;
}

void applyRows(EerrException& scope, const BulkBins& bulk, const Egda_BaseData& values, double below, double above,
               const Egda_BaseData* mask, Egda_BaseData& bins)
{
    Extent extent{values.numrows, values.numcolumns};
    extent.limitTo(&bins);
    extent.limitTo(mask);

    const double limits[2] = {below, above};
    alignas(double) char outside[2 * sizeof(double)];
    emsc_AddressOf_epxm_Convert()[EGDA_TYPE_F64][bins.datatype](limits, outside, 2);
    const BinLoops::Store store = binLoops().store[bins.datatype - EGDA_TYPE_U8];

    std::int32_t run[BulkBins::kRun];
    for (std::int32_t row = 0; row < extent.rows; ++row) {
        for (std::int32_t column = 0; column < extent.columns; column += BulkBins::kRun) {
            const long length = std::min<long>(BulkBins::kRun, extent.columns - column);
            bulk.apply(scope, values.datatype, rowOf(values, row) + std::ptrdiff_t{column} * values.numbytes, length,
                       run);
            const void* flags = mask == nullptr ? nullptr : rowOf(*mask, row) + column;
            store(run, length, bulk.binCount(), outside, static_cast<const std::uint8_t*>(flags),
                  rowOf(bins, row) + std::ptrdiff_t{column} * bins.numbytes);
        }
    }
}

constexpr double kNoLimit = std::numeric_limits<double>::quiet_NaN();

/* The limits of bins. Where more elements ask than there are bins, each bin is asked once. */
class LimitSource {
public:
    LimitSource(EerrException& scope, const Edsc_BinFunction& record, std::int64_t elements) : record_(record)
    {
        if (elements >= std::int64_t{record.binCount}) {
            lower_.resize(record.binCount);
            upper_.resize(record.binCount);
            for (std::uint32_t bin = 0; bin < record.binCount; ++bin) {
                ask(scope, static_cast<std::int32_t>(bin), lower_[bin], upper_[bin]);
            }
        }
    }

    void get(EerrException& scope, double bin, double& lower, double& upper) const
    {
        lower = upper = kNoLimit;
        if (!(bin >= 0 && bin < record_.binCount)) {
            return;
        }
        const auto number = static_cast<std::uint32_t>(bin);
        if (lower_.empty()) {
            ask(scope, static_cast<std::int32_t>(number), lower, upper);
        } else {
            lower = lower_[number];
            upper = upper_[number];
        }
    }

private:
    void ask(EerrException& scope, std::int32_t bin, double& lower, double& upper) const
    {
        const Emsc_Boolean done = record_.functions->BinFunctionApplyInverse(record_.internals, bin + record_.startBin,
                                                                             &lower, &upper, scope);
        check(scope, "BinFunctionApplyInverse failed");
        require(done, "BinFunctionApplyInverse failed");
    }

    const Edsc_BinFunction& record_;
    std::vector<double> lower_;
    std::vector<double> upper_;
};

/* A run of limits into an output of any number type; a mask element of 0 keeps the output's. */
void putLimits(Egda_BaseData* output, std::int32_t row, std::int32_t column, const double* limits, long length,
               const char* flags)
{
    if (output == nullptr || row >= output->numrows || column >= output->numcolumns) {
        return;
    }
    length = std::min<long>(length, output->numcolumns - column);
    const long bytes = output->numbytes;
    char* const target = rowOf(*output, row) + column * bytes;
    const Epxm_ConvertRoutine convert = emsc_AddressOf_epxm_Convert()[EGDA_TYPE_F64][output->datatype];
    if (flags == nullptr) {
        convert(limits, target, length);
        return;
    }
    constexpr long kMostBytes = 16;
    alignas(kMostBytes) char run[BulkBins::kRun * kMostBytes];
    convert(limits, run, length);
    for (long i = 0; i < length; ++i) {
        if (flags[i] != 0) {
            std::memcpy(target + i * bytes, run + i * bytes, static_cast<std::size_t>(bytes));
        }
    }
}

void inverseRows(EerrException& scope, const Edsc_BinFunction& record, const Egda_BaseData& bins,
                 const Egda_BaseData* mask, Egda_BaseData* lower, Egda_BaseData* upper)
{
    Extent extent{bins.numrows, bins.numcolumns};
    extent.limitTo(mask);
    const LimitSource source(scope, record, std::int64_t{extent.rows} * extent.columns);
    const Epxm_ConvertRoutine convert = emsc_AddressOf_epxm_Convert()[bins.datatype][EGDA_TYPE_F64];

    double numbers[BulkBins::kRun];
    double lowerRun[BulkBins::kRun];
    double upperRun[BulkBins::kRun];
    for (std::int32_t row = 0; row < extent.rows; ++row) {
        for (std::int32_t column = 0; column < extent.columns; column += BulkBins::kRun) {
            const long length = std::min<long>(BulkBins::kRun, extent.columns - column);
            convert(rowOf(bins, row) + std::ptrdiff_t{column} * bins.numbytes, numbers, length);
            for (long i = 0; i < length; ++i) {
                source.get(scope, numbers[i], lowerRun[i], upperRun[i]);
            }
            const char* flags = mask == nullptr ? nullptr : rowOf(*mask, row) + column;
            putLimits(lower, row, column, lowerRun, length, flags);
            putLimits(upper, row, column, upperRun, length, flags);
        }
    }
}

bool isLimitOutput(const Egda_BaseData* data) noexcept
{
    return data == nullptr || (!isTiled(*data) && isPacked(*data) && data->datatype >= 0 &&
                               data->datatype < EGDA_TYPE_STRING);
}

}  // namespace

EMANTLE_API Emsc_Boolean edsc_BinFunctionApplyToValues(const Edsc_BinFunction* binFunction, const Egda_BaseData* values,
                                                       double below, double above, const Egda_BaseData* mask,
                                                       Egda_BaseData* bins, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_BinFunctionApplyToValues", 0, [&](EerrException& scope) {
        require(binFunction != nullptr, "NULL bin function");
        require(values != nullptr && bins != nullptr, "Args");
        require(isBinType(bins->datatype), "Data type not currently supported for this operation.");
        require(!isTiled(*values) && !isTiled(*bins) && isUsableMask(mask) && isPacked(*values),
                "Can't handle these args right now");
        require(values->datatype >= 0 && values->datatype < EGDA_TYPE_STRING, "egda_BaseDataCopy filed");

        const BulkBins bulk(scope, binFunction);
        constexpr double kNoValue = -std::numeric_limits<double>::infinity();
        Rescale rescale{0, 0, static_cast<double>(bulk.binCount()), below, above, kNoValue};
        if (mask == nullptr && values == bins && values->datatype == EGDA_TYPE_F64 &&
            rescaleOf(bulk.record(), rescale)) {
            binLoops().rescale(rescale, static_cast<double*>(bins->firstelement),
                               static_cast<long>(values->numrows) * values->numcolumns);
            return 1;
        }
        const SteadyInput input(scope, *values, bins, nullptr);
        applyRows(scope, bulk, *input, below, above, mask, *bins);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_BinFunctionApplyInverseToValues(const Edsc_BinFunction* binFunction,
                                                              const Egda_BaseData* bins, const Egda_BaseData* mask,
                                                              Egda_BaseData* lower, Egda_BaseData* upper,
                                                              Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_BinFunctionApplyInverseToValues", 0, [&](EerrException& scope) {
        require(binFunction != nullptr, "NULL bin function");
        require(bins != nullptr && (lower != nullptr || upper != nullptr), "Args!");
        require(isBinType(bins->datatype), "I don't do this right now");
        require(!isTiled(*bins) && isUsableMask(mask) && isLimitOutput(lower) && isLimitOutput(upper),
                "Can't handle these args right now");
        const UsableBinFunction record(scope, binFunction);
        const SteadyInput input(scope, *bins, lower, upper);
        inverseRows(scope, *record, *input, mask, lower, upper);
        return 1;
    });
}
