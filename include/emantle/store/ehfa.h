#ifndef EMANTLE_STORE_EHFA_H
#define EMANTLE_STORE_EHFA_H

/* ehfa: the object store, a tree of named and typed entries in one ordinary file.
 *  1. A store is one file below 2^31 bytes. Positions are unsigned 32-bit offsets from its start; 0 means none.
 *  2. A handle belongs to the thread that opened it. Opening a name again in that thread gives the same handle with one
 *     more reference; two threads get two handles.
 *  3. A handle has one current entry. Almost every call works on it or moves it.
 *  4. The bytes of a file are never trusted. Damage that a walk meets is a printed warning that ends the walk; damage
 *     that leaves nothing to go on with is a report. Reading never changes a file, and nothing is written to a file
 *     opened for writing before the first call that writes.
 *  5. Calls that answer with Emsc_Boolean and can fail answer 1 when they succeeded and 0 when they failed. */

#include <emantle/store/ehfa/cache.h>
#include <emantle/store/ehfa/dictionary.h>
#include <emantle/store/ehfa/entry.h>
#include <emantle/store/ehfa/file.h>
#include <emantle/store/ehfa/object.h>
#include <emantle/store/ehfa/space.h>
#include <emantle/store/ehfa/table.h>

#endif
