#include "console/progress.h"
#include "store/content_json.h"
#include "store/copy_tree.h"
#include "store/designs.h"
#include "store/dump_format.h"
#include "store/new_store.h"
#include "verbs/verb.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <system_error>

namespace tool {

namespace {

struct LoadOptions {
    CommonOptions common;
    std::string dump;
    std::string store;
    bool force = false;
};

/* Takes the lines of a dump in their order, and makes of each what it says. */
class Loader {
public:
    explicit Loader(Ehfa_File* file) : file_(file), writer_(file) {}

    void take(const Json& line)
    {
        if (!hasBegun_) {
            begin(line);
        } else if (line.is_object() && line.contains("design")) {
            takeDesign(line["design"]);
        } else {
            takeEntry(line);
        }
    }

    void end()
    {
        if (!hasBegun_) {
            throw WrongText("is empty");
        }
        settleDesigns();
        setRootTime(file_, modified_);
    }

private:
    void begin(const Json& line)
    {
        if (!line.is_object() || !line.contains(kDumpVersionKey) || line[kDumpVersionKey] != kDumpVersion) {
            throw WrongText("is not the first line of a dump of version " + std::to_string(kDumpVersion));
        }
        modified_ = realFrom(memberOf(line, "modified"));
        hasBegun_ = true;
    }

    void takeDesign(const Json& text)
    {
        if (hasDesigns_) {
            throw WrongText("is a design behind entries");
        }
        if (!text.is_string()) {
            throw WrongText("is a design without a text");
        }
        designs_.push_back(text.get<std::string>());
    }

    void takeEntry(const Json& line)
    {
        settleDesigns();
        const auto depth = wholeFrom(memberOf(line, "depth"), 1, writer_.depth() + 1);
        writer_.add(static_cast<int>(depth), contentFrom(line, file_->dictionary));
    }

    void settleDesigns()
    {
        if (!hasDesigns_) {
            takeDesigns(file_, designs_);
            hasDesigns_ = true;
        }
    }

    Ehfa_File* file_;
    TreeWriter writer_;
    std::vector<std::string> designs_;
    double modified_ = 0;
    bool hasBegun_ = false;
    bool hasDesigns_ = false;
};

void takeLines(std::istream& in, const std::string& name, double size, bool quiet, Loader& loader)
{
    Progress progress("Loading " + name, !quiet);
    double done = 0;
    long number = 0;
    const auto at = [&](const std::string& what) { return Failure(name + ": line " + std::to_string(number) + ": " + what); };
    try {
        for (std::string text; std::getline(in, text);) {
            ++number;
            done += static_cast<double>(text.size() + 1);
            progress.update(done, size);
            loader.take(Json::parse(text));
        }
        if (in.bad()) {
            throw Failure("cannot be read");
        }
        ++number;
        loader.end();
    } catch (const Json::exception&) {
        throw at("is not JSON");
    } catch (const WrongText& wrong) {
        throw at(wrong.what());
    } catch (const Interrupted&) {
        throw;
    } catch (const Failure& failure) {
        throw at(failure.what());
    }
}

void load(const LoadOptions& options)
{
    std::ifstream file;
    const bool isStandard = options.dump == "-";
    std::error_code error;
    if (!isStandard) {
        if (std::filesystem::is_directory(options.dump, error)) {
            throw Failure(options.dump + ": is a directory");
        }
        file.open(options.dump, std::ios::binary);
        if (!file) {
            throw Failure(options.dump + ": " + std::generic_category().message(errno));
        }
    }
    const double size = isStandard ? 0 : static_cast<double>(std::filesystem::file_size(options.dump, error));
    NewStore store(options.store, options.force);
    store.holdBack();
    Loader loader(store.get());
    takeLines(isStandard ? std::cin : file, isStandard ? "standard input" : options.dump, size,
              options.common.quiet || isStandard, loader);
    store.commit();
    if (options.common.json) {
        std::cout << lineOf({{"store", options.store}, {"size", std::filesystem::file_size(options.store)}}) << '\n';
    }
}

}  // namespace

void addLoad(CLI::App& program, Exit&)
{
    auto options = std::make_shared<LoadOptions>();
    CLI::App& verb = *program.add_subcommand("load", "A store out of the text that dump made of one");
    verb.add_option("dump", options->dump, "The text; - for standard input")->required()->type_name("DUMP");
    verb.add_option("-o,--output", options->store, "The store to make")->required()->type_name("STORE");
    verb.add_flag("--force", options->force, "Replace a file that is there");
    addCommonOptions(verb, options->common);
    verb.callback([options] { load(*options); });
}

}  // namespace tool
