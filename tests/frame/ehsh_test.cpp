#include "frame/ehsh/hash_table.h"
#include "platform/faults.h"
#include "support/captured_stderr.h"
#include "support/chain.h"

#include <emantle/frame/ehsh.h>

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace emantle;
using platform::FaultInjection;

namespace {

long sizes[64];
int sizeCount;

long recordingHash(const void* key, long, long tableSize)
{
    if (sizeCount < 64 && (sizeCount == 0 || sizes[sizeCount - 1] != tableSize)) {
        sizes[sizeCount++] = tableSize;
    }
    return static_cast<long>(std::strlen(static_cast<const char*>(key))) % tableSize;
}

long strayHash(const void* key, long, long tableSize)
{
    return *static_cast<const char*>(key) == 'x' ? tableSize : 0;
}

template <class... Options> int newTable(long size, long dataSize, Options... options)
{
    Report report;
    const int id = ehsh_TableCreate(size, dataSize, report, options..., EHSH_END);
    EXPECT_EQ(report.get(), nullptr);
    return id;
}

std::vector<std::string> keysOf(int id)
{
    Estr_StringList* list = ehsh_KeyList(id, nullptr);
    std::vector<std::string> keys(list->strings, list->strings + list->count);
    estr_StringListDelete(list, nullptr);
    return keys;
}

long tableSize(int id)
{
    return hashTableOf(id)->tableSize();
}

} // namespace

/* Random inserts, overwrites and removals against std::map, through many sizes, with keys short and long. */
TEST(HashTable, AgreesWithAnOrderedMap)
{
    const int id = newTable(0, sizeof(int), EHSH_FIFO, 1);
    std::map<std::string, int> expected;
    std::mt19937 random(7);
    for (int step = 0; step < 30000; ++step) {
        const std::string key = std::to_string(random() % 3000) + std::string(random() % 50 == 0 ? 400 : 0, '\xE9');
        Report report;
        if (random() % 3 != 0) {
            ASSERT_NE(ehsh_KeyHash(id, key.c_str(), &step, report), nullptr);
            expected[key] = step;
        } else if (const auto found = expected.find(key); found != expected.end()) {
            const void* data = ehsh_KeyUnHash(id, key.c_str(), report);
            ASSERT_NE(data, nullptr);
            ASSERT_EQ(std::memcmp(data, &found->second, sizeof(int)), 0);
            expected.erase(found);
        } else {
            ASSERT_EQ(ehsh_KeyUnHash(id, key.c_str(), report), nullptr);
            ASSERT_EQ(report.records(), (std::vector<Record>{{"ehsh_KeyUnHash", "Can't find data in hash table"}}));
        }
        ASSERT_EQ(ehsh_KeyCount(id, nullptr), static_cast<long>(expected.size()));
    }
    for (const auto& [key, value] : expected) {
        ASSERT_EQ(*static_cast<int*>(hashFind(id, key.c_str())), value);
    }
    std::vector<std::string> keys = keysOf(id);
    std::sort(keys.begin(), keys.end());
    ASSERT_TRUE(std::equal(keys.begin(), keys.end(), expected.begin(), expected.end(),
                           [](const std::string& key, const auto& entry) { return key == entry.first; }));
    ehsh_TableDelete(id, nullptr);
}

TEST(HashTable, SizesFollowTheHashFunction)
{
    int id = newTable(20, 0);
    EXPECT_EQ(tableSize(id), 32);
    for (int key = 1; key <= 32; ++key) {
        ehsh_KeyHash(id, std::to_string(key).c_str(), nullptr, nullptr);
    }
    EXPECT_EQ(tableSize(id), 32);
    ehsh_KeyHash(id, "33", nullptr, nullptr);
    EXPECT_EQ(tableSize(id), 64);
    ehsh_TableDelete(id, nullptr);
    id = newTable(64, 0);
    EXPECT_EQ(tableSize(id), 64);
    ehsh_TableDelete(id, nullptr);
    id = newTable(0, 0, EHSH_HASH_FUNCTION, recordingHash, EHSH_GROW_AT, 0.5);
    sizeCount = 0;
    std::string key;
    for (int step = 0; step < 11; ++step) {
        ehsh_KeyHash(id, (key += 'k').c_str(), nullptr, nullptr);
    }
    EXPECT_EQ(std::vector<long>(sizes, sizes + sizeCount), (std::vector<long>{20, 40}));
    EXPECT_EQ(ehsh_KeyCount(id, nullptr), 11);
    ehsh_TableDelete(id, nullptr);
}

TEST(HashTable, KeysOfBytesMayHoldZeros)
{
    const int id = newTable(0, sizeof(int), EHSH_KEY_SIZE, static_cast<int>(sizeof(double)));
    for (int value = 0; value < 1000; ++value) {
        const double key = value / 4.0;
        ehsh_KeyHash(id, &key, &value, nullptr);
    }
    for (int value = 0; value < 1000; ++value) {
        const double key = value / 4.0;
        ASSERT_EQ(*static_cast<int*>(ehsh_KeyHash(id, &key, nullptr, nullptr)), value);
    }
    EXPECT_EQ(ehsh_KeyCount(id, nullptr), 1000);
    ehsh_TableDelete(id, nullptr);
}

TEST(HashTable, TheOrderIsThatOfTheLastWrite)
{
    const int id = newTable(0, sizeof(char), EHSH_FIFO, 1);
    for (const char* key : {"a", "b", "c", "d", "a"}) {
        ehsh_KeyHash(id, key, key, nullptr);
    }
    ehsh_KeyUnHash(id, "c", nullptr);
    ehsh_KeyHash(id, "e", "e", nullptr);
    std::string order;
    while (ehsh_KeyCount(id, nullptr) > 0) {
        order += *static_cast<char*>(ehsh_KeyUnHashFIFO(id, nullptr));
    }
    EXPECT_EQ(order, "bdae");
    Report report;
    EXPECT_EQ(ehsh_KeyUnHashFIFO(id, report), nullptr);
    EXPECT_EQ(report.records(), (std::vector<Record>{{"ehsh_KeyUnHashFIFO", "Key at hash head is invalid"}}));
    ehsh_TableDelete(id, nullptr);
}

TEST(HashTable, FailuresSayWhatIsWrong)
{
    const int id = newTable(0, 0, EHSH_HASH_FUNCTION, strayHash);
    const auto failureOf = [](auto call) {
        Report report;
        call(static_cast<Eerr_ErrorReport**>(report));
        return report.records().empty() ? std::string() : report.records().front().message.value_or("");
    };
    using Err = Eerr_ErrorReport**;
    EXPECT_EQ(failureOf([&](Err err) { ehsh_KeyHash(id, nullptr, nullptr, err); }), "Invalid search key");
    EXPECT_EQ(failureOf([&](Err err) { ehsh_KeyHash(id, "x", nullptr, err); }), "Can't find bucket");
    EXPECT_EQ(failureOf([&](Err err) { ehsh_KeyUnHash(id, "x", err); }), "Can't find bucket");
    EXPECT_EQ(failureOf([&](Err err) { ehsh_KeyUnHash(id, nullptr, err); }), "Invalid search key");
    EXPECT_EQ(failureOf([&](Err err) { ehsh_KeyUnHashFIFO(id, err); }), "Invalid hash table for FIFO deletes");
    for (const int unknown : {0, -1, 1000000}) {
        const std::string text = "Invalid table id " + std::to_string(unknown);
        EXPECT_EQ(failureOf([&](Err err) { ehsh_KeyHash(unknown, "a", nullptr, err); }), text);
        EXPECT_EQ(failureOf([&](Err err) { ehsh_KeyList(unknown, err); }), text);
        EXPECT_EQ(failureOf([&](Err err) { ehsh_TableDelete(unknown, err); }), text);
    }
    ehsh_TableDelete(id, nullptr);
    EXPECT_EQ(failureOf([&](Err err) { ehsh_KeyCount(id, err); }), "Invalid table id " + std::to_string(id));
    EXPECT_EQ(failureOf([&](Err err) { ehsh_TableCreate(1L << 40, 0, err, EHSH_END); }), "No memory");
}

TEST(HashTable, StatusesArePrintedAndTheCallGoesOn)
{
    int id = 0;
    const std::string created = stderrOf([&] {
        id = newTable(0, 0, EHSH_KEY_SIZE, -4, EHSH_HASH_FUNCTION, static_cast<Ehsh_HashFunction>(nullptr), 99, 1,
                      EHSH_FIFO, 1);
    });
    for (const char* text :
         {"Negative key size specified...using default", "Null hash function specified...using default",
          "Unrecognized hash table option 99 - ignored."}) {
        EXPECT_NE(created.find(text), std::string::npos) << text << " in " << created;
    }
    const std::string used = stderrOf([&] {
        Report report;
        EXPECT_NE(ehsh_KeyHash(id, "a", "data", report), nullptr);
        EXPECT_EQ(ehsh_KeyUnHashFIFO(id, report), nullptr);
        EXPECT_EQ(report.get(), nullptr);
    });
    EXPECT_NE(used.find("Data supplied for hashing to table with 0 dataSize...ignored"), std::string::npos);
    EXPECT_NE(used.find("Data requested from hash table with dataSize 0...ignored"), std::string::npos);
    ehsh_TableDelete(id, nullptr);
}

/* Every allocation of a growing table fails once: the key is not there, all others are, and a second try works. */
TEST(HashTable, NoMemoryLeavesTheTableAsItWas)
{
    const int id = newTable(0, sizeof(int), EHSH_FIFO, 1);
    int failures = 0;
    for (int value = 0; value < 300; ++value) {
        const std::string key = std::to_string(value) + std::string(value % 40 == 0 ? 300 : 0, 'k');
        {
            const FaultInjection full(platform::Operation::allocate, 1, platform::Outcome::noMemory(),
                                      platform::Repeat::fromThenOn);
            failures += ehsh_KeyHash(id, key.c_str(), &value, Report()) == nullptr ? 1 : 0;
        }
        const int* stored = static_cast<int*>(ehsh_KeyHash(id, key.c_str(), &value, nullptr));
        ASSERT_NE(stored, nullptr);
        ASSERT_EQ(*stored, value);
        ASSERT_EQ(ehsh_KeyCount(id, nullptr), value + 1);
    }
    EXPECT_GT(failures, 5);
    for (int value = 0; value < 300; ++value) {
        ASSERT_EQ(*static_cast<int*>(ehsh_KeyUnHashFIFO(id, nullptr)), value);
    }
    ehsh_TableDelete(id, nullptr);
}

TEST(HashTable, AWalkSurvivesChangesUnderIt)
{
    const int id = newTable(0, 0);
    for (int key = 0; key < 100; ++key) {
        ehsh_KeyHash(id, std::to_string(key).c_str(), nullptr, nullptr);
    }
    ehsh_KeysApplyFunction(
        id,
        [](int table, const void* key, void*, Eerr_ErrorReport**) {
            const std::string copy = static_cast<const char*>(key);
            ehsh_KeyUnHash(table, copy.c_str(), nullptr);
            if (copy.size() == 1) {
                ehsh_KeyHash(table, ("new " + copy).c_str(), nullptr, nullptr);
            }
        },
        nullptr);
    EXPECT_EQ(ehsh_KeyCount(id, nullptr), 10);
    Report report;
    ehsh_KeysApplyFunction(
        id,
        [](int, const void*, void*, Eerr_ErrorReport** err) {
            *err = eerr_CreateErrorReport("f", 1, EERR_ERROR, nullptr, "no");
        },
        report);
    EXPECT_EQ(report.records(),
              (std::vector<Record>{{"ehsh_KeysApplyFunction", "KeysApplyFunction failed"}, {"f", "no"}}));
    ehsh_TableDelete(id, nullptr);
}

TEST(HashTable, ThreadsShareATable)
{
    const int id = newTable(0, sizeof(int));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([id, thread] {
            for (int key = 0; key < 2000; ++key) {
                ehsh_KeyHash(id, std::to_string(key + thread * 1000).c_str(), &key, nullptr);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ehsh_KeyCount(id, nullptr), 5000);
    ehsh_TableDelete(id, nullptr);
}
