#include "store/hfa/tree.h"

#include "frame/guard/plain_scope.h"
#include "store/hfa/bytes.h"

#include <cstring>
#include <optional>

namespace emantle::hfa {

void startTree(Handle& handle, EerrException& scope)
{
    handle.children.clear();
    handle.mended.clear();
    handle.pathHash = 1;
    handle.entryCache = 1;
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
void dropLink(Handle& handle, uint32_t Ehfa_Entry::*link)
{
    handle.currentEntry.*link = 0;
    if (handle.entryCacheInUse == 1) {
        handle.mended[handle.entryPtr] = handle.currentEntry;
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
        dropLink(handle, link);
        return false;
    }
    if (link != &Ehfa_Entry::child) {
        popName(handle);
    }
    pushName(handle, found.name);
    setCurrent(handle, position, found);
    return true;
}

constexpr uint32_t kAtNext = 0, kAtPrev = 4, kAtParent = 8, kAtName = 24; /* in the bytes of an entry */

/* No entry bears it: it is too long. */
constexpr std::string_view kNoName = "0123456789012345678901234567890123456789012345678901234567890123";

std::string_view nameIn(const unsigned char* entry)
{
    const char* name = reinterpret_cast<const char*>(entry) + kAtName;
    return {name, strnlen(name, EHFA_NAME_MAX)};
}

/* A name of its own. */
class Name {
public:
    explicit Name(std::string_view name) : size_(name.size()) { std::memcpy(bytes_, name.data(), size_); }
    std::string_view text() const { return {bytes_, size_}; }

private:
    char bytes_[EHFA_NAME_MAX];
    std::size_t size_;
};

/* Whether the entry at a position is the child of that name, of a length that a name can have. */
bool isChildNamed(Handle& handle, uint32_t position, uint32_t parent, std::string_view name, EerrException& scope)
{
    EntryBytes scratch;
    const unsigned char* entry = entryBytes(handle, position, scratch, scope);
    return entry != nullptr && decoded32(entry + kAtParent) == parent &&
           std::memcmp(entry + kAtName, name.data(), name.size()) == 0 &&
           (name.size() == EHFA_NAME_MAX || entry[kAtName + name.size()] == '\0');
}

/* Makes known the children behind the last known one, up to the first of `name` or to the end. */
uint32_t learnUpTo(Handle& handle, Children::Family& family, uint32_t parent, uint32_t firstChild,
                   std::string_view name, EerrException& scope)
{
    EntryBytes scratch;
    EntryBytes lastScratch;
    const uint32_t wanted = Children::Family::hashOf(name);
    uint32_t position = firstChild;
    if (family.last != 0) {
        const unsigned char* entry = entryBytes(handle, family.last, lastScratch, scope);
        position = entry != nullptr ? decoded32(entry + kAtNext) : 0;
    }
    while (position != 0) {
        const unsigned char* entry = entryBytes(handle, position, scratch, scope);
        if (entry == nullptr || decoded32(entry + kAtParent) != parent || decoded32(entry + kAtPrev) != family.last) {
            const std::string found(entry != nullptr ? nameIn(entry) : "");
            Ehfa_Entry before{};
            readEntry(handle, family.last != 0 ? family.last : parent, before, scope);
            warnOfCorruption(family.last != 0 ? "sibling" : "child", found.c_str(), before.name);
            break;
        }
        const uint32_t next = decoded32(entry + kAtNext);
        const uint32_t hash = Children::Family::hashOfField<EHFA_NAME_MAX + 1>(entry + kAtName);
        const bool found = hash == wanted && nameIn(entry) == name;
        std::optional<Name> own; /* a look at another entry may take the place of these bytes */
        family.addHashed(hash, position, [&](uint32_t other) {
            own = own ? own : Name(nameIn(entry));
            return isChildNamed(handle, other, parent, own->text(), scope);
        });
        family.last = position;
        if (found) {
            return position;
        }
        position = next;
    }
    family.isComplete = true;
    return 0;
}

/* The first child of that name; 0 for none. */
uint32_t childNamed(Handle& handle, uint32_t parent, uint32_t firstChild, std::string_view wanted, EerrException& scope)
{
    if (firstChild == 0 || wanted.size() > EHFA_NAME_MAX) {
        return 0;
    }
    Children::Family& family = handle.children.of(parent);
    const auto fits = [&](uint32_t position) { return isChildNamed(handle, position, parent, wanted, scope); };
    uint32_t position = family.find(wanted, fits);
    if (position == 0 && !family.isComplete) {
        position = learnUpTo(handle, family, parent, firstChild, wanted, scope);
    }
    if (position == 0 || !family.hasTwins) {
        return position;
    }
    EntryBytes scratch;
    uint32_t first = firstChild;
    for (uint32_t left = handle.fileEnd / kEntrySize; left > 0 && !fits(first); --left) {
        const unsigned char* entry = entryBytes(handle, first, scratch, scope);
        first = entry != nullptr ? decoded32(entry + kAtNext) : 0;
    }
    return first;
}

bool enterChild(Handle& handle, uint32_t position, EerrException& scope)
{
    if (position == 0 || handle.pathOfCurrent.depth() >= kDepthLimit) {
        return false;
    }
    EntryBytes scratch;
    const unsigned char* entry = entryBytes(handle, position, scratch, scope);
    if (entry == nullptr) {
        return false;
    }
    pushName(handle, nameIn(entry));
    handle.entryPtr = position;
    takeEntry(handle, position, entry, handle.currentEntry);
    return true;
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

void pushName(Handle& handle, std::string_view name)
{
    handle.pathOfCurrent.push(name);
    showPath(handle);
}

void popName(Handle& handle)
{
    handle.pathOfCurrent.pop();
    showPath(handle);
}

void noteInserted(Handle& handle, uint32_t position, const Ehfa_Entry& entry, EerrException& scope)
{
    handle.children.noteInserted(entry.parent, entry.name, position, entry.prev, entry.next, [&](uint32_t other) {
        return isChildNamed(handle, other, entry.parent, entry.name, scope);
    });
}

void noteRenamed(Handle& handle, const char* from, EerrException& scope)
{
    const Ehfa_Entry& entry = handle.currentEntry;
    Children::Family* family = handle.children.find(entry.parent);
    handle.children.forgetWalk();
    if (family != nullptr && family->hasTwins) {
        handle.children.forget(entry.parent);
    } else if (family != nullptr && family->remove(from, handle.entryPtr)) {
        family->add(entry.name, handle.entryPtr, [&](uint32_t other) {
            return isChildNamed(handle, other, entry.parent, entry.name, scope);
        });
    }
}

void goToRoot(Handle& handle, EerrException& scope)
{
    EntryBytes scratch;
    const unsigned char* root = entryBytes(handle, handle.rootEntryPtr, scratch, scope);
    require(root != nullptr, "Corrupt root entry detected...cannot continue");
    handle.pathOfCurrent.clear();
    showPath(handle);
    handle.entryPtr = handle.rootEntryPtr;
    takeEntry(handle, handle.rootEntryPtr, root, handle.currentEntry);
}

bool walkAgain(Handle& handle, const char* path, EerrException& scope)
{
    const Children::Walk* walk = handle.mended.empty() ? handle.children.walkOf(path) : nullptr;
    if (walk == nullptr) {
        return false;
    }
    EntryBytes scratch;
    const unsigned char* entry = entryBytes(handle, walk->position, scratch, scope);
    const std::string_view text = walk->path.text();
    const std::size_t start = walk->path.parentLength();
    if (entry == nullptr || nameIn(entry) != text.substr(start, text.size() - 1 - start)) {
        return false;
    }
    handle.pathOfCurrent = walk->path;
    showPath(handle);
    handle.entryPtr = walk->position;
    takeEntry(handle, walk->position, entry, handle.currentEntry);
    return true;
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
        dropLink(handle, &Ehfa_Entry::parent);
        return false;
    }
    popName(handle);
    setCurrent(handle, position, found);
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
    const uint32_t start = handle.entryPtr;
    const uint32_t parent = handle.currentEntry.parent;
    Ehfa_Entry above;
    if (handle.currentEntry.next != 0 && !inBatchMode(handle) && readEntry(handle, parent, above, scope)) {
        Children::Family& family = handle.children.of(parent);
        if (!family.isComplete) {
            learnUpTo(handle, family, parent, above.child, kNoName, scope);
        }
        /* Only a known entry is known to lie in one chain with the last. */
        const bool isKnown = family.find(handle.currentEntry.name, [&](uint32_t each) { return each == start; }) != 0;
        Ehfa_Entry last;
        if (isKnown && readEntry(handle, family.last, last, scope) && last.parent == parent) {
            popName(handle);
            pushName(handle, last.name);
            setCurrent(handle, family.last, last);
        }
    }
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

uint32_t lastChildOf(Handle& handle, EerrException& scope)
{
    const uint32_t parent = handle.entryPtr;
    Children::Family& family = handle.children.of(parent);
    if (!family.isComplete) {
        learnUpTo(handle, family, parent, handle.currentEntry.child, kNoName, scope);
    }
    return family.last;
}

bool goToLastChild(Handle& handle, EerrException& scope)
{
    return enterChild(handle, lastChildOf(handle, scope), scope);
}

bool stepToChild(Handle& handle, std::string_view name, EerrException& scope)
{
    return enterChild(handle, childNamed(handle, handle.entryPtr, handle.currentEntry.child, name, scope), scope);
}

bool goToChildNamed(Handle& handle, const char* name, EerrException& scope)
{
    if (stepToChild(handle, name, scope)) {
        return true;
    }
    if (const Children::Family* family = handle.children.find(handle.entryPtr)) {
        enterChild(handle, family->last, scope);
    }
    return false;
}

bool goToSibling(Handle& handle, const char* name, EerrException& scope)
{
    if (isAtRoot(handle)) {
        return goToChildNamed(handle, name, scope);
    }
    Cursor before = cursorOf(handle);
    Ehfa_Entry above;
    if (readEntry(handle, handle.currentEntry.parent, above, scope)) {
        const uint32_t parent = handle.currentEntry.parent;
        popName(handle);
        setCurrent(handle, parent, above);
        if (stepToChild(handle, name, scope)) {
            return true;
        }
        restore(handle, std::move(before));
        goToLast(handle, scope);
        return false;
    }
    goToFirst(handle, scope);
    return goForwardToName(handle, name, scope);
}

}  // namespace emantle::hfa
