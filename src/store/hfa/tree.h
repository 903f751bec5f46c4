#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* Moving through the entries. Every function here leaves handle and path in step; where it answers false or null they
 * are as its comment says. Links are believed only when the entry that they lead to links back, so that no walk comes
 * to an entry twice. */

/* Forgets what is known of the tree, and goes to the root. */
void startTree(Handle& handle, EerrException& scope);

/* Where a handle stands. */
struct Cursor {
    uint32_t position;
    Ehfa_Entry entry;
    Path path;
};
Cursor cursorOf(const Handle& handle);
void restore(Handle& handle, Cursor&& cursor);

/* Makes an entry current whose path is the handle's already. */
void setCurrent(Handle& handle, uint32_t position, const Ehfa_Entry& entry);

void pushName(Handle& handle, std::string_view name);
void popName(Handle& handle);

/* Keeps what is known of the tree true when an entry comes to lie where its links say, or the current one was renamed. */
void noteInserted(Handle& handle, uint32_t position, const Ehfa_Entry& entry, EerrException& scope);
void noteRenamed(Handle& handle, const char* from, EerrException& scope);

void goToRoot(Handle& handle, EerrException& scope);

/* One step; false leaves the handle as it is. */
bool goToNext(Handle& handle, EerrException& scope);
bool goToPrev(Handle& handle, EerrException& scope);
bool goToChild(Handle& handle, EerrException& scope);
bool goToParent(Handle& handle, EerrException& scope);

void goToFirst(Handle& handle, EerrException& scope);
void goToLast(Handle& handle, EerrException& scope);

/* Next in depth-first order, below and behind `top` (0: the root) only; false ends at `top`. */
bool goToDepthNext(Handle& handle, uint32_t top, EerrException& scope);

/* From the current entry, itself included, on through the siblings; false leaves the last sibling. At the root the search
 * for a name starts at the first child. */
bool goForwardToName(Handle& handle, const char* name, EerrException& scope);
bool goForwardToType(Handle& handle, const char* type, EerrException& scope);

/* The last child, of those that lie in one chain from the first one on, and the step to it; 0, or false, for none. */
uint32_t lastChildOf(Handle& handle, EerrException& scope);
bool goToLastChild(Handle& handle, EerrException& scope);

/* To the first child of that name; false stays where it is. */
bool stepToChild(Handle& handle, std::string_view name, EerrException& scope);

/* By name among the siblings, and among the children; false leaves the last of them. */
bool goToSibling(Handle& handle, const char* name, EerrException& scope);
bool goToChildNamed(Handle& handle, const char* name, EerrException& scope);

/* Where the last walk from the root has led, if it was that path; false for another one. */
bool walkAgain(Handle& handle, const char* path, EerrException& scope);

/* Moves the position of the file behind free blocks and the dictionary, where it lies at one. */
void passGaps(Handle& handle, EerrException& scope);

/* By path; false leaves the last part found. */
bool goToPath(Handle& handle, const char* path, EerrException& scope);

/* ehfa_EntrySeek without its edge. */
bool seekEntry(Handle& handle, long method, const char* name, EerrException& scope);

}  // namespace emantle::hfa
