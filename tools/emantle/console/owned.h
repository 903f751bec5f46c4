#pragma once

#include "console/failure.h"

#include <memory>

namespace tool {

template <auto Delete>
struct LibraryDeleter {
    template <class T>
    void operator()(T* object) const
    {
        Reports reports;
        Delete(object, reports);
    }
};

/* Owns what the library handed over, and gives it back to the family's own call. */
template <class T, auto Delete>
using Owned = std::unique_ptr<T, LibraryDeleter<Delete>>;

}  // namespace tool
