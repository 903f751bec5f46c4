#ifndef EMANTLE_FILES_EFNP_NODE_LIST_H
#define EMANTLE_FILES_EFNP_NODE_LIST_H

#include <emantle/frame/eerr.h>

/* efnp, lists of files with titles and nodes, and plain lists of names; see efnp.h for what holds for the family. */

/* Parts of an item; the masks in use are 31 (<FileName>), 32, 63, 448 (<FullNodePath>) and 511. */
enum { EFNP_TITLE = 32, EFNP_NAME_AND_TITLE = 63, EFNP_FULL_NODE_PATH = 448, EFNP_ITEM = 511 };

typedef struct _estr_StringList Estr_StringList;

/* Where a node lies in a file: its parent's path, and its name. Two nulls end an array of them. */
typedef struct Efnp_NodePair {
    char* path;
    char* name;
} Efnp_NodePair;

/* One item of a list. A null `file` ends an array of them. */
typedef struct Efnp_FileNodes {
    char* file;
    Efnp_NodePair* nodes;
} Efnp_FileNodes;

/* The parts `options` of item `item`, with the node path `path` of it. What an item lacks is empty. */
EMANTLE_API char* efnp_FileNodeListGet(const char* list, long options, long item, long path, Eerr_ErrorReport** err);

/* `list` with those parts replaced by `data`. The index behind the last item or path appends one. What would leave no list
 * fails as reading it would: an empty name in front of a title or another item, a title behind a name that ends in "/". */
EMANTLE_API char* efnp_FileNodeListSet(const char* list, const char* data, long options, long item, long path,
                                       Eerr_ErrorReport** err);

/* With `item` -1 the number of items, else the number of node paths of that item. -1 on failure. */
EMANTLE_API long efnp_FileNodeListLength(const char* list, long item, Eerr_ErrorReport** err);

/* The <FileName> of the last item. */
EMANTLE_API char* efnp_FileNodeListGetNonNodePart(const char* list, Eerr_ErrorReport** err);

/* An item of a directory, a file in it (either may be null or empty), a title (null or empty: none) and a full node path
 * (null or empty: none). */
EMANTLE_API char* efnp_FileNodeCreate(const char* directory, const char* file, const char* node, const char* title,
                                      Eerr_ErrorReport** err);

/* All items with their nodes. An empty text gives null and a warning. Freed with efnp_FreeNodeList. */
EMANTLE_API Efnp_FileNodes* efnp_FileNodeListParse(const char* list, Eerr_ErrorReport** err);
EMANTLE_API Efnp_FileNodes* efnp_FileNodeParseEx(const char* list, Eerr_ErrorReport** err);
EMANTLE_API void efnp_FreeNodeList(Efnp_FileNodes* list);

/* Plain lists of names: the functions of the same name on string lists. Names are equal when efnp_FileNameEquals says so. */
EMANTLE_API Estr_StringList* efnp_FileNameListCreate(long count, Eerr_ErrorReport** err);
EMANTLE_API Estr_StringList* efnp_FileNameListAppend(Estr_StringList* list, const char* name, Eerr_ErrorReport** err);
EMANTLE_API Estr_StringList* efnp_FileNameListAppendUniq(Estr_StringList* list, const char* name,
                                                         Eerr_ErrorReport** err);
EMANTLE_API Estr_StringList* efnp_FileNameListCopy(const Estr_StringList* source, Estr_StringList* target,
                                                   Eerr_ErrorReport** err);
EMANTLE_API long efnp_FileNameListCount(const Estr_StringList* list);
EMANTLE_API void efnp_FileNameListDelete(Estr_StringList* list, Eerr_ErrorReport** err);

/* The index of `name`, or -1. */
EMANTLE_API long efnp_FindOnFileNameList(const char* name, const Estr_StringList* list, Eerr_ErrorReport** err);

#endif
