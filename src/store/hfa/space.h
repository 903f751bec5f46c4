#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* The position of a new block of `size` bytes. */
uint32_t allocateBlock(Handle& handle, int64_t size, EerrException& scope);

/* Gives a block back; nothing below 8 bytes. */
void freeBlock(Handle& handle, uint32_t position, int64_t size, EerrException& scope);

}  // namespace emantle::hfa
