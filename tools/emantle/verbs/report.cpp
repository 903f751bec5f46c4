#include "output/output_file.h"
#include "report/page.h"
#include "verbs/verb.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

namespace tool {

namespace {

struct ReportOptions {
    CommonOptions common;
    std::string store;
    std::string page;
    bool force = false;
};

/* The page of a damaged store is written with what can be read; the verb fails all the same. */
void writeReport(const ReportOptions& options)
{
    OutputFile file(options.page, options.force);
    const OpenStore store(options.store);
    const ReportContents contents = gatherContents(store);
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(options.store, error);
    file.write(reportPage(options.store, error ? 0 : bytes, contents));
    file.commit();
    if (!contents.remarks.empty()) {
        throw Failure(contents.remarks.front());
    }
    store.requireWhole();
    if (options.common.json) {
        std::size_t layers = 0;
        for (const ReportImage& image : contents.images) {
            layers += image.layers.size();
        }
        const nlohmann::ordered_json document{{"store", options.store},
                                              {"report", options.page},
                                              {"images", contents.images.size()},
                                              {"layers", layers},
                                              {"nodes", contents.nodeCount}};
        std::cout << document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    }
}

}  // namespace

void addReport(CLI::App& program, Exit&)
{
    auto options = std::make_shared<ReportOptions>();
    CLI::App& verb = *program.add_subcommand("report", "A page about a whole store, to read in a browser");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("-o,--output", options->page, "The page")->required()->type_name("PAGE");
    verb.add_flag("--force", options->force, "Replace a page that is there");
    addCommonOptions(verb, options->common);
    verb.callback([options] { writeReport(*options); });
}

}  // namespace tool
