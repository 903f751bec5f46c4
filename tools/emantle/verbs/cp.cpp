#include "store/copy_tree.h"
#include "store/destination.h"
#include "verbs/verb.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

namespace tool {

namespace {

struct CopyOptions {
    CommonOptions common;
    std::string store;
    std::string node;
    std::string destination;
    std::string other;
};

/* A handle on a store that is the target as well would be the same one: the library has one for a name. */
bool isSameFile(const std::string& one, const std::string& other)
{
    std::error_code error;
    return std::filesystem::equivalent(one, other, error) && !error;
}

void copy(const CopyOptions& options)
{
    const bool isWithin = options.other.empty() || isSameFile(options.store, options.other);
    OpenStore source(options.store, isWithin ? Access::writing : Access::reading);
    std::optional<OpenStore> other;
    if (!isWithin) {
        other.emplace(options.other, Access::writing);
    }
    OpenStore& target = isWithin ? source : *other;
    source.seek(options.node);
    const std::string node = currentNode(source.get());
    const Destination destination = destinationOf(target, options.destination, node);
    if (isWithin && isAtOrBelow(destination.parent, node)) {
        throw Failure(options.store + ": " + node + " cannot be copied below itself");
    }
    {
        Progress progress("Copying " + node, !options.common.quiet);
        target.seek(destination.parent);
        try {
            copyNode(source, node, target.get(), destination.name, progress);
        } catch (const Interrupted&) {
            throw;
        } catch (const Failure& failure) {
            throw Failure(target.path() + ": " + failure.what());
        }
    }
    target.requireWhole();
    target.close();
    if (options.common.json) {
        std::cout << lineOf({{"from", node}, {"to", destination.path()}}) << '\n';
    }
}

}  // namespace

void addCopy(CLI::App& program, Exit&)
{
    auto options = std::make_shared<CopyOptions>();
    CLI::App& verb = *program.add_subcommand("cp", "Copy a node with all below it");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("node", options->node, "The node to copy")->required()->type_name("NODE");
    verb.add_option("destination", options->destination, "Its new path, or the node to put it below")
        ->required()
        ->type_name("PATH");
    verb.add_option("--to", options->other, "The store of the new path")->type_name("STORE");
    addCommonOptions(verb, options->common);
    verb.callback([options] { copy(*options); });
}

}  // namespace tool
