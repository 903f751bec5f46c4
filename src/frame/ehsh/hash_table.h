#pragma once

#include "frame/ehsh/key_arena.h"

#include <emantle/frame/ehsh.h>
#include <emantle/frame/elnk.h>
#include <cstdint>
#include <memory>

namespace emantle {

struct HashOptions {
    std::int32_t keySize = 0;
    Ehsh_HashFunction function = nullptr; /* null: the default one */
    bool fifo = false;
    double growAt = 1.0;
};

/* A chained hash table.
 *  1. A bucket leads to a chain of nodes; a node holds its key, the hash of it and the data, so that a search meets one
 *     place in memory a node, and doubling the table reads no key. Nodes do not move.
 *  2. A key has a slot, a number from 0 that is reused, by which tables are walked and the order of writes is kept. */
class HashTable {
public:
    struct Node;

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

    /* The node of a key; null with `bucketFound` false where the hash function gave no bucket. */
    Node* find(const void* key, bool& bucketFound) const noexcept;

    /* Finds or adds a key. On `orderBroken` it is added all the same. */
    Outcome insert(const void* key, Node*& node) noexcept;
    /* Removes a node; its data stays readable until the slot is reused. */
    Outcome remove(Node* node) noexcept;
    /* The node that was written longest ago, or null. */
    Node* oldest() const noexcept;
    /* Makes a node the newest. False where the order lost step with the slots. */
    bool renew(Node* node) noexcept;

    /* Slots ever used, and what is in one; null where it is free. */
    long slots() const noexcept { return nodes_->used; }
    Node* nodeAt(long slot) const noexcept;

    const void* keyOf(const Node* node) const noexcept;
    /* Null in a table without data. */
    void* dataOf(Node* node) const noexcept;

private:
    struct Place {
        Node** link; /* where the key's node hangs, or would */
        std::uint32_t hash;
    };

    HashTable() noexcept = default;
    bool prepare(long size, std::size_t dataSize, const HashOptions& options) noexcept;
    bool locate(const void* key, Place& place) const noexcept;
    bool hashOf(const void* key, long tableSize, std::uint32_t& hash) const noexcept;
    bool same(const Node* node, const void* key) const noexcept;
    std::size_t nodeBytes(const void* key) const noexcept { return keyOffset_ + keyBytes(key); }
    long bucketOf(std::uint32_t hash, long tableSize) const noexcept;
    std::size_t keyBytes(const void* key) const noexcept;
    bool grow() noexcept;
    bool takeSlot(std::int32_t& slot) noexcept;
    void freeSlot(std::int32_t slot) noexcept;

    long tableSize_ = 0;
    Node** buckets_ = nullptr;
    Ebuf_Buffer* nodes_ = nullptr; /* of a slot: its node, or the number of the next free slot */
    Elnk_List order_ = 0;         /* by last write; 0 where it is not kept */
    std::size_t dataSize_ = 0;
    std::size_t keyOffset_ = 0; /* behind the data, which begins on a multiple of 8 */
    std::int32_t keySize_ = 0;
    std::int32_t freeSlot_ = -1;
    Ehsh_HashFunction function_ = nullptr;
    long count_ = 0;
    double growAt_ = 1.0;
    KeyArena arena_;
};

/* The table of an id, null for an unknown one. Called in the unsafe section. */
HashTable* hashTableOf(int id) noexcept;

/* The address of a key's data slot, or of its key copy in a table without data; null, with nothing reported, where the
 * table or the key is not there. */
void* hashFind(int id, const void* key) noexcept;

}  // namespace emantle
