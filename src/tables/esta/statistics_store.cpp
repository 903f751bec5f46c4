#include "tables/esta/store.h"

namespace emantle::tables {

namespace {

void seekStatistics(EerrException& scope, Ehfa_File* file, const char* path)
{
    require(seekPath(scope, file, path), "Cannot find %s", path);
    require(seek(scope, file, EHFA_SEEK_CHILD_NAME, "Statistics"), "Could not find statistics information");
}

}  // namespace

EMANTLE_API Esta_Statistics* esta_StatisticsRead(Ehfa_File* file, const char* path, Esta_Statistics* statistics,
                                                 Emsc_Boolean searchUpward, Eerr_ErrorReport** err)
{
    return guarded<Esta_Statistics*>(err, "esta_StatisticsRead", nullptr, [&](EerrException& scope) {
        const Emif_Design* const design = statisticsDesign.fetch(scope);
        if (!seekType(scope, file, path, kStatisticsType, searchUpward != 0)) {
            return static_cast<Esta_Statistics*>(nullptr);
        }
        EstaPtr<Esta_Statistics> made;
        if (statistics == nullptr) {
            made.reset(checked(scope, esta_StatisticsCreate(scope),
                               "Error reported by function esta_StatisticsCreate"));
        }
        Esta_Statistics read{};
        const void* const found = checked(
            scope,
            ehfa_ObjectReadIfPresent(file, nullptr, kStatisticsType, EHFA_SEEK_SIBLING_TYPE, &read, design, scope),
            "Error reported by function ehfa_ObjectRead");
        if (found == nullptr) {
            return static_cast<Esta_Statistics*>(nullptr);
        }
        Esta_Statistics* const target = made ? made.release() : statistics;
        *target = read;
        return target;
    });
}

EMANTLE_API double esta_StatisticsGetTimeStamp(Ehfa_File* file, const char* path, Emsc_Boolean searchUpward,
                                               Eerr_ErrorReport** err)
{
    return guarded<double>(err, "esta_StatisticsGetTimeStamp", 0.0, [&](EerrException& scope) {
        return seekType(scope, file, path, kStatisticsType, searchUpward != 0) ? file->entry->modTime : 0.0;
    });
}

EMANTLE_API Egda_BaseData* esta_StatisticsAreValuesExcluded(Ehfa_File* file, const char* path,
                                                            Emsc_Boolean searchUpward, Eerr_ErrorReport** err)
{
    return guarded<Egda_BaseData*>(err, "esta_StatisticsAreValuesExcluded", nullptr, [&](EerrException& scope) {
        if (!seekType(scope, file, path, kStatisticsType, searchUpward != 0)) {
            return static_cast<Egda_BaseData*>(nullptr);
        }
        return readExcludedValues(scope, file).release();
    });
}

EMANTLE_API Emsc_Boolean esta_StatisticsGetSkipFactors(Ehfa_File* file, const char* path, int32_t* skipX,
                                                       int32_t* skipY, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_StatisticsGetSkipFactors", 0, [&](EerrException& scope) {
        const Emif_Design* const design = skipFactorsDesign.fetch(scope);
        SkipFactorsRecord record{1, 1};
        bool found = seekType(scope, file, path, kStatisticsType, false);
        if (found) {
            SkipFactorsRecord read{};
            found = checked(scope,
                            ehfa_ObjectReadIfPresent(file, nullptr, kSkipFactorsType, EHFA_SEEK_CHILD_TYPE, &read,
                                                     design, scope),
                            "Error reported by function ehfa_ObjectRead") != nullptr;
            record = found ? read : record;
        }
        if (skipX != nullptr) {
            *skipX = record.skipFactorX;
        }
        if (skipY != nullptr) {
            *skipY = record.skipFactorY;
        }
        return found ? 1 : 0;
    });
}

EMANTLE_API Emsc_Boolean esta_StatisticsWrite(Ehfa_File* file, const char* path, const Esta_Statistics* statistics,
                                              Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_StatisticsWrite", 0, [&](EerrException& scope) {
        require(statistics != nullptr, "Bad args");
        require(seekPath(scope, file, path), "Cannot find %s", path);
        writeChild(scope, file, "Statistics", kStatisticsType, statistics, statisticsDesign);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean esta_StatisticsWriteExcludedValues(Ehfa_File* file, const char* path,
                                                            const Egda_BaseData* values, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_StatisticsWriteExcludedValues", 0, [&](EerrException& scope) {
        seekStatistics(scope, file, path);
        writeExcludedValues(scope, file, values);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean esta_StatisticsWriteSkipFactors(Ehfa_File* file, const char* path, int32_t skipX,
                                                         int32_t skipY, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_StatisticsWriteSkipFactors", 0, [&](EerrException& scope) {
        seekStatistics(scope, file, path);
        writeSkipFactors(scope, file, skipX, skipY);
        return 1;
    });
}

}  // namespace emantle::tables
