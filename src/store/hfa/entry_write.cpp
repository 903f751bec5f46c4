#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/edit.h"
#include "store/hfa/space.h"
#include "store/hfa/tree.h"

#include <cstring>

namespace emantle::hfa {

namespace {

void setName(Ehfa_Entry& entry, const char* name)
{
    std::memset(entry.name, 0, sizeof entry.name);
    std::memcpy(entry.name, name, std::strlen(name));
}

void setType(Ehfa_Entry& entry, const char* type)
{
    std::memset(entry.type, 0, sizeof entry.type);
    std::memcpy(entry.type, type, strnlen(type, EHFA_TYPE_MAX));
}

uint32_t newBlock(Handle& handle, EerrException& scope)
{
    return asFunction(scope, "ehfa_NextFreePos", "ehfa_NextFreePos failed",
                      [&] { return allocateBlock(handle, entryBlockSize(handle), scope); });
}

void put(Handle& handle, uint32_t position, const Ehfa_Entry& entry, EerrException& scope)
{
    asFunction(scope, "ehfa_WriteEntry", "ehfa_WriteCurrentEntry failed",
               [&] { writeEntry(handle, position, entry, scope); });
}

void putLink(Handle& handle, uint32_t position, Link link, uint32_t target, EerrException& scope)
{
    asFunction(scope, "ehfa_WriteEntry", "ehfa_WriteCurrentEntry failed",
               [&] { writeLink(handle, position, link, target, scope); });
}

/* What a new entry is to be. */
struct Wanted {
    const char* name;
    const char* type;
    NewEntry how;
};

/* A new entry between its neighbours. It keeps the time of the entry held before. */
Ehfa_Entry freshEntry(const Wanted& wanted, double modTime)
{
    require(wanted.name != nullptr, "Push of null name invalid");
    Ehfa_Entry entry{};
    entry.modTime = modTime;
    std::memcpy(entry.name, wanted.name, std::strlen(wanted.name));
    if (wanted.type != nullptr) {
        std::memcpy(entry.type, wanted.type, strnlen(wanted.type, EHFA_TYPE_MAX));
    }
    return entry;
}

void putNew(Handle& handle, uint32_t position, const Ehfa_Entry& entry, const Wanted& wanted, EerrException& scope)
{
    if (wanted.how == NewEntry::isWritten) {
        put(handle, position, entry, scope);
    }
}

/* The new entry is in the file before anything leads to it. */
void becomeCurrent(Handle& handle, uint32_t position, const Ehfa_Entry& entry, bool sideways, EerrException& scope)
{
    if (inBatchMode(handle)) {
        setCurrent(handle, position, entry);
        return;
    }
    noteInserted(handle, position, entry, scope);
    if (sideways) {
        popName(handle);
    }
    pushName(handle, entry.name);
    setCurrent(handle, position, entry);
}

void rename(Handle& handle, const char* name)
{
    const bool isNew = name != nullptr && std::strcmp(name, handle.currentEntry.name) != 0;
    if (!isNew) {
        return;
    }
    if (!inBatchMode(handle)) {
        popName(handle);
        pushName(handle, name);
    } else {
        require(handle.entryPtr != handle.batchStart,
                "Cannot change the name of the noCache start node in batch mode");
    }
    setName(handle.currentEntry, name);
}

void rewrite(Handle& handle, const char* name, const char* type, EerrException& scope)
{
    const Cursor before = cursorOf(handle);
    try {
        rename(handle, name);
        if (type != nullptr) {
            setType(handle.currentEntry, type);
        }
        put(handle, handle.entryPtr, handle.currentEntry, scope);
    } catch (...) {
        restore(handle, Cursor(before));
        throw;
    }
    if (std::strcmp(before.entry.name, handle.currentEntry.name) != 0) {
        noteRenamed(handle, before.entry.name, scope);
    }
}

void insertAfter(Handle& handle, const Wanted& wanted, EerrException& scope)
{
    Ehfa_Entry entry = freshEntry(wanted, handle.currentEntry.modTime);
    /* A next sibling that does not link back is dropped by the look at it. */
    uint32_t nextPosition = 0;
    if (handle.currentEntry.next != 0) {
        Cursor before = cursorOf(handle);
        if (goToNext(handle, scope)) {
            nextPosition = handle.entryPtr;
            restore(handle, std::move(before));
        }
    }
    const uint32_t position = newBlock(handle, scope);
    entry.next = nextPosition;
    entry.prev = handle.entryPtr;
    entry.parent = handle.currentEntry.parent;
    putNew(handle, position, entry, wanted, scope);
    putLink(handle, handle.entryPtr, &Ehfa_Entry::next, position, scope);
    if (nextPosition != 0) {
        putLink(handle, nextPosition, &Ehfa_Entry::prev, position, scope);
    }
    becomeCurrent(handle, position, entry, true, scope);
}

void insertBefore(Handle& handle, const Wanted& wanted, EerrException& scope)
{
    Ehfa_Entry entry = freshEntry(wanted, handle.currentEntry.modTime);
    const uint32_t beforePosition = handle.currentEntry.prev != 0 ? handle.currentEntry.prev : handle.currentEntry.parent;
    Ehfa_Entry before{};
    require(readEntry(handle, beforePosition, before, scope), "Seek prev failed");
    require((handle.currentEntry.prev != 0 ? before.next : before.child) == handle.entryPtr, "Seek prev failed");
    const uint32_t position = newBlock(handle, scope);
    entry.next = handle.entryPtr;
    entry.prev = handle.currentEntry.prev;
    entry.parent = handle.currentEntry.parent;
    putNew(handle, position, entry, wanted, scope);
    putLink(handle, beforePosition, handle.currentEntry.prev != 0 ? &Ehfa_Entry::next : &Ehfa_Entry::child, position, scope);
    putLink(handle, handle.entryPtr, &Ehfa_Entry::prev, position, scope);
    becomeCurrent(handle, position, entry, true, scope);
}

void addOnlyChild(Handle& handle, const Wanted& wanted, EerrException& scope)
{
    Ehfa_Entry entry = freshEntry(wanted, handle.currentEntry.modTime);
    require(handle.pathOfCurrent.depth() < kDepthLimit, "Entries do not nest deeper than %d in %s", kDepthLimit,
            handle.nameText.c_str());
    const uint32_t position = newBlock(handle, scope);
    entry.parent = handle.entryPtr;
    putNew(handle, position, entry, wanted, scope);
    putLink(handle, handle.entryPtr, &Ehfa_Entry::child, position, scope);
    becomeCurrent(handle, position, entry, false, scope);
}

/* Behind the last child, of which nothing but its link is touched; false where that is not the end of its chain. */
bool appendChild(Handle& handle, const Wanted& wanted, EerrException& scope)
{
    const uint32_t last = lastChildOf(handle, scope);
    Ehfa_Entry before;
    if (last == 0 || handle.pathOfCurrent.depth() >= kDepthLimit || !readEntry(handle, last, before, scope) ||
        before.next != 0) {
        return false;
    }
    Ehfa_Entry entry = freshEntry(wanted, before.modTime);
    const uint32_t position = newBlock(handle, scope);
    entry.prev = last;
    entry.parent = handle.entryPtr;
    putNew(handle, position, entry, wanted, scope);
    putLink(handle, last, &Ehfa_Entry::next, position, scope);
    becomeCurrent(handle, position, entry, false, scope);
    return true;
}

void addChild(Handle& handle, bool last, const Wanted& wanted, EerrException& scope)
{
    if (last && appendChild(handle, wanted, scope)) {
        return;
    }
    if (last && goToLastChild(handle, scope)) {
        insertAfter(handle, wanted, scope);
    } else if (!goToChild(handle, scope)) {
        addOnlyChild(handle, wanted, scope);
    } else if (last) {
        goToLast(handle, scope);
        insertAfter(handle, wanted, scope);
    } else {
        insertBefore(handle, wanted, scope);
    }
}

void writeInBatchMode(Handle& handle, long method, const Wanted& wanted, EerrException& scope)
{
    switch (method) {
    case EHFA_WRITE_CURRENT: rewrite(handle, wanted.name, wanted.type, scope); return;
    case EHFA_WRITE_AFTER:
        require(handle.currentEntry.next == 0, "Cannot write before an existing node in batch mode");
        insertAfter(handle, wanted, scope);
        return;
    case EHFA_WRITE_FIRST_CHILD:
        require(handle.currentEntry.child == 0, "Cannot write additional offspring to a node in batch mode");
        addOnlyChild(handle, wanted, scope);
        return;
    default: fail("Invalid write position for batch write mode");
    }
}

}  // namespace

void rewriteCurrent(Handle& handle, EerrException& scope)
{
    put(handle, handle.entryPtr, handle.currentEntry, scope);
}

void writeTreeEntry(Handle& handle, long method, const char* name, const char* type, NewEntry how, EerrException& scope)
{
    require(name == nullptr || std::strlen(name) <= EHFA_NAME_MAX,
            "The length of EHFA entry name '%s' exceeds the %d character maximum", name, int{EHFA_NAME_MAX});
    require(method >= EHFA_WRITE_CURRENT && method <= EHFA_WRITE_LAST_CHILD, "Invalid write method %ld", method);
    if (isAtRoot(handle) && method != EHFA_WRITE_FIRST_CHILD) {
        method = EHFA_WRITE_LAST_CHILD;
    }
    const Wanted wanted{name, type, how};
    if (inBatchMode(handle)) {
        writeInBatchMode(handle, method, wanted, scope);
        return;
    }
    /* Whatever fails does so before the path of the current entry is changed, but for steps down from it. */
    const uint32_t position = handle.entryPtr;
    const Ehfa_Entry entry = handle.currentEntry;
    const std::size_t depth = handle.pathOfCurrent.depth();
    try {
        switch (method) {
        case EHFA_WRITE_CURRENT: rewrite(handle, name, type, scope); break;
        case EHFA_WRITE_AFTER: insertAfter(handle, wanted, scope); break;
        case EHFA_WRITE_BEFORE: insertBefore(handle, wanted, scope); break;
        default: addChild(handle, method == EHFA_WRITE_LAST_CHILD, wanted, scope); break;
        }
    } catch (...) {
        while (handle.pathOfCurrent.depth() > depth) {
            popName(handle);
        }
        setCurrent(handle, position, entry);
        throw;
    }
}

void beginBatch(Handle& handle)
{
    if (inBatchMode(handle)) {
        return;
    }
    handle.children.clear();
    handle.batchStart = handle.entryPtr;
    handle.flags |= EHFA_FLAG_BATCH;
}

void endBatch(Handle& handle, EerrException& scope)
{
    if (!inBatchMode(handle)) {
        return;
    }
    handle.flags &= ~static_cast<uint32_t>(EHFA_FLAG_BATCH);
    handle.children.clear();
    handle.entryPtr = handle.batchStart;
    require(seekEntry(handle, EHFA_SEEK_BACK, nullptr, scope), "Can't relocate entrypath");
}

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Ehfa_Entry* ehfa_EntryWrite(Ehfa_File* file, long method, const char* name, const char* type,
                                        Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Entry*>(err, "ehfa_EntryWrite", nullptr, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        writeTreeEntry(handle, method, name, type, NewEntry::isWritten, scope);
        return handle.entry;
    });
}
