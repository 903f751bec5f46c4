#include "tables/esta/store.h"

#include <emantle/store/emif.h>

namespace emantle::tables {

namespace {

constexpr const char* kName = "Covariance";

/* The contents of a record read from a store. */
struct RecordContents {
    CovarianceRecord record{};
    ~RecordContents() { egda_BaseDataDeleteContents(&record.covariance, nullptr); }
};

void seekNode(EerrException& scope, Ehfa_File* file, const char* path)
{
    require(seekPath(scope, file, path), "Path %s does not exist", path);
}

void seekCovariance(EerrException& scope, Ehfa_File* file, const char* path)
{
    seekNode(scope, file, path);
    require(seek(scope, file, EHFA_SEEK_CHILD_NAME, kName), "EntrySeek failure");
}

}  // namespace

/* A target has to have the stored matrix' size, since a part of a covariance is of no use. */
EMANTLE_API Esta_Covariance* esta_CovarianceReadByName(Ehfa_File* file, const char* name, Esta_Covariance* target,
                                                       Eerr_ErrorReport** err)
{
    return guarded<Esta_Covariance*>(err, "esta_CovarianceReadByName", nullptr, [&](EerrException& scope) {
        require(file != nullptr && name != nullptr, "Bad args");
        const Emif_Design* const design = covarianceDesign.fetch(scope);
        RecordContents read;
        const void* const found = checked(
            scope, ehfa_ObjectReadIfPresent(file, nullptr, name, EHFA_SEEK_CHILD_NAME, &read.record, design, scope),
            "ehfa_ObjecReadIfPresent failed");
        if (found == nullptr) {
            return static_cast<Esta_Covariance*>(nullptr);
        }
        const Egda_BaseData& matrix = read.record.covariance;
        require(matrix.data != nullptr && matrix.datatype == EGDA_TYPE_F64 &&
                    matrix.objecttype == EGDA_MATRIX_OBJECT && matrix.numrows == matrix.numcolumns,
                "The stored covariance is no square matrix of F64: %d by %d of type %d", matrix.numrows,
                matrix.numcolumns, matrix.datatype);
        require(target == nullptr || (target->numrows == matrix.numrows && target->numcolumns == matrix.numcolumns),
                "The stored covariance has %d layers, and the given one another number", matrix.numrows);
        return checked(scope, esta_CovarianceCopy(&matrix, target, scope), "esta_CovarianceCopy failed");
    });
}

EMANTLE_API Esta_Covariance* esta_CovarianceRead(Ehfa_File* file, const char* path, Esta_Covariance* target,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Esta_Covariance*>(err, "esta_CovarianceRead", nullptr, [&](EerrException& scope) {
        seekNode(scope, file, path);
        return checked(scope, esta_CovarianceReadByName(file, kName, target, scope),
                       "esta_CovarianceReadByName failed");
    });
}

EMANTLE_API double esta_CovarianceGetTimeStamp(Ehfa_File* file, const char* path, Eerr_ErrorReport** err)
{
    return guarded<double>(err, "esta_CovarianceGetTimeStamp", 0.0, [&](EerrException& scope) {
        seekNode(scope, file, path);
        return seek(scope, file, EHFA_SEEK_CHILD_NAME, kName) ? file->entry->modTime : 0.0;
    });
}

EMANTLE_API Egda_BaseData* esta_CovarianceAreValuesExcluded(Ehfa_File* file, const char* path, Eerr_ErrorReport** err)
{
    return guarded<Egda_BaseData*>(err, "esta_CovarianceAreValuesExcluded", nullptr, [&](EerrException& scope) {
        seekNode(scope, file, path);
        if (!seek(scope, file, EHFA_SEEK_CHILD_NAME, kName)) {
            return static_cast<Egda_BaseData*>(nullptr);
        }
        return readExcludedValues(scope, file).release();
    });
}

EMANTLE_API Emsc_Boolean esta_CovarianceWriteByName(Ehfa_File* file, const char* name,
                                                    const Esta_Covariance* covariance, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_CovarianceWriteByName", 0, [&](EerrException& scope) {
        require(file != nullptr && name != nullptr && covariance != nullptr, "Bad args");
        const CovarianceRecord record{*covariance};
        writeChild(scope, file, name, kCovarianceType, &record, covarianceDesign);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean esta_CovarianceWrite(Ehfa_File* file, const char* path, const Esta_Covariance* covariance,
                                              Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_CovarianceWrite", 0, [&](EerrException& scope) {
        seekNode(scope, file, path);
        return checked(scope, esta_CovarianceWriteByName(file, kName, covariance, scope),
                       "esta_CovarianceWriteByName failed");
    });
}

EMANTLE_API Emsc_Boolean esta_CovarianceWriteExcludedValues(Ehfa_File* file, const char* path,
                                                            const Egda_BaseData* values, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_CovarianceWriteExcludedValues", 0, [&](EerrException& scope) {
        seekCovariance(scope, file, path);
        writeExcludedValues(scope, file, values);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean esta_CovarianceWriteSkipFactors(Ehfa_File* file, const char* path, int32_t skipX,
                                                         int32_t skipY, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_CovarianceWriteSkipFactors", 0, [&](EerrException& scope) {
        seekCovariance(scope, file, path);
        writeSkipFactors(scope, file, skipX, skipY);
        return 1;
    });
}

}  // namespace emantle::tables
