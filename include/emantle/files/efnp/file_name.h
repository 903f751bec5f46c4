#ifndef EMANTLE_FILES_EFNP_FILE_NAME_H
#define EMANTLE_FILES_EFNP_FILE_NAME_H

#include <emantle/frame/eerr.h>

/* efnp, names of files; see efnp.h for what holds for the family.
 *
 * "C:/a/b/c.img" at position -1 has the drive "C:", the root "/", the directories "a/b", the base name "c" and the
 * extension ".img". The root "//" has the host as its first directory. A name that ends in "/" has an empty base name. */

enum {
    EFNP_DRIVE = 1,
    EFNP_ROOT = 2,
    EFNP_DIRECTORIES = 4,
    EFNP_BASE = 8,
    EFNP_EXTENSION = 16,
    EFNP_PATH_PART = 7,
    EFNP_NAME_PART = 24,
    EFNP_FILE_NAME = 31
};

/* The parts `options`, bits without a gap, of `name` as seen from component `directory`: the directories are those in front
 * of it, base name and extension its own. */
EMANTLE_API char* efnp_FileNameGet(const char* name, long options, long directory, Eerr_ErrorReport** err);

/* `name` with those parts replaced by `data`. The index behind the last component appends one. */
EMANTLE_API char* efnp_FileNameSet(const char* name, const char* data, long options, long directory,
                                   Eerr_ErrorReport** err);

/* The number of components: directories, and the last name unless it is empty. -1 on failure. */
EMANTLE_API long efnp_FileNameLength(const char* name, Eerr_ErrorReport** err);

/* The same; where the name does not parse at character p, -1 - p. */
EMANTLE_API long efnp_FileNameLengthX(const char* name);

/* The parts 8, 16, 24, 7 and 1, seen from the last component. */
EMANTLE_API char* efnp_FileNameGetBasePart(const char* name, Eerr_ErrorReport** err);
EMANTLE_API char* efnp_FileNameGetExtPart(const char* name, Eerr_ErrorReport** err);
EMANTLE_API char* efnp_FileNameGetNamePart(const char* name, Eerr_ErrorReport** err);
EMANTLE_API char* efnp_FileNameGetPathPart(const char* name, Eerr_ErrorReport** err);
EMANTLE_API char* efnp_FileNameGetDrivePart(const char* name, Eerr_ErrorReport** err);

/* `add` as a component behind the last one of `name`. */
EMANTLE_API char* efnp_FileNameAddName(const char* name, const char* add, Eerr_ErrorReport** err);

/* "/" and "//", constant. */
EMANTLE_API const char* efnp_FileNameRoot(void);
EMANTLE_API const char* efnp_FileNameUNCRoot(void);

/* Whether the name parses. The first prints where it does not. */
EMANTLE_API Emsc_Boolean efnp_FileNameHasValidCharacters(const char* name);
EMANTLE_API Emsc_Boolean efnp_FileNameContainsValidCharacters(const char* name);

/* A copy with `_` for each of ? * < > | and the double quote. */
EMANTLE_API char* efnp_MakeValidFileName(const char* name, Eerr_ErrorReport** err);

/* A copy with each `\` as `/`; with each `/` as `\`. */
EMANTLE_API char* efnp_FileNameExternalToInternal(const char* name, Eerr_ErrorReport** err);
EMANTLE_API char* efnp_FileNameInternalToExternal(const char* name, Eerr_ErrorReport** err);

/* A copy with variables of the environment replaced, as estr_StringExpand does. */
EMANTLE_API char* efnp_FileNameEvaluateEnv(const char* name, Eerr_ErrorReport** err);

/* A plain copy. */
EMANTLE_API char* efnp_FileNameNormalize(const char* name, Eerr_ErrorReport** err);

/* -1, 0 or 1. Case, runs of "/" and "/." are passed over; null sorts first, and equals only null. */
EMANTLE_API long efnp_FileNameCompare(const char* a, const char* b);
EMANTLE_API Emsc_Boolean efnp_FileNameEquals(const char* a, const char* b);

#endif
