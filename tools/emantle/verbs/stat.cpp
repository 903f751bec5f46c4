#include "console/text_table.h"
#include "store/open_store.h"
#include "store/value_json.h"
#include "verbs/verb.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <memory>

namespace tool {

namespace {

struct StatOptions {
    CommonOptions common;
    std::string store;
};

struct TypeTotals {
    std::int64_t entries = 0;
    std::int64_t bytes = 0; /* of data, and of blocks that the data refer to */
};

struct Totals {
    Ehfa_CheckTotals store{};
    std::int64_t largestFree = 0;
    std::map<std::string, TypeTotals> types;

    /* The part of the free space that no block of the size of the largest free one can use. */
    double fragmentation() const
    {
        return store.free == 0 ? 0 : 1 - static_cast<double>(largestFree) / static_cast<double>(store.free);
    }
};

Emsc_Boolean weigh(const Ehfa_CheckItem* item, void* data)
{
    auto& totals = *static_cast<Totals*>(data);
    if (item->finding != nullptr) {
        return 1;
    }
    if (item->kind == EHFA_BLOCK_FREE) {
        totals.largestFree = std::max(totals.largestFree, item->size);
    } else if (item->kind == EHFA_BLOCK_ENTRY) {
        ++totals.types[oneLine(item->type)].entries;
    } else if (item->kind == EHFA_BLOCK_DATA || item->kind == EHFA_BLOCK_RUN) {
        totals.types[oneLine(item->type)].bytes += item->size;
    }
    return 1;
}

Json toJson(const std::string& store, const Totals& totals)
{
    Json types = Json::array();
    for (const auto& [type, of] : totals.types) {
        types.push_back({{"type", type}, {"entries", of.entries}, {"bytes", of.bytes}});
    }
    return {{"store", store},
            {"size", totals.store.fileSize},
            {"live", totals.store.live},
            {"free", totals.store.free},
            {"freeBlocks", totals.store.freeBlocks},
            {"largestFree", totals.largestFree},
            {"lost", totals.store.lost},
            {"fragmentation", totals.fragmentation()},
            {"entries", totals.store.entries},
            {"objects", totals.store.objects},
            {"designs", totals.store.designs},
            {"findings", totals.store.findings},
            {"types", std::move(types)}};
}

std::string share(std::int64_t part, std::int64_t whole)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %%", whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole));
    return text;
}

void print(const Totals& totals)
{
    const Ehfa_CheckTotals& store = totals.store;
    TextTable space;
    space.add({"size", std::to_string(store.fileSize)});
    space.add({"live", std::to_string(store.live), share(store.live, store.fileSize)});
    space.add({"free", std::to_string(store.free), share(store.free, store.fileSize)});
    space.add({"lost", std::to_string(store.lost), share(store.lost, store.fileSize)});
    space.print(std::cout);
    std::cout << "free blocks: " << store.freeBlocks << ", the largest of " << totals.largestFree << " bytes\n";
    std::cout << "fragmentation of the free space: " << share(store.free - totals.largestFree, store.free) << "\n\n";
    TextTable types;
    types.add({"type", "entries", "bytes"});
    for (const auto& [type, of] : totals.types) {
        types.add({type.empty() ? "-" : type, std::to_string(of.entries), std::to_string(of.bytes)});
    }
    types.print(std::cout);
}

void stat(const StatOptions& options)
{
    const OpenStore store(options.store);
    Totals totals;
    Reports reports;
    ehfa_FileCheck(store.get(), weigh, &totals, &totals.store, reports);
    reports.check(options.store + ": cannot be read");
    if (options.common.json) {
        std::cout << lineOf(toJson(options.store, totals)) << '\n';
    } else {
        print(totals);
    }
    if (totals.store.findings != 0) {
        throw Failure(options.store + ": is damaged, and the figures with it; 'emantle check' tells where");
    }
}

}  // namespace

void addStat(CLI::App& program, Exit&)
{
    auto options = std::make_shared<StatOptions>();
    CLI::App& verb = *program.add_subcommand("stat", "What the bytes of a store are used for");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    addCommonOptions(verb, options->common);
    verb.callback([options] { stat(*options); });
}

}  // namespace tool
