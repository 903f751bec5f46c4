#pragma once

#include "frame/ehsh/key_arena.h"

#include <cstdint>
#include <cstring>
#include <emantle/frame/ehsh.h>
#include <emantle/frame/elnk.h>
#include <memory>

namespace emantle {

struct HashOptions {
    std::int32_t keySize = 0;
    Ehsh_HashFunction function = nullptr; /* null: the default one */
    bool fifo = false;
    double growAt = 1.0;
};

/* A chained hash table.
 *  1. A bucket leads to a chain of nodes, and by the default function to two, chosen by a further bit of the hash: what a
 *     search costs is the nodes it meets, each a place in memory that is far away. A node holds its key, the hash of it and
 *     the data, so that a search meets one place in memory a node, and doubling the table reads no key. Nodes do not move.
 *  2. A key has a slot, a number from 0 that is reused, by which tables are walked and the order of writes is kept. */
class HashTable {
public:
    struct Node {
        Node* next;
        std::uint32_t hash; /* by the default function all of it, by another one the bucket */
        std::int32_t slot;

        char* at(std::size_t offset) noexcept { return reinterpret_cast<char*>(this) + offset; }
        const char* at(std::size_t offset) const noexcept { return reinterpret_cast<const char*>(this) + offset; }
    };

    /* Where the node of a key hangs, or would. */
    struct Place {
        Node** link;
        std::uint32_t hash;
    };

    enum class Outcome { done, noMemory, noBucket, notGrown, orderBroken };

    /* Null when memory is out. */
    static std::unique_ptr<HashTable> create(long size, long dataSize, const HashOptions& options) noexcept;
    ~HashTable();
    HashTable(const HashTable&) = delete;
    HashTable& operator=(const HashTable&) = delete;

    long count() const noexcept { return count_; }
    long tableSize() const noexcept { return tableSize_; }
    long keySize() const noexcept { return keySize_; }
    std::size_t dataSize() const noexcept { return dataSize_; }
    bool hasOrder() const noexcept { return order_ != 0; }
    /* Whether nothing but this table runs when a key is hashed. */
    bool hashesItself() const noexcept { return function_ == nullptr; }

    /* The node of a key in a table that hashes itself; null where it is not there. */
    Node* find(const void* key) const noexcept;
    /* False where the hash function gave no bucket. */
    bool locate(const void* key, Place& place) const noexcept;
    /* Adds a key at the place just located, which it makes good when the table grows. On `orderBroken` it is added all
     * the same. */
    Outcome add(const void* key, Place& place) noexcept;
    /* Removes a node; its data stays readable until the next removal. */
    Outcome remove(Node* node) noexcept;
    /* The node that was written longest ago, or null. */
    Node* oldest() const noexcept;
    /* Makes a node the newest. False where the order lost step with the slots. */
    bool renew(Node* node) noexcept;

    /* Slots ever used, and what is in one; null where it is free. */
    long slots() const noexcept { return nodes_->used; }
    Node* nodeAt(long slot) const noexcept;

    const void* keyOf(const Node* node) const noexcept { return node->at(keyOffset_); }
    /* Null in a table without data. */
    void* dataOf(Node* node) const noexcept { return dataSize_ == 0 ? nullptr : node->at(sizeof(Node)); }

private:
    HashTable() noexcept = default;
    bool prepare(long size, std::size_t dataSize, const HashOptions& options) noexcept;
    bool hashOf(const void* key, long tableSize, std::uint32_t& hash) const noexcept;
    bool same(const Node* node, const void* key) const noexcept;
    std::size_t nodeBytes(const void* key) const noexcept { return keyOffset_ + keyBytes(key); }
    long chainsOf(long tableSize) const noexcept { return function_ == nullptr ? tableSize * 2 : tableSize; }
    long chainOf(std::uint32_t hash, long tableSize) const noexcept;
    std::size_t keyBytes(const void* key) const noexcept;
    bool grow() noexcept;
    bool takeSlot(std::int32_t& slot) noexcept;
    void freeSlot(std::int32_t slot) noexcept;

    long tableSize_ = 0;
    Node** chains_ = nullptr;
    Ebuf_Buffer* nodes_ = nullptr; /* of a slot: its node, or the number of the next free slot */
    Elnk_List order_ = 0;          /* by last write; 0 where it is not kept */
    std::size_t dataSize_ = 0;
    std::size_t keyOffset_ = 0; /* behind the data, which begins on a multiple of 8 */
    std::int32_t keySize_ = 0;
    std::int32_t freeSlot_ = -1;
    Ehsh_HashFunction function_ = nullptr;
    long count_ = 0;
    double growAt_ = 1.0;
    Node* removed_ = nullptr; /* the last one removed, whose data a caller may still read */
    KeyArena arena_;
};

/* The default hash: h = h * 33 + byte, bytes signed. The bucket is its low bits, as the size is a power of two. */
inline std::uint32_t textHash(const char* key) noexcept
{
    std::uint32_t hash = 0;
    for (; *key != 0; ++key) {
        hash = hash * 33 + static_cast<std::uint32_t>(static_cast<signed char>(*key));
    }
    return hash;
}

inline std::uint32_t bytesHash(const char* key, long size) noexcept
{
    std::uint32_t hash = 0;
    for (const char* end = key + size; key != end; ++key) {
        hash = hash * 33 + static_cast<std::uint32_t>(static_cast<signed char>(*key));
    }
    return hash;
}

inline bool HashTable::hashOf(const void* key, long tableSize, std::uint32_t& hash) const noexcept
{
    if (function_ == nullptr) [[likely]] {
        const auto* bytes = static_cast<const char*>(key);
        hash = keySize_ == 0 ? textHash(bytes) : bytesHash(bytes, keySize_);
        return true;
    }
    const long bucket = function_(key, keySize_, tableSize);
    hash = static_cast<std::uint32_t>(bucket);
    return bucket >= 0 && bucket < tableSize;
}

inline long HashTable::chainOf(std::uint32_t hash, long tableSize) const noexcept
{
    return function_ == nullptr ? static_cast<long>(hash) & (chainsOf(tableSize) - 1) : static_cast<long>(hash);
}

inline bool HashTable::same(const Node* node, const void* key) const noexcept
{
    return keySize_ == 0 ? std::strcmp(node->at(keyOffset_), static_cast<const char*>(key)) == 0
                         : std::memcmp(node->at(keyOffset_), key, static_cast<std::size_t>(keySize_)) == 0;
}

inline bool HashTable::locate(const void* key, Place& place) const noexcept
{
    if (!hashOf(key, tableSize_, place.hash)) {
        return false;
    }
    Node** link = &chains_[chainOf(place.hash, tableSize_)];
    while (*link != nullptr && ((*link)->hash != place.hash || !same(*link, key))) {
        link = &(*link)->next;
    }
    place.link = link;
    return true;
}

inline HashTable::Node* HashTable::find(const void* key) const noexcept
{
    const auto* bytes = static_cast<const char*>(key);
    const std::uint32_t hash = keySize_ == 0 ? textHash(bytes) : bytesHash(bytes, keySize_);
    Node* node = chains_[static_cast<long>(hash) & (tableSize_ * 2 - 1)];
    while (node != nullptr && (node->hash != hash || !same(node, key))) {
        node = node->next;
    }
    return node;
}

/* The table of an id, null for an unknown one. Called in the unsafe section. */
HashTable* hashTableOf(int id) noexcept;

/* The address of a key's data slot, or of its key copy in a table without data; null, with nothing reported, where the
 * table or the key is not there. */
void* hashFind(int id, const void* key) noexcept;

} // namespace emantle
