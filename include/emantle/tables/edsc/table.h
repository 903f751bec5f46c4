#ifndef EMANTLE_TABLES_EDSC_TABLE_H
#define EMANTLE_TABLES_EDSC_TABLE_H

#include <emantle/frame/estr/list.h>
#include <emantle/tables/edsc/methods.h>

/* edsc, the tables: named columns of equal length, a row for each bin of a bin function.
 *  1. Create and Open return a handle, the caller's; columns are closed before their table. Nothing is held back: every
 *     write reaches the format at once, and closing writes nothing.
 *  2. Bin functions that are given in stay the caller's; the table keeps a copy.
 *  3. The arguments behind `err` are reserved and end with a null; anything else is told, "Warning:  Non-null options
 *    list
 *     ignored", and ignored.
 *  4. `dllName`, `instanceName` and `instanceFlag` are those of edsc_TableMethodsOpen, `context` is the format's. */

typedef struct Edsc_TableInstance {
    int32_t numRows;
    Edsc_BinFunction* binFunction;
    Ehfa_File* file; /* of a table in a store; else null */
    char* name;
    Edsc_TableMethods* methods;
    void* context;
    void* handle;
} Edsc_TableInstance;

/* A new table. Without a bin function the rows are the bins of a direct one from 0. A function of more bins than rows
 * is narrowed, which is told. Null on failure: "%s table format does not support table creation". */
EMANTLE_API Edsc_TableInstance* edsc_TableCreateWithMethods(void* context, const char* dllName,
                                                            const char* instanceName, long instanceFlag,
                                                            const char* tableName, int32_t numRows,
                                                            const Edsc_BinFunction* binFunction,
                                                            Eerr_ErrorReport** err, ...);

/* Null without a report when there is no such table. */
EMANTLE_API Edsc_TableInstance* edsc_TableOpenWithMethods(void* context, const char* dllName, const char* instanceName,
                                                          long instanceFlag, const char* tableName,
                                                          const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err,
                                                          ...);

/* Removes a table with its columns; 0 on failure, also for one that is absent: "Table %s does not exist". */
EMANTLE_API Emsc_Boolean edsc_TableDestroyWithMethods(void* context, const char* dllName, const char* instanceName,
                                                      long instanceFlag, const char* tableName,
                                                      Eerr_ErrorReport** err);

/* The same in a store. A new table is the node `tableName`, with its bin function below, put by the method `insertMode`
 * of ehfa_EntryWrite at `parentPath`, or at the current entry for null. A table is found like an object: `path` or
 * null, `tableName` or null, and a method of ehfa_EntrySeek; its bin function is `binFunction`, or for null the one
 * that it holds, or a direct one from 0. */
EMANTLE_API Edsc_TableInstance* edsc_TableCreate(Ehfa_File* file, const char* parentPath, const char* tableName,
                                                 long insertMode, int32_t numRows, const Edsc_BinFunction* binFunction,
                                                 Eerr_ErrorReport** err, ...);
EMANTLE_API Edsc_TableInstance* edsc_TableOpen(Ehfa_File* file, const char* path, const char* tableName, long seekMode,
                                               const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err);
/* `tableName` is a node path. */
EMANTLE_API Emsc_Boolean edsc_TableRemove(Ehfa_File* file, const char* tableName, Eerr_ErrorReport** err);

/* Accepts null. The handle is gone also on failure. */
EMANTLE_API void edsc_TableClose(Edsc_TableInstance* table, Eerr_ErrorReport** err);

/* The rows; 0 on failure. */
EMANTLE_API Emsc_Boolean edsc_TableRowCountGet(Edsc_TableInstance* table, int32_t* count, Eerr_ErrorReport** err);

/* Grows or shrinks every column at its end. New rows hold anything until they are written. A bin function of more bins
 * is narrowed to the rows. Open columns of the table keep the count that they were opened with. */
EMANTLE_API Emsc_Boolean edsc_TableRowCountSet(Edsc_TableInstance* table, int32_t numRows, Eerr_ErrorReport** err);

/* The names of the columns; the list is the caller's. */
EMANTLE_API Estr_StringList* edsc_TableListColumns(Edsc_TableInstance* table, Eerr_ErrorReport** err);

/* The latest time stamp of a column, in seconds since 1970; 0 without columns. */
EMANTLE_API double edsc_TableModTimeGet(Edsc_TableInstance* table, Eerr_ErrorReport** err);

/* Gives the table another bin function, of at most as many bins as it has rows; the rows stay. */
EMANTLE_API Emsc_Boolean edsc_TableBinFunctionSet(Edsc_TableInstance* table, const Edsc_BinFunction* binFunction,
                                                  Eerr_ErrorReport** err);

/* The same with the rows moved to the new bins that hold the same values, in the sense that edsc_BinFunctionTranslate
 * gives to `dataType`; the other rows are zero or blank. A column "Value" that held the lower limits of the old bins
 * and nothing else gets those of the new ones. A column that fails is told and left out. */
EMANTLE_API Emsc_Boolean edsc_TableBinFunctionSetAndAdjust(Edsc_TableInstance* table,
                                                           const Edsc_BinFunction* binFunction, int32_t dataType,
                                                           Eerr_ErrorReport** err);

/* Whether the format of the table has columns of a type; 0 for null. */
EMANTLE_API Emsc_Boolean edsc_TableSupportsColumnType(const Edsc_TableInstance* table, int32_t typeIndex);

#endif
