#ifndef EMANTLE_FILES_EFIO_PATHS_H
#define EMANTLE_FILES_EFIO_PATHS_H

#include <emantle/files/efio/handle.h>

/* efio, names of files: what stands behind a name, and taking it away. A status is 0 or -1; a question whose answer cannot
 * be had is answered false, with a report. */

/* True for a file, false for a directory or nothing. */
EMANTLE_API Emsc_Boolean efio_FileExists(const char* name, Eerr_ErrorReport** err);

/* 0 for nothing, 1 for a directory, 2 for a file. */
EMANTLE_API long efio_FileNameExistAsFileOrDir(const char* name, Eerr_ErrorReport** err);

EMANTLE_API Emsc_Boolean efio_IsDirectory(const char* name, Eerr_ErrorReport** err);

/* Bytes, -1 on failure. */
EMANTLE_API long efio_FileSizeGet(const char* name, Eerr_ErrorReport** err);
EMANTLE_API efio_off_t efio_FileSizeExtendedGet(const char* name, Eerr_ErrorReport** err);

/* False where another computer holds the file. Looks at the nearest part of the name that exists. */
EMANTLE_API Emsc_Boolean efio_FileSystemIsLocal(const char* name, Eerr_ErrorReport** err);

/* Removes a file. With a query function set (efio_SetQueryFunction) the host is asked what to do about a file that cannot
 * be removed, as often as it answers with another try. */
EMANTLE_API long efio_FileUnlink(const char* name, Eerr_ErrorReport** err);

/* Renames; a file that has the new name is replaced at once, so that there is always one under it. */
EMANTLE_API long efio_FileNameChange(const char* from, const char* to, Eerr_ErrorReport** err);

#endif
