#include "console/progress.h"
#include "store/content_json.h"
#include "store/designs.h"
#include "store/walk.h"
#include "verbs/verb.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <map>
#include <memory>

namespace tool {

namespace {

struct DiffOptions {
    CommonOptions common;
    std::string stores[2];
    double tolerance = 0;
};

/* The entries of a store, each with those right below it. */
struct Tree {
    struct Member {
        std::uint32_t position = 0;
        std::string path;
        std::string name;
        std::vector<std::size_t> children;
    };
    std::vector<Member> members;

    explicit Tree(const OpenStore& store)
    {
        store.seek(":");
        std::vector<std::size_t> above;
        walk(store.get(), [&](const Node& node) {
            const std::size_t index = members.size();
            members.push_back({node.position, node.path, node.entry.name, {}});
            above.resize(static_cast<std::size_t>(node.depth));
            if (!above.empty()) {
                members[above.back()].children.push_back(index);
            }
            above.push_back(index);
            return true;
        });
        store.requireWhole();
    }
};

class Comparison {
public:
    explicit Comparison(const DiffOptions& options)
        : options_(options), stores_{OpenStore(options.stores[0]), OpenStore(options.stores[1])},
          trees_{Tree(stores_[0]), Tree(stores_[1])},
          read_{bytesOf(stores_[0].get()), bytesOf(stores_[1].get())}
    {
    }

    bool run()
    {
        Progress progress("Comparing", !options_.common.quiet);
        std::vector<std::pair<std::size_t, std::size_t>> left{{0, 0}};
        double done = 0;
        while (!left.empty()) {
            const auto [a, b] = left.back();
            left.pop_back();
            if (a != 0) {
                compareEntries(a, b);
            }
            compareChildren(a, b, left);
            progress.update(++done, static_cast<double>(trees_[0].members.size()));
        }
        return isSame_;
    }

    const Json& differences() const { return differences_; }

private:
    void tell(const std::string& path, const std::string& item, const Json& a, const Json& b)
    {
        isSame_ = false;
        if (options_.common.json) {
            differences_.push_back({{"path", path}, {"item", item}, {"a", a}, {"b", b}});
        } else if (item.empty()) {
            std::cout << oneLine(path) << ": only in " << options_.stores[a.is_null() ? 1 : 0] << '\n';
        } else {
            std::cout << oneLine(path) << ": " << oneLine(item) << ": " << shortText(a) << " | " << shortText(b) << '\n';
        }
    }

    static std::string shortText(const Json& value)
    {
        constexpr std::size_t kMost = 100;
        std::string text = value.is_null() ? "-" : lineOf(value);
        return text.size() <= kMost ? text : text.substr(0, kMost) + "...";
    }

    void compareEntries(std::size_t a, std::size_t b)
    {
        const Tree::Member* members[] = {&trees_[0].members[a], &trees_[1].members[b]};
        Json texts[2];
        for (int side = 0; side < 2; ++side) {
            const Ehfa_Entry entry = entryAt(read_[side], members[side]->position);
            try {
                texts[side] = contentJson(contentOf(read_[side], entry), 0, stores_[side].get()->dictionary);
            } catch (const Failure& failure) {
                throw Failure(options_.stores[side] + ": " + members[side]->path + ": " + failure.what());
            }
            /* Neither the time nor what is left behind a record that shrank is part of what an object says. */
            for (const char* aside : {"depth", "modified", "tail"}) {
                texts[side].erase(aside);
            }
        }
        const std::string& path = members[0]->path;
        if (texts[0]["type"] != texts[1]["type"]) {
            tell(path, "type", texts[0]["type"], texts[1]["type"]);
            return;
        }
        for (const char* part : {"data", "bytes", "values", "block", "blocks"}) {
            const auto of = [&](int side) { return texts[side].contains(part) ? texts[side][part] : Json(); };
            compareValues(path, std::string(part) == "data" ? "" : part, of(0), of(1));
        }
    }

    void compareValues(const std::string& path, const std::string& item, const Json& a, const Json& b)
    {
        if (a.is_object() && b.is_object()) {
            for (const auto& [name, value] : a.items()) {
                compareValues(path, item.empty() ? name : item + "." + name, value, b.contains(name) ? b[name] : Json());
            }
            for (const auto& [name, value] : b.items()) {
                if (!a.contains(name)) {
                    tell(path, item.empty() ? name : item + "." + name, nullptr, value);
                }
            }
        } else if (a.is_array() && b.is_array() && a.size() == b.size()) {
            for (std::size_t i = 0; i < a.size(); ++i) {
                compareValues(path, item + "[" + std::to_string(i) + "]", a[i], b[i]);
            }
        } else if (a.is_number() && b.is_number() ? !isNear(a, b) : a != b) {
            tell(path, item.empty() ? "data" : item, a, b);
        }
    }

    bool isNear(const Json& a, const Json& b) const
    {
        return a == b || std::fabs(a.get<double>() - b.get<double>()) <= options_.tolerance;
    }

    /* Entries of one name are told apart by their order. */
    using Key = std::pair<std::string, int>;
    static std::vector<Key> keysOf(const Tree& tree, std::size_t parent)
    {
        std::map<std::string, int> seen;
        std::vector<Key> keys;
        for (const std::size_t child : tree.members[parent].children) {
            const std::string& name = tree.members[child].name;
            keys.push_back({name, seen[name]++});
        }
        return keys;
    }

    void compareChildren(std::size_t a, std::size_t b, std::vector<std::pair<std::size_t, std::size_t>>& left)
    {
        const std::vector<Key> keysOfA = keysOf(trees_[0], a);
        const std::vector<Key> keysOfB = keysOf(trees_[1], b);
        std::map<Key, std::size_t> inB;
        for (std::size_t i = 0; i < keysOfB.size(); ++i) {
            inB[keysOfB[i]] = trees_[1].members[b].children[i];
        }
        bool hasSame = keysOfA.size() == keysOfB.size();
        std::vector<std::pair<std::size_t, std::size_t>> pairs;
        for (std::size_t i = 0; i < keysOfA.size(); ++i) {
            const std::size_t child = trees_[0].members[a].children[i];
            const auto found = inB.extract(keysOfA[i]);
            if (found.empty()) {
                hasSame = false;
                tell(trees_[0].members[child].path, "", true, nullptr);
            } else {
                pairs.push_back({child, found.mapped()});
            }
        }
        for (const auto& [key, child] : inB) {
            tell(trees_[1].members[child].path, "", nullptr, true);
        }
        if (hasSame && !std::ranges::is_sorted(pairs, {}, [](const auto& pair) { return pair.second; })) {
            tell(trees_[0].members[a].path, "order", "one order", "another order");
        }
        left.insert(left.end(), pairs.rbegin(), pairs.rend());
    }

    const DiffOptions& options_;
    const OpenStore stores_[2];
    const Tree trees_[2];
    const ReadBytes read_[2];
    bool isSame_ = true;
    Json differences_ = Json::array();
};

Exit diff(const DiffOptions& options)
{
    Comparison comparison(options);
    const bool isSame = comparison.run();
    if (options.common.json) {
        std::cout << lineOf({{"a", options.stores[0]},
                             {"b", options.stores[1]},
                             {"same", isSame},
                             {"differences", comparison.differences()}})
                  << '\n';
    }
    return isSame ? Exit::success : Exit::failure;
}

}  // namespace

void addDiff(CLI::App& program, Exit& status)
{
    auto options = std::make_shared<DiffOptions>();
    CLI::App& verb = *program.add_subcommand("diff", "Compare two stores: status 0 for the same, 1 for different, 2 for trouble");
    verb.add_option("a", options->stores[0], "A store")->required()->type_name("A");
    verb.add_option("b", options->stores[1], "Another store")->required()->type_name("B");
    verb.add_option("--tolerance", options->tolerance, "How far numbers may lie apart")->type_name("T")->check(CLI::NonNegativeNumber);
    addCommonOptions(verb, options->common);
    verb.callback([options, &status] {
        try {
            status = diff(*options);
        } catch (const Failure& failure) {
            throw Failure(failure.what(), Exit::usage);
        }
    });
}

}  // namespace tool
