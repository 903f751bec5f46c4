#pragma once

#include <cstddef>

namespace emantle {

/* The bytes last asked for of a block of the heap; 0 for null. */
std::size_t heapBlockSize(const void* block) noexcept;

}  // namespace emantle
