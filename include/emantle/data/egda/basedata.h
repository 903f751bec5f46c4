#ifndef EMANTLE_DATA_EGDA_BASEDATA_H
#define EMANTLE_DATA_EGDA_BASEDATA_H

#include <emantle/data/egda/types.h>
#include <emantle/frame/eerr.h>

/* egda, the typed two-dimensional record.
 *  1. Scalars, tables, matrices and rasters are all this record. A line is a row, or a column of a matrix; `pitch`
 *     leads from one line to the next.
 *  2. A record with derivedFlag 1 borrows its elements: deleting it frees the record alone. The owner must outlive it;
 *     nothing counts references.
 *  3. Functions that return a record give it to the caller, who gives it back to egda_BaseDataDelete. With a `dest`
 *     that is not null they fill and return that one.
 *  4. On failure the result is null and the arguments are as they were, unless the function says otherwise. Null
 *     arguments are accepted where the function says so.
 *  5. Two threads may read one record. */

struct Edsc_BinFunction;

typedef struct Egda_BaseData {
    int32_t numrows;
    int32_t numcolumns;
    Egda_PixelType datatype;
    int32_t objecttype;
    void* data;         /* the block; what a record that owns it frees */
    void* firstelement; /* the same address: walks over lines start here, walks over the whole block at `data` */
    int32_t pitch;      /* bytes from one line to the next */
    int32_t derivedFlag;
    int32_t numelements; /* numrows times numcolumns */
    int32_t numbytes;    /* bytes of one element */
    struct Edsc_BinFunction* binfunction; /* from values to bins; never owned, null for none */
} Egda_BaseData;

/* Which elements an assignment writes; any other mode writes nothing. */
enum {
    EGDA_SET_ALL = 0,
    EGDA_SET_DIAGONAL = 1, /* of a square record */
    EGDA_SET_ROW = 2,
    EGDA_SET_COLUMN = 3
};

/* A new record. A null `data` allocates the elements, all zero; any other is borrowed. A raster's block has room for
 * its columns rounded up to a multiple of 4, with all slack behind the last row. Fails with number 3 for an unknown
 * type, 1 and 2 when memory is out; a shape that is empty or beyond 32 bits has no block. */
EMANTLE_API Egda_BaseData* egda_BaseDataCreate(long nRows, long nColumns, Egda_PixelType dataType, long objectType,
                                               void* data, Eerr_ErrorReport** err);

/* Gives the view `base` a new shape, and new elements when `data` is not null; a null `base` acts as
 * egda_BaseDataCreate. Fails when a size is below 1 (the result then is `base`), and on a record that owns its
 * elements. The type is not checked. */
EMANTLE_API Egda_BaseData* egda_BaseDataReCreate(Egda_BaseData* base, long nRows, long nColumns,
                                                 Egda_PixelType dataType, long objectType, void* data,
                                                 Eerr_ErrorReport** err);

/* A new view on `nRows` by `nColumns` elements of `src` from (rOffset, cOffset) on. Fails as egda_BaseDataReDerive. */
EMANTLE_API Egda_BaseData* egda_BaseDataDerived(const Egda_BaseData* src, long rOffset, long cOffset, long nRows,
                                                long nColumns, Eerr_ErrorReport** err);

/* Aims the view `dest` at a part of `src`. `dest` is overwritten unseen, so it must be a view itself. Fails when `src`
 * is null or the rectangle is empty or not inside it. */
EMANTLE_API Egda_BaseData* egda_BaseDataReDerive(const Egda_BaseData* src, Egda_BaseData* dest, long rOffset,
                                                 long cOffset, long nRows, long nColumns, Eerr_ErrorReport** err);

/* Copies the part that both records have, converting elements as epxm_Convert does, and the bin function; the rest of
 * `dest` stays. Tables count as one run of elements. With a null `dest` a record like `src` is made. Fails with 1 when
 * `src` is null, 2 when the object types differ, 3 when the new record cannot be made, and 4 between strings and
 * numbers, for which there is no conversion. */
EMANTLE_API Egda_BaseData* egda_BaseDataCopy(const Egda_BaseData* src, Egda_BaseData* dest, Eerr_ErrorReport** err);

/* egda_BaseDataCopy that also tells in `*changed` whether the first byte of any line of `dest` differed from the first
 * byte of the same line of `src`. No other byte is looked at. */
EMANTLE_API Egda_BaseData* egda_BaseDataCopyExt(const Egda_BaseData* src, Egda_BaseData* dest, Emsc_Boolean* changed,
                                                Eerr_ErrorReport** err);

/* Resizes `base`, whose derivedFlag is not looked at. A table, a raster of unchanged width and a matrix of unchanged
 * height are resized in place and keep their pitch; any other record moves to a new block with the part that both
 * shapes have. Strings that no longer fit are freed. Fails with 1 for a null `base`, 2 and 3 when memory is out, 4 when
 * the elements cannot be copied. */
EMANTLE_API void egda_BaseDataReallocate(Egda_BaseData* base, long nRows, long nColumns, Eerr_ErrorReport** err);

/* Writes elements of the record's own type into the elements that `mode` selects, `index` being a row or a column that
 * is not checked; a whole record is written line by line. With `isArray` 1 `values` holds one element for each element
 * written, else one for all. Strings are copied from an array of pointers, one for each element whatever `isArray`
 * says. Fails with 1 for the diagonal of a record that is not square. */
EMANTLE_API void egda_BaseDataSetBoth(Egda_BaseData* base, const void* values, long mode, long index,
                                      Emsc_Boolean isArray, Eerr_ErrorReport** err);

/* egda_BaseDataSetBoth with an array. */
EMANTLE_API void egda_BaseDataSet(Egda_BaseData* base, const void* values, long mode, long index,
                                  Eerr_ErrorReport** err);

/* egda_BaseDataSetBoth with one number, converted to the record's type as epxm_Convert does. Fails with 1 on strings
 * also. */
EMANTLE_API void egda_BaseDataSetScalar(Egda_BaseData* base, double value, long mode, long index,
                                        Eerr_ErrorReport** err);

/* Frees the elements, strings included, of a record that owns them. Its pointers stay as they were. Accepts null. */
EMANTLE_API void egda_BaseDataDeleteContents(Egda_BaseData* base, Eerr_ErrorReport** err);

/* Frees the record, and what it owns. Accepts null. */
EMANTLE_API void egda_BaseDataDelete(Egda_BaseData* base, Eerr_ErrorReport** err);

/* Limits `nLines` lines of `nPerLine` elements to [low, high], in place. For integers the bounds are first limited to
 * what the storage holds and truncated; U1, U2 and U4 count as U8, and so do the leading bytes of complex numbers and
 * strings. */
EMANTLE_API void egda_BaseDataClip(Egda_BaseData* base, long nLines, long nPerLine, double low, double high);

/* The least and the greatest of `nLines` lines of `nPerLine` elements; complex numbers and strings are read as bytes.
 * Here the count per line comes first. A NaN counts only as the very first element, and is then the answer. An empty
 * extent leaves `*min` and `*max` as they are. */
EMANTLE_API void egda_BaseDataStats(const Egda_BaseData* base, long nPerLine, long nLines, double* min, double* max);

/* Short forms, one for each shape. They fail as the functions they call. */

static inline Egda_BaseData* egda_ScalarCreate(Egda_PixelType dataType, Eerr_ErrorReport** err)
{
    return egda_BaseDataCreate(1, 1, dataType, EGDA_SCALAR_OBJECT, NULL, err);
}

/* One column of `numRows`. */
static inline Egda_BaseData* egda_TableCreate(long numRows, Egda_PixelType dataType, Eerr_ErrorReport** err)
{
    return egda_BaseDataCreate(numRows, 1, dataType, EGDA_TABLE_OBJECT, NULL, err);
}

static inline Egda_BaseData* egda_TableCopy(const Egda_BaseData* src, Egda_BaseData* dest, Eerr_ErrorReport** err)
{
    return egda_BaseDataCopy(src, dest, err);
}

static inline void egda_TableReallocate(Egda_BaseData* table, long numRows, Eerr_ErrorReport** err)
{
    egda_BaseDataReallocate(table, numRows, 1, err);
}

static inline void egda_TableDelete(Egda_BaseData* table, Eerr_ErrorReport** err)
{
    egda_BaseDataDelete(table, err);
}

static inline Egda_BaseData* egda_MatrixCreate(long nRows, long nColumns, Egda_PixelType dataType,
                                               Eerr_ErrorReport** err)
{
    return egda_BaseDataCreate(nRows, nColumns, dataType, EGDA_MATRIX_OBJECT, NULL, err);
}

static inline Egda_BaseData* egda_RasterCreate(long nRows, long nColumns, Egda_PixelType dataType,
                                               Eerr_ErrorReport** err)
{
    return egda_BaseDataCreate(nRows, nColumns, dataType, EGDA_RASTER_OBJECT, NULL, err);
}

static inline void egda_BaseDataSetZero(Egda_BaseData* base, Eerr_ErrorReport** err)
{
    egda_BaseDataSetScalar(base, 0.0, EGDA_SET_ALL, 0, err);
}

#endif
