#ifndef EMANTLE_FRAME_ESTR_ENVIRONMENT_H
#define EMANTLE_FRAME_ESTR_ENVIRONMENT_H

#include <emantle/frame/export.h>

/* estr, the environment of the process.
 *  1. An unset variable and an empty one are the same.
 *  2. A name that begins with "QEL", in any letter case, is read as the value of APPDOMAIN, "_" and the name, where
 *     APPDOMAIN has a value of at most 260 characters: several products in one process have separate variables. Writing
 *     does not add the prefix: whoever sets up a domain writes its variables by their full names.
 *  3. Nothing is locked. Writing belongs to the start of a process, before other threads call in. */

/* The value as heap text, the caller's; null for a variable without one, a null name, and when memory is out. */
EMANTLE_API char* estr_GetEnv(const char* name);

/* Whether the variable has a value. */
EMANTLE_API Emsc_Boolean estr_CheckEnv(const char* name);

/* Sets the variable; a null or empty value removes it. 0, or -1 for a name that is null, empty or holds "=". */
EMANTLE_API int estr_PutEnv(const char* name, const char* value);

#endif
