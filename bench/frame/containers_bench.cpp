#include <emantle/frame/ebuf.h>
#include <emantle/frame/ehsh.h>
#include <emantle/frame/estr.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <boost/unordered_map.hpp>
#include <cstdint>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#ifdef EMANTLE_BENCH_GLIB
#include <glib.h>
#endif

/* Short text keys with a whole number each: all inserted into an empty table, then all found in another order. A peer
 * owns its keys, as our table does. Items a second are keys a second. */

namespace {

const std::vector<std::string>& keys(long count)
{
    static std::unordered_map<long, std::vector<std::string>> made;
    std::vector<std::string>& list = made[count];
    if (list.empty()) {
        for (long index = 0; index < count; ++index) {
            list.push_back("node" + std::to_string(index * 7919 % 10000019));
        }
    }
    return list;
}

/* The keys in an order that no table has seen, each at a place of its own. */
const std::vector<std::string>& shuffledKeys(long count)
{
    static std::unordered_map<long, std::vector<std::string>> made;
    std::vector<std::string>& list = made[count];
    if (list.empty()) {
        list = keys(count);
        std::shuffle(list.begin(), list.end(), std::mt19937(42));
    }
    return list;
}

struct Ours {
    Ours() : id(ehsh_TableCreate(0, sizeof(std::int64_t), nullptr, EHSH_END)) {}
    ~Ours() { ehsh_TableDelete(id, nullptr); }
    void insert(const std::string& key, std::int64_t value) { ehsh_KeyHash(id, key.c_str(), &value, nullptr); }
    std::int64_t find(const std::string& key)
    {
        return *static_cast<std::int64_t*>(ehsh_KeyHash(id, key.c_str(), nullptr, nullptr));
    }
    int id;
};

template <class Map> struct OfMap {
    void insert(const std::string& key, std::int64_t value) { map.emplace(key, value); }
    std::int64_t find(const std::string& key) { return map.find(key)->second; }
    Map map;
};

using Standard = OfMap<std::unordered_map<std::string, std::int64_t>>;
using Boost = OfMap<boost::unordered_map<std::string, std::int64_t>>;

#ifdef EMANTLE_BENCH_GLIB
struct GLib {
    GLib() : table(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, nullptr)) {}
    ~GLib() { g_hash_table_destroy(table); }
    void insert(const std::string& key, std::int64_t value)
    {
        g_hash_table_insert(table, g_strdup(key.c_str()), reinterpret_cast<gpointer>(value));
    }
    std::int64_t find(const std::string& key)
    {
        return reinterpret_cast<std::int64_t>(g_hash_table_lookup(table, key.c_str()));
    }
    GHashTable* table;
};
#endif

template <class Table> void insertKeys(benchmark::State& state)
{
    const std::vector<std::string>& all = keys(state.range(0));
    for (auto _ : state) {
        Table table;
        std::int64_t value = 0;
        for (const std::string& key : all) {
            table.insert(key, ++value);
        }
        benchmark::DoNotOptimize(table);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <class Table> void findKeys(benchmark::State& state)
{
    Table table;
    std::int64_t value = 0;
    for (const std::string& key : keys(state.range(0))) {
        table.insert(key, ++value);
    }
    const std::vector<std::string>& wanted = shuffledKeys(state.range(0));
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (const std::string& key : wanted) {
            sum += table.find(key);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void appendTexts(benchmark::State& state)
{
    const std::vector<std::string>& all = keys(state.range(0));
    for (auto _ : state) {
        Estr_StringList* list = nullptr;
        for (const std::string& text : all) {
            list = estr_StringListAppend(list, text.c_str(), nullptr);
        }
        estr_StringListDelete(list, nullptr);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void copyInOneByOne(benchmark::State& state)
{
    for (auto _ : state) {
        Ebuf_Buffer* buffer = ebuf_BufferAllocate(0, sizeof(std::int64_t));
        for (std::int64_t index = 0; index < state.range(0); ++index) {
            ebuf_BufferCopyIn(&buffer, index, 1, &index);
        }
        ebuf_BufferFree(&buffer);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

#define EMANTLE_BENCH_TABLE(Table)                                                                 \
    BENCHMARK_TEMPLATE(insertKeys, Table)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond); \
    BENCHMARK_TEMPLATE(findKeys, Table)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond)

EMANTLE_BENCH_TABLE(Ours);
EMANTLE_BENCH_TABLE(Standard);
EMANTLE_BENCH_TABLE(Boost);
#ifdef EMANTLE_BENCH_GLIB
EMANTLE_BENCH_TABLE(GLib);
#endif
BENCHMARK(appendTexts)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(copyInOneByOne)->Arg(1000000)->Unit(benchmark::kMillisecond);

} // namespace
