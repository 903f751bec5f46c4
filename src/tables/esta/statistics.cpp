#include "tables/esta/owners.h"

#include "frame/memory/heap_ptr.h"

namespace emantle::tables {

EMANTLE_API Esta_Statistics* esta_StatisticsCreate(Eerr_ErrorReport** err)
{
    return guarded<Esta_Statistics*>(err, "esta_StatisticsCreate", nullptr,
                                     [] { return allocate<Esta_Statistics>(1, "Out of memory").release(); });
}

EMANTLE_API Esta_Statistics* esta_StatisticsCopy(const Esta_Statistics* source, Esta_Statistics* target,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Esta_Statistics*>(err, "esta_StatisticsCopy", nullptr, [&](EerrException& scope) {
        require(source != nullptr, "No Source Statistics to copy");
        if (target == nullptr) {
            target = checked(scope, esta_StatisticsCreate(scope), "esta_StatisticsCreate failed");
        }
        *target = *source;
        return target;
    });
}

EMANTLE_API void esta_StatisticsDelete(Esta_Statistics* statistics, Eerr_ErrorReport** err)
{
    guarded(err, "esta_StatisticsDelete", [&] { emsc_HeapFree(statistics); });
}

}  // namespace emantle::tables
