#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/tree.h"

#include <emantle/files/efio.h>
#include <emantle/files/efnp.h>
#include <cstring>

namespace emantle::hfa {

namespace {

/* Down one step, by a part of a path as it stands or without its protection. */
bool goToPart(Handle& handle, std::string_view part, EerrException& scope)
{
    if (part.find('\\') != std::string_view::npos) {
        const HeapPtr<char> name(efnp_NodePathGet(std::string(part).c_str(), EFNP_NODE, -1, scope));
        scope.Clear();
        if (name && stepToChild(handle, name.get(), scope)) {
            return true;
        }
    }
    return stepToChild(handle, part, scope);
}

/* Back to a path that ehfa_CurrentEntryPath gave; null stands for the handle's own. */
bool goBack(Handle& handle, const char* path, EerrException& scope)
{
    if (path != nullptr) {
        return goToPath(handle, path, scope);
    }
    Ehfa_Entry found;
    if (!readEntry(handle, handle.entryPtr, found, scope)) {
        return false;
    }
    setCurrent(handle, handle.entryPtr, found);
    return true;
}

/* Reads an entry at the file's present position, and makes its path from where the handle stands. */
bool readNextInFile(Handle& handle, EerrException& scope)
{
    passGaps(handle, scope);
    const uint32_t position = handle.cursor;
    if (!isAllocatable(handle, position, kEntrySize)) {
        return false;
    }
    EntryBytes bytes;
    readBytes(handle, position, bytes.data(), bytes.size(), scope);
    const Ehfa_Entry found = decodedEntry(bytes.data());
    while (found.parent != handle.entryPtr) {
        Ehfa_Entry above;
        if (isAtRoot(handle) || !readEntry(handle, handle.currentEntry.parent, above, scope)) {
            return false;
        }
        popName(handle);
        setCurrent(handle, handle.currentEntry.parent, above);
    }
    if (handle.pathOfCurrent.depth() >= kDepthLimit) {
        return false;
    }
    pushName(handle, found.name);
    setCurrent(handle, position, found);
    /* The next read goes on behind the block. */
    handle.cursor = position + entryBlockSize(handle);
    return true;
}

bool seekInBatchMode(Handle& handle, long method, EerrException& scope)
{
    require(method == EHFA_SEEK_PARENT, "Invalid seek method for writing w/o caching");
    Ehfa_Entry found;
    const uint32_t position = handle.currentEntry.parent;
    if (handle.entryPtr == handle.batchStart || !readEntry(handle, position, found, scope)) {
        return false;
    }
    setCurrent(handle, position, found);
    return true;
}

template <class Fits>
bool goOnUntil(Handle& handle, EerrException& scope, Fits fits)
{
    while (goToDepthNext(handle, 0, scope)) {
        if (fits(handle.currentEntry)) {
            return true;
        }
    }
    return false;
}

bool takesName(long method)
{
    return method == EHFA_SEEK_NAME_FORWARD || method == EHFA_SEEK_PATH ||
           (method >= EHFA_SEEK_DEPTH_TYPE && method <= EHFA_SEEK_TYPE_FORWARD);
}

void checkName(long method, const char* name)
{
    require(method >= EHFA_SEEK_ROOT && method <= EHFA_SEEK_SEQUENTIAL, "Invalid seek method");
    if (takesName(method)) {
        require(name != nullptr, "Name parameter must not be null for requested seek type");
        require(*name != '\0', "Name parameter must not be null string");
    } else if (name != nullptr && method != EHFA_SEEK_BACK) {
        warn("ehfa_EntrySeek", "Name parameter '%s' will be ignored", name);
    }
}

bool seekDepthNext(Handle& handle, EerrException& scope)
{
    Cursor before = cursorOf(handle);
    if (goToDepthNext(handle, 0, scope)) {
        return true;
    }
    restore(handle, std::move(before));
    return false;
}

}  // namespace

void passGaps(Handle& handle, EerrException& scope)
{
    const uint32_t start = handle.cursor;
    handle.freeBlocks.load(handle, Teller::nobody, scope);
    handle.cursor = start;
    const auto gapAt = [&](uint32_t position) {
        if (position == handle.dictionaryPtr) {
            return static_cast<uint32_t>(handle.dictionaryLength);
        }
        return position == handle.oldDictionary.position ? handle.oldDictionary.size : handle.freeBlocks.sizeAt(position);
    };
    while (handle.cursor < handle.fileEnd) {
        const uint32_t size = gapAt(handle.cursor);
        if (size == 0) {
            return;
        }
        handle.cursor += size; /* both are below 2^31 */
    }
}

bool goToPath(Handle& handle, const char* path, EerrException& scope)
{
    if (walkAgain(handle, path, scope)) {
        return true;
    }
    const char* const whole = *path == ':' ? path : nullptr;
    if (whole != nullptr) {
        goToRoot(handle, scope);
    } else {
        goToParent(handle, scope);
    }
    while (*path != '\0') {
        const char* end = std::strchr(path, ':');
        const std::size_t length = end != nullptr ? static_cast<std::size_t>(end - path) : std::strlen(path);
        if (length > 0 && !goToPart(handle, {path, length}, scope)) {
            return false;
        }
        path += length + (path[length] == ':' ? 1 : 0);
    }
    if (whole != nullptr && !isAtRoot(handle)) {
        handle.children.noteWalk(whole, handle.pathOfCurrent, handle.entryPtr);
    }
    return true;
}

bool seekEntry(Handle& handle, long method, const char* name, EerrException& scope)
{
    checkName(method, name);
    if (inBatchMode(handle)) {
        return seekInBatchMode(handle, method, scope);
    }
    switch (method) {
    case EHFA_SEEK_ROOT: return goToRoot(handle, scope), true;
    case EHFA_SEEK_NEXT: return goToNext(handle, scope);
    case EHFA_SEEK_PREV: return goToPrev(handle, scope);
    case EHFA_SEEK_FIRST: return goToFirst(handle, scope), true;
    case EHFA_SEEK_LAST: return goToLast(handle, scope), true;
    case EHFA_SEEK_CHILD: return goToChild(handle, scope);
    case EHFA_SEEK_PARENT: return goToParent(handle, scope);
    case EHFA_SEEK_NAME_FORWARD: return goForwardToName(handle, name, scope);
    case EHFA_SEEK_PATH: return goToPath(handle, name, scope);
    case EHFA_SEEK_DEPTH_NEXT: return seekDepthNext(handle, scope);
    case EHFA_SEEK_DEPTH_TYPE:
        return goOnUntil(handle, scope, [&](const Ehfa_Entry& entry) { return std::strcmp(entry.type, name) == 0; });
    case EHFA_SEEK_DEPTH_NAME:
        return goOnUntil(handle, scope, [&](const Ehfa_Entry& entry) { return std::strcmp(entry.name, name) == 0; });
    case EHFA_SEEK_CHILD_NAME: return goToChildNamed(handle, name, scope);
    case EHFA_SEEK_SIBLING_NAME: return goToSibling(handle, name, scope);
    case EHFA_SEEK_CHILD_TYPE: return goToChild(handle, scope) && goForwardToType(handle, name, scope);
    case EHFA_SEEK_SIBLING_TYPE: goToFirst(handle, scope); return goForwardToType(handle, name, scope);
    case EHFA_SEEK_TYPE_FORWARD: return goForwardToType(handle, name, scope);
    case EHFA_SEEK_BACK: return goBack(handle, name, scope);
    default: return readNextInFile(handle, scope);
    }
}

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Ehfa_Entry* ehfa_EntrySeek(Ehfa_File* file, long method, const char* name, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Entry*>(err, "ehfa_EntrySeek", nullptr, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        return seekEntry(handle, method, name, scope) ? handle.entry : nullptr;
    });
}

EMANTLE_API const Ehfa_Entry* ehfa_EntryPeek(Ehfa_File* file, long method, Eerr_ErrorReport** err)
{
    return guarded<const Ehfa_Entry*>(err, "ehfa_EntryPeek", nullptr, [&](EerrException& scope) -> const Ehfa_Entry* {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        require((method >= EHFA_SEEK_ROOT && method <= EHFA_SEEK_PARENT) || method == EHFA_SEEK_DEPTH_NEXT,
                "Invalid seek method");
        Cursor before = cursorOf(handle);
        const bool found = seekEntry(handle, method, nullptr, scope);
        handle.peeked = handle.currentEntry;
        if (!found) {
            return nullptr; /* a step that leads nowhere moves nothing */
        }
        restore(handle, std::move(before));
        return &handle.peeked;
    });
}

EMANTLE_API char* ehfa_CurrentEntryPath(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "ehfa_CurrentEntryPath", nullptr, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        return heapText(handle.pathOfCurrent.text()).release();
    });
}

EMANTLE_API Emsc_Boolean ehfa_EntryCurrentHasNext(const Ehfa_File* file)
{
    return file != nullptr && file->currentEntry.next != 0;
}

EMANTLE_API Emsc_Boolean ehfa_EntryCurrentHasPrev(const Ehfa_File* file)
{
    return file != nullptr && file->currentEntry.prev != 0;
}

EMANTLE_API Emsc_Boolean ehfa_EntryCurrentHasChild(const Ehfa_File* file)
{
    return file != nullptr && file->currentEntry.child != 0;
}
