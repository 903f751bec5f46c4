#include "store/hfa/tree.h"

#include "frame/guard/plain_scope.h"
#include "store/hfa/bytes.h"

#include <cstring>

namespace emantle::hfa {

void startTree(Handle& handle, EerrException& scope)
{
    handle.paths.create(handle, true, scope);
    handle.flags &= ~static_cast<uint32_t>(EHFA_FLAG_BATCH);
    goToRoot(handle, scope);
}

Cursor cursorOf(const Handle& handle)
{
    return {handle.entryPtr, handle.currentEntry, handle.pathOfCurrent};
}

namespace {

void showPath(Handle& handle)
{
    handle.path = handle.pathOfCurrent.text().c_str();
    handle.pathLength = static_cast<int32_t>(handle.pathOfCurrent.text().size());
    handle.pathDepth = static_cast<int16_t>(handle.pathOfCurrent.depth());
}

void warnOfCorruption(const char* kind, const char* found, const char* from)
{
    warn("ehfa_EntrySeek", "Corrupt %s entry (%s) of %s detected", kind, found, from);
}

/* Takes a link that leads astray out of the entry held, so that walks end there. */
void dropLink(Handle& handle, uint32_t Ehfa_Entry::*link, EerrException& scope)
{
    handle.currentEntry.*link = 0;
    if (handle.entryCacheInUse == 1) {
        handle.paths.keepEntry(handle.entryPtr, handle.currentEntry, scope);
    }
}

/* Steps sideways or down. `linksBack` says whether an entry read through `link` belongs there. */
template <class LinksBack>
bool follow(Handle& handle, uint32_t Ehfa_Entry::*link, const char* kind, EerrException& scope, LinksBack linksBack)
{
    const uint32_t position = handle.currentEntry.*link;
    if (position == 0) {
        return false;
    }
    Ehfa_Entry found{};
    if (!readEntry(handle, position, found, scope) || !linksBack(found)) {
        warnOfCorruption(kind, found.name, handle.currentEntry.name);
        dropLink(handle, link, scope);
        return false;
    }
    if (link != &Ehfa_Entry::child) {
        popName(handle);
    }
    pushName(handle, found.name);
    setCurrent(handle, position, found);
    indexCurrent(handle, scope);
    return true;
}

/* Goes to the last child, of the entry at the path `parent`, up to which every child is known. False where none is. */
bool goToLastKnownChild(Handle& handle, const std::string& parent, bool fromParent, EerrException& scope)
{
    const auto place = handle.paths.find(parent, scope);
    Ehfa_Entry found;
    if (!place || place->lastChild == 0 || !readEntry(handle, place->lastChild, found, scope)) {
        return false;
    }
    const uint32_t parentPosition = fromParent ? handle.entryPtr : handle.currentEntry.parent;
    if (place->position != parentPosition || found.parent != parentPosition) {
        return false;
    }
    if (!fromParent) {
        popName(handle);
    }
    pushName(handle, found.name);
    setCurrent(handle, place->lastChild, found);
    return true;
}

/* Goes to the entry that the index has for `name` under the path `parent`. */
bool goToIndexed(Handle& handle, const std::string& parent, const char* name, bool fromParent, EerrException& scope)
{
    const auto place = handle.paths.find(parent + name + ':', scope);
    Ehfa_Entry found;
    if (!place || !readEntry(handle, place->position, found, scope)) {
        return false;
    }
    const uint32_t parentPosition = fromParent ? handle.entryPtr : handle.currentEntry.parent;
    if (found.parent != parentPosition || std::strcmp(found.name, name) != 0) {
        return false;
    }
    if (!fromParent) {
        popName(handle);
    }
    pushName(handle, found.name);
    setCurrent(handle, place->position, found);
    return true;
}

std::string parentPath(const Handle& handle)
{
    return handle.pathOfCurrent.text().substr(0, handle.pathOfCurrent.parentLength());
}

bool isPlainName(const char* name)
{
    return *name != '\0' && std::strlen(name) <= EHFA_NAME_MAX && std::strchr(name, ':') == nullptr;
}

}  // namespace

void restore(Handle& handle, Cursor&& cursor)
{
    handle.pathOfCurrent = std::move(cursor.path);
    showPath(handle);
    setCurrent(handle, cursor.position, cursor.entry);
}

void setCurrent(Handle& handle, uint32_t position, const Ehfa_Entry& entry)
{
    handle.entryPtr = position;
    handle.currentEntry = entry;
}

void pushName(Handle& handle, const char* name)
{
    handle.pathOfCurrent.push(name);
    showPath(handle);
}

void popName(Handle& handle)
{
    handle.pathOfCurrent.pop();
    showPath(handle);
}

void indexCurrent(Handle& handle, EerrException& scope)
{
    handle.paths.add(handle.pathOfCurrent, handle.entryPtr, handle.currentEntry, scope);
}

void goToRoot(Handle& handle, EerrException& scope)
{
    Ehfa_Entry root;
    require(readEntry(handle, handle.rootEntryPtr, root, scope), "Corrupt root entry detected...cannot continue");
    handle.pathOfCurrent.clear();
    showPath(handle);
    setCurrent(handle, handle.rootEntryPtr, root);
    indexCurrent(handle, scope);
}

bool goToNext(Handle& handle, EerrException& scope)
{
    return follow(handle, &Ehfa_Entry::next, "sibling", scope, [&](const Ehfa_Entry& found) {
        return found.parent == handle.currentEntry.parent && found.prev == handle.entryPtr;
    });
}

bool goToPrev(Handle& handle, EerrException& scope)
{
    return follow(handle, &Ehfa_Entry::prev, "sibling", scope, [&](const Ehfa_Entry& found) {
        return found.parent == handle.currentEntry.parent && found.next == handle.entryPtr;
    });
}

bool goToChild(Handle& handle, EerrException& scope)
{
    return follow(handle, &Ehfa_Entry::child, "child", scope, [&](const Ehfa_Entry& found) {
        return found.parent == handle.entryPtr && found.prev == 0 && handle.pathOfCurrent.depth() < kDepthLimit;
    });
}

bool goToParent(Handle& handle, EerrException& scope)
{
    const uint32_t position = handle.currentEntry.parent;
    if (position == 0 || isAtRoot(handle)) {
        return false;
    }
    Ehfa_Entry found{};
    /* Each step takes a name off the path, so that no chain of parents is endless. */
    const bool lastName = handle.pathOfCurrent.depth() <= 1;
    if (!readEntry(handle, position, found, scope) || lastName != (position == handle.rootEntryPtr)) {
        warnOfCorruption("parent", found.name, handle.currentEntry.name);
        dropLink(handle, &Ehfa_Entry::parent, scope);
        return false;
    }
    popName(handle);
    setCurrent(handle, position, found);
    indexCurrent(handle, scope);
    return true;
}

void goToFirst(Handle& handle, EerrException& scope)
{
    /* Links that are sound in both directions may still form a ring. */
    const uint32_t start = handle.entryPtr;
    while (goToPrev(handle, scope) && handle.entryPtr != start) {
    }
}

void goToLast(Handle& handle, EerrException& scope)
{
    if (isAtRoot(handle)) {
        return;
    }
    if (handle.currentEntry.next != 0 && handle.pathOfCurrent.isIndexable()) {
        goToLastKnownChild(handle, parentPath(handle), false, scope);
    }
    const uint32_t start = handle.entryPtr;
    while (goToNext(handle, scope) && handle.entryPtr != start) {
    }
}

bool goToDepthNext(Handle& handle, uint32_t top, EerrException& scope)
{
    if (goToChild(handle, scope)) {
        return true;
    }
    while (handle.entryPtr != top && !isAtRoot(handle)) {
        if (goToNext(handle, scope)) {
            return true;
        }
        if (!goToParent(handle, scope)) {
            return false;
        }
    }
    return false;
}

namespace {

template <class Fits>
bool goForward(Handle& handle, EerrException& scope, Fits fits)
{
    const uint32_t start = handle.entryPtr;
    do {
        if (fits(handle.currentEntry)) {
            return true;
        }
    } while (goToNext(handle, scope) && handle.entryPtr != start);
    return false;
}

}  // namespace

bool goForwardToName(Handle& handle, const char* name, EerrException& scope)
{
    if (isAtRoot(handle) && !goToChild(handle, scope)) {
        return false;
    }
    return goForward(handle, scope, [&](const Ehfa_Entry& entry) { return std::strcmp(entry.name, name) == 0; });
}

bool goForwardToType(Handle& handle, const char* type, EerrException& scope)
{
    return goForward(handle, scope, [&](const Ehfa_Entry& entry) { return std::strcmp(entry.type, type) == 0; });
}

bool goToSibling(Handle& handle, const char* name, EerrException& scope)
{
    if (isAtRoot(handle)) {
        return goToChildNamed(handle, name, scope);
    }
    if (handle.paths.isUsable() && handle.pathOfCurrent.isIndexable() && isPlainName(name)) {
        const std::string parent = parentPath(handle);
        if (goToIndexed(handle, parent, name, false, scope)) {
            return true;
        }
        if (goToLastKnownChild(handle, parent, false, scope)) {
            return goForwardToName(handle, name, scope);
        }
    }
    goToFirst(handle, scope);
    return goForwardToName(handle, name, scope);
}

bool goToChildNamed(Handle& handle, const char* name, EerrException& scope)
{
    if (handle.paths.isUsable() && handle.pathOfCurrent.isIndexable() && isPlainName(name)) {
        const std::string here = handle.pathOfCurrent.text();
        if (goToIndexed(handle, here, name, true, scope)) {
            return true;
        }
        if (goToLastKnownChild(handle, here, true, scope)) {
            return goForwardToName(handle, name, scope);
        }
    }
    return goToChild(handle, scope) && goForwardToName(handle, name, scope);
}

}  // namespace emantle::hfa
