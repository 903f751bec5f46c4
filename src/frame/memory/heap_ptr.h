#pragma once

#include "frame/guard/failure.h"

#include <emantle/frame/emsc/heap.h>
#include <limits>
#include <memory>
#include <string_view>

/* Owners of blocks that will cross the boundary. */

namespace emantle {

struct HeapDeleter {
    void operator()(const void* block) const noexcept { emsc_HeapFree(const_cast<void*>(block)); }
};

/* Owns one block of emsc_HeapMalloc; `release` hands it over. For plain records only: nothing is destroyed. */
template <class T>
using HeapPtr = std::unique_ptr<T, HeapDeleter>;

/* A zero-filled block of `count` records; fails with `text` when memory is out. A count of 0 gives null. */
template <class T>
HeapPtr<T> allocate(std::size_t count = 1, Say text = "No memory")
{
    static_assert(std::is_trivially_destructible_v<T> && std::is_trivially_copyable_v<T>, "a plain record");
    if (count == 0) {
        return nullptr;
    }
    require(count <= static_cast<std::size_t>(std::numeric_limits<long>::max()) / sizeof(T), text);
    HeapPtr<T> block(static_cast<T*>(emsc_HeapMalloc(static_cast<long>(count * sizeof(T)))));
    require(block, text);
    return block;
}

/* A heap copy of a text, terminated; fails with `text` when memory is out. */
inline HeapPtr<char> heapText(std::string_view source, Say text = "No memory")
{
    HeapPtr<char> copy = allocate<char>(source.size() + 1, text);
    source.copy(copy.get(), source.size());
    return copy;
}

}  // namespace emantle
