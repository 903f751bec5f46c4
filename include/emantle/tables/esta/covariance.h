#ifndef EMANTLE_TABLES_ESTA_COVARIANCE_H
#define EMANTLE_TABLES_ESTA_COVARIANCE_H

#include <emantle/data/egda/basedata.h>
#include <emantle/store/ehfa/file.h>

/* esta, the covariance of the layers of a stack: a square F64 matrix of one row and column a layer. Stored, it is the
 * child "Covariance" of a node, with children like those of "Statistics". */

typedef Egda_BaseData Esta_Covariance;

/* All 0. */
EMANTLE_API Esta_Covariance* esta_CovarianceCreate(long numLayers, Eerr_ErrorReport** err);
EMANTLE_API Esta_Covariance* esta_CovarianceCopy(const Esta_Covariance* source, Esta_Covariance* target,
                                                 Eerr_ErrorReport** err);
EMANTLE_API void esta_CovarianceDelete(Esta_Covariance* covariance, Eerr_ErrorReport** err);
/* Deletes `*covariance` and sets it to null. */
EMANTLE_API void esta_CovarianceDestroy(Esta_Covariance** covariance, Eerr_ErrorReport** err);

/* Reads the child "Covariance" of the node at `path`; null without a report when there is none. */
EMANTLE_API Esta_Covariance* esta_CovarianceRead(Ehfa_File* file, const char* path, Esta_Covariance* target,
                                                 Eerr_ErrorReport** err);
/* The same of the current entry, the child being called `name`. */
EMANTLE_API Esta_Covariance* esta_CovarianceReadByName(Ehfa_File* file, const char* name, Esta_Covariance* target,
                                                       Eerr_ErrorReport** err);

/* When the covariance of the node at `path` was written, in seconds since the epoch; 0.0 when there is none. */
EMANTLE_API double esta_CovarianceGetTimeStamp(Ehfa_File* file, const char* path, Eerr_ErrorReport** err);
/* The values left out: a table, the caller's; null without a report when none were. */
EMANTLE_API Egda_BaseData* esta_CovarianceAreValuesExcluded(Ehfa_File* file, const char* path,
                                                            Eerr_ErrorReport** err);

/* Writes the child "Covariance" of the node at `path`, over the one it has. */
EMANTLE_API Emsc_Boolean esta_CovarianceWrite(Ehfa_File* file, const char* path, const Esta_Covariance* covariance,
                                              Eerr_ErrorReport** err);
/* The same at the current entry, the child being called `name`. */
EMANTLE_API Emsc_Boolean esta_CovarianceWriteByName(Ehfa_File* file, const char* name,
                                                    const Esta_Covariance* covariance, Eerr_ErrorReport** err);

/* Write what belongs to the covariance of the node at `path`, which must have one, in place of what is there. With null
 * `values` none are stored. */
EMANTLE_API Emsc_Boolean esta_CovarianceWriteExcludedValues(Ehfa_File* file, const char* path,
                                                            const Egda_BaseData* values, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_CovarianceWriteSkipFactors(Ehfa_File* file, const char* path, int32_t skipX,
                                                         int32_t skipY, Eerr_ErrorReport** err);

#endif
