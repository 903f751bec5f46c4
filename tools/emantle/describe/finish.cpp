#include "describe/finish.h"

#include <emantle/tables/edsc.h>

namespace tool {

namespace {

void finishLayer(const std::string& path, LayerDescription& layer)
{
    Reports reports;
    Esta_AllStats& all = *layer.stack->allStats[0];
    if (all.uvHistogram != nullptr) {
        esta_AllStatsUVHistogramEnd(&all, nullptr, reports);
        reports.check(path + ": its distinct values cannot be counted");
    }
    esta_AllStatsStackFinish(layer.stack.get(), reports);
    reports.check(path + ": its statistics cannot be finished");
}

bool hasOneValueABin(const LayerDescription& layer)
{
    const Esta_Histogram* histogram = layer.histogram();
    const Edsc_BinFunction* bins = histogram == nullptr ? nullptr : histogram->binfunction;
    const std::string title = bins == nullptr || bins->title == nullptr ? "" : bins->title;
    return title == "Direct" || title == "Unique Value";
}

}  // namespace

void finishImage(ImageDescription& image, std::vector<std::string>& remarks)
{
    for (LayerDescription& layer : image.layers) {
        finishLayer(image.path, layer);
    }
    if (image.covariance) {
        Reports reports;
        esta_AllStatsStackFinish(image.covariance.get(), reports);
        reports.check(image.path + ": its covariance cannot be finished");
    }
    if (!image.colours.empty() && !hasOneValueABin(image.layers[0])) {
        image.colours.clear();
        remarks.push_back(image.path + ": its colours are left out, since a bin holds more than one value");
    }
}

}  // namespace tool
