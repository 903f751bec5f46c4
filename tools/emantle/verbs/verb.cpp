#include "verbs/verb.h"

#include <iostream>

namespace tool {

void addCommonOptions(CLI::App& verb, CommonOptions& options)
{
    verb.add_flag("--json", options.json, "Print one JSON document");
    verb.add_flag("--quiet,-q", options.quiet, "No remarks and no progress");
}

void remark(const CommonOptions& options, const std::string& line)
{
    if (!options.quiet) {
        std::cerr << "emantle: " << line << '\n';
    }
}

}  // namespace tool
