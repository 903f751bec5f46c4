#pragma once

#include <emantle/frame/eint.h>

/* Seven words, zero until a package claims its slot. */
struct Eint_InitToolkitData {
    void* reserved;
    void* store; /* the open-file list of the object store */
    void* words[5];
};
