#include "frame/memory/heap_ptr.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/tree.h"

#include <algorithm>
#include <cstring>

namespace emantle::hfa {

namespace {

/* Climbs from an entry to the root over links that are sound in both directions, and goes there with the path of the
 * names met. */
bool goByLinks(Handle& handle, uint32_t position, EerrException& scope)
{
    Ehfa_Entry entry;
    if (!readEntry(handle, position, entry, scope)) {
        return false;
    }
    const Ehfa_Entry found = entry;
    std::vector<std::string> names;
    for (uint32_t here = position; here != handle.rootEntryPtr;) {
        Ehfa_Entry neighbour;
        const uint32_t leader = entry.prev != 0 ? entry.prev : entry.parent;
        if (!readEntry(handle, leader, neighbour, scope) || (entry.prev != 0 ? neighbour.next : neighbour.child) != here ||
            names.size() >= kDepthLimit) {
            return false;
        }
        names.emplace_back(entry.name);
        here = entry.parent;
        if (!readEntry(handle, here, entry, scope)) {
            return false;
        }
    }
    handle.pathOfCurrent.clear();
    std::for_each(names.rbegin(), names.rend(), [&](const std::string& name) { pushName(handle, name.c_str()); });
    setCurrent(handle, position, found);
    return true;
}

/* The path may lead to a sibling of the same name. */
bool goToTwin(Handle& handle, const Ehfa_EntryPosition& position, EerrException& scope)
{
    const std::string name = handle.currentEntry.name;
    goToFirst(handle, scope);
    bool found = goForwardToName(handle, name.c_str(), scope);
    while (found && handle.entryPtr != position.position) {
        found = goToNext(handle, scope) && goForwardToName(handle, name.c_str(), scope);
    }
    return found;
}

void takeAsGiven(Handle& handle, const Ehfa_EntryPosition& position, EerrException& scope)
{
    Ehfa_Entry entry;
    require(readEntry(handle, position.position, entry, scope), "Cannot find entry position");
    handle.pathOfCurrent.clear();
    const char* start = position.path;
    while (*start != '\0') {
        const std::size_t length = std::strcspn(start, ":");
        if (length > 0) {
            pushName(handle, std::string(start, length).c_str());
        }
        start += length + (start[length] == ':' ? 1 : 0);
    }
    if (handle.pathOfCurrent.depth() == 0) {
        goToRoot(handle, scope);
    }
    setCurrent(handle, position.position, entry);
}

void goToPosition(Handle& handle, const Ehfa_EntryPosition& position, EerrException& scope)
{
    require(!inBatchMode(handle), "Invalid seek method for writing w/o caching");
    if (handle.option != 0) {
        takeAsGiven(handle, position, scope);
        return;
    }
    if (seekEntry(handle, EHFA_SEEK_BACK, position.path, scope)) {
        if (handle.entryPtr == position.position || goToTwin(handle, position, scope)) {
            return;
        }
        fail("Cannot find entry position");
    }
    require(goByLinks(handle, position.position, scope) && handle.pathOfCurrent.text() == position.path,
            "Couldn't find entry %s", position.path);
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Ehfa_EntryPosition* ehfa_EntryPositionGet(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_EntryPosition*>(err, "ehfa_EntryPositionGet", nullptr, [&](EerrException& scope) {
        Handle& handle = opened(file, "Null file parameter");
        Activity activity(handle, scope);
        HeapPtr<char> path = heapText(handle.pathOfCurrent.text());
        HeapPtr<Ehfa_EntryPosition> position = allocate<Ehfa_EntryPosition>();
        position->path = path.release();
        position->position = handle.entryPtr;
        return position.release();
    });
}

EMANTLE_API Emsc_Boolean ehfa_EntryPositionSet(Ehfa_File* file, const Ehfa_EntryPosition* position,
                                               Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_EntryPositionSet", 0, [&](EerrException& scope) {
        Handle& handle = opened(file, "Null file parameter");
        require(position != nullptr && position->path != nullptr, "Null position parameter");
        Activity activity(handle, scope);
        try {
            goToPosition(handle, *position, scope);
        } catch (...) {
            EerrException unheard;
            if (!inBatchMode(handle)) {
                goToRoot(handle, unheard);
            }
            throw;
        }
        return 1;
    });
}

EMANTLE_API void ehfa_EntryPositionFree(Ehfa_EntryPosition* position, Eerr_ErrorReport** err)
{
    eerr_Init(err);
    if (position != nullptr) {
        emsc_HeapFree(position->path);
        emsc_HeapFree(position);
    }
}

EMANTLE_API Ehfa_EntryPosition* ehfa_EntryGetCurrentPosition(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return ehfa_EntryPositionGet(file, err);
}

EMANTLE_API Emsc_Boolean ehfa_EntrySetCurrentPosition(Ehfa_File* file, const Ehfa_EntryPosition* position,
                                                      Eerr_ErrorReport** err)
{
    return ehfa_EntryPositionSet(file, position, err);
}
