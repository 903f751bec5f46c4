#pragma once

#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"
#include "store/hfa/activity.h"
#include "tables/edsc/hfa/designs.h"

#include <cstdint>
#include <emantle/store/ehfa/entry.h>
#include <emantle/tables/edsc/hfa.h>
#include <memory>

namespace emantle::tables {

/* Several calls on a store that are one change of it: all of them reach the file, or none does. */
class WholeChange {
public:
    WholeChange(EerrException& scope, Ehfa_File* file) : activity_(hfa::opened(file), scope) {}

private:
    hfa::Activity activity_;
};

struct HFATableDeleter {
    void operator()(Edsc_HFATable* table) const noexcept { edsc_HFATableClose(table, nullptr); }
};
using HFATablePtr = std::unique_ptr<Edsc_HFATable, HFATableDeleter>;

/* What an open column keeps beside the public record. */
struct OpenHFAColumn : Edsc_HFAColumn {
    ColumnRecord header;
    bool isBlank; /* created here behind the end of the file, and not written to */
};

struct HFAColumnDeleter {
    void operator()(OpenHFAColumn* column) const noexcept { edsc_HFAColumnClose(column, nullptr); }
};
using HFAColumnPtr = std::unique_ptr<OpenHFAColumn, HFAColumnDeleter>;

/* Fails with "NULL table" and "Args". */
Edsc_HFATable& tableOf(void* handle);
OpenHFAColumn& columnOf(void* handle);

/* Adds the designs of tables and columns to the store's dictionary. */
void addDesigns(EerrException& scope, Ehfa_File& file);

/* The column `name`; null when there is none. With `checkRows` one that is shorter than its table is refused. */
HFAColumnPtr openColumn(EerrException& scope, Edsc_HFATable& table, const char* name, bool checkRows);

/* Bytes of `rows` elements, which lie inside the file or not. */
std::int64_t runSize(const ColumnRecord& header, std::int64_t rows);

/* Rewrites the header of a column in its node. */
void writeHeader(EerrException& scope, OpenHFAColumn& column);

/* The entry points of a format that are not in the public set: elements as they lie in the file, and whether there are
 * none but zeros yet. */
std::int32_t edsc_HFAColumnFieldsRead(void* handle, std::int32_t startRow, std::int32_t numRows, void* fields,
                                      Eerr_ErrorReport** err);
std::int32_t edsc_HFAColumnFieldsWrite(void* handle, std::int32_t startRow, std::int32_t numRows, const void* fields,
                                       Eerr_ErrorReport** err);
std::int32_t edsc_HFAColumnIsBlank(void* handle, Eerr_ErrorReport** err);

/* Moves to a node; fails with `missing`, a format for the path. */
Ehfa_Entry* seekNode(EerrException& scope, Ehfa_File* file, const char* path, Say missing);

}  // namespace emantle::tables
