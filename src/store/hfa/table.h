#pragma once

#include "frame/memory/heap_ptr.h"

#include <emantle/store/ehfa/table.h>
#include <span>
#include <string>
#include <string_view>

/* What the sources of record tables share. */

namespace emantle::hfa {

using StructurePtr = Owned<Ehfa_TableRecordStructure, ehfa_TableRecordStructureFree>;
using TablePtr = Owned<Ehfa_Table, ehfa_TableFree>;

std::span<const Ehfa_TableField> fieldsOf(const Ehfa_TableRecordStructure& structure);

/* A structure of copies of fields; a width below 1 becomes that of the type. */
StructurePtr makeStructure(std::span<const Ehfa_TableField> fields, EerrException& scope);

int32_t defaultWidth(int32_t type);

/* The format of one field. */
std::string formatOf(const Ehfa_TableField& field);

/* Where a field starts in its record. */
int64_t offsetOf(std::span<const Ehfa_TableField> fields, std::size_t index);

/* A value as it stands in the columns of a field: exactly its width. Fails where a number does not fit or is none. */
std::string printed(const Ehfa_TableField& field, std::string_view value);

/* A text without its trailing blanks and NULs. */
std::string_view trimmed(std::string_view text);

}  // namespace emantle::hfa
