#ifndef EMANTLE_FILES_EFIO_SCAN_H
#define EMANTLE_FILES_EFIO_SCAN_H

#include <emantle/frame/eerr.h>
#include <emantle/frame/estr/list.h>

/* efio, scans of directories, in the order of their bytes; "." and ".." are never met. And checks of names with the host's
 * help. Patterns are those of estr_WildCompareSensitive, without case. */

enum { EFIO_NAME_SIZE = 256 };

typedef struct Efio_Find Efio_Find;

/* Iterates over the directory of `name`, whose last part is not looked at. The first call has `*find` null and opens; each
 * call copies the next entry's name to `buffer` (EFIO_NAME_SIZE bytes) and gives it. Null at the end and on failure, with
 * `*find` freed and null. */
EMANTLE_API char* efio_NextFilename(const char* name, char* buffer, Efio_Find** find, Eerr_ErrorReport** err);

/* Ends an iteration early; null does nothing. */
EMANTLE_API void efio_FindFree(Efio_Find* find);

/* The full names of the files of the directory `path` that match, a new list, the caller's. Null for none, also where the
 * directory is missing. */
EMANTLE_API Estr_StringList* efio_FindFilesInPath(const char* path, const char* pattern, Eerr_ErrorReport** err);

/* Appends to `*result` the full names of the files whose names match the last part of `name` in its directory and in all
 * directories below. The directory may be a list with ";". Links to directories are not followed. 0 or -1. */
EMANTLE_API long efio_DirectoryScanRecursive(const char* name, Estr_StringList** result, Eerr_ErrorReport** err);

/* The expanded name where it exists; else where a file of its last part lies in the directory of the base file or in one of
 * the default paths, that name; else what the host's query function names. The text "FILE_SKIPPED_AT_USER_REQUEST" where the
 * user refuses. A heap text; null without an answer. */
EMANTLE_API char* efio_FileNameVerify(const char* name, Eerr_ErrorReport** err);
EMANTLE_API long efio_FileNameVerifyAddDefaultPath(const char* path, Eerr_ErrorReport** err);

/* Null takes the base file away. */
EMANTLE_API long efio_FileNameVerifySetBaseFileName(const char* name, Eerr_ErrorReport** err);

/* Replaces `*name`, a heap text, by what efio_FileNameVerify gives, unless the user refuses. 0 or -1. */
EMANTLE_API long efio_FileNameCorrect(char** name, Eerr_ErrorReport** err);

/* Whether the name has letters, digits and ".-_" only. */
EMANTLE_API Emsc_Boolean efio_FileNameIsPortable(const char* name);

#ifdef __cplusplus

#include <memory>

namespace efio {

/* Watches the files of a directory, not those below. Throws an EerrException where the directory cannot be watched. */
class EMANTLE_CLASS MonitorDirectory {
public:
    explicit MonitorDirectory(const char* directory);
    ~MonitorDirectory();
    MonitorDirectory(const MonitorDirectory&) = delete;
    MonitorDirectory& operator=(const MonitorDirectory&) = delete;

    /* Whether a file came, went, was written or had its attributes changed since the last call, or the start. */
    bool CheckForChanges();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace efio

#endif
#endif
