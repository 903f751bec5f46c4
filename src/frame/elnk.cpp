#include <emantle/frame/elnk.h>
#include <emantle/frame/emsc/heap.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace emantle {

namespace {

constexpr std::int32_t kNone = -1;

/* A free link holds the next free one in this form, below -1, so that whether a link is free takes one look. */
constexpr std::int32_t asFree(std::int32_t next) noexcept
{
    return -3 - next;
}

constexpr bool isFree(std::int32_t word) noexcept
{
    return word < kNone;
}

/* The words of one list record. In a doubly linked list a link is two words, the second the one before. */
class Links {
public:
    explicit Links(Elnk_List list) noexcept : record_(reinterpret_cast<Elnk_ListRecord*>(list - 1)) {}

    Elnk_ListRecord& record() const noexcept { return *record_; }
    Elnk_Pair own() const noexcept { return {record_->head, record_->tail}; }
    void setOwn(Elnk_Pair pair) const noexcept
    {
        record_->head = pair.head;
        record_->tail = pair.tail;
    }
    bool doubly() const noexcept { return record_->links->elementSize > static_cast<long>(sizeof(std::int32_t)); }
    bool holds(long index) const noexcept { return index >= 0 && index < record_->links->used; }
    std::int32_t& next(long index) const noexcept { return word(index); }
    std::int32_t& previous(long index) const noexcept { return *(&word(index) + 1); }

    bool grow() const noexcept;
    std::int32_t take() const noexcept;
    void giveBack(std::int32_t index) const noexcept;

private:
    std::int32_t& word(long index) const noexcept
    {
        char* elements = reinterpret_cast<char*>(record_->links + 1);
        return *reinterpret_cast<std::int32_t*>(elements + index * record_->links->elementSize);
    }
    void chain(std::int32_t first, std::int32_t end) const noexcept;

    Elnk_ListRecord* record_;
};

/* Makes the links from `first` to before `end` the free chain, which is empty. */
void Links::chain(std::int32_t first, std::int32_t end) const noexcept
{
    for (std::int32_t index = first; index < end; ++index) {
        next(index) = asFree(index + 1 == end ? kNone : index + 1);
    }
    record_->freeHead = first;
    record_->freeTail = end - 1;
}

bool Links::grow() const noexcept
{
    const std::int32_t first = record_->links->used;
    const long added = ebuf_BufferCopyIn(&record_->links, first, record_->growBy, nullptr);
    if (added < 1) {
        return false;
    }
    chain(first, first + static_cast<std::int32_t>(added));
    return true;
}

std::int32_t Links::take() const noexcept
{
    if (record_->freeHead == kNone && !grow()) {
        return kNone;
    }
    const std::int32_t index = record_->freeHead;
    record_->freeHead = asFree(next(index));
    if (record_->freeHead == kNone) {
        record_->freeTail = kNone;
    }
    return index;
}

void Links::giveBack(std::int32_t index) const noexcept
{
    next(index) = asFree(record_->freeHead);
    record_->freeHead = index;
    if (record_->freeTail == kNone) {
        record_->freeTail = index;
    }
}

static_assert(asFree(asFree(7)) == 7 && asFree(asFree(kNone)) == kNone, "the form is its own inverse");

/* The link before `index` on the pair's list, or none for its head. False where `index` is not on it. */
bool linkBefore(const Links& links, const Elnk_Pair& pair, long index, std::int32_t& before) noexcept
{
    if (links.doubly()) {
        before = links.previous(index);
        return before != kNone || pair.head == index;
    }
    before = kNone;
    for (std::int32_t at = pair.head; at != index; at = links.next(at)) {
        if (at == kNone) {
            return false;
        }
        before = at;
    }
    return true;
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API Ebuf_Buffer* elnk_LinkAllocate(long n)
{
    Ebuf_Buffer* buffer = ebuf_BufferAllocate(n, sizeof(Elnk_Pair));
    if (buffer != nullptr) {
        std::fill_n(reinterpret_cast<Elnk_Pair*>(buffer + 1), buffer->used, Elnk_Pair{kNone, kNone});
    }
    return buffer;
}

EMANTLE_API Elnk_List elnk_ListAllocate(long n, Emsc_Boolean doubly)
{
    auto* record = static_cast<Elnk_ListRecord*>(emsc_HeapMalloc(sizeof(Elnk_ListRecord)));
    if (record == nullptr) {
        return 0;
    }
    const long growBy = std::clamp(n, 1L, static_cast<long>(std::numeric_limits<std::int32_t>::max()));
    const Elnk_List list = reinterpret_cast<Elnk_List>(record) + 1;
    *record = {kNone, kNone, kNone, kNone, static_cast<std::int32_t>(growBy), nullptr};
    record->links = ebuf_BufferAllocate(0, static_cast<long>(sizeof(std::int32_t)) * (doubly != 0 ? 2 : 1));
    if (record->links == nullptr || !Links(list).grow()) {
        elnk_ListFree(list);
        return 0;
    }
    return list;
}

EMANTLE_API void elnk_ListFree(Elnk_List list)
{
    if (list != 0) {
        Elnk_ListRecord* record = &Links(list).record();
        ebuf_BufferFree(&record->links);
        emsc_HeapFree(record);
    }
}

EMANTLE_API long elnk_ListHead(Elnk_List list, const Elnk_Pair* pair)
{
    if (list == 0) {
        return kNone;
    }
    return pair == nullptr ? Links(list).record().head : pair->head;
}

EMANTLE_API long elnk_ListTail(Elnk_List list, const Elnk_Pair* pair)
{
    if (list == 0) {
        return kNone;
    }
    return pair == nullptr ? Links(list).record().tail : pair->tail;
}

EMANTLE_API long elnk_ListLinkAppend(Elnk_List list, Elnk_Pair* pair)
{
    if (list == 0) {
        return kNone;
    }
    const Links links(list);
    const std::int32_t index = links.take();
    if (index == kNone) {
        return kNone;
    }
    Elnk_Pair ends = pair == nullptr ? links.own() : *pair;
    links.next(index) = kNone;
    if (links.doubly()) {
        links.previous(index) = ends.tail;
    }
    (ends.tail == kNone ? ends.head : links.next(ends.tail)) = index;
    ends.tail = index;
    pair == nullptr ? links.setOwn(ends) : void(*pair = ends);
    return index;
}

EMANTLE_API Emsc_Boolean elnk_ListLinkIsFree(Elnk_List list, long index)
{
    return list == 0 || !Links(list).holds(index) || isFree(Links(list).next(index));
}

EMANTLE_API long elnk_ListLinkFree(Elnk_List list, Elnk_Pair* pair, long index, long n)
{
    if (n < 1 || elnk_ListLinkIsFree(list, index)) {
        return 0;
    }
    const Links links(list);
    Elnk_Pair ends = pair == nullptr ? links.own() : *pair;
    std::int32_t before = kNone;
    if (!linkBefore(links, ends, index, before)) {
        return 0;
    }
    long freed = 0;
    auto at = static_cast<std::int32_t>(index);
    while (at != kNone && freed < n) {
        const std::int32_t following = links.next(at);
        links.giveBack(at);
        at = following;
        ++freed;
    }
    (before == kNone ? ends.head : links.next(before)) = at;
    if (at == kNone) {
        ends.tail = before;
    } else if (links.doubly()) {
        links.previous(at) = before;
    }
    pair == nullptr ? links.setOwn(ends) : void(*pair = ends);
    return freed;
}

EMANTLE_API Emsc_Boolean elnk_ListApplyFunction(Elnk_List list, const Elnk_Pair* pair, Elnk_LinkFunction function,
                                                void* data)
{
    if (list == 0 || function == nullptr) {
        return 1;
    }
    const Links links(list);
    for (long at = elnk_ListHead(list, pair); at != kNone;) {
        const long following = links.next(at);
        if (function(at, data) == 0) {
            return 0;
        }
        at = following;
    }
    return 1;
}
