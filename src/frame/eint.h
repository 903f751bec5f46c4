#pragma once

#include <emantle/frame/eint.h>
#include <emantle/siblings/ethr.h>

/* Seven words, zero until a package claims its slot. */
struct Eint_InitToolkitData {
    void* reserved;
    void* store; /* the open-file list of the object store */
    void* words[5];
};

namespace emantle {

/* The toolkit lock: it guards the static pointers to the record and to the null device. */
extern Ethr_Mutex toolkitMutex;

}  // namespace emantle
