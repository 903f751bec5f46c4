#include "frame/ehsh/hash_table.h"

#include "platform/heap.h"

#include <emantle/frame/emsc/heap.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

namespace emantle {

namespace {

constexpr long kLeastSize = 20;
constexpr long kLargestSize = 1L << 30;
constexpr std::size_t kLargestData = std::size_t{1} << 31;

/* A free slot's word: the number of the next free one, twice, plus one. Nodes lie on even addresses. */
std::uintptr_t freeWord(std::int32_t next) noexcept
{
    return static_cast<std::uintptr_t>(next + 1) * 2 + 1;
}

std::int32_t nextFree(std::uintptr_t word) noexcept
{
    return static_cast<std::int32_t>(word / 2) - 1;
}

std::uintptr_t& wordOf(Ebuf_Buffer* nodes, long slot) noexcept
{
    return reinterpret_cast<std::uintptr_t*>(nodes + 1)[slot];
}

} // namespace

std::unique_ptr<HashTable> HashTable::create(long size, long dataSize, const HashOptions& options) noexcept
{
    std::unique_ptr<HashTable> table(new (std::nothrow) HashTable);
    if (table != nullptr &&
        !table->prepare(std::max(size, kLeastSize), static_cast<std::size_t>(std::max(dataSize, 0L)), options)) {
        table.reset();
    }
    return table;
}

bool HashTable::prepare(long size, std::size_t dataSize, const HashOptions& options) noexcept
{
    if (size > kLargestSize || dataSize > kLargestData) {
        return false;
    }
    dataSize_ = dataSize;
    keyOffset_ = sizeof(Node) + (dataSize + 7) / 8 * 8;
    keySize_ = options.keySize;
    function_ = options.function;
    growAt_ = options.growAt > 0 ? options.growAt : 1.0;
    tableSize_ = function_ == nullptr ? static_cast<long>(std::bit_ceil(static_cast<unsigned long>(size))) : size;
    chains_ = static_cast<Node**>(emsc_HeapMalloc(chainsOf(tableSize_) * static_cast<long>(sizeof(Node*))));
    nodes_ = ebuf_BufferAllocate(tableSize_ / 2, sizeof(Node*));
    order_ = options.fifo ? elnk_ListAllocate(tableSize_ / 2, 1) : 0;
    if (chains_ == nullptr || nodes_ == nullptr || (options.fifo && order_ == 0)) {
        return false;
    }
    nodes_->used = 0;
    return true;
}

HashTable::~HashTable()
{
    emsc_HeapFree(chains_);
    ebuf_BufferFree(&nodes_);
    elnk_ListFree(order_);
}

std::size_t HashTable::keyBytes(const void* key) const noexcept
{
    return keySize_ == 0 ? std::strlen(static_cast<const char*>(key)) + 1 : static_cast<std::size_t>(keySize_);
}

/* Twice the buckets. The chains are filled in the order of the slots, last one first, each node at the head: one pass
 * over memory that is read in order, and the oldest node still leads its chain. */
bool HashTable::grow() noexcept
{
    const long size = tableSize_ * 2;
    if (size > kLargestSize) {
        return false;
    }
    const long bytes = chainsOf(size) * static_cast<long>(sizeof(Node*));
    auto** chains = static_cast<Node**>(emsc_HeapMalloc(bytes));
    if (chains == nullptr) {
        return false;
    }
    platform::preferLargePages(chains, static_cast<std::size_t>(bytes));
    if (function_ != nullptr) {
        for (long slot = slots(); slot-- > 0;) {
            std::uint32_t hash = 0;
            if (const Node* node = nodeAt(slot); node != nullptr && !hashOf(node->at(keyOffset_), size, hash)) {
                emsc_HeapFree(chains);
                return false;
            }
        }
    }
    for (long slot = slots(); slot-- > 0;) {
        if (Node* node = nodeAt(slot)) {
            if (function_ != nullptr && !hashOf(node->at(keyOffset_), size, node->hash)) {
                node->hash = 0;
            }
            Node*& head = chains[chainOf(node->hash, size)];
            node->next = head;
            head = node;
        }
    }
    emsc_HeapFree(chains_);
    chains_ = chains;
    tableSize_ = size;
    return true;
}

bool HashTable::takeSlot(std::int32_t& slot) noexcept
{
    if (freeSlot_ >= 0) {
        slot = freeSlot_;
        freeSlot_ = nextFree(wordOf(nodes_, slot));
        return true;
    }
    slot = nodes_->used;
    return ebuf_BufferCopyIn(&nodes_, slot, 1, nullptr) == 1;
}

void HashTable::freeSlot(std::int32_t slot) noexcept
{
    wordOf(nodes_, slot) = freeWord(freeSlot_);
    freeSlot_ = slot;
}

HashTable::Outcome HashTable::add(const void* key, Place& place) noexcept
{
    if (static_cast<double>(count_ + 1) > growAt_ * static_cast<double>(tableSize_)) {
        if (!grow()) {
            return Outcome::notGrown;
        }
        if (!locate(key, place)) {
            return Outcome::noBucket;
        }
    }
    const std::size_t bytes = nodeBytes(key);
    void* memory = arena_.allocate(bytes);
    std::int32_t slot = 0;
    if (memory == nullptr) {
        return Outcome::noMemory;
    }
    if (!takeSlot(slot)) {
        arena_.release(memory, bytes);
        return Outcome::noMemory;
    }
    long link = slot;
    if (order_ != 0 && (link = elnk_ListLinkAppend(order_, nullptr)) < 0) {
        freeSlot(slot);
        arena_.release(memory, bytes);
        return Outcome::noMemory;
    }
    auto* node = new (memory) Node{nullptr, place.hash, slot};
    std::memset(node->at(sizeof(Node)), 0, dataSize_);
    std::memcpy(node->at(keyOffset_), key, bytes - keyOffset_);
    wordOf(nodes_, slot) = reinterpret_cast<std::uintptr_t>(node);
    *place.link = node;
    ++count_;
    return link == slot ? Outcome::done : Outcome::orderBroken;
}

HashTable::Outcome HashTable::remove(Node* node) noexcept
{
    Node** link = &chains_[chainOf(node->hash, tableSize_)];
    while (*link != node) {
        if (*link == nullptr) {
            return Outcome::noBucket;
        }
        link = &(*link)->next;
    }
    *link = node->next;
    const bool inStep = order_ == 0 || elnk_ListLinkFree(order_, nullptr, node->slot, 1) == 1;
    freeSlot(node->slot);
    if (removed_ != nullptr) {
        arena_.release(removed_, nodeBytes(removed_->at(keyOffset_)));
    }
    removed_ = node;
    --count_;
    return inStep ? Outcome::done : Outcome::orderBroken;
}

HashTable::Node* HashTable::oldest() const noexcept
{
    const long slot = elnk_ListHead(order_, nullptr);
    return slot < 0 ? nullptr : nodeAt(slot);
}

/* The link freed last is the next one given out, so the node keeps its number. */
bool HashTable::renew(Node* node) noexcept
{
    if (elnk_ListTail(order_, nullptr) == node->slot) {
        return true;
    }
    return elnk_ListLinkFree(order_, nullptr, node->slot, 1) == 1 && elnk_ListLinkAppend(order_, nullptr) == node->slot;
}

HashTable::Node* HashTable::nodeAt(long slot) const noexcept
{
    if (slot < 0 || slot >= nodes_->used) {
        return nullptr;
    }
    const std::uintptr_t word = wordOf(nodes_, slot);
    return (word & 1) != 0 ? nullptr : reinterpret_cast<Node*>(word);
}

} // namespace emantle
