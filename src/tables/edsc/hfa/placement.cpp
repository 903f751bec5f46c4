#include "tables/edsc/hfa/placement.h"

#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"
#include "tables/edsc/hfa/designs.h"

#include <cstring>
#include <emantle/files/efnp/node_path.h>
#include <emantle/store/ehfa/entry.h>
#include <emantle/store/ehfa/object.h>
#include <emantle/tables/edsc/hfa.h>
#include <utility>

using namespace emantle;
using namespace emantle::tables;

namespace emantle::tables {

Edsc_HFAPlacement& placementOfThread()
{
    thread_local Edsc_HFAPlacement placement;
    return placement;
}

Edsc_HFAPlacement takePlacement() { return std::exchange(placementOfThread(), {}); }

}  // namespace emantle::tables

namespace {

/* The path that a node written by `insertMode` at `parent` will have; null where it keeps its own. */
HeapPtr<char> pathOfNew(EerrException& scope, const char* parent, const char* name, long insertMode)
{
    if (name == nullptr || *name == '\0') {
        require(insertMode == EHFA_WRITE_CURRENT, "NULL table name");
        return nullptr;
    }
    long node = -1;
    if (insertMode == EHFA_WRITE_FIRST_CHILD || insertMode == EHFA_WRITE_LAST_CHILD) {
        node = checked(scope, efnp_NodePathLength(parent, scope));
    }
    return HeapPtr<char>(checked(scope, efnp_NodePathSet(parent, name, EFNP_NODE, node, scope)));
}

}  // namespace

EMANTLE_API char* edsc_HFATableArgsSet(Ehfa_File* file, const char* parentPath, const char* name, long insertMode,
                                       long seekMode, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "edsc_HFATableArgsSet", nullptr, [&](EerrException& scope) {
        require(file != nullptr, "File pointer is NULL");
        placementOfThread() = {};
        if (insertMode < 0) {
            const Ehfa_Entry* entry =
                checked(scope, ehfa_ObjectRead(file, parentPath, name, seekMode, nullptr, nullptr, scope));
            HeapPtr<char> path(checked(scope, ehfa_CurrentEntryPath(file, scope)));
            require(std::strcmp(entry->type, kTableType) == 0, "%s is not a descriptor table", path.get());
            return path.release();
        }
        HeapPtr<char> current;
        if (parentPath == nullptr) {
            current.reset(checked(scope, ehfa_CurrentEntryPath(file, scope)));
        }
        const char* parent = parentPath == nullptr ? current.get() : parentPath;
        HeapPtr<char> path = pathOfNew(scope, parent, name, insertMode);
        placementOfThread() = {true, parent, name == nullptr ? "" : name, insertMode, seekMode};
        return path.release();
    });
}
