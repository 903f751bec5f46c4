#include "console/progress.h"
#include "store/content_json.h"
#include "store/designs.h"
#include "store/dump_format.h"
#include "store/walk.h"
#include "verbs/verb.h"

#include <iostream>
#include <memory>

namespace tool {

namespace {

struct DumpOptions {
    std::string store;
    bool quiet = false;
};

void print(const Json& line)
{
    std::cout << line.dump() << '\n';
    if (!std::cout) {
        throw Failure("standard output cannot be written");
    }
}

void dump(const DumpOptions& options)
{
    const OpenStore store(options.store);
    store.seek(":");
    Ehfa_File* file = store.get();
    print({{kDumpVersionKey, kDumpVersion}, {"modified", realJson(file->entry->modTime)}});
    for (const std::string& design : designTexts(*file->dictionary)) {
        print({{"design", design}});
    }
    Progress progress("Dumping " + options.store, !options.quiet);
    const ReadBytes read = bytesOf(file);
    walk(file, [&](const Node& node) {
        progress.update(node.position, static_cast<double>(read.fileSize));
        if (node.depth != 0) {
            try {
                print(contentJson(contentOf(read, node.entry), node.depth, file->dictionary));
            } catch (const Failure& failure) {
                throw Failure(options.store + ": " + node.path + ": " + failure.what());
            }
        }
        return true;
    });
    store.requireWhole();
}

}  // namespace

void addDump(CLI::App& program, Exit&)
{
    auto options = std::make_shared<DumpOptions>();
    CLI::App& verb = *program.add_subcommand("dump", "A whole store as text: JSON, one line an entry");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_flag("--quiet,-q", options->quiet, "No progress");
    verb.callback([options] { dump(*options); });
}

}  // namespace tool
