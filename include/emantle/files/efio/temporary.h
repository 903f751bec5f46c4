#ifndef EMANTLE_FILES_EFIO_TEMPORARY_H
#define EMANTLE_FILES_EFIO_TEMPORARY_H

#include <emantle/files/efio/handle.h>

/* efio, temporary names and their directory.
 *  1. Names come back as new heap texts, the caller's, in the form with `/`; null on failure.
 *  2. A name is free at the moment it is made; nothing is created, except by efio_TmpFile.
 *  3. The directory is per thread: first ORVIK_TMPDIR, then TEMP, then "/TEMP". */

/* A free name of `directory` (null: the thread's), made of `prefix` (null or empty: "tmp.") and six places. */
EMANTLE_API char* efio_TempName(const char* directory, const char* prefix, Eerr_ErrorReport** err);
EMANTLE_API char* efio_TempNameInTmpdir(const char* prefix, Eerr_ErrorReport** err);

/* A free name of the time and a number. */
EMANTLE_API char* efio_TempNameFromTime(const char* directory, const char* prefix, Eerr_ErrorReport** err);

/* Replaces, in place, the run of `X` or `x` at the end of `name` so that no file of that name exists, and gives `name`.
 * Null, with `name` spoilt, when every name of the run is taken. Fails where the directory does not exist. */
EMANTLE_API char* efio_MakeTemp(char* name, Eerr_ErrorReport** err);

/* A file of its own, open for reading and writing, that goes away with its close; and a free name for one. */
EMANTLE_API Efio_File* efio_TmpFile(Eerr_ErrorReport** err);
EMANTLE_API char* efio_TmpName(Eerr_ErrorReport** err);

/* The thread's directory for temporary files, a heap copy. Fails where it does not exist or cannot be written. */
EMANTLE_API char* efio_DirectoryGetTemporary(Eerr_ErrorReport** err);

/* Sets the thread's directory, checked in the same way; on failure the old one stays. */
EMANTLE_API long efio_DirectorySetTemporary(const char* directory, Eerr_ErrorReport** err);

#endif
