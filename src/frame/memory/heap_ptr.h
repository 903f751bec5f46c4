#pragma once

#include "frame/guard/failure.h"

#include <emantle/frame/emsc/heap.h>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

/* Owners of blocks that will cross the boundary. */

namespace emantle {

struct HeapDeleter {
    void operator()(const void* block) const noexcept { emsc_HeapFree(const_cast<void*>(block)); }
};

/* Owns one block of emsc_HeapMalloc; `release` hands it over. For plain records only: nothing is destroyed. `HeapPtr<T[]>` is
 * the same for an array, and has `[]`. */
template <class T>
using HeapPtr = std::unique_ptr<T, HeapDeleter>;

template <auto Delete>
struct CallDelete {
    template <class T>
    void operator()(T* record) const noexcept
    {
        if constexpr (std::is_invocable_v<decltype(Delete), T**>) {
            Delete(&record);
        } else {
            Delete(record);
        }
    }
};

/* Owns a record that goes back to a function of its own: `Owned<Exmp_Track, exmp_TrackDelete>`. The function takes the record
 * or its address. */
template <class T, auto Delete>
using Owned = std::unique_ptr<T, CallDelete<Delete>>;

/* A zero-filled block of `count` records; fails with `text` when memory is out. A count of 0 gives null.
 * `allocate<Exmp_Track>()` is one record, `allocate<double[]>(n)` an array. */
template <class T>
HeapPtr<T> allocate(std::size_t count = 1, Say text = "emsc_New failed")
{
    using Element = std::remove_extent_t<T>;
    static_assert(std::is_trivially_destructible_v<Element> && std::is_trivially_copyable_v<Element>, "a plain record");
    if (count == 0) {
        return nullptr;
    }
    require(count <= static_cast<std::size_t>(std::numeric_limits<long>::max()) / sizeof(Element), text);
    HeapPtr<T> block(static_cast<Element*>(emsc_HeapMalloc(static_cast<long>(count * sizeof(Element)))));
    require(block, text);
    return block;
}

/* A heap copy of a text, terminated; fails with `text` when memory is out. A null pointer gives null. */
inline HeapPtr<char> heapText(std::string_view source, Say text = "emsc_New failed")
{
    HeapPtr<char> copy = allocate<char>(source.size() + 1, text);
    source.copy(copy.get(), source.size());
    return copy;
}

inline HeapPtr<char> heapText(const char* source, Say text = "emsc_New failed")
{
    return source == nullptr ? nullptr : heapText(std::string_view(source), text);
}

inline HeapPtr<char> heapText(const std::string& source, Say text = "emsc_New failed")
{
    return heapText(std::string_view(source), text);
}

}  // namespace emantle
