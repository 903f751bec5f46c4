#ifndef EMANTLE_FRAME_ESTR_PATH_H
#define EMANTLE_FRAME_ESTR_PATH_H

#include <emantle/frame/export.h>

/* estr, pieces of paths as text, and the texts of error numbers.
 *  1. A name is [ protocol ":" ] [ "//" server ] path [ "(" layers ")" ], with `/` or `\` between directories.
 *  2. The functions that take a buffer write the piece into it, cut to `size` bytes with the terminator, and give the
 *     buffer. What a name lacks is empty. A null buffer or a size below 1 gives null. */

/* Of "http://host/data/a.b.img(Title:Layer_1:Stats)": "http", "host", "/data/a.b.img". */
EMANTLE_API char* estr_GetProtocolPart(const char* name, char* buffer, long size);
EMANTLE_API char* estr_GetServerPart(const char* name, char* buffer, long size);

/* The name without protocol, server and layers; a relative one goes behind the prefix of estr_FileNamePrefixSet. */
EMANTLE_API char* estr_GetLocalFilename(const char* name, char* buffer, long size);

/* The directories with server and protocol, without the last separator: "http://host/data". */
EMANTLE_API char* estr_GetPathPart(const char* name, char* buffer, long size);

/* "a.b.img" with the layers, and without; "a.b"; ".img". */
EMANTLE_API char* estr_GetNamePart(const char* name, char* buffer, long size);
EMANTLE_API char* estr_GetNamePartSimple(const char* name, char* buffer, long size);
EMANTLE_API char* estr_GetRootPart(const char* name, char* buffer, long size);
EMANTLE_API char* estr_GetExtPart(const char* name, char* buffer, long size);

/* What stands in the parentheses: "Title:Layer_1:Stats"; and the last node of it: "Stats". */
EMANTLE_API char* estr_GetLayerPart(const char* name, char* buffer, long size);
EMANTLE_API char* estr_GetLayerPartSimple(const char* name, char* buffer, long size);

/* The name up to the parentheses. */
EMANTLE_API char* estr_GetNonNodePart(const char* name, char* buffer, long size);

/* The name where it fits; else "..." and as many whole components from its end as fit, at least the cut last one. */
EMANTLE_API char* estr_GetBestFitParts(const char* name, char* buffer, long size);

/* `path` and `sub` with one separator between them; the second takes a leading separator of `sub` as part of the path
 * below, the first gives `sub` alone where it is absolute. */
EMANTLE_API char* estr_AddRelativeSubPath(const char* path, const char* sub, char* buffer, long size);
EMANTLE_API char* estr_AddSubPath(const char* path, const char* sub, char* buffer, long size);

/* The directory that the process works in. */
EMANTLE_API char* estr_GetCwd(char* buffer, long size);

/* The items of a list of paths between ";", each expanded by estr_PathExpand; an array that ends with null, the caller's, for
 * estr_FreePathList. `count` may be null. Null for a null list, and when memory is out. */
EMANTLE_API char** estr_GetPathList(const char* list, long* count);
EMANTLE_API void estr_FreePathList(char** paths);

/* How often `c` occurs. */
EMANTLE_API long estr_CharCount(const char* text, char c);

/* Whether a directory, a file of that name exists. */
EMANTLE_API Emsc_Boolean estr_IsDir(const char* name);
EMANTLE_API Emsc_Boolean estr_IsFile(const char* name);

/* Sets the directory that goes before relative names in estr_GetLocalFilename; null or empty takes it away. */
EMANTLE_API void estr_FileNamePrefixSet(const char* prefix);

/* The sentence for errno: constant, or for a number without one held for the thread until its next call. */
EMANTLE_API const char* estr_ErrnoString(void);

/* The system's text for errno, as a heap text, the caller's; "Could not get last error message." where there is none. */
EMANTLE_API char* estr_LastError(void);

#endif
