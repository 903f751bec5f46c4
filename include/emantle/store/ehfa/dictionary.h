#ifndef EMANTLE_STORE_EHFA_DICTIONARY_H
#define EMANTLE_STORE_EHFA_DICTIONARY_H

#include <emantle/store/ehfa/file.h>

/* ehfa, the dictionary: the designs that a store carries with it. */

/* Reads the dictionary text at `position`. The designs go to `*dictionary`, which is made when it is null. The length of
 * the text goes to `*length`. */
EMANTLE_API Emsc_Boolean ehfa_DictionaryRead(Ehfa_File* file, Emif_Dictionary** dictionary, uint32_t position,
                                             int32_t* length, Eerr_ErrorReport** err);

/* Writes a dictionary. `*position` and `*length` say where the last text lies (0 for none); with a `reuse` other than 0
 * the text stays there where it fits, and the rest of the block is freed. Else it gets a new block, and the old one stays
 * the caller's to free. Both get the new values. */
EMANTLE_API Emsc_Boolean ehfa_DictionaryWrite(Ehfa_File* file, Emif_Dictionary* dictionary, uint32_t* position,
                                              int32_t* length, Emsc_Boolean reuse, Eerr_ErrorReport** err);

/* Frees the block of a dictionary text. */
EMANTLE_API Emsc_Boolean ehfa_DictionaryDelete(Ehfa_File* file, uint32_t position, int32_t length,
                                               Eerr_ErrorReport** err);

/* Makes the store's dictionary anew, of the designs of `dictionary` and behind them those of the store; of two designs
 * of one name that of `dictionary` wins. They reach the file at the next flush. Designs of the store that the caller holds
 * pointers to are gone; `dictionary` stays the caller's. */
EMANTLE_API Emsc_Boolean ehfa_DictionaryMergeWithFileDictionary(Ehfa_File* file, const Emif_Dictionary* dictionary,
                                                                Eerr_ErrorReport** err);

#endif
