#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/edit.h"
#include "store/hfa/space.h"
#include "store/hfa/tree.h"

#include <emantle/files/efnp.h>
#include <cstring>

namespace emantle::hfa {

namespace {

/* Sets a link of a neighbour, where that neighbour's link leads here. */
void relink(Handle& handle, uint32_t neighbour, Link link, uint32_t from, uint32_t to, EerrException& scope)
{
    EntryBytes scratch;
    const unsigned char* bytes = entryBytes(handle, neighbour, scratch, scope);
    if (bytes == nullptr || linkIn(bytes, link) != from) {
        Ehfa_Entry entry{};
        readEntry(handle, neighbour, entry, scope);
        warn("ehfa_EntryDelete", "Corrupt sibling entry (%s) of %s detected", entry.name, handle.currentEntry.name);
        return;
    }
    asFunction(scope, "ehfa_WriteEntry", "ehfa_WriteCurrentEntry failed",
               [&] { writeLink(handle, neighbour, link, to, scope); });
}

/* Takes the current entry out from between its neighbours. */
void unlinkCurrent(Handle& handle, EerrException& scope)
{
    const Ehfa_Entry gone = handle.currentEntry;
    if (gone.prev != 0) {
        relink(handle, gone.prev, &Ehfa_Entry::next, handle.entryPtr, gone.next, scope);
    } else {
        relink(handle, gone.parent, &Ehfa_Entry::child, handle.entryPtr, gone.next, scope);
    }
    if (gone.next != 0) {
        relink(handle, gone.next, &Ehfa_Entry::prev, handle.entryPtr, gone.prev, scope);
    }
}

/* Frees a block that an entry claims; a claim that cannot be is told and left. */
void freeClaim(Handle& handle, uint32_t position, int64_t size, EerrException& scope)
{
    if (position == 0) {
        return;
    }
    if (!isAllocatable(handle, position, static_cast<uint64_t>(size))) {
        warn("ehfa_EntryDelete", "A block of %ld bytes at %ld does not lie in file %s", static_cast<long>(size),
             static_cast<long>(position), handle.nameText.c_str());
        return;
    }
    asFunction(scope, "ehfa_FreeSpace", "ehfa_FreeSpace failed", [&] { freeBlock(handle, position, size, scope); });
}

/* Deletes an entry without children; current is then what took its place. */
void deleteLeaf(Handle& handle, EerrException& scope)
{
    const uint32_t position = handle.entryPtr;
    const Ehfa_Entry gone = handle.currentEntry;
    unlinkCurrent(handle, scope);
    handle.children.noteRemoved(gone.parent, gone.name, position, gone.prev);
    handle.children.forget(position);
    handle.mended.erase(position);
    popName(handle);

    Ehfa_Entry found;
    const uint32_t sibling = gone.next != 0 ? gone.next : gone.prev;
    if (sibling != 0 && readEntry(handle, sibling, found, scope) && found.parent == gone.parent) {
        pushName(handle, found.name);
        setCurrent(handle, sibling, found);
    } else if (readEntry(handle, gone.parent, found, scope)) {
        setCurrent(handle, gone.parent, found);
    } else {
        goToRoot(handle, scope);
    }
    const int64_t entrySize = entryBlockSize(handle);
    const int64_t dataSize = gone.dataSize > 0 ? blockSizeOf(gone.dataSize) : 0;
    /* Data lie behind their entry where both were made at once. */
    const bool isOneBlock = dataSize > 0 && gone.data == position + entrySize &&
                            isAllocatable(handle, position, static_cast<uint64_t>(entrySize + dataSize));
    freeClaim(handle, position, isOneBlock ? entrySize + dataSize : entrySize, scope);
    if (dataSize > 0 && !isOneBlock) {
        freeClaim(handle, gone.data, dataSize, scope);
    }
}

}  // namespace

void deleteCurrent(Handle& handle, EerrException& scope)
{
    require(!inBatchMode(handle), "Deletion not allowed while cache is not in use");
    const uint32_t top = handle.entryPtr;
    /* The last leaf goes first, so that each deletion leads to an entry that still has a path below `top`. */
    for (;;) {
        while (goToChild(handle, scope)) {
            goToLast(handle, scope);
        }
        if (isAtRoot(handle)) {
            return;
        }
        const bool wasTop = handle.entryPtr == top;
        deleteLeaf(handle, scope);
        if (wasTop) {
            return;
        }
    }
}

namespace {

struct Move {
    std::string source; /* path of the entry */
    std::string parent; /* path of the new parent */
    std::string name;   /* the new name */
};

Move planMove(Handle& handle, const char* source, const char* destination, EerrException& scope)
{
    require(goToPath(handle, source, scope) && !isAtRoot(handle), "%s|Node not found", source);
    Move move;
    move.source = handle.pathOfCurrent.text();
    std::string target = destination;
    if (target.empty() || target[0] != ':') {
        target = move.source.substr(0, handle.pathOfCurrent.parentLength()) + target;
    }
    while (target.size() > 1 && target.back() == ':') {
        target.pop_back();
    }
    const HeapPtr<char> name(checked(scope, efnp_NodePathGet(target.c_str(), EFNP_NODE, -1, scope),
                                     "efnp_NodePathGet failed"));
    require(name && name.get()[0] != '\0', "Invalid 'move to' path");
    move.name = name.get();
    require(move.name.size() <= EHFA_NAME_MAX, "%s:  Name too long", move.name.c_str());
    move.parent = target.substr(0, target.rfind(':') + 1);
    return move;
}

/* Makes the entry of `moved` the last child of the current entry. */
void linkAsLastChild(Handle& handle, uint32_t position, Ehfa_Entry moved, EerrException& scope)
{
    moved.parent = handle.entryPtr;
    moved.prev = moved.next = 0;
    if (goToChild(handle, scope)) {
        goToLast(handle, scope);
        moved.prev = handle.entryPtr;
        writeEntry(handle, position, moved, scope);
        handle.currentEntry.next = position;
        rewriteCurrent(handle, scope);
        popName(handle);
    } else {
        writeEntry(handle, position, moved, scope);
        handle.currentEntry.child = position;
        rewriteCurrent(handle, scope);
    }
    pushName(handle, moved.name);
    setCurrent(handle, position, moved);
    noteInserted(handle, position, moved, scope);
}

void moveEntry(Handle& handle, const char* source, const char* destination, EerrException& scope)
{
    const Move move = planMove(handle, source, destination, scope);
    const uint32_t position = handle.entryPtr;
    const Ehfa_Entry entry = handle.currentEntry;
    require(!goToPath(handle, (move.parent + move.name).c_str(), scope), "%s|Node already exists for file %s", destination,
            handle.nameText.c_str());
    require(goToPath(handle, move.parent.c_str(), scope) && move.parent.compare(0, move.source.size(), move.source) != 0,
            "Invalid 'move to' path");
    const uint32_t parent = handle.entryPtr;
    Path parentPath = handle.pathOfCurrent;

    Ehfa_Entry moved = entry;
    std::memset(moved.name, 0, sizeof moved.name);
    std::memcpy(moved.name, move.name.c_str(), move.name.size());
    handle.entryPtr = position;
    handle.currentEntry = entry;
    unlinkCurrent(handle, scope);
    handle.children.noteRemoved(entry.parent, entry.name, position, entry.prev);
    handle.children.forgetWalk();

    Ehfa_Entry above;
    require(readEntry(handle, parent, above, scope), "File may be corrupt");
    restore(handle, Cursor{parent, above, std::move(parentPath)});
    linkAsLastChild(handle, position, moved, scope);
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Emsc_Boolean ehfa_EntryDelete(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_EntryDelete", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        deleteCurrent(handle, scope);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_EntryMove(Ehfa_File* file, const char* source, const char* destination,
                                        Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_EntryMove", 0, [&](EerrException& scope) {
        require(file != nullptr && source != nullptr && destination != nullptr, "Args");
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        require(!inBatchMode(handle), "Invalid seek method for writing w/o caching");
        Cursor before = cursorOf(handle);
        try {
            moveEntry(handle, source, destination, scope);
        } catch (...) {
            restore(handle, std::move(before));
            throw;
        }
        return 1;
    });
}
