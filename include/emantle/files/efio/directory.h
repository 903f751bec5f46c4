#ifndef EMANTLE_FILES_EFIO_DIRECTORY_H
#define EMANTLE_FILES_EFIO_DIRECTORY_H

#include <emantle/files/efio/handle.h>

/* efio, directories, copies, and names as text. A status is 0 or -1. */

EMANTLE_API long efio_MakeDir(const char* name, Eerr_ErrorReport** err);
/* Makes what is missing of the name, parents included. */
EMANTLE_API long efio_MaybeMakeDir(const char* name, Eerr_ErrorReport** err);

EMANTLE_API long efio_ChangeDir(const char* name, Eerr_ErrorReport** err);

/* The working directory in lower case, as it was at the first call or given to the last efio_ChangeDir. Copied to `buffer`,
 * cut to `size` bytes; with a null buffer a heap text, the caller's. */
EMANTLE_API char* efio_CurrentDirName(char* buffer, long size, Eerr_ErrorReport** err);

/* Removes an empty directory; a directory with all that is in it. Links are removed, not followed. */
EMANTLE_API long efio_DirectoryRemove(const char* name, Eerr_ErrorReport** err);
EMANTLE_API long efio_DirectoryRemoveRecursive(const char* name, Eerr_ErrorReport** err);

EMANTLE_API Emsc_Boolean efio_DirectoryIsWritable(const char* name, Eerr_ErrorReport** err);

/* Copies bytes, permissions and the time of the last change. A copy that fails is removed, and what `to` held is kept.
 * Pipes and devices are refused: they may have no end. */
EMANTLE_API long efio_FileCopy(const char* from, const char* to, Eerr_ErrorReport** err);

/* Appends the bytes of `from` to `to`, which is made where it is missing; on failure `to` has its old size again. */
EMANTLE_API long efio_FileAppend(const char* from, const char* to, Eerr_ErrorReport** err);

/* Copies what is in `from` into `to`, which is made where it is missing and must not lie in `from`. Ends at the first
 * failure with what is copied by then. */
EMANTLE_API long efio_DirectoryCopy(const char* from, const char* to, Eerr_ErrorReport** err);

/* The name of the directory above, a heap text; that of the root is the root. */
EMANTLE_API char* efio_UpDir(const char* name, Eerr_ErrorReport** err);

/* Directory, base name and extension of a name, heap texts; each target may be null. */
EMANTLE_API long efio_FileNameParse(const char* name, char** directory, char** base, char** extension,
                                    Eerr_ErrorReport** err);

/* Whether two names lead to one file or are equal as texts (efnp_FileNameEquals). */
EMANTLE_API Emsc_Boolean efio_FileNameEq(const char* a, const char* b, Eerr_ErrorReport** err);

/* True where the expanded name begins with neither a separator nor a drive. */
EMANTLE_API Emsc_Boolean efio_PathNameIsRelative(const char* name);

/* Drives do not exist here: the first is true for the root, the second always false. */
EMANTLE_API Emsc_Boolean efio_FileNameExistsAsLogicalDrive(const char* name);
EMANTLE_API Emsc_Boolean efio_IsDriveRemovable(const char* name);

#endif
