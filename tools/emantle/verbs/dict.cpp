#include "store/designs.h"
#include "store/open_store.h"
#include "verbs/verb.h"

#include <iostream>
#include <memory>

namespace tool {

namespace {

struct DictOptions {
    CommonOptions common;
    std::string store;
};

void dict(const DictOptions& options)
{
    const OpenStore store(options.store);
    Json designs = Json::array();
    for (const Emif_Design* design = store.get()->dictionary->first; design != nullptr; design = design->next) {
        if (options.common.json) {
            designs.push_back({{"name", design->name}, {"text", designText(*design)}});
        } else {
            std::cout << designText(*design) << '\n';
        }
    }
    if (options.common.json) {
        std::cout << lineOf({{"store", options.store}, {"designs", std::move(designs)}}) << '\n';
    }
    store.requireWhole();
}

}  // namespace

void addDict(CLI::App& program, Exit&)
{
    auto options = std::make_shared<DictOptions>();
    CLI::App& verb = *program.add_subcommand("dict", "The dictionary of a store, one design a line");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    addCommonOptions(verb, options->common);
    verb.callback([options] { dict(*options); });
}

}  // namespace tool
