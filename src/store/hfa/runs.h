#pragma once

#include "store/hfa/handle.h"

#include <vector>

namespace emantle::hfa {

/* Blocks that an object refers to by position: the values of a table's column, a block kept by reference, the blocks of
 * a block store. */
struct Run {
    uint32_t position;
    int64_t size;
};

/* What the data of an entry refer to. `damage` becomes a text where they cannot be what the type says. */
std::vector<Run> runsOf(Handle& handle, const Ehfa_Entry& entry, std::string& damage, EerrException& scope);

/* Copies what the data of the source's current entry refer to, and puts the new positions into `data`, which holds a copy of
 * them. */
void copyRuns(Handle& source, Handle& target, std::vector<unsigned char>& data, EerrException& scope);

}  // namespace emantle::hfa
