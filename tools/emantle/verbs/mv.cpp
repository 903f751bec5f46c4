#include "store/destination.h"
#include "store/value_json.h"
#include "verbs/verb.h"

#include <iostream>
#include <memory>

namespace tool {

namespace {

struct MoveOptions {
    CommonOptions common;
    std::string store;
    std::string node;
    std::string destination;
};

void move(const MoveOptions& options)
{
    OpenStore store(options.store, Access::writing);
    store.seek(options.node);
    const std::string node = currentNode(store.get());
    if (node == ":") {
        throw Failure(options.store + ": the root stays where it is");
    }
    const Destination destination = destinationOf(store, options.destination, node);
    if (isAtOrBelow(destination.parent, node)) {
        throw Failure(options.store + ": " + node + " cannot be moved below itself");
    }
    Reports reports;
    ehfa_EntryMove(store.get(), node.c_str(), destination.path().c_str(), reports);
    reports.check(options.store + ": " + node + " cannot be moved to " + destination.path());
    store.requireWhole();
    store.close();
    if (options.common.json) {
        std::cout << lineOf({{"from", node}, {"to", destination.path()}}) << '\n';
    }
}

}  // namespace

void addMove(CLI::App& program, Exit&)
{
    auto options = std::make_shared<MoveOptions>();
    CLI::App& verb = *program.add_subcommand("mv", "Move a node with all below it, or rename it");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("node", options->node, "The node to move")->required()->type_name("NODE");
    verb.add_option("destination", options->destination, "Its new path, or the node to put it below")
        ->required()
        ->type_name("PATH");
    addCommonOptions(verb, options->common);
    verb.callback([options] { move(*options); });
}

}  // namespace tool
