#include "store/copy_tree.h"
#include "store/new_store.h"
#include "verbs/verb.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

namespace tool {

namespace {

struct CompactOptions {
    CommonOptions common;
    std::string store;
    std::string output;
    bool force = false;
};

/* Data that do not fit their design are copied as they are. */
Emsc_Boolean countDamage(const Ehfa_CheckItem* item, void* data)
{
    *static_cast<long*>(data) += item->finding != nullptr && item->kind != EHFA_BLOCK_DATA ? 1 : 0;
    return 1;
}

/* A copy has what can be reached: of a damaged store that would be less than its owner has. */
void requireSound(const OpenStore& store)
{
    Ehfa_CheckTotals totals{};
    Reports reports;
    long damage = 0;
    ehfa_FileCheck(store.get(), countDamage, &damage, &totals, reports);
    reports.check(store.path() + ": cannot be checked");
    if (damage != 0) {
        throw Failure(store.path() + ": is damaged; 'emantle check' tells where, 'emantle salvage' copies the rest");
    }
}

void compact(const CompactOptions& options)
{
    const bool isInPlace = options.output.empty();
    /* Open for writing, nobody else changes it meanwhile. */
    OpenStore source(options.store, isInPlace ? Access::writing : Access::reading);
    requireSound(source);
    const std::string& output = isInPlace ? options.store : options.output;
    const auto before = std::filesystem::file_size(options.store);
    {
        NewStore target(std::filesystem::is_symlink(output) ? std::filesystem::canonical(output).string() : output,
                        isInPlace || options.force);
        target.holdBack();
        {
            Progress progress("Compacting " + options.store, !options.common.quiet);
            try {
                copyStore(source, target.get(), progress);
            } catch (const Interrupted&) {
                throw;
            } catch (const Failure& failure) {
                throw Failure(output + ": " + failure.what());
            }
        }
        source.requireWhole();
        target.commitLike(options.store);
    }
    const auto after = std::filesystem::file_size(output);
    if (options.common.json) {
        std::cout << lineOf({{"store", output}, {"before", before}, {"after", after}}) << '\n';
    } else {
        std::cout << output << ": " << before << " bytes before, " << after << " now\n";
    }
}

}  // namespace

void addCompact(CLI::App& program, Exit&)
{
    auto options = std::make_shared<CompactOptions>();
    CLI::App& verb = *program.add_subcommand("compact", "Copy a store without its free and lost space");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("-o,--output", options->output, "The copy; without it, the store is replaced")->type_name("NEW");
    verb.add_flag("--force", options->force, "Replace a file that is there");
    addCommonOptions(verb, options->common);
    verb.callback([options] { compact(*options); });
}

}  // namespace tool
