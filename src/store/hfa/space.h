#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* The position of a new block of `size` bytes. */
uint32_t allocateBlock(Handle& handle, int64_t size, EerrException& scope);

/* Gives bytes back; nothing below 8. */
void freeBlock(Handle& handle, uint32_t position, int64_t size, EerrException& scope);

/* The bytes of the block that holds data of a size above 0. */
constexpr int64_t blockSizeOf(int64_t dataSize) { return dataSize < int64_t{kNodeSize} ? int64_t{kNodeSize} : dataSize; }

}  // namespace emantle::hfa
