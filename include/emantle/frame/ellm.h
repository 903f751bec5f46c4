#ifndef EMANTLE_FRAME_ELLM_H
#define EMANTLE_FRAME_ELLM_H

#include <emantle/frame/export.h>

/* ellm: doubly linked lists through the records themselves.
 *  1. A node is any record that begins with the two links. Any node of a list stands for the list.
 *  2. Nothing is allocated, owned or locked. Null is accepted everywhere. */

typedef struct Ellm_Node {
    struct Ellm_Node* next;
    struct Ellm_Node* previous;
} Ellm_Node;

enum { ELLM_BEFORE = 0, ELLM_AFTER = 1, ELLM_AT_START = 2, ELLM_AT_END = 3 };

/* Links `node` in, before or after `list` itself or at either end of its list, and returns `node`. A node that is the
 * start of a chain comes in with all of it. A null `list` and any other position link nothing. */
EMANTLE_API void* ellm_Add(void* list, long position, void* node);
/* The same, and returns the start of the list. */
EMANTLE_API void* ellm_AddToList(void* list, long position, void* node);

/* Takes `node` out of its list and clears its links; returns `node`. */
EMANTLE_API void* ellm_Delete(void* node);
/* The same, and returns the start of what is left of `list`; null when that is empty. */
EMANTLE_API void* ellm_DeleteFromList(void* list, void* node);

/* Puts `node` in the place of `old`, whose links are cleared; returns `node`. */
EMANTLE_API void* ellm_Replace(void* old, void* node);

EMANTLE_API void* ellm_Start(void* list);
EMANTLE_API void* ellm_End(void* list);
/* The nodes of the whole list; 0 for null. */
EMANTLE_API long ellm_Count(const void* list);

#endif
