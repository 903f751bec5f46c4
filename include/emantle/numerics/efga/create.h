#ifndef EMANTLE_NUMERICS_EFGA_CREATE_H
#define EMANTLE_NUMERICS_EFGA_CREATE_H

#include <emantle/data/egda/basedata.h>

/* efga, the shapes: a matrix is a record of EGDA_MATRIX_OBJECT, a vector one of EGDA_TABLE_OBJECT with one column. The
 * functions here are short forms of those of the record, and fail as they do. */

static inline Egda_BaseData* efga_MatrixCreate(long rows, long columns, Egda_PixelType dataType,
                                               Eerr_ErrorReport** err)
{
    return egda_BaseDataCreate(rows, columns, dataType, EGDA_MATRIX_OBJECT, NULL, err);
}

static inline Egda_BaseData* efga_MatrixCopy(const Egda_BaseData* src, Egda_BaseData* dest, Eerr_ErrorReport** err)
{
    return egda_BaseDataCopy(src, dest, err);
}

static inline void efga_MatrixDelete(Egda_BaseData* matrix, Eerr_ErrorReport** err)
{
    egda_BaseDataDelete(matrix, err);
}

static inline Egda_BaseData* efga_VectorCreate(long count, Egda_PixelType dataType, Eerr_ErrorReport** err)
{
    return egda_BaseDataCreate(count, 1, dataType, EGDA_TABLE_OBJECT, NULL, err);
}

static inline Egda_BaseData* efga_VectorCopy(const Egda_BaseData* src, Egda_BaseData* dest, Eerr_ErrorReport** err)
{
    return egda_BaseDataCopy(src, dest, err);
}

static inline void efga_VectorDelete(Egda_BaseData* vector, Eerr_ErrorReport** err)
{
    egda_BaseDataDelete(vector, err);
}

#endif
