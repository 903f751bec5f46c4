#ifndef EMANTLE_STORE_EMIF_OBJECT_H
#define EMANTLE_STORE_EMIF_OBJECT_H

#include <emantle/store/emif/data.h>

/* emif, objects: a record packed together with the dictionary that explains it.
 *  1. The records below are the host forms of the designs of their names, and hold counted pointers to heap memory.
 *  2. A destination must hold valid or null pointers; what it held is freed. Source and destination differ. */

/* Any counted pointer to bytes: the shape `p` of an item of one-byte elements. */
typedef struct Emif_PTR {
    int32_t count;
    void* pointer;
} Emif_PTR;

/* Characters; the count includes the terminator, and an empty text is { 0, null }. */
typedef struct Emif_String {
    int32_t count;
    char* string;
} Emif_String;

typedef struct Emif_MIFObject {
    Emif_String type;          /* the name of the design */
    Emif_String MIFDictionary; /* the text of a dictionary that holds it */
    Emif_PTR MIFObject;        /* the stream form of the record */
} Emif_MIFObject;

EMANTLE_API void emif_EmifStringFromString(Emif_String* string, const char* text, Eerr_ErrorReport** err);

/* A new text, the caller's: what is held, cut to the count, or an empty text. */
EMANTLE_API char* emif_EmifStringToString(const Emif_String* string, Eerr_ErrorReport** err);

EMANTLE_API void emif_EmifStringFromEmifString(Emif_String* destination, const Emif_String* source,
                                               Eerr_ErrorReport** err);

/* Packs a record: its bytes, the text of a dictionary of its design, and the design's name, all new and the caller's.
 * Returns the number of bytes; on failure -1, and the three results are null. */
EMANTLE_API long emif_MIFableObjectConvertToMIF(const void* object, const Emif_Design* design, void** buffer,
                                                char** dictionaryText, char** designName, Eerr_ErrorReport** err);

/* Unpacks: the record and its design, new and the caller's. True when it succeeded; else both are null. `buffer` must
 * be complete for the design (see emif_ConvertToHost). */
EMANTLE_API Emsc_Boolean emif_MIFableObjectConvertFromMIF(void** object, Emif_Design** design, void* buffer,
                                                          const char* dictionaryText, const char* designName,
                                                          Eerr_ErrorReport** err);

/* The same through one record. Unpacking trusts nothing that the record holds beyond its counts. */
EMANTLE_API long emif_MIFableObjectConvertToMIFObject(const void* object, const Emif_Design* design,
                                                      Emif_MIFObject* packed, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean emif_MIFableObjectConvertFromMIFObject(void** object, Emif_Design** design,
                                                                const Emif_MIFObject* packed, Eerr_ErrorReport** err);

/* Counted pointers: a deep copy; release of what is held; a move that leaves the source empty; equality of counts and
 * bytes. */
EMANTLE_API void emif_PTRCopyContents(Emif_PTR* destination, const Emif_PTR* source, Eerr_ErrorReport** err);
EMANTLE_API void emif_PTRFreeContents(Emif_PTR* pointer);
EMANTLE_API void emif_PTRTransferContents(Emif_PTR* destination, Emif_PTR* source);
EMANTLE_API Emsc_Boolean emif_PTRIsSame(const Emif_PTR* first, const Emif_PTR* second);

/* The same on the three counted pointers of an Emif_MIFObject. */
EMANTLE_API void emif_MIFObjectCopyContents(Emif_MIFObject* destination, const Emif_MIFObject* source,
                                            Eerr_ErrorReport** err);
EMANTLE_API void emif_MIFObjectFreeContents(Emif_MIFObject* object);
EMANTLE_API void emif_MIFObjectTransferContents(Emif_MIFObject* destination, Emif_MIFObject* source);
EMANTLE_API Emsc_Boolean emif_MIFObjectIsSame(const Emif_MIFObject* first, const Emif_MIFObject* second);

/* Frees the contents and the record; `*object` becomes null. */
EMANTLE_API void emif_MIFObjectFree(Emif_MIFObject** object);

#endif
