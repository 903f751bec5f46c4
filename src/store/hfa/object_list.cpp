#include "store/hfa/activity.h"
#include "store/hfa/tree.h"

#include <cstring>

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Estr_StringList* ehfa_ObjectList(Ehfa_File* file, const char* start, const char* name, const char* type,
                                             Eerr_ErrorReport** err)
{
    return guarded<Estr_StringList*>(err, "ehfa_ObjectList", nullptr, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        if (start != nullptr) {
            const bool found = asFunction(scope, "ehfa_EntrySeek", "EntrySeek fail",
                                          [&] { return seekEntry(handle, EHFA_SEEK_PATH, start, scope); });
            require(found, "Could not find starting node \"%s\"", start);
        }
        require(!inBatchMode(handle), "Invalid seek method for writing w/o caching");
        EstrStringList list(checked(scope, estr_StringListCreate(0, scope), "StringListAppend fail"));
        Cursor top = cursorOf(handle);
        bool more = true;
        while (more) {
            const Ehfa_Entry& entry = handle.currentEntry;
            if ((name == nullptr || std::strcmp(name, entry.name) == 0) &&
                (type == nullptr || std::strcmp(type, entry.type) == 0)) {
                checked(scope, estr_StringListAppend(list, handle.path, scope), "StringListAppend fail");
            }
            more = asFunction(scope, "ehfa_EntrySeek", "EntrySeek fail",
                              [&] { return goToDepthNext(handle, top.position, scope); });
        }
        restore(handle, std::move(top));
        return list.Release();
    });
}
