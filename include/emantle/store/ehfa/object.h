#ifndef EMANTLE_STORE_EHFA_OBJECT_H
#define EMANTLE_STORE_EHFA_OBJECT_H

#include <emantle/frame/estr/list.h>
#include <emantle/store/ehfa/file.h>

/* ehfa, the objects: entries whose data block holds a record of the design that `type` names.
 *  1. An object is addressed by a path or null, a name or null, and a method of ehfa_EntrySeek. The path is sought
 *     first; then the method with the name. Without a path the seek starts at the current entry. A call that succeeds
 *     leaves the object current.
 *  2. Sizes are bytes in the file.
 *  3. A host record is one of emif_ObjectAllocate or the caller's own of the design's layout. */

/* Reads an object into `record`, or with a null `record` only moves to it. Null with "Object read failure!" when the
 * object is absent. Method 18 reads entry and data one behind the other from the file's present position. */
EMANTLE_API Ehfa_Entry* ehfa_ObjectRead(Ehfa_File* file, const char* path, const char* name, long method, void* record,
                                        const Emif_Design* design, Eerr_ErrorReport** err);

/* The same; returns `record`, or null without a report when the object is absent or has no data. */
EMANTLE_API void* ehfa_ObjectReadIfPresent(Ehfa_File* file, const char* path, const char* name, long method,
                                           void* record, const Emif_Design* design, Eerr_ErrorReport** err);

/* The object's data as they lie in the file, its size, and its name, each heap block the caller's, each argument null
 * when unwanted. Returns the type, which lives until the next call in this thread; null without a report when the object
 * is absent. `*data` is null when it has no data. */
EMANTLE_API const char* ehfa_ObjectDataReadIfPresent(Ehfa_File* file, const char* path, const char* name, long method,
                                                     void** data, int32_t* size, char** nameOut,
                                                     Eerr_ErrorReport** err);

/* Writes an object: `path`, or null for the current entry, is where the method of ehfa_EntryWrite starts. With method 0 a
 * block that is large enough stays, and keeps its length in the file. */
EMANTLE_API Ehfa_Entry* ehfa_ObjectWrite(Ehfa_File* file, const char* path, const char* name, const char* type,
                                         long method, const void* record, const Emif_Design* design,
                                         Eerr_ErrorReport** err);

/* The same with bytes; any change of size gives a new block. A size of 0 leaves the object without data. */
EMANTLE_API Ehfa_Entry* ehfa_ObjectDataWrite(Ehfa_File* file, const char* path, const char* name, const char* type,
                                             long method, const void* bytes, long size, Eerr_ErrorReport** err);

/* Copies one object, through its host form, to a new entry of the same name and type: `destination` is where the write
 * method starts. The options that follow `err` are reserved: anything but 0 is refused. */
EMANTLE_API Emsc_Boolean ehfa_ObjectCopy(Ehfa_File* file, const char* source, const char* sourceName, long seekMethod,
                                         const char* destination, long writeMethod, Eerr_ErrorReport** err, ...);

/* ehfa_EntryDelete of an object; one that is absent is no failure. */
EMANTLE_API Emsc_Boolean ehfa_ObjectDelete(Ehfa_File* file, const char* path, const char* name, long method,
                                           Eerr_ErrorReport** err);

/* The paths of all entries of that name and type (null fits every one) in the subtree of `start`, or of the current
 * entry, which is part of it; depth-first. The list is the caller's. */
EMANTLE_API Estr_StringList* ehfa_ObjectList(Ehfa_File* file, const char* start, const char* name, const char* type,
                                             Eerr_ErrorReport** err);

/* Prints the subtree of `start`, or of the root: types, times, and the data by their designs. */
EMANTLE_API Emsc_Boolean ehfa_ListFile(Ehfa_File* file, const char* start, Eerr_ErrorReport** err);

/* Read and write bytes at a position. Position -1 goes on from where the last read ended. A block of less than 8 bytes
 * ends, in the file, at 8. A null buffer of the first is allocated, and the caller's. The reads fail at the end of the
 * file; the writes neither allocate nor move the end of the file. */
EMANTLE_API void* ehfa_FileMIFDataRead(Ehfa_File* file, long position, long size, void* buffer, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean ehfa_FileMIFDataWrite(Ehfa_File* file, long position, long size, const void* bytes,
                                               Eerr_ErrorReport** err);

/* The same through a design: between bytes of the file and a host record. The read returns `record`. */
EMANTLE_API void* ehfa_FileHostDataRead(Ehfa_File* file, long position, const Emif_Design* design, long size,
                                        void* record, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean ehfa_FileHostDataWrite(Ehfa_File* file, long position, const Emif_Design* design, long size,
                                                const void* record, Eerr_ErrorReport** err);

#endif
