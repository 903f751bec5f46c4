#include "tables/eahg/counts.h"

#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <cstdio>
#include <emantle/frame/ehsh.h>

namespace emantle::tables {

namespace {

constexpr double kMostUnique = 4294967295.0;
constexpr double kFewestBuckets = 8192;
/* The table grows by itself: a generous limit of the caller need not be paid at once. */
constexpr double kMostBuckets = 1 << 20;

void createCounts(Eahg_Histogram& histogram, EerrException& scope)
{
    if (hasArray(histogram)) {
        histogram.counts = allocate<std::uint32_t>(static_cast<std::size_t>(cellsOf(histogram)),
                                                   "histogramArrayCreate failed")
                               .release();
        return;
    }
    const double buckets = std::clamp(2 * histogram.maxUnique, kFewestBuckets, kMostBuckets);
    const int table = checked(scope,
                              ehsh_TableCreate(static_cast<long>(buckets), sizeof(std::uint32_t), scope, EHSH_KEY_SIZE,
                                               static_cast<int>(histogram.bytesPerPixel), EHSH_END),
                              "ehsh_TableCreate failed");
    histogram.counts = reinterpret_cast<void*>(static_cast<std::intptr_t>(table));
}

void printValues(const Eahg_Histogram& histogram)
{
    std::printf("totalCount:  %ld\nuniqueCount: %ld\nmaxUnique:   %.0f\ndataType:    %s\n",
                static_cast<long>(histogram.totalCount), static_cast<long>(histogram.uniqueCount), histogram.maxUnique,
                egda_PixelNameFromType(histogram.dataType));
    for (long row = 0; row < histogram.uniqueCount; ++row) {
        if (isComplex(histogram.dataType)) {
            const ComplexCount& pair = static_cast<const ComplexCount*>(histogram.values)[row];
            std::printf("(%.17g, %.17g):\t%.0f\n", pair.value.real, pair.value.imaginary, pair.count);
        } else {
            const ValueCount& pair = static_cast<const ValueCount*>(histogram.values)[row];
            std::printf("%.17g:\t%.0f\n", pair.value, pair.count);
        }
    }
}

/* A table of one member of each pair. */
template <class Pair, class Member>
DataPtr columnOf(const Eahg_Histogram& histogram, Member Pair::*member, Egda_PixelType type, EerrException& scope)
{
    DataPtr table(checked(scope, egda_TableCreate(histogram.uniqueCount, type, scope), "egda_TableCreate failed"));
    for (long row = 0; row < histogram.uniqueCount; ++row) {
        static_cast<Member*>(table->data)[row] = static_cast<const Pair*>(histogram.values)[row].*member;
    }
    return table;
}

}  // namespace

EMANTLE_API Eahg_Histogram* eahg_HistogramCreate(double maxUnique, Egda_PixelType dataType, long,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Eahg_Histogram*>(err, "eahg_HistogramCreate", nullptr, [&](EerrException& scope) {
        require(isNumber(dataType), "Invalid data type for histogram");
        require(maxUnique <= kMostUnique, "Not implemented yet");
        HeapPtr<Eahg_Histogram> histogram = allocate<Eahg_Histogram>(1, "Insufficient memory");
        histogram->maxUnique = maxUnique;
        histogram->dataType = dataType;
        histogram->bytesPerPixel = static_cast<std::int32_t>(egda_NumBytePerPixelFromType(dataType));
        createCounts(*histogram, scope);
        return histogram.release();
    });
}

EMANTLE_API void eahg_HistogramDestroy(Eahg_Histogram** histogram, Eerr_ErrorReport** err)
{
    guarded(err, "eahg_HistogramDestroy", [&](EerrException& scope) {
        if (histogram == nullptr || *histogram == nullptr) {
            return;
        }
        const HeapPtr<Eahg_Histogram> owned(*histogram);
        *histogram = nullptr;
        emsc_HeapFree(owned->values);
        if (hasArray(*owned)) {
            emsc_HeapFree(owned->counts);
        } else {
            ehsh_TableDelete(tableOf(*owned), scope);
            check(scope);
        }
    });
}

EMANTLE_API long eahg_HistogramAccumulateValues(Eahg_Histogram* histogram, const Egda_BaseData* data,
                                                const Egda_BaseData* mask, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "eahg_HistogramAccumulateValues", -1, [&](EerrException& scope) {
        require(histogram != nullptr, "Args");
        requirePixels(data, mask);
        require(data->datatype == histogram->dataType, "Not implemented yet");
        emsc_HeapFreeEx(&histogram->values);
        return countValues(*histogram, *data, mask, scope);
    });
}

EMANTLE_API Emsc_Boolean eahg_HistogramConvertToValuesAndCounts(Eahg_Histogram* histogram, Egda_BaseData** values,
                                                                Egda_BaseData** counts, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "eahg_HistogramConvertToValuesAndCounts", 0, [&](EerrException& scope) {
        require(histogram != nullptr && (values != nullptr || counts != nullptr), "Args");
        sortValues(*histogram, scope);
        DataPtr valueTable;
        DataPtr countTable;
        if (isComplex(histogram->dataType)) {
            valueTable = columnOf(*histogram, &ComplexCount::value, EGDA_TYPE_C128, scope);
            countTable = columnOf(*histogram, &ComplexCount::count, EGDA_TYPE_F64, scope);
        } else {
            valueTable = columnOf(*histogram, &ValueCount::value, EGDA_TYPE_F64, scope);
            countTable = columnOf(*histogram, &ValueCount::count, EGDA_TYPE_F64, scope);
        }
        if (values != nullptr) {
            *values = valueTable.release();
        }
        if (counts != nullptr) {
            *counts = countTable.release();
        }
        return 1;
    });
}

EMANTLE_API void eahg_HistogramPrint(Eahg_Histogram* histogram, Eerr_ErrorReport** err)
{
    guarded(err, "eahg_HistogramPrint", [&](EerrException& scope) {
        require(histogram != nullptr, "Args");
        sortValues(*histogram, scope);
        printValues(*histogram);
    });
}

}  // namespace emantle::tables
