#include "describe/finish.h"
#include "describe/part_store.h"
#include "describe/print.h"
#include "describe/store_writer.h"
#include "console/interrupt.h"
#include "verbs/verb.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

struct MergeOptions {
    CommonOptions common;
    std::vector<std::string> states;
    std::string store;
    bool force = false;
};

/* All parts of an image. */
struct Parts {
    ImageDescription image;
    std::vector<std::pair<RowRange, std::string>> rows; /* and where they come from */
    bool isUnique = false;
};

bool isUnique(const ImageDescription& image)
{
    return std::any_of(image.layers.begin(), image.layers.end(),
                       [](const LayerDescription& layer) { return layer.all().uvHistogram != nullptr; });
}

std::string rowsText(std::uint32_t first, std::uint32_t last)
{
    return first == last ? "row " + std::to_string(first) : "rows " + std::to_string(first) + " to " + std::to_string(last);
}

/* Every row in one part, and in no other. */
void requireEveryRowOnce(Parts& parts)
{
    const std::string name = oneLine(parts.image.name);
    std::sort(parts.rows.begin(), parts.rows.end(),
              [](const auto& a, const auto& b) { return a.first.first < b.first.first; });
    std::uint32_t next = 0;
    for (std::size_t i = 0; i < parts.rows.size(); ++i) {
        const RowRange& rows = parts.rows[i].first;
        if (rows.first < next) {
            throw Failure(name + ": " + rowsText(rows.first, std::min(rows.last, next - 1)) + " are in " +
                          parts.rows[i - 1].second + " and in " + parts.rows[i].second);
        }
        if (rows.first > next) {
            throw Failure(name + ": no part has " + rowsText(next, rows.first - 1));
        }
        next = rows.last + 1;
    }
    if (next < parts.image.height) {
        throw Failure(name + ": no part has " + rowsText(next, parts.image.height - 1));
    }
}

/* By the names of the images, in the order in which they are met. */
std::vector<Parts> gather(const std::vector<std::string>& states)
{
    std::vector<Parts> images;
    std::map<std::string, std::size_t> places;
    for (const std::string& state : states) {
        throwIfInterrupted();
        for (ImageDescription& part : readParts(state)) {
            const auto [place, isNew] = places.emplace(part.name, images.size());
            if (isNew) {
                images.push_back({});
                images.back().rows.emplace_back(part.rows, state);
                images.back().isUnique = isUnique(part);
                images.back().image = std::move(part);
            } else {
                Parts& parts = images[place->second];
                mergePart(parts.image, part);
                parts.rows.emplace_back(part.rows, state);
            }
        }
    }
    return images;
}

void finish(Parts& parts, std::vector<std::string>& remarks)
{
    requireEveryRowOnce(parts);
    ImageDescription& image = parts.image;
    image.path = image.name;
    const auto lost = [](const LayerDescription& layer) { return layer.all().uvHistogram == nullptr; };
    if (parts.isUnique && std::any_of(image.layers.begin(), image.layers.end(), lost)) {
        throw Failure(oneLine(image.name) + ": has too many distinct values; its parts need other bins");
    }
    finishImage(image, remarks);
}

void merge(const MergeOptions& options)
{
    StoreWriter writer(options.store, options.force);
    std::vector<Parts> images = gather(options.states);
    Json document{{"images", Json::array()}};
    std::ostringstream text;
    std::vector<std::string> remarks;
    for (Parts& parts : images) {
        finish(parts, remarks);
        writer.add(parts.image);
        if (options.common.json) {
            document["images"].push_back(toJson(parts.image));
        } else {
            text << (&parts == &images.front() ? "" : "\n");
            print(text, parts.image);
        }
    }
    writer.commit();
    for (const std::string& line : remarks) {
        remark(options.common, line);
    }
    std::cout << (options.common.json ? document.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n" : text.str());
}

}  // namespace

void addMerge(CLI::App& program, Exit&)
{
    auto options = std::make_shared<MergeOptions>();
    CLI::App& verb = *program.add_subcommand("merge", "One store from the parts that describe --partial wrote");
    verb.add_option("states", options->states, "Parts, which have every row of each image once")
        ->required()
        ->type_name("STATE");
    verb.add_option("-o,--output", options->store, "The store")->required()->type_name("STORE");
    verb.add_flag("--force", options->force, "Replace a store that is there");
    addCommonOptions(verb, options->common);
    verb.callback([options] { merge(*options); });
}

}  // namespace tool
