#pragma once

#include "tables/edsc/binfunction/record.h"
#include "tables/edsc/format.h"

#include <emantle/tables/edsc/column.h>
#include <memory>

namespace emantle::tables {

struct TableCloser {
    void operator()(Edsc_TableInstance* table) const noexcept { edsc_TableClose(table, nullptr); }
};
using TablePtr = std::unique_ptr<Edsc_TableInstance, TableCloser>;

struct ColumnCloser {
    void operator()(Edsc_ColumnInstance* column) const noexcept { edsc_ColumnClose(column, nullptr); }
};
using ColumnPtr = std::unique_ptr<Edsc_ColumnInstance, ColumnCloser>;

/* The methods of a table that can be worked with. Fails with "NULL table" and "Null methods". */
const Edsc_TableMethods& methodsOf(const Edsc_TableInstance* table);

/* A copy of `binFunction` narrowed to the rows; of a function of more bins than rows it is told. For null a direct
 * function of the rows from 0; for a table without rows null. */
BinFunctionPtr functionForRows(EerrException& scope, const char* function, const Edsc_BinFunction* binFunction,
                               std::int32_t numRows);

/* Moves the rows of a table to the bins of `binFunction` that hold what they held. */
void adjustRows(EerrException& scope, Edsc_TableInstance& table, const Edsc_BinFunction& binFunction,
                std::int32_t dataType);

}  // namespace emantle::tables
