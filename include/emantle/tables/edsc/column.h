#ifndef EMANTLE_TABLES_EDSC_COLUMN_H
#define EMANTLE_TABLES_EDSC_COLUMN_H

#include <emantle/tables/edsc/table.h>

typedef struct Egda_BaseDataStack Egda_BaseDataStack;

/* edsc, the columns of a table.
 *  1. Create and Open return a handle, the caller's, to be closed before the table's. Every read and write goes to the
 *     format at once.
 *  2. Rows count from 0. A "string" column has fields of `maxNumChars` bytes: longer text is cut, without a report.
 *  3. The arguments behind `err` are reserved and end with a null; anything else is told, "Non-null argument list
 *    ignored",
 *     and ignored.
 *  4. Calls that return Emsc_Boolean answer 0 on failure. */

typedef struct Edsc_ColumnInstance {
    int32_t numRows;
    int32_t reserved;
    int32_t dataType;    /* EDSC_COLUMN_...; -1 until known */
    int32_t maxNumChars; /* 0 unless a string */
    char* name;
    Edsc_TableInstance* table;  /* not owned */
    Emif_Design* elementDesign; /* one element */
    void* handle;
} Edsc_ColumnInstance;

/* A new column, all zero or blank. For a "string" its width, an `int`, comes behind `err`, in front of the reserved
 * arguments; for other types nothing behind `err` is read. Fails with "A column with name %s already exists in table
 * %s", "maxNumChars invalid for string type", "Invalid column type". */
EMANTLE_API Edsc_ColumnInstance* edsc_ColumnCreate(Edsc_TableInstance* table, const char* name, int32_t typeIndex,
                                                   Eerr_ErrorReport** err, ...);

/* "Column %s does not exist"; the second form answers null without a report instead. */
EMANTLE_API Edsc_ColumnInstance* edsc_ColumnOpen(Edsc_TableInstance* table, const char* name, Eerr_ErrorReport** err,
                                                 ...);
EMANTLE_API Edsc_ColumnInstance* edsc_ColumnOpenIfPresent(Edsc_TableInstance* table, const char* name,
                                                          Eerr_ErrorReport** err, ...);
EMANTLE_API Emsc_Boolean edsc_ColumnExist(Edsc_TableInstance* table, const char* name, Eerr_ErrorReport** err);

/* Accepts null. The handle is gone also on failure. */
EMANTLE_API void edsc_ColumnClose(Edsc_ColumnInstance* column, Eerr_ErrorReport** err);

EMANTLE_API Emsc_Boolean edsc_ColumnRemove(Edsc_TableInstance* table, const char* name, Eerr_ErrorReport** err);

/* Renames; the handle stays valid. */
EMANTLE_API Emsc_Boolean edsc_ColumnChangeName(Edsc_ColumnInstance* column, const char* newName,
                                               Eerr_ErrorReport** err, ...);

/* Seconds since 1970 of the last write; 0 on failure. */
EMANTLE_API double edsc_ColumnGetTimeStamp(Edsc_ColumnInstance* column, Eerr_ErrorReport** err);

/* Move rows between the column and the first rows of `data`, a record of one column and of any type that converts to
 * the column's. A read stops at the rows of `data`, and frees the texts that it replaces; a write of more rows than
 * `data` has fails with "Not enough data in columnData to write %ld rows". Rows outside the column: "Invalid range of
 * row numbers specified:  %d - %d". */
EMANTLE_API Emsc_Boolean edsc_ColumnRead(Edsc_ColumnInstance* column, int32_t startRow, int32_t numRows,
                                         Egda_BaseData* data, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean edsc_ColumnWrite(Edsc_ColumnInstance* column, int32_t startRow, int32_t numRows,
                                          const Egda_BaseData* data, Eerr_ErrorReport** err);

/* The same with a bare buffer: packed elements of the column's own type, for strings fields of `maxNumChars` bytes.
 * What lies behind a text's terminator in its field is the format's: the store keeps it as it is. */
EMANTLE_API Emsc_Boolean edsc_ColumnReadOld(Edsc_ColumnInstance* column, int32_t startRow, int32_t numRows, void* data,
                                            Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean edsc_ColumnWriteOld(Edsc_ColumnInstance* column, int32_t startRow, int32_t numRows,
                                             const void* data, Eerr_ErrorReport** err);

/* A whole column into the first layer of a stack, which is made for null, with the table's bin function on it; the bin
 * function of a layer is then the caller's, for edsc_BinFunctionDelete. And back: the column is made where there is
 * none, for strings as wide as the longest. */
EMANTLE_API Egda_BaseDataStack* edsc_DescriptorStackRead(Edsc_TableInstance* table, const char* columnName,
                                                         Egda_BaseDataStack* stack, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean edsc_DescriptorStackWrite(Edsc_TableInstance* table, const char* columnName,
                                                   const Egda_BaseDataStack* stack, Eerr_ErrorReport** err);

/* Whether `data` are the lower limits of the bins, in the type of the column that holds `dataType`: integer up to S32
 * but for U32, real for U32 and the floats, complex. */
EMANTLE_API Emsc_Boolean edsc_ColumnDataMatchesBinFunction(const Egda_BaseData* data,
                                                           const Edsc_BinFunction* binFunction, int32_t dataType);

#endif
