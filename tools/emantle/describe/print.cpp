#include "describe/print.h"

#include "console/numbers.h"
#include "console/text_table.h"

#include <emantle/tables/edsc.h>

#include <ostream>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

Json binsJson(const Esta_Histogram& histogram)
{
    const Edsc_BinFunction* bins = histogram.binfunction;
    Reports reports;
    return {{"function", bins->title == nullptr ? "" : bins->title},
            {"count", edsc_BinFunctionBinCount(bins, reports)},
            {"minimum", numberJson(edsc_BinFunctionMinLimit(bins, reports))},
            {"maximum", numberJson(edsc_BinFunctionMaxLimit(bins, reports))}};
}

Json histogramJson(const Esta_Histogram& histogram)
{
    const auto* counts = static_cast<const double*>(histogram.data);
    Json array = Json::array();
    for (std::int32_t i = 0; i < histogram.numrows; ++i) {
        array.push_back(numberJson(counts[i]));
    }
    return array;
}

Json layerJson(const LayerDescription& layer)
{
    const Esta_Statistics& statistics = layer.statistics();
    Json json{{"name", layer.name},
              {"type", egda_PixelNameFromType(layer.type)},
              {"count", numberJson(layer.all().count)},
              {"minimum", numberJson(statistics.minimum)},
              {"maximum", numberJson(statistics.maximum)},
              {"mean", numberJson(statistics.mean)},
              {"median", numberJson(statistics.median)},
              {"mode", numberJson(statistics.mode)},
              {"stddev", numberJson(statistics.stddev)}};
    if (layer.histogram() != nullptr) {
        json["bins"] = binsJson(*layer.histogram());
        json["histogram"] = histogramJson(*layer.histogram());
    } else {
        json["bins"] = nullptr;
        json["histogram"] = Json::array();
    }
    return json;
}

Json covarianceJson(const ImageDescription& image)
{
    Json rows = Json::array();
    const std::size_t count = image.hasCovariance() ? image.layers.size() : 0;
    for (std::size_t row = 0; row < count; ++row) {
        Json line = Json::array();
        for (std::size_t column = 0; column < count; ++column) {
            line.push_back(numberJson(image.covarianceAt(row, column)));
        }
        rows.push_back(std::move(line));
    }
    return rows;
}

void printCovariance(std::ostream& out, const ImageDescription& image)
{
    TextTable table;
    std::vector<std::string> head{"covariance"};
    for (const LayerDescription& layer : image.layers) {
        head.push_back(layer.name);
    }
    table.add(std::move(head));
    for (std::size_t row = 0; row < image.layers.size(); ++row) {
        std::vector<std::string> line{image.layers[row].name};
        for (std::size_t column = 0; column < image.layers.size(); ++column) {
            line.push_back(shortNumberText(image.covarianceAt(row, column)));
        }
        table.add(std::move(line));
    }
    table.print(out);
}

}  // namespace

void print(std::ostream& out, const ImageDescription& image)
{
    out << oneLine(image.path) << ": " << image.width << " x " << image.height << ", " << image.layers.size()
        << (image.layers.size() == 1 ? " layer\n" : " layers\n");
    TextTable table;
    table.add({"layer", "type", "count", "minimum", "maximum", "mean", "median", "mode", "stddev"});
    for (const LayerDescription& layer : image.layers) {
        const Esta_Statistics& s = layer.statistics();
        std::vector<std::string> line{layer.name, egda_PixelNameFromType(layer.type), numberText(layer.all().count)};
        for (const double value : {s.minimum, s.maximum, s.mean, s.median, s.mode, s.stddev}) {
            line.push_back(shortNumberText(value));
        }
        table.add(std::move(line));
    }
    table.print(out);
    if (image.hasCovariance()) {
        out << '\n';
        printCovariance(out, image);
    }
}

Json toJson(const ImageDescription& image)
{
    Json json{{"path", oneLine(image.path)}, {"width", image.width}, {"height", image.height}};
    json["layers"] = Json::array();
    for (const LayerDescription& layer : image.layers) {
        json["layers"].push_back(layerJson(layer));
    }
    json["covariance"] = covarianceJson(image);
    return json;
}

}  // namespace tool
