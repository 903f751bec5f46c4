#include "describe/store_writer.h"

#include "store/stored_table.h"

#include <emantle/store/emif.h>
#include <emantle/tables/edsc.h>

#include <cstdint>

namespace tool {

namespace {

using OpenTable = Owned<Edsc_TableInstance, edsc_TableClose>;

struct ImageRecord {
    std::int32_t width;
    std::int32_t height;
    std::int32_t numLayers;
};

struct LayerRecord {
    std::int32_t width;
    std::int32_t height;
    std::int32_t pixelType;
};

/* Names of nodes end where the grammar of paths begins, and are printed later. */
std::string asNodeName(const std::string& stem)
{
    std::string name;
    for (const char c : stem) {
        const auto code = static_cast<unsigned char>(c);
        const bool odd = code < 0x20 || code == 0x7f || c == ':' || c == ',' || c == '(' || c == ')' || c == '\\';
        name += odd ? '_' : c;
    }
    return name.empty() ? "image" : name;
}

/* At most `bytes` bytes, without half of a character at the end. */
std::string cutTo(std::string text, std::size_t bytes)
{
    if (text.size() > bytes) {
        while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xc0) == 0x80) {
            --bytes;
        }
        text.resize(bytes);
    }
    return text;
}

Emif_Design* designOfImage(Emif_Dictionary* dictionary, Reports& reports)
{
    return emif_DesignCreate(dictionary, "Emantle_Image", reports, EMIF_TYPE_LONG, "width", EMIF_TYPE_LONG, "height",
                             EMIF_TYPE_LONG, "numLayers", 0);
}

Emif_Design* designOfLayer(Emif_Dictionary* dictionary, Reports& reports)
{
    return emif_DesignCreate(dictionary, "Emantle_Layer", reports, EMIF_TYPE_LONG, "width", EMIF_TYPE_LONG, "height",
                             EMIF_TYPE_ENUM, "pixelType", "u1", "u2", "u4", "u8", "s8", "u16", "s16", "u32", "s32",
                             "f32", "f64", "c64", "c128", nullptr, 0);
}

}  // namespace

std::string uniqueNodeName(const std::string& name, std::set<std::string>& taken)
{
    const std::string plain = asNodeName(name);
    std::string unique = cutTo(plain, EHFA_NAME_MAX);
    for (int number = 2; !taken.insert(unique).second; ++number) {
        const std::string ending = "_" + std::to_string(number);
        unique = cutTo(plain, EHFA_NAME_MAX - ending.size()) + ending;
    }
    return unique;
}

StoreWriter::StoreWriter(const std::string& path, bool replace) : store_(path, replace), file_(store_.get())
{
    imageDesign_ = designOfImage(file_->dictionary, reports_);
    check();
    layerDesign_ = designOfLayer(file_->dictionary, reports_);
    check();
}

void StoreWriter::check() const
{
    reports_.check(store_.path() + ": cannot be written");
}

void StoreWriter::add(const ImageDescription& image)
{
    const std::string name = uniqueNodeName(image.name, names_);
    const ImageRecord record{static_cast<std::int32_t>(image.width), static_cast<std::int32_t>(image.height),
                             static_cast<std::int32_t>(image.layers.size())};
    ehfa_ObjectWrite(file_, ":", name.c_str(), imageDesign_->name, EHFA_WRITE_LAST_CHILD, &record, imageDesign_, reports_);
    check();
    const std::string node = ":" + name;
    for (const LayerDescription& layer : image.layers) {
        addLayer(node, image, layer);
    }
    if (image.hasCovariance()) {
        esta_CovarianceWrite(file_, node.c_str(), image.covariance->covariance, reports_);
        check();
    }
}

void StoreWriter::addLayer(const std::string& imageNode, const ImageDescription& image, const LayerDescription& layer)
{
    const LayerRecord record{static_cast<std::int32_t>(image.width), static_cast<std::int32_t>(image.height), layer.type};
    ehfa_ObjectWrite(file_, imageNode.c_str(), layer.name.c_str(), layerDesign_->name, EHFA_WRITE_LAST_CHILD, &record,
                     layerDesign_, reports_);
    check();
    const std::string node = imageNode + ":" + layer.name;
    esta_StatisticsWrite(file_, node.c_str(), &layer.statistics(), reports_);
    check();
    if (image.excluded) {
        esta_StatisticsWriteExcludedValues(file_, node.c_str(), image.excluded.get(), reports_);
        check();
    }
    if (image.skipX != 1 || image.skipY != 1) {
        esta_StatisticsWriteSkipFactors(file_, node.c_str(), image.skipX, image.skipY, reports_);
        check();
    }
    if (layer.histogram() != nullptr && layer.histogram()->numrows > 0) {
        addTable(node, image, layer);
    }
}

void StoreWriter::addTable(const std::string& layerNode, const ImageDescription& image, const LayerDescription& layer)
{
    const Esta_Histogram& histogram = *layer.histogram();
    const OpenTable table(edsc_TableCreate(file_, layerNode.c_str(), "Descriptor_Table", EHFA_WRITE_LAST_CHILD,
                                           histogram.numrows, histogram.binfunction, reports_, nullptr));
    check();
    esta_HistogramWrite(table.get(), &histogram, 0, ESTA_ALL_BINS, reports_);
    check();
    if (image.skipX != 1 || image.skipY != 1) {
        esta_HistogramWriteSkipFactors(table.get(), image.skipX, image.skipY, reports_);
        check();
    }
    if (!image.colours.empty() && &layer == &image.layers.front()) {
        addColours(*table, histogram, image.colours);
    }
}

/* Bins of values beyond the map are black. */
void StoreWriter::addColours(Edsc_TableInstance& table, const Esta_Histogram& histogram, const ColourMap& colours)
{
    using ColourTable = Owned<Esta_ColorTable, esta_ColorTableDelete>;
    for (const std::int32_t component : {ESTA_RED, ESTA_GREEN, ESTA_BLUE}) {
        const ColourTable column(esta_ColorTableCreate(histogram.numrows, reports_));
        check();
        auto* values = static_cast<double*>(column->data);
        for (std::int32_t bin = 0; bin < histogram.numrows; ++bin) {
            const double value = limitsOf(*histogram.binfunction, bin).lower;
            const bool isThere = value >= 0 && value < static_cast<double>(colours.size());
            values[bin] = isThere ? colours[static_cast<std::size_t>(value)][static_cast<std::size_t>(component)] : 0;
        }
        esta_ColorTableWrite(&table, component, column.get(), 0, ESTA_ALL_BINS, reports_);
        check();
    }
}

void StoreWriter::commit()
{
    store_.commit();
}

}  // namespace tool
