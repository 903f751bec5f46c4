#ifndef EMANTLE_TABLES_EDSC_METHODS_H
#define EMANTLE_TABLES_EDSC_METHODS_H

#include <emantle/tables/edsc/binfunction.h>

/* edsc, the method sets: what a table format, an instance of the class "DescriptorTables", provides.
 *  1. Each entry point is found under the name of its field. A count of rows and an index count from 0.
 *  2. Methods return a negative number on failure, with the chain in `err`, and another number as told.
 *  3. Names of columns and tables are narrow text, or 16-bit text passed through the same pointers where
 *     InstanceSupportsUnicode answers other than 0.
 *  4. A format without InstanceIsThreadsafe, or whose answer is 0, is only called inside the unsafe section.
 *  5. Lists of names are heap arrays of heap texts, the caller's.
 *  6. Column data are packed elements in host form: int32_t, double, two doubles, or `char*` to heap texts of which the
 *     buffer owns each.
 *  7. A format may have two more entry points, ColumnFieldsRead and ColumnFieldsWrite, with the arguments of
 *     ColumnDataRead and ColumnDataWrite: they move the rows of a text column as fields of its width. */

/* The column types, whose names are "integer", "real", "complex" and "string". */
enum { EDSC_COLUMN_INTEGER = 0, EDSC_COLUMN_REAL = 1, EDSC_COLUMN_COMPLEX = 2, EDSC_COLUMN_STRING = 3 };

typedef struct Edsc_TableMethods {
    char* instanceName;
    Emsc_Boolean (*InstanceIsThreadsafe)(void);
    Emsc_Boolean (*InstanceSupportsUnicode)(void);
    int32_t columnTypeCount;
    char** columnTypes;
    /* The names of the column types that the format knows; column types in the calls below count in this list. */
    int32_t (*InstanceColumnTypesGet)(int32_t* count, char*** names, Eerr_ErrorReport** err);
    int32_t (*TableCreate)(void* context, const char* name, int32_t numRows, void** handle, Eerr_ErrorReport** err);
    /* The row count; a null `*handle` says that there is no such table. */
    int32_t (*TableOpen)(void* context, const char* name, void** handle, Eerr_ErrorReport** err);
    int32_t (*TableClose)(void* handle, Eerr_ErrorReport** err);
    /* Closes as well. */
    int32_t (*TableDestroy)(void* handle, Eerr_ErrorReport** err);
    int32_t (*TableRowCountGet)(void* handle, int32_t* count, Eerr_ErrorReport** err);
    int32_t (*TableRowCountSet)(void* handle, int32_t count, Eerr_ErrorReport** err);
    int32_t (*TableRowsAdjustToBinFunction)(void* handle, const Edsc_BinFunction* binFunction, int32_t dataType,
                                            Eerr_ErrorReport** err);
    int32_t (*TableColumnNamesGet)(void* handle, int32_t* count, char*** names, Eerr_ErrorReport** err);
    int32_t (*TableColumnNamesSet)(void* handle, int32_t count, const char* const* oldNames,
                                   const char* const* newNames, Eerr_ErrorReport** err);
    int32_t (*ColumnCreate)(void* table, const char* name, int32_t type, int32_t maxNumChars, void** handle,
                            Eerr_ErrorReport** err);
    /* The row count; a null `*handle` says that there is no such column. */
    int32_t (*ColumnOpen)(void* table, const char* name, int32_t* type, int32_t* maxNumChars, void** handle,
                          Eerr_ErrorReport** err);
    int32_t (*ColumnClose)(void* handle, Eerr_ErrorReport** err);
    /* Closes as well. */
    int32_t (*ColumnDestroy)(void* handle, Eerr_ErrorReport** err);
    /* Seconds since 1970. */
    int32_t (*ColumnModTimeGet)(void* handle, double* time, Eerr_ErrorReport** err);
    int32_t (*ColumnDataRead)(void* handle, int32_t startRow, int32_t numRows, void* data, Eerr_ErrorReport** err);
    int32_t (*ColumnDataWrite)(void* handle, int32_t startRow, int32_t numRows, const void* data,
                               Eerr_ErrorReport** err);
} Edsc_TableMethods;

/* The method set of an instance, shared by all who open it; for edsc_TableMethodsClose. `dllName` says where the
 * instance is; empty or null, the library's own instances and then the catalogue are searched. With `instanceFlag`
 * other than 0 the entry points bear the instance's name in front; where they do not, the bare names are tried.
 * Null without a report when the instance is no table format. A format that lacks an entry point to update what it
 * makes is opened without those that make it. */
EMANTLE_API Edsc_TableMethods* edsc_TableMethodsOpen(const char* dllName, const char* instanceName, long instanceFlag,
                                                     Eerr_ErrorReport** err);
EMANTLE_API void edsc_TableMethodsClose(Edsc_TableMethods* methods, Eerr_ErrorReport** err);

/* What a format can do; 0 for null. */
EMANTLE_API Emsc_Boolean edsc_TableMethodsSupportTableCreation(const Edsc_TableMethods* methods);
EMANTLE_API Emsc_Boolean edsc_TableMethodsSupportTableUpdate(const Edsc_TableMethods* methods);
EMANTLE_API Emsc_Boolean edsc_TableMethodsSupportColumnCreation(const Edsc_TableMethods* methods);
EMANTLE_API Emsc_Boolean edsc_TableMethodsSupportColumnUpdate(const Edsc_TableMethods* methods);
EMANTLE_API Emsc_Boolean edsc_TableMethodsSupportColumnType(const Edsc_TableMethods* methods, const char* typeName);

/* Indexed by column type, 4 entries: the Egda data type of a column in memory. */
EMANTLE_API const int32_t* emsc_AddressOf_Edsc_ColToBdConvertTbl(void);
/* Indexed by Egda data type, 14 entries: the column type of exactly that data type, or -1. */
EMANTLE_API const int32_t* emsc_AddressOf_Edsc_BdToColConvertTbl(void);

#endif
