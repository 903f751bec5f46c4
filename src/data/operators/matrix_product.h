#pragma once

#include "platform/cpu.h"

#include <emantle/data/egda/types.h>

/* Sums over elements of matrices, by type. */

namespace emantle {

/* Elements of a matrix: the first, and the bytes from row to row and from column to column. */
struct ProductSide {
    char* first;
    long rowStep;
    long columnStep;
};

/* `dest`, of rows by columns, from `a`, of rows by inner, and `b`, of inner by columns. The destination overlaps neither,
 * and its elements follow one another along its rows or along its columns. */
struct Product {
    ProductSide dest;
    ProductSide a;
    ProductSide b;
    long rows;
    long inner;
    long columns;
};

struct ProductRoutines {
    /* Forms each sum in the order of its terms; false when memory is out. */
    bool (*multiply)(const Product& product);
    /* sum = layer * weight, or sum += layer * weight, for `count` elements; `sum` may be `layer`. */
    void (*weigh)(void* sum, const void* layer, const void* weight, long count);
    void (*addWeighted)(void* sum, const void* layer, const void* weight, long count);
};

/* By type code, for all but strings. */
const ProductRoutines* productTable(platform::InstructionSet set) noexcept;

}  // namespace emantle
