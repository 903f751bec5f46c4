#pragma once

#include "frame/guard/guard.h"
#include "store/mif/fetch.h"

#include <cstdint>
#include <emantle/store/emif/object.h>

/* What tables and columns are in a store. */

namespace emantle::tables {

/* The host form of "Edsc_Table". */
struct TableRecord {
    std::int32_t numrows;
};

/* The host form of "Edsc_Column": the header of a column, whose elements lie in a run of their own. */
struct ColumnRecord {
    std::int32_t numRows; /* that the run holds */
    std::uint32_t columnDataPtr;
    std::int32_t dataType;
    std::int32_t maxNumChars;
};

/* The host form of "Edsc_HFA_Column": a whole column. */
struct WholeColumnRecord {
    ColumnRecord* column;
    Emif_PTR data;
};

constexpr const char* kTableType = "Edsc_Table";
constexpr const char* kColumnType = "Edsc_Column";

Emif_Design* tableDesign(EerrException& scope);
Emif_Design* columnDesign(EerrException& scope);
Emif_Design* wholeColumnDesign(EerrException& scope);

}  // namespace emantle::tables
