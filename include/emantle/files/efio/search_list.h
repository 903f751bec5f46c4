#ifndef EMANTLE_FILES_EFIO_SEARCH_LIST_H
#define EMANTLE_FILES_EFIO_SEARCH_LIST_H

#include <emantle/files/efio/handle.h>
#include <emantle/frame/estr/list.h>
#include <emantle/frame/etxt/holders.h>

/* efio, search lists: the directories of a path variable, in order.
 *  1. The head is the list; null is an empty one. Lists are the caller's, for efio_FreeSL.
 *  2. The functions that add to a list take it (null starts one) and return its head; on failure that is the list as it
 *     was given.
 *  3. Text is expanded by estr_StringExpand, cut at ";", and each item expanded by estr_PathExpand; empty items disappear.
 *  4. Patterns are those of estr_WildCompareSensitive, without case. */

typedef struct _efio_SearchList {
    struct _efio_SearchList* next;
    char* directory; /* heap text in the form with `/` */
} _efio_SearchList;

typedef _efio_SearchList Efio_SearchList;

EMANTLE_API Efio_SearchList* efio_CreateSLFromString(Efio_SearchList* list, const char* text, Eerr_ErrorReport** err);

/* From the value of a variable, or from `defaultText`, which may be null, where it has none. */
EMANTLE_API Efio_SearchList* efio_CreateSLFromEnv(Efio_SearchList* list, const char* name, const char* defaultText,
                                                  Eerr_ErrorReport** err);
EMANTLE_API Efio_SearchList* efio_CreateSLFromSL(Efio_SearchList* list, const Efio_SearchList* source,
                                                 Eerr_ErrorReport** err);

/* New lists in which each directory stands behind its subdirectories for the language of LC_ALL, LC_MESSAGES or LANG:
 * for de_DE first "de_DE", then "de". */
EMANTLE_API Efio_SearchList* efio_CreateLocalizedSLFromString(const char* text, Eerr_ErrorReport** err);
EMANTLE_API Efio_SearchList* efio_CreateLocalizedSLFromEnv(const char* name, const char* defaultText,
                                                           Eerr_ErrorReport** err);

/* Adds `directory` to the end of every entry. */
EMANTLE_API Efio_SearchList* efio_AppendDirectoryToSL(Efio_SearchList* list, const char* directory,
                                                      Eerr_ErrorReport** err);

/* Removes the first entry equal to `directory`, expanded, under efnp_FileNameEquals. */
EMANTLE_API Efio_SearchList* efio_SLRemovePath(Efio_SearchList* list, const char* directory, Eerr_ErrorReport** err);
EMANTLE_API long efio_SLGetCount(const Efio_SearchList* list);
EMANTLE_API void efio_FreeSL(Efio_SearchList* list);

/* The expanded name of the first entry's file or directory `name`; null for none, and for a null or empty name, without a
 * report. A name that is absolute when expanded stands for itself, if it is a file. A heap text. */
EMANTLE_API char* efio_Which(const Efio_SearchList* list, const char* name, Eerr_ErrorReport** err);

/* The same for relative names only; the result is entry, "/" and name as they stand. */
EMANTLE_API char* efio_WhichRelative(const Efio_SearchList* list, const char* name, Eerr_ErrorReport** err);

/* Opens what efio_Which finds; fails where it finds nothing. */
EMANTLE_API Efio_File* efio_SearchListOpen(const Efio_SearchList* list, const char* name, const char* mode,
                                           Eerr_ErrorReport** err);

/* Appends the full names of the files that match in any entry to `*result`, each once. 0, or -1 with `*result` as it was
 * up to the failure. */
EMANTLE_API long efio_SearchListIdentifyFiles(const Efio_SearchList* list, const char* pattern, Estr_StringList** result,
                                              Eerr_ErrorReport** err);
EMANTLE_API long efio_SearchListGenerateAndIdentifyFiles(const char* variable, const char* pattern,
                                                         Estr_StringList** result, Eerr_ErrorReport** err);

#ifdef __cplusplus

/* The same through a localised list; a failure is printed. */
EMANTLE_API long efio_SearchListLocalizedGenerateAndIdentifyFiles(const char* variable, const char* pattern,
                                                                  EstrStringList& result);

/* Owns a list. */
template <>
inline void LegacyHelperTemplate<_efio_SearchList>::Free() noexcept
{
    efio_FreeSL(data);
}

#endif
#endif
