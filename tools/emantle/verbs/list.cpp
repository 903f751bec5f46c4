#include "console/numbers.h"
#include "store/walk.h"
#include "verbs/verb.h"

#include <fnmatch.h>
#include <iostream>
#include <memory>
#include <sstream>

namespace tool {

namespace {

struct ListOptions {
    CommonOptions common;
    std::string store;
    std::vector<std::string> nodes;
    bool isLong = false;
    bool isDeep = false;
};

/* Patterns end where the grammar of paths has no letter of its own. */
bool isPattern(const std::string& node)
{
    return node.find_first_of("*?[") != std::string::npos;
}

std::vector<std::string> partsOf(const std::string& path)
{
    std::vector<std::string> parts;
    std::istringstream text(path.substr(1));
    for (std::string part; std::getline(text, part, ':');) {
        parts.push_back(part);
    }
    return parts;
}

using Part = std::vector<std::string>::const_iterator;

/* Whether the parts of a path fit those of a pattern, of which "**" stands for any number of parts. */
bool fits(Part pattern, Part patternEnd, Part path, Part pathEnd)
{
    while (pattern != patternEnd && *pattern != "**") {
        if (path == pathEnd || fnmatch(pattern->c_str(), path->c_str(), 0) != 0) {
            return false;
        }
        ++pattern;
        ++path;
    }
    if (pattern == patternEnd) {
        return path == pathEnd;
    }
    while (pattern != patternEnd && *pattern == "**") {
        ++pattern;
    }
    for (;; ++path) {
        if (fits(pattern, patternEnd, path, pathEnd)) {
            return true;
        }
        if (path == pathEnd) {
            return false;
        }
    }
}

/* What is listed, one line after the other. */
class Listing {
public:
    explicit Listing(const ListOptions& options) : options_(options) {}

    void add(const Node& node, int indent)
    {
        const std::string name = oneLine(node.entry.name);
        const std::string type = oneLine(node.entry.type);
        if (options_.common.json) {
            nodes_.push_back({{"path", node.path},
                              {"name", name},
                              {"type", type},
                              {"size", node.entry.dataSize},
                              {"modified", numberJson(node.entry.modTime)}});
        } else if (options_.isLong) {
            const std::string label = std::string(2 * static_cast<std::size_t>(indent), ' ') +
                                      (indent == 0 && isWhole_ ? oneLine(node.path) : name);
            char text[512];
            std::snprintf(text, sizeof text, "%-40s  %-20s  %10ld  %s", label.c_str(), type.c_str(),
                          static_cast<long>(node.entry.dataSize), timeText(node.entry.modTime).c_str());
            std::cout << text << '\n';
        } else {
            std::cout << (options_.isDeep || isWhole_ ? oneLine(node.path) : name) << '\n';
        }
    }

    /* From now on nodes are told by their paths. */
    void tellPaths() { isWhole_ = true; }

    void end() const
    {
        if (options_.common.json) {
            const nlohmann::ordered_json document{{"store", options_.store}, {"nodes", nodes_}};
            std::cout << document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
        }
    }

private:
    const ListOptions& options_;
    bool isWhole_ = false;
    nlohmann::ordered_json nodes_ = nlohmann::ordered_json::array();
};

/* The node and all below it, or else what is right below it. */
void listNode(const OpenStore& store, const std::string& path, bool isDeep, Listing& listing)
{
    store.seek(path);
    walk(store.get(), [&](const Node& node) {
        if (isDeep) {
            listing.add(node, node.depth);
        } else if (node.depth == 1) {
            listing.add(node, 0);
        }
        return isDeep || node.depth == 0;
    });
}

/* The nodes that fit, each with all below it where that is asked for. */
void listFitting(const OpenStore& store, const std::string& pattern, bool isDeep, Listing& listing)
{
    const std::vector<std::string> wanted = partsOf(nodePath(pattern));
    bool isAny = false;
    int inside = -1; /* the depth of the node whose subtree is being listed */
    store.seek(":");
    walk(store.get(), [&](const Node& node) {
        inside = node.depth <= inside ? -1 : inside;
        if (inside < 0) {
            const std::vector<std::string> parts = partsOf(node.path);
            if (!fits(wanted.begin(), wanted.end(), parts.begin(), parts.end())) {
                return true;
            }
            isAny = true;
            inside = isDeep ? node.depth : -1;
        }
        listing.add(node, isDeep ? node.depth - inside : 0);
        return true;
    });
    if (!isAny) {
        throw Failure(store.path() + ": there is no node like " + pattern);
    }
}

void list(const ListOptions& options)
{
    const OpenStore store(options.store);
    Listing listing(options);
    for (const std::string& node : options.nodes.empty() ? std::vector<std::string>{":"} : options.nodes) {
        if (isPattern(node)) {
            listing.tellPaths();
            listFitting(store, node, options.isDeep, listing);
        } else {
            listNode(store, node, options.isDeep, listing);
        }
    }
    listing.end();
    store.requireWhole();
}

}  // namespace

void addList(CLI::App& program, Exit&)
{
    auto options = std::make_shared<ListOptions>();
    CLI::App& verb = *program.add_subcommand("ls", "What is below a node");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("nodes", options->nodes, "Nodes to look below, and patterns of nodes: * and ? in a name, ** for any names")
        ->type_name("NODE");
    verb.add_flag("-l,--long", options->isLong, "Types, sizes and times too");
    verb.add_flag("-R,--recursive", options->isDeep, "The nodes themselves, and all below them");
    addCommonOptions(verb, options->common);
    verb.callback([options] { list(*options); });
}

}  // namespace tool
