#pragma once

#include "tables/edsc/binfunction/record.h"
#include "tables/esta/pixels.h"

#include <emantle/tables/esta.h>

namespace emantle::tables {

struct EstaDeleter {
    void operator()(Esta_Statistics* statistics) const noexcept { esta_StatisticsDelete(statistics, nullptr); }
    void operator()(Esta_AllStats* allStats) const noexcept { esta_AllStatsDelete(allStats, nullptr); }
    void operator()(Esta_AllStatsStack* stack) const noexcept { esta_AllStatsStackDelete(stack, nullptr); }
};
template <class Record>
using EstaPtr = std::unique_ptr<Record, EstaDeleter>;

struct HistogramDeleter {
    void operator()(Esta_Histogram* histogram) const noexcept { esta_HistogramDelete(histogram, nullptr); }
};
using HistogramPtr = std::unique_ptr<Esta_Histogram, HistogramDeleter>;

/* Puts `made` in place of what `holder` owns. */
template <class Record>
void replace(Record*& holder, EstaPtr<Record> made) noexcept
{
    EstaPtr<Record> old(holder);
    holder = made.release();
}

inline void replaceHistogram(Esta_Histogram*& holder, HistogramPtr made) noexcept
{
    HistogramPtr old(holder);
    holder = made.release();
}

inline void replaceData(Egda_BaseData*& holder, DataPtr made) noexcept
{
    DataPtr old(holder);
    holder = made.release();
}

}  // namespace emantle::tables
