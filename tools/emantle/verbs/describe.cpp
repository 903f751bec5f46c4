#include "describe/part_store.h"
#include "describe/print.h"
#include "describe/scan.h"
#include "describe/store_writer.h"
#include "image/no_data.h"
#include "verbs/verb.h"

#include <charconv>
#include <iostream>
#include <memory>
#include <sstream>

namespace tool {

namespace {

struct DescribeOptions {
    CommonOptions common;
    std::vector<std::string> images;
    std::string store;
    std::string state;
    std::optional<RowRange> rows;
    bool force = false;
    ScanOptions scan;
};

void takeBins(const std::string& text, ScanOptions& scan)
{
    try {
        scan.bins = BinSpec::parse(text);
    } catch (const std::invalid_argument& wrong) {
        throw CLI::ValidationError("--bins", wrong.what());
    }
}

void takeSkip(const std::string& text, ScanOptions& scan)
{
    const std::size_t comma = text.find(',');
    const auto number = [&](const std::string& part) {
        int value = 0;
        const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), value);
        if (error != std::errc() || end != part.data() + part.size() || value < 1) {
            throw CLI::ValidationError("--skip", "'" + text + "' is not X,Y with whole numbers of 1 and more");
        }
        return value;
    };
    scan.skipX = number(text.substr(0, comma));
    scan.skipY = comma == std::string::npos ? scan.skipX : number(text.substr(comma + 1));
}

/* A not-a-number never counts, so naming it changes nothing. */
void takeExcluded(const std::string& text, ScanOptions& scan)
{
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ',');) {
        const auto value = noDataValue(part);
        if (value) {
            scan.exclude.push_back(*value);
        } else if (part != "nan" && part != "NaN") {
            throw CLI::ValidationError("--exclude", "'" + part + "' is not a number");
        }
    }
}

void takeRows(const std::string& text, std::optional<RowRange>& rows)
{
    RowRange range;
    const char* const end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), end, range.first);
    const bool hasBoth = first.ec == std::errc() && first.ptr != end && *first.ptr == ':';
    const auto last = hasBoth ? std::from_chars(first.ptr + 1, end, range.last) : first;
    if (!hasBoth || last.ec != std::errc() || last.ptr != end || range.last < range.first) {
        throw CLI::ValidationError("--rows", "'" + text + "' is not FIRST:LAST, rows counted from 0");
    }
    rows = range;
}

/* The state of each image goes to a store of its own kind; there are no figures yet that could be printed. */
void describePart(const DescribeOptions& options)
{
    PartWriter writer(options.state, options.force);
    nlohmann::ordered_json document{{"state", options.state}, {"images", nlohmann::ordered_json::array()}};
    for (const std::string& path : options.images) {
        const ImageDescription image = scanRows(path, options.scan, options.rows);
        writer.add(image);
        document["images"].push_back({{"path", oneLine(path)}, {"rows", {image.rows.first, image.rows.last}}});
    }
    writer.commit();
    if (options.common.json) {
        std::cout << document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    }
}

/* With a store, an image is kept in it as soon as it is described; nothing is printed before all is well. */
void describe(DescribeOptions& options)
{
    options.scan.quiet = options.common.quiet;
    if (!options.state.empty()) {
        return describePart(options);
    }
    std::unique_ptr<StoreWriter> writer;
    if (!options.store.empty()) {
        writer = std::make_unique<StoreWriter>(options.store, options.force);
    }
    nlohmann::ordered_json document{{"images", nlohmann::ordered_json::array()}};
    std::ostringstream text;
    std::vector<std::string> remarks;
    for (std::size_t i = 0; i < options.images.size(); ++i) {
        const ImageDescription image = describeImage(options.images[i], options.scan, remarks);
        if (writer) {
            writer->add(image);
        }
        if (options.common.json) {
            document["images"].push_back(toJson(image));
        } else {
            text << (i == 0 ? "" : "\n");
            print(text, image);
        }
    }
    if (writer) {
        writer->commit();
    }
    for (const std::string& line : remarks) {
        remark(options.common, line);
    }
    if (options.common.json) {
        std::cout << document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    } else {
        std::cout << text.str();
    }
}

}  // namespace

void addDescribe(CLI::App& program, Exit&)
{
    auto options = std::make_shared<DescribeOptions>();
    CLI::App& verb = *program.add_subcommand("describe", "Statistics, histogram and covariance of TIFF images");
    verb.add_option("images", options->images, "TIFF or BigTIFF files")->required()->type_name("IMAGE");
    CLI::Option* store =
        verb.add_option("-o,--output", options->store, "Keep the results in this store")->type_name("STORE");
    CLI::Option* state =
        verb.add_option("--partial", options->state, "Keep the sums, for merge to finish, and print nothing")
            ->type_name("STATE")
            ->excludes(store);
    verb.add_option_function<std::string>(
            "--rows", [options](const std::string& text) { takeRows(text, options->rows); },
            "With --partial: only the rows FIRST to LAST, counted from 0")
        ->type_name("FIRST:LAST")
        ->needs(state);
    verb.add_flag("--force", options->force, "Replace a store that is there");
    verb.add_option_function<std::string>(
            "--bins", [options](const std::string& text) { takeBins(text, options->scan); },
            "direct[:MIN:COUNT], linear[:COUNT], log[:COUNT] or unique[:MAX]")
        ->type_name("SPEC");
    verb.add_option_function<std::string>(
            "--exclude", [options](const std::string& text) { takeExcluded(text, options->scan); },
            "Values to leave out, besides the image's own no-data value")
        ->type_name("V,...");
    verb.add_option_function<std::string>(
            "--skip", [options](const std::string& text) { takeSkip(text, options->scan); },
            "Look at every X-th column and every Y-th row only")
        ->type_name("X,Y");
    addCommonOptions(verb, options->common);
    verb.callback([options] { describe(*options); });
}

}  // namespace tool
