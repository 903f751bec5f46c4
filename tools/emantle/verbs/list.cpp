#include "console/interrupt.h"
#include "console/numbers.h"
#include "console/told.h"
#include "store/open_store.h"
#include "verbs/verb.h"

#include <functional>
#include <iostream>
#include <memory>

namespace tool {

namespace {

struct ListOptions {
    CommonOptions common;
    std::string store;
    std::string node = ":";
};

struct Line {
    int depth;
    std::string path;
    std::string name;
    std::string type;
    std::int32_t size;
    double modified;
};

/* Visits the current node and all below it. Where a link is broken the library tells so and the walk goes on beside it;
 * a sound store has no more entries than fit into it, so a longer walk is broken off. */
void walk(const OpenStore& store, const std::function<void(const Line&)>& visit)
{
    Ehfa_File* file = store.get();
    long left = ehfa_FileSize(file) / 128 + 1;
    int depth = 0;
    const auto move = [&](long method) {
        Reports reports;
        const bool moved = ehfa_EntrySeek(file, method, nullptr, reports) != nullptr;
        return moved && !reports.failed();
    };
    while (left-- > 0) {
        throwIfInterrupted();
        const Ehfa_Entry& entry = *file->entry;
        visit({depth, currentNode(file), oneLine(entry.name), oneLine(entry.type), entry.dataSize, entry.modTime});
        if (move(EHFA_SEEK_CHILD)) {
            ++depth;
            continue;
        }
        while (depth > 0 && !move(EHFA_SEEK_NEXT)) {
            if (!move(EHFA_SEEK_PARENT)) {
                return;
            }
            --depth;
        }
        if (depth == 0) {
            return;
        }
    }
    throw Failure(store.path() + ": its entries lead back to each other");
}

void printLine(const Line& line)
{
    const std::string name = std::string(2 * static_cast<std::size_t>(line.depth), ' ') + line.name;
    char text[256];
    std::snprintf(text, sizeof text, "%-40s  %-20s  %10ld  %s", name.c_str(), line.type.c_str(),
                  static_cast<long>(line.size), timeText(line.modified).c_str());
    std::cout << text << '\n';
}

/* What can be listed has been; a part of the tree that the library warned of may be missing. */
void requireWhole(const OpenStore& store)
{
    if (const std::string told = firstToldLine(); !told.empty()) {
        throw Failure(store.path() + ": is damaged: " + told);
    }
}

void list(const ListOptions& options)
{
    const OpenStore store(options.store);
    store.seek(options.node);
    if (!options.common.json) {
        walk(store, printLine);
        requireWhole(store);
        return;
    }
    nlohmann::ordered_json document{{"store", options.store}, {"nodes", nlohmann::ordered_json::array()}};
    walk(store, [&](const Line& line) {
        document["nodes"].push_back({{"path", line.path},
                                     {"name", line.name},
                                     {"type", line.type},
                                     {"size", line.size},
                                     {"modified", numberJson(line.modified)}});
    });
    std::cout << document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    requireWhole(store);
}

}  // namespace

void addList(CLI::App& program, Exit&)
{
    auto options = std::make_shared<ListOptions>();
    CLI::App& verb = *program.add_subcommand("ls", "The tree below a node, with types, sizes and times");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("node", options->node, "Where to start")->type_name("NODE");
    addCommonOptions(verb, options->common);
    verb.callback([options] { list(*options); });
}

}  // namespace tool
