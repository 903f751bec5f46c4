#ifndef EMANTLE_FRAME_ESTR_WILD_H
#define EMANTLE_FRAME_ESTR_WILD_H

#include <emantle/frame/export.h>

/* estr, wildcards: `*` any text, `?` one character, `[abc]` and `[!abc]` sets; `(a|b)` behind `@`, `?`, `*` and `+` is a
 * group that occurs once, at most once, any number of times, and at least once. */

/* Whether `text` holds `*` or `?`, a group, a set or a `\`. */
EMANTLE_API Emsc_Boolean estr_IsWild(const char* text);

/* Whether `text` fits the pattern, with case; the second with or without. Null, "", "*" and "*.*" fit anything. A pattern
 * that is faulty fits nothing, and goes to the log as "Error evaluating wildcard <%s>: %s". */
EMANTLE_API Emsc_Boolean estr_WildCompare(const char* pattern, const char* text);
EMANTLE_API Emsc_Boolean estr_WildCompareSensitive(const char* pattern, const char* text, Emsc_Boolean sensitive);

/* The simple translation to a regular expression, of `*`, `?` and `.` only. `target` has room for twice the length of
 * `wild` and 5 bytes. Gives `target`. */
EMANTLE_API char* estr_CreateREfromWild(const char* wild, char* target);

/* The full translation. Gives the length of the expression, which is cut to `targetSize` bytes with the terminator; a null
 * `target` takes nothing. Without `sensitive` the expression is in lower case. `isWild` tells whether there was a group, a
 * set or a `\`. -1 for a faulty pattern, with a constant text in `reason`. The last two may be null. */
EMANTLE_API long estr_WildREDetermine(const char* wild, char* target, long targetSize, Emsc_Boolean sensitive,
                                      Emsc_Boolean* isWild, const char** reason);

#endif
