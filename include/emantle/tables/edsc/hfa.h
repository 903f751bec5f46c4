#ifndef EMANTLE_TABLES_EDSC_HFA_H
#define EMANTLE_TABLES_EDSC_HFA_H

#include <emantle/tables/edsc/column.h>

/* edsc, the tables of a store: the method set of the instance "edsc_HFA".
 *  1. The context is the Ehfa_File. A table's name is its node path.
 *  2. The methods have the shapes of Edsc_TableMethods; what they return is told there.
 *  3. A column's node holds four fields; its elements lie in a run of their own, `numRows` elements from
 *    `columnDataPtr`. */

typedef struct Edsc_HFATable {
    Ehfa_File* file;
    char* path;
    int32_t numRows;
} Edsc_HFATable;

typedef struct Edsc_HFAColumn {
    Edsc_HFATable* table; /* not owned */
    char* path;
    uint32_t columnDataPtr;
    Emif_Design* elementDesign;
} Edsc_HFAColumn;

/* Tells this thread's next edsc_HFATableCreate where its node goes: below or beside `parentPath` (the current entry for
 * null) by `insertMode`, a method of ehfa_EntryWrite. Returns the node's path, heap text of the caller's; null when
 * mode 0 renames nothing. With `insertMode` -1 it finds a table instead, like ehfa_ObjectRead, and returns its path:
 * "%s is not a descriptor table". */
EMANTLE_API char* edsc_HFATableArgsSet(Ehfa_File* file, const char* parentPath, const char* name, long insertMode,
                                       long seekMode, Eerr_ErrorReport** err);

EMANTLE_API int32_t edsc_HFAInstanceColumnTypesGet(int32_t* count, char*** names, Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFATableCreate(void* context, const char* name, int32_t numRows, void** handle,
                                        Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFATableOpen(void* context, const char* name, void** handle, Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFATableClose(void* handle, Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFATableDestroy(void* handle, Eerr_ErrorReport** err);
/* An interruption leaves columns that are at least as long as the table says. */
EMANTLE_API int32_t edsc_HFATableRowCountSet(void* handle, int32_t count, Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFATableColumnNamesGet(void* handle, int32_t* count, char*** names, Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFATableColumnNamesSet(void* handle, int32_t count, const char* const* oldNames,
                                                const char* const* newNames, Eerr_ErrorReport** err);

EMANTLE_API int32_t edsc_HFAColumnCreate(void* table, const char* name, int32_t type, int32_t maxNumChars,
                                         void** handle, Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFAColumnOpen(void* table, const char* name, int32_t* type, int32_t* maxNumChars,
                                       void** handle, Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFAColumnClose(void* handle, Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFAColumnDestroy(void* handle, Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFAColumnDataRead(void* handle, int32_t startRow, int32_t numRows, void* data,
                                           Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFAColumnDataWrite(void* handle, int32_t startRow, int32_t numRows, const void* data,
                                            Eerr_ErrorReport** err);
EMANTLE_API int32_t edsc_HFAColumnModTimeGet(void* handle, double* time, Eerr_ErrorReport** err);

/* Copies header and elements of the column that is the current entry of `source` to the current entry of `destination`,
 * which has the same name and type and no data yet. "No column data!" where there are none. */
EMANTLE_API Emsc_Boolean edsc_HFAColumnDataCopy(Ehfa_File* source, Ehfa_File* destination, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean edsc_CopyColumnData(Ehfa_File* source, Ehfa_File* destination, Eerr_ErrorReport** err);

/* The column at `node`, or the current entry for null, as one object with header and elements, under the design
 * "Edsc_HFA_Column"; for emif_ObjectFree with that design. And into the current entry, whose run is replaced: `design`
 * must be of that name. */
EMANTLE_API void* edsc_HFAColumnAndMIFDataRead(Ehfa_File* file, const char* node, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean edsc_HFAColumnAndMIFDataWrite(Ehfa_File* file, const void* column, const Emif_Design* design,
                                                       Eerr_ErrorReport** err);

#endif
