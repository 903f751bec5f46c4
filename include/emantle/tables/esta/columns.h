#ifndef EMANTLE_TABLES_ESTA_COLUMNS_H
#define EMANTLE_TABLES_ESTA_COLUMNS_H

#include <emantle/data/egda/stack.h>

/* esta, what a descriptor table tells of each bin besides its count: colours, class names, contrast.
 *  1. Colours and contrast are F64 tables of one row a bin; class names are a record of their own. A table of zeros is
 *     what Create makes; Delete accepts null.
 *  2. Reading: from row `startBin` on, `numBins` rows or, with ESTA_ALL_BINS, all that there are. A given record must
 *     have room for them. Its rows behind the table's last one, and behind those asked for, become 0, or null. Fails
 *     with "Invalid starting bin for ...", "Negative number of bins requested from ..." and "... can store only %d
 *     bins, but %d bins were requested to be read", and where the column is missing.
 *  3. Writing: the same rows, which the record must have. A column that is missing is made. */

typedef struct Edsc_TableInstance Edsc_TableInstance;
typedef Egda_BaseData Esta_ColorTable;
typedef Egda_BaseDataStack Esta_ColorTableStack;
typedef Egda_BaseData Esta_ContrastTable;

/* The components of a colour, by number the columns "Red", "Green", "Blue" and "Opacity". In place of the last one a
 * column "Overlay" serves that is there while "Opacity" is not. */
enum { ESTA_RED = 0, ESTA_GREEN = 1, ESTA_BLUE = 2, ESTA_OPACITY = 3, ESTA_NUM_COLOR_COMPONENTS = 4 };

EMANTLE_API Esta_ColorTable* esta_ColorTableCreate(long numBins, Eerr_ErrorReport** err);
EMANTLE_API Esta_ColorTable* esta_ColorTableCopy(const Esta_ColorTable* source, Esta_ColorTable* target,
                                                 Eerr_ErrorReport** err);
EMANTLE_API void esta_ColorTableDelete(Esta_ColorTable* colorTable, Eerr_ErrorReport** err);
EMANTLE_API Esta_ColorTable* esta_ColorTableRead(Edsc_TableInstance* table, int32_t component,
                                                 Esta_ColorTable* colorTable, long startBin, long numBins,
                                                 Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_ColorTableWrite(Edsc_TableInstance* table, int32_t component,
                                              const Esta_ColorTable* colorTable, long startBin, long numBins,
                                              Eerr_ErrorReport** err);

/* The four components as the layers of a stack. Where there is neither "Opacity" nor "Overlay", every bin is read as
 * opaque, 1. */
EMANTLE_API Esta_ColorTableStack* esta_ColorTableStackCreate(long numBins, Eerr_ErrorReport** err);
EMANTLE_API Esta_ColorTableStack* esta_ColorTableStackCopy(const Esta_ColorTableStack* source,
                                                           Esta_ColorTableStack* target, Eerr_ErrorReport** err);
EMANTLE_API void esta_ColorTableStackDelete(Esta_ColorTableStack* stack, Eerr_ErrorReport** err);
EMANTLE_API Esta_ColorTableStack* esta_ColorTableStackRead(Edsc_TableInstance* table, Esta_ColorTableStack* stack,
                                                           long startBin, long numBins, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_ColorTableStackWrite(Edsc_TableInstance* table, const Esta_ColorTableStack* stack,
                                                   long startBin, long numBins, Eerr_ErrorReport** err);

/* The column "Contrast". */
EMANTLE_API Esta_ContrastTable* esta_ContrastTableCreate(long numBins, Eerr_ErrorReport** err);
EMANTLE_API Esta_ContrastTable* esta_ContrastTableCopy(const Esta_ContrastTable* source, Esta_ContrastTable* target,
                                                       Eerr_ErrorReport** err);
EMANTLE_API void esta_ContrastTableDelete(Esta_ContrastTable* contrastTable, Eerr_ErrorReport** err);
EMANTLE_API Esta_ContrastTable* esta_ContrastTableRead(Edsc_TableInstance* table, Esta_ContrastTable* contrastTable,
                                                       long startBin, long numBins, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean esta_ContrastTableWrite(Edsc_TableInstance* table, const Esta_ContrastTable* contrastTable,
                                                 long startBin, long numBins, Eerr_ErrorReport** err);

/* The column "Class_Names". */
typedef struct Esta_ClassNames {
    int32_t numNames;
    char** names; /* owned; null for a bin without a name */
} Esta_ClassNames;

EMANTLE_API Esta_ClassNames* esta_ClassNamesCreate(long numBins, Eerr_ErrorReport** err);
/* A `target` takes the source's count. */
EMANTLE_API Esta_ClassNames* esta_ClassNamesCopy(const Esta_ClassNames* source, Esta_ClassNames* target,
                                                 Eerr_ErrorReport** err);
EMANTLE_API void esta_ClassNamesDelete(Esta_ClassNames* classNames, Eerr_ErrorReport** err);
/* Fails with "Class column, '%s', has the wrong data type!" for a column of numbers. A name that was never written is
 * an empty text. */
EMANTLE_API Esta_ClassNames* esta_ClassNamesRead(Edsc_TableInstance* table, Esta_ClassNames* classNames, long startBin,
                                                 long numBins, Eerr_ErrorReport** err);
/* A column that is made is as wide as the longest name; one that is there cuts what is longer. */
EMANTLE_API Emsc_Boolean esta_ClassNamesWrite(Edsc_TableInstance* table, const Esta_ClassNames* classNames,
                                              long startBin, long numBins, Eerr_ErrorReport** err);

#endif
