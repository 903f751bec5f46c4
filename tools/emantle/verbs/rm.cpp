#include "console/interrupt.h"
#include "store/delete_node.h"
#include "store/open_store.h"
#include "store/value_json.h"
#include "verbs/verb.h"

#include <iostream>
#include <memory>

namespace tool {

namespace {

struct RemoveOptions {
    CommonOptions common;
    std::string store;
    std::vector<std::string> nodes;
    bool isDeep = false;
};

void remove(const RemoveOptions& options)
{
    OpenStore store(options.store, Access::writing);
    Json removed = Json::array();
    for (const std::string& node : options.nodes) {
        store.seek(node);
        const std::string path = currentNode(store.get());
        if (path == ":") {
            throw Failure(options.store + ": the root stays where it is");
        }
        if (ehfa_EntryCurrentHasChild(store.get()) != 0 && !options.isDeep) {
            throw Failure(options.store + ": there are nodes below " + path + "; -r removes them too");
        }
        removed.push_back(path);
    }
    for (const Json& path : removed) {
        throwIfInterrupted();
        /* A node named twice, or one below another, is gone by now. */
        if (store.has(path.get<std::string>())) {
            deleteCurrent(store.get());
        }
    }
    store.requireWhole();
    store.close();
    if (options.common.json) {
        std::cout << lineOf({{"store", options.store}, {"removed", std::move(removed)}}) << '\n';
    }
}

}  // namespace

void addRemove(CLI::App& program, Exit&)
{
    auto options = std::make_shared<RemoveOptions>();
    CLI::App& verb = *program.add_subcommand("rm", "Delete nodes");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("nodes", options->nodes, "The nodes")->required()->type_name("NODE");
    verb.add_flag("-r,--recursive", options->isDeep, "With all that is below them");
    addCommonOptions(verb, options->common);
    verb.callback([options] { remove(*options); });
}

}  // namespace tool
