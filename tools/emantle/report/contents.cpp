#include "report/contents.h"

#include "console/interrupt.h"
#include "store/object_json.h"
#include "store/walk.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>

namespace tool {

namespace {

using MatrixPtr = Owned<Esta_Covariance, esta_CovarianceDelete>;
using DataPtr = Owned<Egda_BaseData, egda_BaseDataDelete>;

class Gatherer {
public:
    explicit Gatherer(const OpenStore& store) : store_(store) {}

    ReportContents gather()
    {
        store_.seek(":");
        walk(store_.get(), [&](const Node& node) {
            take(node);
            return true;
        });
        for (ReportImage& image : contents_.images) {
            throwIfInterrupted();
            attempt([&] { readImage(image); });
            for (ReportLayer& layer : image.layers) {
                readLayer(layer);
            }
        }
        dropEmpty();
        return std::move(contents_);
    }

private:
    void take(const Node& node)
    {
        const std::string type = node.entry.type;
        if (++contents_.nodeCount <= kMostNodes) {
            contents_.nodes.push_back({node.depth, node.entry.name, type, node.entry.dataSize, node.entry.modTime});
        }
        if (type == "Esta_Statistics" || type == "Edsc_Table") {
            const std::string layer = parentOf(node.path);
            ReportImage& image = imageOf(parentOf(layer));
            if (layerNodes_.insert(layer).second) {
                image.layers.push_back({});
                image.layers.back().node = layer;
            }
        } else if (type == "Esta_Covariance") {
            imageOf(parentOf(node.path));
        }
    }

    ReportImage& imageOf(const std::string& node)
    {
        const auto [place, isNew] = imageNumbers_.emplace(node, contents_.images.size());
        if (isNew) {
            contents_.images.push_back({});
            contents_.images.back().node = node;
        }
        return contents_.images[place->second];
    }

    /* One damaged object is no reason to leave out the others. */
    template <class Reading>
    void attempt(const Reading& reading)
    {
        try {
            reading();
        } catch (const Interrupted&) {
            throw;
        } catch (const Failure& failure) {
            contents_.remarks.push_back(failure.what());
        }
    }

    /* The object of a node as JSON when it is of the type; null when not. */
    nlohmann::ordered_json objectOf(const std::string& node, const char* type) const
    {
        store_.seek(node);
        const bool isIt = std::string(store_.get()->entry->type) == type;
        return isIt ? objectJson(store_, node, 0) : nlohmann::ordered_json();
    }

    void readImage(ReportImage& image)
    {
        const auto object = objectOf(image.node, "Emantle_Image");
        if (object.contains("width") && object.contains("height")) {
            image.extent = object["width"].dump() + " \xc3\x97 " + object["height"].dump() + " pixels";
        }
        Reports reports;
        const MatrixPtr matrix(esta_CovarianceRead(store_.get(), image.node.c_str(), nullptr, reports));
        reports.check(store_.path() + ": the covariance of " + oneLine(image.node) + " cannot be read");
        if (!matrix) {
            return;
        }
        if (matrix->datatype != EGDA_TYPE_F64 || matrix->numrows != matrix->numcolumns || matrix->firstelement == nullptr) {
            throw Failure(store_.path() + ": the covariance of " + oneLine(image.node) + " is no square of numbers");
        }
        const bool byColumns = matrix->objecttype == EGDA_MATRIX_OBJECT;
        const auto size = static_cast<std::size_t>(matrix->numrows);
        image.covariance.assign(size, std::vector<double>(size));
        for (std::size_t line = 0; line < size; ++line) {
            const auto* values = reinterpret_cast<const double*>(static_cast<const char*>(matrix->firstelement) +
                                                                 line * static_cast<std::size_t>(matrix->pitch));
            for (std::size_t step = 0; step < size; ++step) {
                image.covariance[byColumns ? step : line][byColumns ? line : step] = values[step];
            }
        }
    }

    void readLayer(ReportLayer& layer)
    {
        attempt([&] {
            const auto object = objectOf(layer.node, "Emantle_Layer");
            if (object.contains("pixelType") && object["pixelType"].is_string()) {
                layer.pixelType = object["pixelType"];
            }
        });
        attempt([&] { layer.statistics = readStatistics(store_, layer.node); });
        attempt([&] { readLeftOut(layer); });
        attempt([&] {
            if (holdsHistogram(layer.node)) {
                layer.histogram = readHistogram(store_, layer.node);
            }
        });
    }

    void readLeftOut(ReportLayer& layer)
    {
        if (!layer.statistics) {
            return;
        }
        Reports reports;
        esta_StatisticsGetSkipFactors(store_.get(), layer.node.c_str(), &layer.skipX, &layer.skipY, reports);
        reports.check(store_.path() + ": the skip factors of " + oneLine(layer.node) + " cannot be read");
        const DataPtr values(esta_StatisticsAreValuesExcluded(store_.get(), layer.node.c_str(), 0, reports));
        reports.check(store_.path() + ": the values left out of " + oneLine(layer.node) + " cannot be read");
        if (values && values->datatype == EGDA_TYPE_F64 && values->data != nullptr) {
            const auto* numbers = static_cast<const double*>(values->data);
            layer.excluded.assign(numbers, numbers + std::max(values->numrows, 0));
        }
    }

    bool holdsHistogram(const std::string& node) const
    {
        store_.seek(node);
        Reports reports;
        if (ehfa_EntrySeek(store_.get(), EHFA_SEEK_CHILD_TYPE, "Edsc_Table", reports) == nullptr || reports.failed()) {
            return false;
        }
        const StoredTable table(store_, node);
        return table.bins() != nullptr && table.hasColumn("Histogram");
    }

    /* Tables of another purpose make no layers. */
    void dropEmpty()
    {
        for (ReportImage& image : contents_.images) {
            std::erase_if(image.layers, [](const ReportLayer& layer) { return !layer.statistics && !layer.histogram; });
        }
        std::erase_if(contents_.images,
                      [](const ReportImage& image) { return image.layers.empty() && image.covariance.empty(); });
    }

    const OpenStore& store_;
    ReportContents contents_;
    std::map<std::string, std::size_t> imageNumbers_;
    std::set<std::string> layerNodes_;
};

}  // namespace

std::string ReportImage::layerName(std::size_t layer) const
{
    return layers.size() == covariance.size() ? nameOf(layers[layer].node) : std::to_string(layer + 1);
}

double ReportImage::correlation(std::size_t row, std::size_t column) const
{
    const double spread = std::sqrt(covariance[row][row]) * std::sqrt(covariance[column][column]);
    const double value = covariance[row][column] / spread;
    return spread > 0 && std::isfinite(value) ? std::clamp(value, -1., 1.) : std::numeric_limits<double>::quiet_NaN();
}

ReportContents gatherContents(const OpenStore& store)
{
    return Gatherer(store).gather();
}

}  // namespace tool
