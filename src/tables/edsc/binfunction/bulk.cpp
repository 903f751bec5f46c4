#include "tables/edsc/binfunction/bulk.h"

#include "tables/edsc/binfunction/internals.h"

#include <algorithm>
#include <emantle/data/epxm/convert.h>

namespace emantle::tables {

BulkBins::BulkBins(EerrException& scope, const Edsc_BinFunction* binFunction)
    : record_(scope, binFunction),
      span_{record_->startBin, static_cast<std::int32_t>(record_->binCount)},
      kind_(kindOf(*record_))
{
}

BulkBins::Kind BulkBins::kindOf(const Edsc_BinFunction& record) noexcept
{
    const auto apply = record.functions->BinFunctionApply;
    if (apply == edsc_BFDirectBinFunctionApply) {
        return static_cast<const DirectBins*>(record.internals)->arithmetic();
    }
    if (apply == edsc_BFLinearBinFunctionApply) {
        return static_cast<const SpanBins*>(record.internals)->arithmetic<single::Linear>();
    }
    if (apply == edsc_BFLogarithmicTKBinFunctionApply) {
        return static_cast<const SpanBins*>(record.internals)->arithmetic<single::Logarithmic>();
    }
    const auto* table = static_cast<const TableBins*>(record.internals);
    if (apply == edsc_BFExplicitBinFunctionApply) {
        return single::Explicit{table->numBins, table->rows()};
    }
    if (apply == edsc_BFUniqueBinFunctionApply) {
        return single::Unique{table->numBins, table->rows()};
    }
    return Foreign{};
}

void BulkBins::applyForeign(EerrException& scope, const double* values, long count, std::int32_t* bins) const
{
    for (long i = 0; i < count; ++i) {
        const std::int32_t bin = record_->functions->BinFunctionApply(record_->internals, values[i], scope);
        check(scope, "BinFunctionApply failed");
        bins[i] = single::visibleBin(bin, span_.startBin, span_.binCount);
    }
}

void BulkBins::apply(EerrException& scope, const double* values, long count, std::int32_t* bins) const
{
    const BinLoops& loops = binLoops();
    struct Visitor {
        const BulkBins& self;
        const BinLoops& table;
        EerrException& errors;
        const double* in;
        long length;
        std::int32_t* out;

        void operator()(Foreign) const { self.applyForeign(errors, in, length, out); }
        void operator()(const single::Direct& kind) const { table.direct(kind, self.span_, in, length, out); }
        void operator()(const single::Linear& kind) const { table.linear(kind, self.span_, in, length, out); }
        void operator()(const single::Logarithmic& kind) const { table.logarithmic(kind, self.span_, in, length, out); }
        void operator()(const single::Explicit& kind) const { table.limits(kind, self.span_, in, length, out); }
        void operator()(const single::Unique& kind) const { table.values(kind, self.span_, in, length, out); }
    };
    std::visit(Visitor{*this, loops, scope, values, count, bins}, kind_);
}

void BulkBins::apply(EerrException& scope, Egda_PixelType type, const void* values, long count,
                     std::int32_t* bins) const
{
    require(type >= 0 && type < EGDA_TYPE_STRING, "Values of data type %d have no bins", type);
    if (type == EGDA_TYPE_F64) {
        apply(scope, static_cast<const double*>(values), count, bins);
        return;
    }
    const Epxm_ConvertRoutine convert = emsc_AddressOf_epxm_Convert()[type][EGDA_TYPE_F64];
    const long bytes = egda_NumBytePerPixelFromType(type);
    double run[kRun];
    for (long done = 0; done < count; done += kRun) {
        const long length = std::min(kRun, count - done);
        convert(static_cast<const char*>(values) + done * bytes, run, length);
        apply(scope, run, length, bins + done);
    }
}

}  // namespace emantle::tables
