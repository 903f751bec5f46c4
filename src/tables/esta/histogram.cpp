#include "tables/esta/owners.h"

#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <limits>

namespace emantle::tables {

namespace {

BinFunctionPtr functionFor(const Edsc_BinFunction* binFunction, long numBins, EerrException& scope)
{
    if (binFunction != nullptr) {
        return BinFunctionPtr(checked(scope, edsc_BinFunctionCopy(binFunction, nullptr, scope),
                                      "edsc_BinFunctionCopy fail"));
    }
    return BinFunctionPtr(
        checked(scope, edsc_BinFunctionCreateDirect(0.0, static_cast<std::uint32_t>(numBins), scope)));
}

void setFunction(Esta_Histogram& histogram, BinFunctionPtr function) noexcept
{
    BinFunctionPtr old(histogram.binfunction);
    histogram.binfunction = function.release();
}

/* Gives the histogram `rows` rows; new ones are 0. */
void resize(Esta_Histogram& histogram, long rows, EerrException& scope)
{
    const long before = histogram.numrows;
    if (rows == before) {
        return;
    }
    egda_TableReallocate(&histogram, rows, scope);
    check(scope, "egda_TableReallocate fail");
    if (rows > before) {
        std::fill(doublesOf(histogram) + before, doublesOf(histogram) + rows, 0.0);
    }
}

}  // namespace

EMANTLE_API Esta_Histogram* esta_HistogramCreate(long numBins, const Edsc_BinFunction* binFunction,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Esta_Histogram*>(err, "esta_HistogramCreate", nullptr, [&](EerrException& scope) {
        const long bins = binFunction == nullptr ? 0 : static_cast<long>(edsc_BinFunctionBinCount(binFunction, scope));
        check(scope);
        if (bins > numBins) {
            warn("esta_HistogramCreate", "Number of bins adjusted to match passed in bin function");
            numBins = bins;
        }
        require(numBins > 0 && numBins <= std::numeric_limits<std::int32_t>::max(), "Bad args");
        BinFunctionPtr function = functionFor(binFunction, numBins, scope);
        HistogramPtr histogram(checked(scope, egda_TableCreate(numBins, EGDA_TYPE_F64, scope),
                                       "Error reported by function egda_TableCreate"));
        setFunction(*histogram, std::move(function));
        return histogram.release();
    });
}

EMANTLE_API Esta_Histogram* esta_HistogramCopy(const Esta_Histogram* source, Esta_Histogram* target,
                                               Eerr_ErrorReport** err)
{
    return guarded<Esta_Histogram*>(err, "esta_HistogramCopy", nullptr, [&](EerrException& scope) {
        require(source != nullptr && source->datatype == EGDA_TYPE_F64, "Bad args");
        require(target == nullptr || target->datatype == EGDA_TYPE_F64, "Bad args");
        if (target == source) {
            return target;
        }
        BinFunctionPtr function;
        if (source->binfunction != nullptr) {
            function = functionFor(source->binfunction, 0, scope);
        }
        HistogramPtr made;
        if (target == nullptr) {
            made.reset(checked(scope, egda_TableCreate(source->numrows, EGDA_TYPE_F64, scope),
                               "Error reported by function egda_TableCreate"));
            target = made.get();
        } else {
            resize(*target, source->numrows, scope);
        }
        std::copy_n(doublesOf(*source), source->numrows, doublesOf(*target));
        setFunction(*target, std::move(function));
        made.release();
        return target;
    });
}

EMANTLE_API void esta_HistogramDelete(Esta_Histogram* histogram, Eerr_ErrorReport** err)
{
    guarded(err, "esta_HistogramDelete", [&](EerrException& scope) {
        if (histogram == nullptr) {
            return;
        }
        setFunction(*histogram, nullptr);
        egda_BaseDataDelete(histogram, scope);
        check(scope, "Error reported by function egda_BaseDataDelete");
    });
}

EMANTLE_API Emsc_Boolean esta_HistogramBinFunctionReplace(Esta_Histogram* histogram,
                                                          const Edsc_BinFunction* binFunction,
                                                          Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_HistogramBinFunctionReplace", 0, [&](EerrException& scope) {
        require(histogram != nullptr && histogram->datatype == EGDA_TYPE_F64 && binFunction != nullptr, "Bad args");
        BinFunctionPtr function = functionFor(binFunction, 0, scope);
        const long bins = static_cast<long>(checked(scope, edsc_BinFunctionBinCount(function.get(), scope)));
        resize(*histogram, bins, scope);
        setFunction(*histogram, std::move(function));
        return 1;
    });
}

EMANTLE_API Emsc_Boolean esta_HistogramTranslate(const Esta_Histogram* source, Esta_Histogram* target,
                                                 Egda_PixelType dataType, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_HistogramTranslate", 0, [&](EerrException& scope) {
        require(source != nullptr && target != nullptr && source->datatype == EGDA_TYPE_F64 &&
                    target->datatype == EGDA_TYPE_F64,
                "Bad args");
        const HeapPtr<std::int32_t> map(checked(
            scope,
            edsc_BinFunctionTranslate(source->numrows, source->binfunction, target->binfunction, dataType, scope),
            "edsc_BinFunctionTranslate failed"));
        for (long row = 0; map != nullptr && row < source->numrows; ++row) {
            const std::int32_t place = map.get()[row];
            if (place >= 0 && place < target->numrows) {
                doublesOf(*target)[place] += doublesOf(*source)[row];
            }
        }
        return 1;
    });
}

}  // namespace emantle::tables
