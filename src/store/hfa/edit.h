#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* ehfa_EntryWrite and ehfa_EntryDelete without their edges. */
void writeTreeEntry(Handle& handle, long method, const char* name, const char* type, EerrException& scope);
void deleteCurrent(Handle& handle, EerrException& scope);

/* Starts batch mode at the current entry, and ends it there. */
void beginBatch(Handle& handle);
void endBatch(Handle& handle, EerrException& scope);

/* Writes the current entry as it is held. */
void rewriteCurrent(Handle& handle, EerrException& scope);

}  // namespace emantle::hfa
