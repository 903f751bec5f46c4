#include "describe/part_store.h"

#include "describe/store_writer.h"
#include "store/open_store.h"
#include "store/walk.h"

#include <emantle/store/emif.h>

#include <algorithm>
#include <limits>

namespace tool {

namespace {

constexpr const char* kPartDesign = "Emantle_Part";
constexpr const char* kCovariance = "Covariance";

struct Numbers {
    std::int32_t count;
    double* values;
};

struct PartRecord {
    std::int32_t width;
    std::int32_t height;
    std::int32_t numLayers;
    std::int32_t pixelType;
    std::int32_t firstRow;
    std::int32_t lastRow;
    std::int32_t skipX;
    std::int32_t skipY;
    Numbers excluded;
    Numbers colours; /* red, green and blue of one value after another */
};

Emif_Design* designOfPart(Emif_Dictionary* dictionary, Reports& reports)
{
    constexpr int kNumbers = EMIF_TYPE_DOUBLE | EMIF_ITEM_COUNTED_POINTER;
    return emif_DesignCreate(dictionary, kPartDesign, reports, EMIF_TYPE_LONG, "width", EMIF_TYPE_LONG, "height",
                             EMIF_TYPE_LONG, "numLayers", EMIF_TYPE_LONG, "pixelType", EMIF_TYPE_LONG, "firstRow",
                             EMIF_TYPE_LONG, "lastRow", EMIF_TYPE_LONG, "skipX", EMIF_TYPE_LONG, "skipY", kNumbers,
                             "excluded", kNumbers, "colours", 0);
}

struct DesignDeleter {
    void operator()(Emif_Design* design) const { emif_DesignDestroy(design); }
};
using DesignPtr = std::unique_ptr<Emif_Design, DesignDeleter>;

/* A host record with what it points to, of a design that outlives it. */
struct ObjectDeleter {
    const Emif_Design* design;
    void operator()(void* object) const
    {
        Reports reports;
        emif_ObjectFree(&object, design, reports);
    }
};
using ObjectPtr = std::unique_ptr<void, ObjectDeleter>;

std::vector<double> flat(const Egda_BaseData* table)
{
    if (table == nullptr) {
        return {};
    }
    const auto* values = static_cast<const double*>(table->data);
    return std::vector<double>(values, values + table->numrows);
}

std::vector<double> flat(const ColourMap& colours)
{
    std::vector<double> values;
    for (const auto& colour : colours) {
        values.insert(values.end(), colour.begin(), colour.end());
    }
    return values;
}

Numbers numbers(std::vector<double>& values)
{
    return {static_cast<std::int32_t>(values.size()), values.empty() ? nullptr : values.data()};
}

/* Reads one store of parts. */
class PartReader {
public:
    explicit PartReader(const std::string& path) : store_(path), partDesign_(designOfPart(nullptr, reports_))
    {
        check();
        stateDesign_.reset(esta_AllStatsStackStateDesignFetch(reports_));
        check();
    }

    std::vector<ImageDescription> read()
    {
        std::vector<std::string> names;
        store_.seek(":");
        walk(store_.get(), [&](const Node& node) {
            if (node.depth == 1 && std::string(node.entry.type) == kPartDesign) {
                names.push_back(nameOf(node.path));
            }
            return node.depth == 0;
        });
        store_.requireWhole();
        if (names.empty()) {
            throw Failure(store_.path() + ": holds no part of an accumulation");
        }
        std::vector<ImageDescription> images;
        for (const std::string& name : names) {
            images.push_back(readImage(name));
        }
        return images;
    }

private:
    ImageDescription readImage(const std::string& name)
    {
        const ObjectPtr object = readObject(":", name, *partDesign_);
        const auto& part = *static_cast<const PartRecord*>(object.get());
        require(part.width > 0 && part.height > 0 && part.firstRow >= 0 && part.firstRow <= part.lastRow &&
                    part.lastRow < part.height && part.skipX > 0 && part.skipY > 0,
                name);
        require(part.numLayers > 0 && part.pixelType >= 0 && part.pixelType <= EGDA_TYPE_C128, name);
        ImageDescription image;
        image.path = store_.path() + ":" + name;
        image.name = name;
        image.width = static_cast<std::uint32_t>(part.width);
        image.height = static_cast<std::uint32_t>(part.height);
        image.rows = {static_cast<std::uint32_t>(part.firstRow), static_cast<std::uint32_t>(part.lastRow)};
        image.skipX = part.skipX;
        image.skipY = part.skipY;
        takeNumbers(part, image);
        const std::string node = ":" + name;
        for (std::int32_t i = 1; i <= part.numLayers; ++i) {
            const std::string layer = "Layer_" + std::to_string(i);
            image.layers.push_back({layer, part.pixelType, readState(node, layer, 1)});
        }
        if (part.numLayers > 1) {
            image.covariance = readState(node, kCovariance, part.numLayers);
        }
        return image;
    }

    void takeNumbers(const PartRecord& part, ImageDescription& image)
    {
        if (part.excluded.values != nullptr && part.excluded.count > 0) {
            image.excluded.reset(egda_TableCreate(part.excluded.count, EGDA_TYPE_F64, reports_));
            check();
            std::copy_n(part.excluded.values, part.excluded.count, static_cast<double*>(image.excluded->data));
        }
        for (std::int32_t i = 0; part.colours.values != nullptr && i + 2 < part.colours.count; i += 3) {
            image.colours.push_back({part.colours.values[i], part.colours.values[i + 1], part.colours.values[i + 2]});
        }
    }

    ObjectPtr readObject(const std::string& node, const std::string& name, const Emif_Design& design)
    {
        ObjectPtr object(emif_ObjectAllocate(&design, reports_), {&design});
        check();
        ehfa_ObjectRead(store_.get(), node.c_str(), name.c_str(), EHFA_SEEK_CHILD_NAME, object.get(), &design, reports_);
        reports_.check(store_.path() + ": " + oneLine(node + ":" + name) + " cannot be read");
        return object;
    }

    StackPtr readState(const std::string& node, const std::string& name, std::int32_t layers)
    {
        const ObjectPtr object = readObject(node, name, *stateDesign_);
        StackPtr stack(esta_AllStatsStackConvertFromMIF(object.get(), stateDesign_.get(), reports_));
        reports_.check(store_.path() + ": " + oneLine(node + ":" + name) + " is no accumulation");
        bool isWhole = stack && stack->numLayers == layers && (layers == 1 || stack->covariance != nullptr);
        for (std::int32_t i = 0; isWhole && i < layers; ++i) {
            isWhole = stack->allStats[i] != nullptr && stack->allStats[i]->statistics != nullptr;
        }
        require(isWhole, node.substr(1) + ":" + name);
        return stack;
    }

    void require(bool sound, const std::string& name) const
    {
        if (!sound) {
            throw Failure(store_.path() + ": " + oneLine(name) + " is no part of an accumulation");
        }
    }

    void check() const { reports_.check(store_.path() + ": cannot be read"); }

    OpenStore store_;
    Reports reports_;
    DesignPtr partDesign_;
    DesignPtr stateDesign_;
};

void mergeStack(const ImageDescription& source, Esta_AllStatsStack& target, const Esta_AllStatsStack& part)
{
    Reports reports;
    esta_AllStatsStackMerge(&target, &part, reports);
    reports.check(source.path + ": does not fit to the other parts");
}

}  // namespace

PartWriter::PartWriter(const std::string& path, bool replace) : store_(path, replace) {}

void PartWriter::check() const
{
    reports_.check(store_.path() + ": cannot be written");
}

void PartWriter::add(const ImageDescription& image)
{
    std::vector<double> excluded = flat(image.excluded.get());
    std::vector<double> colours = flat(image.colours);
    const PartRecord record{static_cast<std::int32_t>(image.width),
                            static_cast<std::int32_t>(image.height),
                            static_cast<std::int32_t>(image.layers.size()),
                            image.layers[0].type,
                            static_cast<std::int32_t>(image.rows.first),
                            static_cast<std::int32_t>(image.rows.last),
                            image.skipX,
                            image.skipY,
                            numbers(excluded),
                            numbers(colours)};
    const std::string name = uniqueNodeName(image.name, names_);
    const Emif_Design* design = designOfPart(store_.get()->dictionary, reports_);
    check();
    ehfa_ObjectWrite(store_.get(), ":", name.c_str(), kPartDesign, EHFA_WRITE_LAST_CHILD, &record, design, reports_);
    check();
    for (const LayerDescription& layer : image.layers) {
        addState(":" + name, layer.name, *layer.stack);
    }
    if (image.covariance) {
        addState(":" + name, kCovariance, *image.covariance);
    }
}

void PartWriter::addState(const std::string& node, const std::string& name, const Esta_AllStatsStack& stack)
{
    void* object = nullptr;
    const Emif_Design* design = nullptr;
    esta_AllStatsStackConvertToMIF(&stack, &object, &design, reports_);
    check();
    const ObjectPtr owner(object, {design});
    emif_DictionaryAddDesign(store_.get()->dictionary, design, reports_);
    check();
    ehfa_ObjectWrite(store_.get(), node.c_str(), name.c_str(), ESTA_ALL_STATS_STACK_STATE, EHFA_WRITE_LAST_CHILD, object,
                     design, reports_);
    check();
}

std::vector<ImageDescription> readParts(const std::string& path)
{
    return PartReader(path).read();
}

void mergePart(ImageDescription& target, const ImageDescription& source)
{
    const bool isSame = target.width == source.width && target.height == source.height &&
                        target.layers.size() == source.layers.size() && target.layers[0].type == source.layers[0].type &&
                        target.skipX == source.skipX && target.skipY == source.skipY && target.colours == source.colours &&
                        flat(target.excluded.get()) == flat(source.excluded.get());
    if (!isSame) {
        throw Failure(source.path + ": is of another image than " + target.path + ", or looks at it in another way");
    }
    for (std::size_t i = 0; i < target.layers.size(); ++i) {
        mergeStack(source, *target.layers[i].stack, *source.layers[i].stack);
    }
    if (target.covariance) {
        mergeStack(source, *target.covariance, *source.covariance);
    }
}

}  // namespace tool
