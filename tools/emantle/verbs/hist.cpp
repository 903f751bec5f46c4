#include "console/clean_text.h"
#include "console/numbers.h"
#include "output/output_file.h"
#include "picture/histogram_picture.h"
#include "picture/png_canvas.h"
#include "picture/svg_canvas.h"
#include "picture/terminal_histogram.h"
#include "verbs/verb.h"

#include <iostream>
#include <memory>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr PictureSize kPicture{800, 480, 13};
constexpr double kPngScale = 2;

struct HistOptions {
    CommonOptions common;
    std::string store;
    std::string node;
    std::string picture;
    bool force = false;
};

bool endsWith(const std::string& text, const std::string& ending)
{
    return text.size() > ending.size() && text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

std::string pictureOf(const StoredHistogram& histogram, bool png)
{
    if (png) {
        PngCanvas canvas(kPicture.width, kPicture.height, kPngScale);
        drawHistogram(canvas, kPicture, histogram);
        return canvas.finish();
    }
    SvgCanvas canvas(kPicture.width, kPicture.height, SvgCanvas::Use::file, describeHistogram(histogram));
    drawHistogram(canvas, kPicture, histogram);
    return canvas.finish();
}

Json statisticsJson(const Esta_Statistics& statistics)
{
    return {{"minimum", numberJson(statistics.minimum)}, {"maximum", numberJson(statistics.maximum)},
            {"mean", numberJson(statistics.mean)},       {"median", numberJson(statistics.median)},
            {"mode", numberJson(statistics.mode)},       {"stddev", numberJson(statistics.stddev)}};
}

Json toJson(const StoredHistogram& histogram)
{
    Json limits = Json::array();
    Json counts = Json::array();
    for (std::size_t i = 0; i < histogram.counts.size(); ++i) {
        limits.push_back(Json::array({numberJson(histogram.limits[i].lower), numberJson(histogram.limits[i].upper)}));
        counts.push_back(numberJson(histogram.counts[i]));
    }
    return {{"layer", cleanText(histogram.layer)},
            {"function", cleanText(histogram.function)},
            {"statistics", histogram.statistics ? statisticsJson(*histogram.statistics) : Json()},
            {"limits", std::move(limits)},
            {"counts", std::move(counts)}};
}

void showHistogram(const HistOptions& options)
{
    const OpenStore store(options.store);
    const StoredHistogram histogram = readHistogram(store, options.node);
    if (!options.picture.empty()) {
        OutputFile file(options.picture, options.force);
        file.write(pictureOf(histogram, endsWith(options.picture, ".png")));
        file.commit();
    }
    if (options.common.json) {
        std::cout << toJson(histogram).dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
    } else if (options.picture.empty()) {
        printHistogram(std::cout, histogram, terminalColumns());
    }
}

}  // namespace

void addHist(CLI::App& program, Exit&)
{
    auto options = std::make_shared<HistOptions>();
    CLI::App& verb = *program.add_subcommand("hist", "A layer's histogram, in the terminal or as a picture");
    verb.add_option("store", options->store, "A store")->required()->type_name("STORE");
    verb.add_option("node", options->node, "The layer, as in :scene:Layer_1")->required()->type_name("NODE");
    verb.add_option("-o,--output", options->picture, "Draw a picture: a name that ends in .svg or .png")
        ->type_name("PICTURE")
        ->check([](const std::string& name) {
            return endsWith(name, ".svg") || endsWith(name, ".png") ? std::string()
                                                                    : "'" + name + "' ends in neither .svg nor .png";
        });
    verb.add_flag("--force", options->force, "Replace a picture that is there");
    addCommonOptions(verb, options->common);
    verb.callback([options] { showHistogram(*options); });
}

}  // namespace tool
