#ifndef EMANTLE_STORE_EMIF_DATA_H
#define EMANTLE_STORE_EMIF_DATA_H

#include <emantle/store/emif/dictionary.h>

/* emif, data: records between their host form and their stream form, and the other walks over a record by its design.
 *  1. The stream form is the items in order, little-endian, without padding. Behind the head of a pointer item (count,
 *     position) its elements follow at once.
 *  2. Host records and all that they point to come from the heap; emif_ObjectFree frees both.
 *  3. Counts and sizes from a file are held against the bytes that the file has left before memory is taken for them.
 *  4. Any number of threads may convert at once, each its own records. */

/* Writes `object` to the file, if there is one, else to `buffer`, which holds emif_ObjectSize bytes or more. With
 * neither, nothing is written. Returns the bytes of the stream form, 0 on failure. */
EMANTLE_API long emif_ConvertToMIF(Efio_File* file, const void* object, const Emif_Design* design, void* buffer,
                                   Eerr_ErrorReport** err);

/* Fills `object` from the file's position, or from `buffer`, or from the file with the bytes left in `buffer` as well.
 * Pointers that the record holds before are storage: `p` keeps it where the count agrees and replaces it otherwise; `*`
 * keeps it for as many elements as the design says or fewer and replaces it otherwise; a BaseData keeps values of its own
 * shape, replaces others, and fails where it borrowed them. A `*` always gets room for the elements that the design says.
 * Returns the bytes consumed, 0 on failure; the record then holds what was read up to there and is still to be freed.
 * A buffer alone has no end that this function knows: its bytes must be what emif_ConvertToMIF wrote for the same design,
 * complete. */
EMANTLE_API long emif_ConvertToHost(Efio_File* file, void* buffer, const Emif_Design* design, void* object,
                                    Eerr_ErrorReport** err);

/* The same, with `*buffer` moved behind the bytes read. */
EMANTLE_API long emif_ConvertToHostX(Efio_File* file, void** buffer, const Emif_Design* design, void* object,
                                     Eerr_ErrorReport** err);

/* The bytes of the stream form of a record with all it points to; 0 on failure. */
EMANTLE_API long emif_ObjectSize(const void* object, const Emif_Design* design, Eerr_ErrorReport** err);

/* A zero-filled host record; null when the design is null or has no size. */
EMANTLE_API void* emif_NewObject(const Emif_Design* design, Eerr_ErrorReport** err);
EMANTLE_API void* emif_ObjectAllocate(const Emif_Design* design, Eerr_ErrorReport** err);

/* A deep copy. */
EMANTLE_API void* emif_ObjectCopy(const void* object, const Emif_Design* design, Eerr_ErrorReport** err);

/* Free what the record points to, then the record; `*object` becomes null. */
EMANTLE_API void emif_FreeObject(void** object, const Emif_Design* design, Eerr_ErrorReport** err);
EMANTLE_API void emif_ObjectFree(void** object, const Emif_Design* design, Eerr_ErrorReport** err);

/* Frees what the record points to and nulls its pointers; the counts of `p` items stay. */
EMANTLE_API void emif_ObjectItemsFree(void** object, const Emif_Design* design, Eerr_ErrorReport** err);

/* A deep copy of the item `name` to `value`, which takes the item's hostSize bytes; and the way back, which frees what
 * the item held. Return `value`, or null where no item bears the name. */
EMANTLE_API void* emif_ObjectItemValueGet(const void* object, const Emif_Design* design, const char* name, void* value,
                                          Eerr_ErrorReport** err);
EMANTLE_API void* emif_ObjectItemValueSet(void* object, const Emif_Design* design, const char* name, void* value,
                                          Eerr_ErrorReport** err);

/* Kept for callers: no conversion flushes its file on its own, whichever was called. */
EMANTLE_API void emif_StreamImmediateFlushEnable(void* reserved, Eerr_ErrorReport** err);
EMANTLE_API void emif_StreamImmediateFlushDisable(void* reserved, Eerr_ErrorReport** err);

#endif
