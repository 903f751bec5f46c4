#pragma once

#include "frame/guard/failure.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/frame/estr/expand.h>
#include <string>

namespace emantle::files {

/* A caller's name as the system is given it. Throws for null, and where the name cannot be expanded. */
inline std::string expandedName(const char* name)
{
    require(name != nullptr, "NULL file name");
    const HeapPtr<char> expanded(estr_PathExpand(name, nullptr, 0));
    require(expanded, "Cannot expand %s", name);
    return expanded.get();
}

}  // namespace emantle::files
