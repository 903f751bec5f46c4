#include <emantle/frame/ellm.h>

namespace emantle {

namespace {

Ellm_Node* startOf(Ellm_Node* node) noexcept
{
    while (node != nullptr && node->previous != nullptr) {
        node = node->previous;
    }
    return node;
}

Ellm_Node* endOf(Ellm_Node* node) noexcept
{
    while (node != nullptr && node->next != nullptr) {
        node = node->next;
    }
    return node;
}

/* Puts the chain from `first` on between two neighbours, of which either may be null. */
void join(Ellm_Node* before, Ellm_Node* first, Ellm_Node* after) noexcept
{
    Ellm_Node* last = endOf(first);
    first->previous = before;
    last->next = after;
    if (before != nullptr) {
        before->next = first;
    }
    if (after != nullptr) {
        after->previous = last;
    }
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API void* ellm_Add(void* list, long position, void* node)
{
    auto* at = static_cast<Ellm_Node*>(list);
    auto* added = static_cast<Ellm_Node*>(node);
    if (at == nullptr || added == nullptr) {
        return node;
    }
    switch (position) {
    case ELLM_BEFORE:
        join(at->previous, added, at);
        break;
    case ELLM_AFTER:
        join(at, added, at->next);
        break;
    case ELLM_AT_START:
        join(nullptr, added, startOf(at));
        break;
    case ELLM_AT_END:
        join(endOf(at), added, nullptr);
        break;
    default:
        break;
    }
    return node;
}

EMANTLE_API void* ellm_AddToList(void* list, long position, void* node)
{
    ellm_Add(list, position, node);
    return ellm_Start(list == nullptr ? node : list);
}

EMANTLE_API void* ellm_Delete(void* node)
{
    if (auto* gone = static_cast<Ellm_Node*>(node)) {
        if (gone->previous != nullptr) {
            gone->previous->next = gone->next;
        }
        if (gone->next != nullptr) {
            gone->next->previous = gone->previous;
        }
        *gone = {};
    }
    return node;
}

EMANTLE_API void* ellm_DeleteFromList(void* list, void* node)
{
    auto* start = static_cast<Ellm_Node*>(ellm_Start(list));
    if (start != nullptr && start == node) {
        start = start->next;
    }
    ellm_Delete(node);
    return start;
}

EMANTLE_API void* ellm_Replace(void* old, void* node)
{
    auto* gone = static_cast<Ellm_Node*>(old);
    auto* added = static_cast<Ellm_Node*>(node);
    if (gone == nullptr || added == nullptr || gone == added) {
        return node;
    }
    Ellm_Node* before = gone->previous;
    Ellm_Node* after = gone->next;
    *gone = {};
    join(before, added, after);
    return node;
}

EMANTLE_API void* ellm_Start(void* list)
{
    return startOf(static_cast<Ellm_Node*>(list));
}

EMANTLE_API void* ellm_End(void* list)
{
    return endOf(static_cast<Ellm_Node*>(list));
}

EMANTLE_API long ellm_Count(const void* list)
{
    const auto* node = static_cast<const Ellm_Node*>(list);
    if (node == nullptr) {
        return 0;
    }
    while (node->previous != nullptr) {
        node = node->previous;
    }
    long count = 0;
    for (; node != nullptr; node = node->next) {
        ++count;
    }
    return count;
}
