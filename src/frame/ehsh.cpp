#include "frame/ehsh/hash_table.h"
#include "frame/guard/guard.h"
#include "frame/guard/plain_scope.h"
#include "platform/threads.h"

#include <emantle/siblings/ethr.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace emantle {

namespace {

constexpr long kFirstTables = 5;

/* The tables by id - 1, and which of these are taken. Made on first use, in the unsafe section. */
Ebuf_Buffer* tables;
Elnk_List takenTables;

HashTable** tableSlot(int id) noexcept
{
    return tables == nullptr || id < 1 || id > tables->used ? nullptr
                                                            : reinterpret_cast<HashTable**>(tables + 1) + (id - 1);
}

bool openRegistry() noexcept
{
    if (tables == nullptr) {
        tables = ebuf_BufferAllocate(kFirstTables, sizeof(HashTable*));
    }
    if (takenTables == 0) {
        takenTables = elnk_ListAllocate(kFirstTables, 1);
    }
    return tables != nullptr && takenTables != 0;
}

/* Takes the table over and returns its id; 0 when memory is out. */
int enter(std::unique_ptr<HashTable>& table) noexcept
{
    const long slot = elnk_ListLinkAppend(takenTables, nullptr);
    HashTable* entered = table.get();
    if (slot < 0) {
        return 0;
    }
    if (ebuf_BufferCopyIn(&tables, slot, 1, &entered) != 1) {
        elnk_ListLinkFree(takenTables, nullptr, slot, 1);
        return 0;
    }
    table.release();
    return static_cast<int>(slot) + 1;
}

/* Prints what a call tells and goes on after. */
void status(const char* function, const char* text, long number = __builtin_LINE()) noexcept
{
    Eerr_ErrorReport* report = eerr_CreateErrorReport(function, number, EERR_STATUS, nullptr, "%s", text);
    eerr_PrintErrorReport(report, EERR_PRINT_ALL);
    eerr_DeleteErrorReportEx(&report);
}

constexpr const char* kOrderBroken = "keyLinks info may be incorrect";

/* One option; an unknown one has its value read as an int. */
void readOption(int tag, va_list& arguments, HashOptions& options)
{
    constexpr const char* function = "ehsh_TableCreate";
    switch (tag) {
    case EHSH_KEY_SIZE:
        options.keySize = va_arg(arguments, int);
        if (options.keySize < 0) {
            status(function, "Negative key size specified...using default");
            options.keySize = 0;
        }
        break;
    case EHSH_HASH_FUNCTION:
        options.function = va_arg(arguments, Ehsh_HashFunction);
        if (options.function == nullptr) {
            status(function, "Null hash function specified...using default");
        }
        break;
    case EHSH_FIFO:
        options.fifo = va_arg(arguments, int) != 0;
        break;
    case EHSH_GROW_AT:
        options.growAt = va_arg(arguments, double);
        break;
    default: {
        static_cast<void>(va_arg(arguments, int));
        char text[64];
        std::snprintf(text, sizeof text, "Unrecognized hash table option %d - ignored.", tag);
        status(function, text);
        break;
    }
    }
}

/* What a caller gets for a key: its data, or in a table without data something that is not null. */
void* slotOf(const HashTable& table, HashTable::Node* node) noexcept
{
    return table.dataSize() == 0 ? const_cast<void*>(table.keyOf(node)) : table.dataOf(node);
}

void takeData(const HashTable& table, HashTable::Node* node, const void* data) noexcept
{
    if (table.dataSize() == 0) {
        status("ehsh_KeyHash", "Data supplied for hashing to table with 0 dataSize...ignored");
    } else {
        std::memmove(table.dataOf(node), data, table.dataSize());
    }
}

/* The unsafe section around the use of one key. It is left out where the process has one thread and nothing foreign
 * runs that could start another. */
class KeySection {
public:
    explicit KeySection(int id) noexcept : held_(!platform::onlyThread() || !hashesItself(id))
    {
        if (held_) {
            ethr_ThreadUnsafeCodeEnter(0);
        }
    }
    ~KeySection()
    {
        if (held_) {
            ethr_ThreadUnsafeCodeExit();
        }
    }
    KeySection(const KeySection&) = delete;
    KeySection& operator=(const KeySection&) = delete;

private:
    static bool hashesItself(int id) noexcept
    {
        const HashTable* table = hashTableOf(id);
        return table != nullptr && table->hashesItself();
    }

    const bool held_;
};

HashTable* tableOrRaise(PlainScope& scope, int id) noexcept
{
    HashTable* table = hashTableOf(id);
    if (table == nullptr) {
        scope.raise("Invalid table id %d", id);
    }
    return table;
}

/* Data read of a table that has none is null; the removal stands. */
void* removeNode(PlainScope& scope, HashTable& table, HashTable::Node* node, const char* function) noexcept
{
    void* data = table.dataOf(node);
    switch (table.remove(node)) {
    case HashTable::Outcome::done:
        return data;
    case HashTable::Outcome::orderBroken:
        status(function, kOrderBroken);
        return data;
    default:
        scope.raise("Can't find bucket");
        return nullptr;
    }
}

bool raiseOutcome(PlainScope& scope, HashTable::Outcome outcome) noexcept
{
    switch (outcome) {
    case HashTable::Outcome::done:
        return false;
    case HashTable::Outcome::orderBroken:
        status("ehsh_KeyHash", kOrderBroken);
        return false;
    case HashTable::Outcome::noBucket:
        scope.raise("Can't find bucket");
        return true;
    case HashTable::Outcome::notGrown:
        scope.raise("Couldn't increase table size");
        return true;
    case HashTable::Outcome::noMemory:
        scope.raise("No memory");
        return true;
    }
    return true;
}

/* A key that is there already, in a table that hashes itself and keeps no order, in a process of one thread: as little as can
 * be done, so that the loads of one call begin while those of the call before it are on their way. */
void* presentKey(int id, const void* key) noexcept
{
    const HashTable* table = platform::onlyThread() ? hashTableOf(id) : nullptr;
    if (table == nullptr || key == nullptr || !table->hashesItself() || table->hasOrder()) {
        return nullptr;
    }
    HashTable::Node* node = table->find(key);
    return node == nullptr ? nullptr : slotOf(*table, node);
}

[[gnu::noinline]] void* keyHash(int id, const void* key, const void* data, Eerr_ErrorReport** err)
{
    PlainScope scope("ehsh_KeyHash", err);
    const KeySection unsafe(id);
    if (key == nullptr) {
        return scope.raise("Invalid search key"), nullptr;
    }
    HashTable* table = tableOrRaise(scope, id);
    if (table == nullptr) {
        return nullptr;
    }
    HashTable::Place place;
    HashTable::Outcome outcome = HashTable::Outcome::done;
    if (!table->locate(key, place)) [[unlikely]] {
        outcome = HashTable::Outcome::noBucket;
    } else if (*place.link == nullptr) {
        outcome = table->add(key, place);
    } else if (table->hasOrder() && !table->renew(*place.link)) {
        outcome = HashTable::Outcome::orderBroken;
    }
    if (outcome != HashTable::Outcome::done && raiseOutcome(scope, outcome)) [[unlikely]] {
        return nullptr;
    }
    if (data != nullptr) {
        takeData(*table, *place.link, data);
    }
    return slotOf(*table, *place.link);
}

} // namespace

HashTable* hashTableOf(int id) noexcept
{
    HashTable** slot = tableSlot(id);
    return slot == nullptr ? nullptr : *slot;
}

void* hashFind(int id, const void* key) noexcept
{
    const EthrMTUnsafeCode unsafe;
    const HashTable* table = hashTableOf(id);
    HashTable::Place place;
    if (table == nullptr || key == nullptr || !table->locate(key, place) || *place.link == nullptr) {
        return nullptr;
    }
    return slotOf(*table, *place.link);
}

} // namespace emantle

using namespace emantle;

EMANTLE_API int ehsh_TableCreate(long size, long dataSize, Eerr_ErrorReport** err, ...)
{
    PlainScope scope("ehsh_TableCreate", err);
    const EthrMTUnsafeCode unsafe;
    HashOptions options;
    va_list arguments;
    va_start(arguments, err);
    for (int tag = va_arg(arguments, int); tag != EHSH_END; tag = va_arg(arguments, int)) {
        readOption(tag, arguments, options);
    }
    va_end(arguments);
    std::unique_ptr<HashTable> table = openRegistry() ? HashTable::create(size, dataSize, options) : nullptr;
    const int id = table == nullptr ? 0 : enter(table);
    if (id == 0) {
        scope.raise("No memory");
    }
    return id;
}

EMANTLE_API void ehsh_TableDelete(int id, Eerr_ErrorReport** err)
{
    PlainScope scope("ehsh_TableDelete", err);
    const EthrMTUnsafeCode unsafe;
    HashTable* table = tableOrRaise(scope, id);
    if (table != nullptr) {
        *tableSlot(id) = nullptr;
        elnk_ListLinkFree(takenTables, nullptr, id - 1L, 1);
        delete table;
    }
}

EMANTLE_API void* ehsh_KeyHash(int id, const void* key, const void* data, Eerr_ErrorReport** err)
{
    if (void* slot = data == nullptr ? presentKey(id, key) : nullptr) {
        eerr_Init(err);
        return slot;
    }
    return keyHash(id, key, data, err);
}

EMANTLE_API void* ehsh_KeyUnHash(int id, const void* key, Eerr_ErrorReport** err)
{
    PlainScope scope("ehsh_KeyUnHash", err);
    const EthrMTUnsafeCode unsafe;
    HashTable* table = tableOrRaise(scope, id);
    if (table == nullptr) {
        return nullptr;
    }
    if (key == nullptr) {
        return scope.raise("Invalid search key"), nullptr;
    }
    HashTable::Place place;
    if (!table->locate(key, place)) {
        return scope.raise("Can't find bucket"), nullptr;
    }
    if (*place.link == nullptr) {
        return scope.raise("Can't find data in hash table"), nullptr;
    }
    return removeNode(scope, *table, *place.link, "ehsh_KeyUnHash");
}

EMANTLE_API void* ehsh_KeyUnHashFIFO(int id, Eerr_ErrorReport** err)
{
    PlainScope scope("ehsh_KeyUnHashFIFO", err);
    const EthrMTUnsafeCode unsafe;
    HashTable* table = tableOrRaise(scope, id);
    if (table == nullptr) {
        return nullptr;
    }
    if (!table->hasOrder()) {
        return scope.raise("Invalid hash table for FIFO deletes"), nullptr;
    }
    HashTable::Node* node = table->oldest();
    if (node == nullptr) {
        return scope.raise("Key at hash head is invalid"), nullptr;
    }
    if (table->dataSize() == 0) {
        status("ehsh_KeyUnHashFIFO", "Data requested from hash table with dataSize 0...ignored");
    }
    return removeNode(scope, *table, node, "ehsh_KeyUnHashFIFO");
}

EMANTLE_API void* ehsh_KeyUnHashLIFO(void)
{
    return nullptr;
}

EMANTLE_API Estr_StringList* ehsh_KeyList(int id, Eerr_ErrorReport** err)
{
    return guarded<Estr_StringList*>(err, "ehsh_KeyList", nullptr, [&](EerrException& scope) {
        const EthrMTUnsafeCode unsafe;
        const HashTable* table = hashTableOf(id);
        require(table != nullptr, "Invalid table id %d", id);
        EstrStringList list(checked(scope, estr_StringListCreate(0, scope)));
        std::string key;
        for (long slot = 0; slot < table->slots(); ++slot) {
            if (const HashTable::Node* node = table->nodeAt(slot)) {
                const auto* bytes = static_cast<const char*>(table->keyOf(node));
                key.assign(bytes,
                           table->keySize() == 0 ? std::strlen(bytes) : static_cast<std::size_t>(table->keySize()));
                checked(scope, estr_StringListAppend(list, key.c_str(), scope));
            }
        }
        return list.Release();
    });
}

EMANTLE_API long ehsh_KeyCount(int id, Eerr_ErrorReport** err)
{
    PlainScope scope("ehsh_KeyCount", err);
    const EthrMTUnsafeCode unsafe;
    const HashTable* table = tableOrRaise(scope, id);
    return table == nullptr ? 0 : table->count();
}

EMANTLE_API void ehsh_KeysApplyFunction(int id, Ehsh_KeyFunction function, Eerr_ErrorReport** err)
{
    PlainScope scope("ehsh_KeysApplyFunction", err);
    const EthrMTUnsafeCode unsafe;
    HashTable* table = tableOrRaise(scope, id);
    /* The function may add and remove keys, so nothing of the walk but the number of the slot outlives a call. */
    for (long slot = 0; table != nullptr && function != nullptr && slot < table->slots(); ++slot) {
        if (HashTable::Node* node = table->nodeAt(slot)) {
            function(id, table->keyOf(node), table->dataOf(node), scope);
            if (scope.failed()) {
                scope.raise("KeysApplyFunction failed");
                return;
            }
        }
    }
}
