#ifndef EMANTLE_STORE_EHFA_TABLE_H
#define EMANTLE_STORE_EHFA_TABLE_H

#include <emantle/frame/edlm.h>
#include <emantle/store/ehfa/cache.h>

/* ehfa, record tables: texts of one width in block stores of a file. Its master table has a record for each of them.
 *  1. A record is a line of the table's length: its fields, each in its width and filled up with blanks, with one
 *     EHFA_TABLE_SEPARATOR between two. Commas in a record that is written become separators.
 *  2. Records count from 0. A record number of -1 stands for a new record behind the last.
 *  3. A table's blocks lie under a node of its name at the root of its file, its design is "<name>_design" in the
 *     dictionary. What is written reaches the file as a block store has it, at the latest when the table is closed.
 *  4. Names of tables are up to 26 printable characters without any of `,:()\`. Records are at most
 *     EHFA_TABLE_RECORD_MAX bytes long. */

enum { EHFA_TABLE_SEPARATOR = 4, EHFA_TABLE_RECORD_MAX = 1 << 20 };

/* The type of a field, with its name in a definition file and its width where none is given. */
enum {
    EHFA_FIELD_CHAR = 0,    /* "char": as given */
    EHFA_FIELD_FLOAT = 1,   /* "float": 16 */
    EHFA_FIELD_INT = 2,     /* "int": 8 */
    EHFA_FIELD_BOOL = 3,    /* "bool": 2 */
    EHFA_FIELD_DATETIME = 4 /* "datetime": 15 */
};

typedef struct Ehfa_TableField {
    char* name;
    int32_t type;
    int32_t width; /* characters; below 1 the width of the type */
} Ehfa_TableField;

typedef struct Ehfa_TableRecordStructure {
    int32_t fieldCount;
    int32_t recordLength;
    Edlm_List* fields; /* of Ehfa_TableField */
} Ehfa_TableRecordStructure;

/* An open table. Callers read it. */
typedef struct Ehfa_Table {
    char* name;
    Ehfa_File* file;
    Ehfa_Cache* index; /* reserved: null */
    Ehfa_Cache* data;
    void* reserved;
    Emif_Design* design; /* of a record's host form */
    int32_t fieldCount;
    int32_t recordLength;
    int32_t currentRecord; /* last sought, read or written; -1 for none */
    char* format;          /* of a whole record, for printf */
    Ehfa_TableRecordStructure* structure;
} Ehfa_Table;

/* Makes a table, the caller's, for ehfa_TableClose. Without a master it is the master table of `fileName`, a file that is
 * made where it is absent; the other arguments are not looked at. With a master it lies in the master's file: its fields
 * are those of `structure`, else those of the design `tableName` in `definitionFile`, else the master's; `type` and
 * `indexed` go to the master's record of it. No table is left behind when it fails. */
EMANTLE_API Ehfa_Table* ehfa_TableCreate(const char* fileName, Ehfa_Table* master, const char* tableName,
                                         const Ehfa_TableRecordStructure* structure, int32_t type, Emsc_Boolean indexed,
                                         const char* definitionFile, Eerr_ErrorReport** err);

/* Opens a table: by its name in an open file, or with a null handle by file and node, as in "parcels.img(:roads)". The
 * table "master" is the master. The caller's. `flags` are reserved, 0. */
EMANTLE_API Ehfa_Table* ehfa_TableOpen(Ehfa_File* file, const char* name, long flags, Eerr_ErrorReport** err);

/* Writes and frees, also when writing fails. Accepts null. */
EMANTLE_API Emsc_Boolean ehfa_TableClose(Ehfa_Table* table, Eerr_ErrorReport** err);

/* An empty record, and its end with all it holds, without writing. The second accepts null. */
EMANTLE_API Ehfa_Table* ehfa_TableNew(Eerr_ErrorReport** err);
EMANTLE_API void ehfa_TableFree(Ehfa_Table* table);

/* A structure of copies of these fields; the caller's. Fails for a type that is none, an empty name, a char without a
 * width, and records that are too long. */
EMANTLE_API Ehfa_TableRecordStructure* ehfa_TableRecordStructureCreate(int32_t fieldCount, const Ehfa_TableField* fields,
                                                                       Eerr_ErrorReport** err);
EMANTLE_API void ehfa_TableRecordStructureFree(Ehfa_TableRecordStructure* structure);

/* The printf formats of the fields, joined by commas; heap text of the caller's. */
EMANTLE_API char* ehfa_TableFormatStringCreate(const Ehfa_TableRecordStructure* structure, Eerr_ErrorReport** err);

/* The design of a record's host form: `char` and `datetime` are as many characters as they are wide, without a
 * terminator, `float`, `int` and `bool` one element. The caller's, for emif_DesignDestroy. */
EMANTLE_API Emif_Design* ehfa_TableDesignCreate(const Ehfa_TableRecordStructure* structure, const char* name,
                                                Eerr_ErrorReport** err);

/* The structure of the first design `name` in a text file of lines of up to 80 characters: "<name> <number of fields>",
 * and for each field "<name> <type> <width>". The caller's. */
EMANTLE_API Ehfa_TableRecordStructure* ehfa_TableDesignCreateFromFile(const char* fileName, const char* name,
                                                                      Eerr_ErrorReport** err);

/* Goes to a record, or behind the last one. */
EMANTLE_API Emsc_Boolean ehfa_TableRecordSeek(Ehfa_Table* table, int32_t number, Eerr_ErrorReport** err);

/* A record's text to `record`, which has room for `length` bytes: what fits of it, and a NUL where there is room. Returns
 * the bytes of the record that were stored, -1 on failure. The second reads the record behind the one last sought, read
 * or written; 0 without a report at the end. */
EMANTLE_API long ehfa_TableRecordRead(Ehfa_Table* table, int32_t number, char* record, long length,
                                      Eerr_ErrorReport** err);
EMANTLE_API long ehfa_TableRecordNext(Ehfa_Table* table, char* record, long length, Eerr_ErrorReport** err);

/* Writes a record of `length` bytes, or with -1 of a terminated text; it is filled up with blanks. Returns the length of
 * the table's records, -1 on failure. */
EMANTLE_API long ehfa_TableRecordWrite(Ehfa_Table* table, int32_t number, const char* record, long length,
                                       Eerr_ErrorReport** err);

/* Reads a record into its host form, `length` bytes or more as the table's design says. Texts lose their trailing blanks
 * and are filled up with NULs. A field that is no number where it should be one is 0. */
EMANTLE_API Emsc_Boolean ehfa_TableRecordLoad(Ehfa_Table* table, int32_t number, void* record, long length,
                                              Eerr_ErrorReport** err);

/* The text of a field of a record's text, without trailing blanks; heap text of the caller's. */
EMANTLE_API char* ehfa_GetRecordFieldByName(const Ehfa_Table* table, const char* record, const char* name,
                                            Eerr_ErrorReport** err);
EMANTLE_API char* ehfa_GetRecordFieldByIndex(const Ehfa_Table* table, const char* record, int32_t index,
                                             Eerr_ErrorReport** err);

/* Prints `value` into the columns of a field of `record`, which holds the table's record length, and writes the record
 * as `number`. Texts are cut to the width, numbers lose digits behind the point until they fit; "Error modifying record"
 * where they do not, where `value` is no number and should be one, and where it cannot be written. */
EMANTLE_API Emsc_Boolean ehfa_ModifyRecordFieldByName(Ehfa_Table* table, int32_t number, char* record, const char* name,
                                                      const char* value, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean ehfa_ModifyRecordFieldByIndex(Ehfa_Table* table, int32_t number, char* record, int32_t index,
                                                       const char* value, Eerr_ErrorReport** err);

#endif
