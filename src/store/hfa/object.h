#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* Goes to an object as the calls on objects have it; false when it is absent. `failure` is the caller's text. */
bool goToObject(Handle& handle, const char* path, const char* name, long method, EerrException& scope,
                Say failure = "ObjectSeek failed");

/* Fails where the data block of the current entry cannot be one of the file. */
void requireData(const Handle& handle);

/* ehfa_ObjectWrite without its edge. */
void writeObject(Handle& handle, const char* path, const char* name, const char* type, long method, const void* record,
                 const Emif_Design* design, EerrException& scope);

}  // namespace emantle::hfa
