#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* Decodes the dictionary at `position` into `into`, or into a new one. `length` becomes 0 where the text has no proper end:
 * nobody knows then which bytes are its block. */
Emif_Dictionary* readDictionary(Handle& handle, Emif_Dictionary* into, uint32_t position, int32_t& length,
                                EerrException& scope);

/* Writes the text of a dictionary to its old place or to a new one. */
void writeDictionary(Handle& handle, Emif_Dictionary* dictionary, uint32_t& position, int32_t& length, bool reuse,
                     EerrException& scope);

/* Writes the store's own dictionary where it has changed. The block of the text before it becomes free at the next
 * `freeOldDictionary`: objects that are made in the meantime lie one behind the other, and not in its place. */
void writeOwnDictionary(Handle& handle, EerrException& scope);

/* Frees the block that the dictionary has moved out of. */
void freeOldDictionary(Handle& handle, EerrException& scope);

}  // namespace emantle::hfa
