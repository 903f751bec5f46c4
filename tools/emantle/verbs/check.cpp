#include "store/open_store.h"
#include "verbs/verb.h"

#include <emantle/tables/edsc.h>

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

struct CheckOptions {
    CommonOptions common;
    std::string store;
};

struct Findings {
    bool asJson;
    Json list = Json::array();
};

Emsc_Boolean note(const Ehfa_CheckItem* item, void* data)
{
    auto& findings = *static_cast<Findings*>(data);
    if (item->finding == nullptr) {
        return 1;
    }
    const std::string path = oneLine(item->path == nullptr ? "" : item->path);
    const std::string finding = oneLine(item->finding);
    if (findings.asJson) {
        findings.list.push_back({{"path", path}, {"position", item->position}, {"finding", finding}});
    } else {
        std::cout << (path.empty() ? "store" : path) << " at " << item->position << ": " << finding << '\n';
    }
    return 1;
}

void printTotals(const Ehfa_CheckTotals& totals)
{
    std::cout << totals.entries << " entries, " << totals.objects << " objects, " << totals.designs << " designs\n"
              << totals.live << " bytes live, " << totals.free << " free in " << totals.freeBlocks << " blocks, "
              << totals.lost << " lost, of " << totals.fileSize << '\n';
    if (totals.findings == 0) {
        std::cout << "sound\n";
    } else {
        std::cout << totals.findings << (totals.findings == 1 ? " thing is" : " things are") << " wrong\n";
    }
}

Exit checkStore(const CheckOptions& options)
{
    const OpenStore store(options.store);
    Findings findings{options.common.json};
    Ehfa_CheckTotals totals{};
    Reports reports;
    ehfa_FileCheck(store.get(), note, &findings, &totals, reports);
    reports.check(options.store + ": cannot be checked");
    if (options.common.json) {
        const Json document{{"store", options.store},       {"sound", totals.findings == 0},
                            {"size", totals.fileSize},      {"live", totals.live},
                            {"free", totals.free},          {"lost", totals.lost},
                            {"damaged", totals.damaged},    {"entries", totals.entries},
                            {"objects", totals.objects},    {"designs", totals.designs},
                            {"findings", std::move(findings.list)}};
        std::cout << document.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
    } else {
        printTotals(totals);
    }
    return totals.findings == 0 ? Exit::success : Exit::failure;
}

}  // namespace

void addCheck(CLI::App& program, Exit& status)
{
    auto options = std::make_shared<CheckOptions>();
    CLI::App& verb = *program.add_subcommand("check", "Walk a whole store and say what is wrong with it");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    addCommonOptions(verb, options->common);
    verb.callback([options, &status] { status = checkStore(*options); });
}

}  // namespace tool
