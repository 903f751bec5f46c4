#ifndef EMANTLE_FRAME_ESTR_EXPAND_H
#define EMANTLE_FRAME_ESTR_EXPAND_H

#include <emantle/frame/eerr.h>

/* estr, expansion: variables of the environment in texts and paths.
 *  1. `$NAME` and `${NAME}` are references; a name is letters, digits and `_`, and without braces does not begin with a
 *     digit. Any other `$` is text. A variable without a value expands to nothing.
 *  2. Values are read with estr_GetEnv. */

/* `text` with its references replaced once: a value keeps references of its own as text. A new heap text, the caller's;
 * null for null and on failure. */
EMANTLE_API char* estr_StringExpand(const char* text, Eerr_ErrorReport** err);

/* `text` with references replaced to the last, `\` as `/`, without a pair of double quotes around the whole, and with runs
 * of `/` folded, except at the head of `//host`. With `buffer` null a new heap text, the caller's; else `buffer`, cut to
 * `size` bytes with the terminator. Null for null, and for a variable that refers to itself; nothing is reported. */
EMANTLE_API char* estr_PathExpand(const char* text, char* buffer, long size);

/* In place, each `\` to `/` and each `/` to `\`; null is accepted, and `path` is the result. */
EMANTLE_API char* estr_ConvertPath(char* path);
EMANTLE_API char* estr_ConvertPathNT(char* path);

/* The position behind a drive `x:`, behind `//host`, or the start. */
EMANTLE_API char* estr_PathBegin(const char* path);

/* Copies with each run of `/` or `\` as its first character; a null `target` works in place. Gives the target. */
EMANTLE_API char* estr_PathRemoveDuplicateSeparators(char* source, char* target);

#ifdef __cplusplus

#include <string>

/* The same on a string, in place; a path that cannot be expanded becomes empty. */
EMANTLE_CLASS std::string& estr_PathExpand(std::string& path);
EMANTLE_CLASS std::string& estr_ConvertPathNT(std::string& path);

#endif
#endif
