#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* The text of the dictionary of a new store. */
extern const char kOwnDesigns[];

/* Makes tag, file record and root entry of a new store, which is then 210 bytes long. */
void writeNewFile(Handle& handle, EerrException& scope);

/* Takes the end of the file, the tag, the file record and the dictionary from the file. */
void readHeader(Handle& handle, EerrException& scope);

/* Whether the tag at the start of an open file is that of a store; `headerPtr` is what it leads to. */
bool readTag(Efio_File* file, uint32_t& headerPtr, EerrException& scope);

/* The end of the file for positions, which reach to 2^31; warns about a longer file. */
uint32_t fileEndOf(int64_t size, const char* name);

}  // namespace emantle::hfa
