#pragma once

#include <emantle/store/ehfa.h>

namespace tool {

/* Deletes the current entry with all below it. The blocks that its data refer to are freed once nothing leads to them. */
void deleteCurrent(Ehfa_File* file);

}  // namespace tool
