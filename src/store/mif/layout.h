#pragma once

#include "frame/memory/heap_ptr.h"
#include "frame/guard/nested.h"
#include "store/mif/owners.h"
#include "store/mif/types.h"

#include <limits>
#include <string_view>

namespace emantle::mif {

inline constexpr int64_t kLargestSize = std::numeric_limits<int32_t>::max();

/* What a walk through a design and all designs inside it finds. */
struct Extent {
    int depth = 0;      /* 1 for a design without designs */
    int64_t weight = 0; /* designs, items and names of enumerations */
};

Extent extentOf(const Emif_Design& design) noexcept;

uint64_t leastStreamBytes(const Emif_Design& design) noexcept;
uint64_t leastStreamBytes(const Emif_DesignItem& item) noexcept;
/* Of one element of the item. */
uint64_t leastElementBytes(const Emif_DesignItem& item) noexcept;

/* Builds a design item by item and lays it out as it goes. */
class DesignBuilder {
public:
    DesignBuilder();

    /* A new item at the end, whose fields up to `isPointer` the caller fills before `place`. */
    Emif_DesignItem& append();

    /* Sizes and offsets of the item appended last. Fails where the layout passes 32 bits or the nesting its limit. */
    void place();

    /* Ends the record. */
    DesignPtr finish(HeapPtr<char> name);

private:
    DesignPtr design_;
    Emif_DesignItem* last_ = nullptr;
    int64_t offset_ = 0;
};


/* A deep copy with null links; fails with "Out of memory". */
DesignPtr copyOf(const Emif_Design& design);

}  // namespace emantle::mif
