#ifndef EMANTLE_SETTINGS_EDLL_H
#define EMANTLE_SETTINGS_EDLL_H

#include <emantle/files/efio/search_list.h>

/* edll: loadable libraries, and the instances of a class that they hold.
 *  1. A library's name is expanded and may have the form x.dll, which is tried as given, then as x.so, then as libx.so.
 *  2. An instance is known by class, name and a qualifier, which is the name of its library or empty. The library's own
 *     instances need no library; they come first.
 *  3. All calls may be made from any thread. */

/* An open library. */
typedef struct Edll_Library* EdllHandle;

/* For edll_Close. A relative path is loaded after a warning. Null on failure: "Could not load DLL %s:\n%s". */
EMANTLE_API EdllHandle edll_Open(const char* name, Eerr_ErrorReport** err);

/* Accepts null. */
EMANTLE_API void edll_Close(EdllHandle library, Eerr_ErrorReport** err);

/* A symbol; null with "Cannot locate symbol %s". The second form answers null without a report. */
EMANTLE_API void* edll_Find(EdllHandle library, const char* name, Eerr_ErrorReport** err);
EMANTLE_API void* edll_FindIfPresent(EdllHandle library, const char* name, Eerr_ErrorReport** err);

/* Gives up the loader's own handle, which is the caller's from then on; the library stays loaded, and `library` is
 * gone. */
EMANTLE_API void* edll_ReleaseWindowHandle(EdllHandle library);

/* Opens the resource library of a module: the module's root name with "Res" behind, in the directory "res" beside the
 * module, below it in that of `language` first. Null `language` skips that. Answers 0 with "Could not load DLL". */
EMANTLE_API Emsc_Boolean edll_OpenResourceLibrary(const char* moduleName, const char* language, EdllHandle* library,
                                                  Eerr_ErrorReport** err);

/* Makes and gives back the object of an instance. `library` stays open until the object is destroyed; its symbols are
 * found with edll_FindIfPresent. A null result without a report says that the library holds no such instance. */
typedef void* (*Edll_CreateFunction)(EdllHandle library, const char* instanceName, Eerr_ErrorReport** err);
typedef void (*Edll_DestroyFunction)(void* object, Eerr_ErrorReport** err);

/* The object of an instance, made by `create` when the instance is not open yet, else counted once more; for
 * edll_InstanceClose. The object of an instance without `create` is its library. `qualifier` may be null.
 * Null without a report when `create` made nothing; fails with "Could not find instance %s of class %s". */
EMANTLE_API void* edll_InstanceOpenByClassName(const char* className, const char* instanceName, const char* qualifier,
                                               Edll_CreateFunction create, Edll_DestroyFunction destroy,
                                               Eerr_ErrorReport** err);

/* The object of an instance that is open, not counted; null without a report when it is not. */
EMANTLE_API void* edll_InstanceFind(const char* className, const char* instanceName, const char* qualifier,
                                    Eerr_ErrorReport** err);

/* Gives up one reference; the last one destroys the object and closes its library. Answers 0 for an instance that is
 * not open: "Could not find instance %s of class %s". */
EMANTLE_API Emsc_Boolean edll_InstanceClose(const char* className, const char* instanceName, const char* qualifier,
                                            Eerr_ErrorReport** err);

/* Destroys the objects of all open instances, whatever their counts. */
EMANTLE_API Emsc_Boolean edll_InstanceCloseAll(Eerr_ErrorReport** err);

/* The folders of a class: those of the variable ORVIK_RASTER_FORMATS_PATH for the class "RasterFormats". The caller's,
 * for efio_FreeSL; null is an empty list. "Could not create search list." */
EMANTLE_API Efio_SearchList* edll_ClassPathGet(const char* className, Eerr_ErrorReport** err);

/* The path of the library that holds an instance, heap text of the caller's: "<instance>.dll" along the folders of
 * its class, then in $VELTARA_HOME/usr/lib/$ARCHM. An own instance has the
 * empty path. Null with "Could not find instance %s of class %s". */
EMANTLE_API char* edll_ClassPathNameGet(const char* className, const char* instanceName, Eerr_ErrorReport** err);

#endif
