#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* Whether the bytes of a new entry are written at once, or by `rewriteCurrent` when its data have a place. */
enum class NewEntry { isWritten, isWrittenLater };

/* ehfa_EntryWrite and ehfa_EntryDelete without their edges. */
void writeTreeEntry(Handle& handle, long method, const char* name, const char* type, NewEntry how, EerrException& scope);
void deleteCurrent(Handle& handle, EerrException& scope);

/* Starts batch mode at the current entry, and ends it there. */
void beginBatch(Handle& handle);
void endBatch(Handle& handle, EerrException& scope);

/* Writes the current entry as it is held. */
void rewriteCurrent(Handle& handle, EerrException& scope);

}  // namespace emantle::hfa
