#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* The open files of a context. Its functions enter the unsafe section. */

/* Makes the list of a context. */
void startOpenFiles(Eint_InitToolkitData* context);

/* This thread's handle of `name`, with `readOnly` as asked; null for none. */
Handle* findOpenFile(Eint_InitToolkitData* context, const char* name, bool readOnly);

void addOpenFile(Handle& handle);
void removeOpenFile(Handle& handle);

/* Lets this thread's handles of `name`, or only the read-only ones, read their file anew at their next call. */
void markStale(Eint_InitToolkitData* context, const char* name, bool readOnlyOnes);

/* Whether new handles are refused. */
void refuseNewHandles(bool refuse);
void requireEnabled();

}  // namespace emantle::hfa
