#ifndef EMANTLE_FRAME_ELNK_H
#define EMANTLE_FRAME_ELNK_H

#include <emantle/frame/ebuf.h>

/* elnk: lists whose links are indexes into one array.
 *  1. A link is an index from 0; -1 is none. What a link stands for is the caller's: usually the element of the same
 *     index in an array beside it. The structure stays valid when the array moves.
 *  2. One list record serves many short lists: each has a pair of its head and tail, and all take their links from the
 *     record. A null pair stands for the record's own head and tail. A link belongs to the pair it was appended to.
 *  3. The record keeps its free links in a chain and grows by `growBy` links when that is empty. The link freed last is
 *     the next to be given out, so two lists used in the same order give out the same indexes.
 *  4. Nothing is reported or locked. 0 and null handles are accepted everywhere. */

/* A handle: the address of the list's record plus one; 0 is none. */
typedef intptr_t Elnk_List;

/* Head and tail of one list. */
typedef struct Elnk_Pair {
    int32_t head;
    int32_t tail;
} Elnk_Pair;

/* What a list's handle leads to. An element of `links` is the next link, and in a doubly linked list the one before. */
typedef struct Elnk_ListRecord {
    int32_t head;
    int32_t tail;
    int32_t freeHead;
    int32_t freeTail;
    int32_t growBy;
    Ebuf_Buffer* links;
} Elnk_ListRecord;

/* Called with each link of a list; 0 ends the walk. The link itself may be freed meanwhile. */
typedef Emsc_Boolean (*Elnk_LinkFunction)(long index, void* data);

/* A buffer of `n` empty pairs, the caller's: give it to ebuf_BufferFree. Null when memory is out. */
EMANTLE_API Ebuf_Buffer* elnk_LinkAllocate(long n);

/* An empty list with `n` free links, which grows by `n` (at least 1). 0 when memory is out. */
EMANTLE_API Elnk_List elnk_ListAllocate(long n, Emsc_Boolean doubly);
EMANTLE_API void elnk_ListFree(Elnk_List list);

/* The first and the last link; -1 when there is none. */
EMANTLE_API long elnk_ListHead(Elnk_List list, const Elnk_Pair* pair);
EMANTLE_API long elnk_ListTail(Elnk_List list, const Elnk_Pair* pair);

/* Appends a link and returns it; -1 when memory is out. */
EMANTLE_API long elnk_ListLinkAppend(Elnk_List list, Elnk_Pair* pair);

/* Whether a link is free; true as well for what is no link of the list. */
EMANTLE_API Emsc_Boolean elnk_ListLinkIsFree(Elnk_List list, long index);

/* Takes up to `n` links, from `index` on along the pair's list, out of it and frees them. Returns how many; 0 where
 * `index` is free or not on the pair's list. A singly linked list is searched from its head; in a doubly linked one the
 * caller answers for the pair. */
EMANTLE_API long elnk_ListLinkFree(Elnk_List list, Elnk_Pair* pair, long index, long n);

/* Calls `function` with each link of the pair's list, first to last. False when the function ended the walk. */
EMANTLE_API Emsc_Boolean elnk_ListApplyFunction(Elnk_List list, const Elnk_Pair* pair, Elnk_LinkFunction function,
                                                void* data);

#endif
