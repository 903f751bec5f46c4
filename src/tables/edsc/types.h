#pragma once

#include "frame/guard/guard.h"
#include "store/mif/owners.h"

#include <cstdint>
#include <emantle/data/egda/types.h>
#include <emantle/tables/edsc/methods.h>

/* The four types of columns. */

namespace emantle::tables {

/* What tables and columns say when memory is out. */
constexpr const char* kNoMemory = "No memory";

constexpr std::int32_t kColumnTypes = 4;
constexpr std::int32_t kUnknownColumnType = -1;

inline bool isColumnType(std::int32_t type) noexcept { return type >= 0 && type < kColumnTypes; }

/* "integer", "real", "complex", "string". */
const char* columnTypeName(std::int32_t type) noexcept;
/* kUnknownColumnType for another name. */
std::int32_t columnTypeOfName(const char* name) noexcept;

/* The data type of a column in memory. */
Egda_PixelType dataTypeOfColumn(std::int32_t type) noexcept;
/* The column type that holds every value of a data type; kUnknownColumnType for an unknown one. */
std::int32_t widestColumnType(Egda_PixelType type) noexcept;

/* Bytes of one element in a store; a string takes its width. */
std::int64_t elementFileSize(std::int32_t type, std::int32_t maxNumChars) noexcept;

/* One element: a design named after the column, with the item "element". Fails with "Unknown column type %d.". */
mif::DesignPtr elementDesign(EerrException& scope, const char* name, std::int32_t type, std::int32_t maxNumChars);

}  // namespace emantle::tables
