#pragma once

#include "tables/esta/owners.h"

#include <emantle/tables/edsc.h>

/* The columns that stand beside the histogram in a descriptor table. */

namespace emantle::tables {

struct ColumnDeleter {
    void operator()(Edsc_ColumnInstance* column) const noexcept { edsc_ColumnClose(column, nullptr); }
};
using ColumnPtr = std::unique_ptr<Edsc_ColumnInstance, ColumnDeleter>;

/* What the reports of one kind of record say. */
struct ColumnTexts {
    const char* badStart;
    const char* negative;
    const char* tooMany;
};

/* Rows of a column: `present` of them are in the table, `asked` are wanted. */
struct Rows {
    std::int32_t first;
    std::int32_t present;
    std::int32_t asked;
};

/* The rows to read into a record of `capacity` rows, -1 for one that is still to be made. */
Rows rowsToRead(const Edsc_TableInstance* table, long startBin, long numBins, long capacity, const ColumnTexts& texts);

/* The rows to write from a record of `count` rows. */
Rows rowsToWrite(const Edsc_TableInstance* table, long startBin, long numBins, long count, const ColumnTexts& texts);

}  // namespace emantle::tables
