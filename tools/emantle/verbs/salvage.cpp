#include "console/progress.h"
#include "console/told.h"
#include "store/copy_tree.h"
#include "store/designs.h"
#include "store/new_store.h"
#include "store/wreck.h"
#include "verbs/verb.h"

#include <emantle/store/emif.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>

namespace tool {

namespace {

struct SalvageOptions {
    CommonOptions common;
    std::string store;
    std::string output;
    bool force = false;
};

/* Brings what a wreck has into a new store, and notes what is given up. */
class Salvage {
public:
    Salvage(const Wreck& wreck, Ehfa_File* target) : wreck_(wreck), target_(target), writer_(target), read_(wreck.reader())
    {
        /* Data that reach over an entry have a wrong place or size. */
        for (const Wreck::Found& found : wreck.entries()) {
            claims_.take(found.position, found.position == 0 ? 0 : Wreck::kEntrySize);
        }
    }

    void run(Progress& progress)
    {
        if (!wreck_.designs().empty()) {
            takeDesigns(target_, wreck_.designs());
        }
        const auto& entries = wreck_.entries();
        /* The next child of each entry above; a stack, for trees may be deep. */
        std::vector<std::pair<std::size_t, std::size_t>> above{{0, 0}};
        std::vector<std::string> names;
        while (!above.empty()) {
            auto& [parent, next] = above.back();
            if (next == entries[parent].children.size()) {
                above.pop_back();
                if (!names.empty()) {
                    names.pop_back();
                }
                continue;
            }
            const std::size_t child = entries[parent].children[next++];
            names.push_back(entries[child].entry.name);
            keep(entries[child], static_cast<int>(above.size()), names);
            progress.update(++done_, static_cast<double>(entries.size()));
            above.push_back({child, 0});
        }
        if (entries[0].position != 0) {
            setRootTime(target_, entries[0].entry.modTime);
        }
    }

    void tell(const std::string& path, std::uint32_t position, const std::string& text)
    {
        givenUp_.push_back({{"path", path}, {"position", position}, {"reason", text}});
    }

    const Json& givenUp() const { return givenUp_; }
    long kept() const { return kept_; }

private:
    static std::string pathOf(const std::vector<std::string>& names)
    {
        std::string path;
        for (const std::string& name : names) {
            path += ":" + oneLine(name);
        }
        return path;
    }

    /* An entry whose data are not all there stays for what is below it. */
    void keep(const Wreck::Found& found, int depth, const std::vector<std::string>& names)
    {
        Content content{found.entry.name, found.entry.type, found.entry.modTime, {}, {}, {}};
        try {
            content = wholeContent(found.entry);
        } catch (const Interrupted&) {
            throw;
        } catch (const Failure& failure) {
            tell(pathOf(names), found.position, failure.what());
        }
        content.name = reachable(content.name);
        if (!std::isfinite(content.modified)) {
            content.modified = 0;
        }
        writer_.add(depth, content);
        ++kept_;
        if (const std::string wrong = wrongWithCurrent(); !wrong.empty()) {
            tell(pathOf(names), found.position, wrong);
            emptyCurrent(content);
        }
    }

    Content wholeContent(const Ehfa_Entry& entry)
    {
        return contentOf(read_, entry, [&](const Block& block) {
            if (!claims_.take(block.position, static_cast<std::uint64_t>(block.size))) {
                throw Failure("its bytes at " + std::to_string(block.position) + " belong to another entry as well");
            }
        });
    }

    /* A path leads to every name. */
    static std::string reachable(std::string name)
    {
        std::ranges::replace(name, ':', '_');
        return name.empty() ? "unnamed" : name;
    }

    /* Reads what has just been written, as any reader would. */
    std::string wrongWithCurrent() const
    {
        const Ehfa_Entry entry = *target_->entry;
        Reports reports;
        const Emif_Design* design = emif_FindDesignByName(target_->dictionary, entry.type, reports);
        if (entry.dataSize == 0 || design == nullptr) {
            return {};
        }
        void* record = emif_NewObject(design, reports);
        if (record == nullptr) {
            return {};
        }
        ehfa_FileHostDataRead(target_, entry.data, design, entry.dataSize, record, reports);
        std::string wrong = reports.failed() ? "the data do not fit their design" : "";
        if (wrong.empty() && emif_ObjectSize(record, design, reports) > entry.dataSize) {
            wrong = "the data are shorter than their design";
        }
        emif_FreeObject(&record, design, reports);
        return wrong;
    }

    void emptyCurrent(const Content& content)
    {
        Reports reports;
        ehfa_ObjectDataWrite(target_, nullptr, nullptr, nullptr, EHFA_WRITE_CURRENT, nullptr, 0, reports);
        reports.check("cannot be written");
        target_->entry->modTime = content.modified;
        ehfa_EntryWrite(target_, EHFA_WRITE_CURRENT, nullptr, nullptr, reports);
        reports.check("cannot be written");
    }

    const Wreck& wreck_;
    Ehfa_File* target_;
    TreeWriter writer_;
    ReadBytes read_;
    Claims claims_;
    Json givenUp_ = Json::array();
    double done_ = 0;
    long kept_ = 0;
};

void salvage(const SalvageOptions& options)
{
    requirePlace(options.output, options.force);
    const Wreck wreck(options.store);
    keepToldLines(); /* what the library told of the damage is among what is given up */
    NewStore target(options.output, options.force);
    target.holdBack();
    Salvage salvage(wreck, target.get());
    for (const Wreck::Remark& remark : wreck.remarks()) {
        salvage.tell(remark.path, remark.position, remark.text);
    }
    {
        Progress progress("Salvaging " + options.store, !options.common.quiet);
        try {
            salvage.run(progress);
        } catch (const Interrupted&) {
            throw;
        } catch (const Failure& failure) {
            throw Failure(options.output + ": " + failure.what());
        }
    }
    target.commit();
    if (options.common.json) {
        std::cout << lineOf({{"store", options.store},
                             {"output", options.output},
                             {"entries", salvage.kept()},
                             {"givenUp", salvage.givenUp()}})
                  << '\n';
        return;
    }
    for (const Json& one : salvage.givenUp()) {
        const auto path = one["path"].get<std::string>();
        std::cout << (path.empty() ? "store" : path) << " at " << one["position"] << ": "
                  << one["reason"].get<std::string>() << '\n';
    }
    std::cout << salvage.kept() << (salvage.kept() == 1 ? " entry is" : " entries are") << " in " << options.output << '\n';
}

}  // namespace

void addSalvage(CLI::App& program, Exit&)
{
    auto options = std::make_shared<SalvageOptions>();
    CLI::App& verb = *program.add_subcommand("salvage", "Copy what can be read of a damaged store");
    verb.add_option("store", options->store, "A damaged store")->required()->type_name("STORE");
    verb.add_option("-o,--output", options->output, "The store to make")->required()->type_name("NEW");
    verb.add_flag("--force", options->force, "Replace a file that is there");
    addCommonOptions(verb, options->common);
    verb.callback([options] { salvage(*options); });
}

}  // namespace tool
