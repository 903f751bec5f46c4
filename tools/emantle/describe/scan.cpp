#include "describe/scan.h"

#include "console/progress.h"
#include "describe/finish.h"
#include "describe/not_a_number.h"
#include "describe/pixels.h"
#include "image/no_data.h"
#include "image/tiff_image.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <limits>
#include <utility>

namespace tool {

namespace {

using RectanglesPtr = Owned<Egda_BaseDataStack, egda_BaseDataStackDelete>;

/* The maximum at which an accumulator starts: what stands there afterwards may be no pixel's. */
constexpr double kStartOfMaximum = std::numeric_limits<double>::min();

/* One reading of an image after another, with the accumulators that it feeds. */
class Scan {
public:
    Scan(const std::string& path, const ScanOptions& options);

    /* The image with its accumulations, not finished yet. */
    ImageDescription whole(std::vector<std::string>& remarks);
    ImageDescription part(const RowRange& rows);
    RowRange allRows() const { return {0, image_.height() - 1}; }

private:
    using Visit = std::function<void(const Pixels::Block&)>;

    void forEachBlock(const char* doing, const RowRange& rows, bool wantWhole, const Visit& visit);
    StackPtr makeStack(long layers, const BinFunctionPtr& bins) const;
    StackPtr makeLayerStack(const BinFunctionPtr& bins) const;
    void accumulate(std::vector<StackPtr>& stacks, const Pixels::Block& block);
    void accumulateCovariance(Esta_AllStatsStack& stack, const Pixels::Block& block);
    void feed(std::size_t layer, Esta_AllStatsStack& stack, const Pixels::Block& block);
    std::vector<Range> findRanges();
    void correctMaxima(std::vector<StackPtr>& stacks, const RowRange& rows);
    std::vector<StackPtr> makeLayerStacks(const BinSpec& spec);
    void beginUnique(Esta_AllStatsStack& stack, const BinSpec& spec) const;
    std::vector<StackPtr> scanLayers(const BinSpec& spec, const RowRange& rows);
    ImageDescription described(std::vector<StackPtr> stacks, const RowRange& rows);
    BinSpec bins() const { return options_.bins.value_or(BinSpec::usualFor(image_.pixelType())); }
    void check(const char* what) const { reports_.check(image_.path() + ": " + what); }

    const ScanOptions& options_;
    TiffImage image_;
    std::vector<double> exclude_;
    Pixels pixels_;
    Reports reports_;
    RectanglesPtr rectangles_;
    RectanglesPtr masks_;
    RectanglesPtr oneRectangle_;
    RectanglesPtr oneMask_;
    StackPtr covariance_;
};

std::vector<double> valuesToLeaveOut(const TiffImage& image, const ScanOptions& options)
{
    std::vector<double> values = options.exclude;
    if (image.noData()) {
        if (const auto value = noDataValue(*image.noData())) {
            values.push_back(*value);
        }
    }
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values;
}

/* Whether no layer has met more distinct values than are kept. */
bool isUniqueThroughout(const std::vector<StackPtr>& stacks)
{
    return std::all_of(stacks.begin(), stacks.end(),
                       [](const StackPtr& stack) { return stack->allStats[0]->uvHistogram != nullptr; });
}

std::string tooManyValues(const BinSpec& spec)
{
    return ": more than " + std::to_string(spec.mostUnique()) + " distinct values";
}

Scan::Scan(const std::string& path, const ScanOptions& options)
    : options_(options), image_(path), exclude_(valuesToLeaveOut(image_, options)),
      pixels_(image_, exclude_, options.skipX, options.skipY),
      rectangles_(egda_BaseDataStackDerivedFromDataLayer(image_.layers(), reports_)),
      masks_(egda_BaseDataStackDerivedFromDataLayer(image_.layers(), reports_)),
      oneRectangle_(egda_BaseDataStackDerivedFromDataLayer(1, reports_)),
      oneMask_(egda_BaseDataStackDerivedFromDataLayer(1, reports_))
{
    if (!rectangles_ || !masks_ || !oneRectangle_ || !oneMask_) {
        throw Failure(path + ": no memory for its layers");
    }
}

void Scan::forEachBlock(const char* doing, const RowRange& rows, bool wantWhole, const Visit& visit)
{
    Progress progress(std::string(doing) + " " + image_.path(), !options_.quiet);
    const std::uint32_t first = rows.first / image_.bandRows() * image_.bandRows();
    for (std::uint64_t row = first; row <= rows.last; row += image_.bandRows()) {
        progress.update(static_cast<double>(row - first), rows.last - first + 1.);
        if (const Pixels::Block* block = pixels_.read(static_cast<std::uint32_t>(row), rows, wantWhole)) {
            visit(*block);
        }
    }
}

StackPtr Scan::makeStack(long layers, const BinFunctionPtr& bins) const
{
    Reports reports;
    const long count = bins ? static_cast<long>(bins->binCount) : 0;
    StackPtr stack(esta_AllStatsStackCreate(layers, count, bins.get(), reports));
    reports.check(image_.path() + ": the statistics cannot be started");
    stack->skipFactorX = options_.skipX;
    stack->skipFactorY = options_.skipY;
    return stack;
}

/* A layer alone has no sums of products. */
StackPtr Scan::makeLayerStack(const BinFunctionPtr& bins) const
{
    Reports reports;
    StackPtr stack = makeStack(1, bins);
    esta_CovarianceDestroy(&stack->covariance, reports);
    egda_BaseDataDelete(std::exchange(stack->means, nullptr), reports);
    return stack;
}

void Scan::feed(std::size_t layer, Esta_AllStatsStack& stack, const Pixels::Block& block)
{
    oneRectangle_->datalayer[0] = block.data[layer];
    oneMask_->datalayer[0] = block.mask[layer];
    esta_RectanglesSetMasks(oneRectangle_.get(), block.mask[layer] == nullptr ? nullptr : oneMask_.get());
    esta_AllStatsAccumulate(&stack, oneRectangle_.get(), reports_);
    check("its pixels cannot be taken in");
}

void Scan::accumulate(std::vector<StackPtr>& stacks, const Pixels::Block& block)
{
    for (std::size_t layer = 0; layer < stacks.size(); ++layer) {
        feed(layer, *stacks[layer], block);
    }
}

/* The layers' own figures come from stacks of their own: the covariance looks at the pixels that count in every layer,
 * and would bring the layers' counts and sums in line with those. */
void Scan::accumulateCovariance(Esta_AllStatsStack& stack, const Pixels::Block& block)
{
    for (std::size_t layer = 0; layer < block.data.size(); ++layer) {
        rectangles_->datalayer[layer] = block.data[layer];
        masks_->datalayer[layer] = block.mask[layer];
    }
    oneMask_->datalayer[0] = block.whole;
    esta_RectanglesSetMasks(rectangles_.get(), block.whole == nullptr ? masks_.get() : oneMask_.get());
    esta_AoiFeatRasterAccumCovariance(&stack, rectangles_.get(), reports_);
    check("its covariance cannot be computed");
}

/* A maximum that still is where the accumulator started says that no pixel lies above it. */
void Scan::correctMaxima(std::vector<StackPtr>& stacks, const RowRange& rows)
{
    const auto unknown = [](const StackPtr& stack) {
        const Esta_AllStats& all = *stack->allStats[0];
        return all.count > 0 && all.statistics->maximum == kStartOfMaximum;
    };
    if (std::none_of(stacks.begin(), stacks.end(), unknown)) {
        return;
    }
    constexpr double kNone = -std::numeric_limits<double>::infinity();
    std::vector<double> greatest(stacks.size(), kNone);
    forEachBlock("Reading again", rows, false, [&](const Pixels::Block& block) {
        for (std::size_t layer = 0; layer < stacks.size(); ++layer) {
            const Egda_BaseData& data = *block.data[layer];
            const Egda_BaseData* mask = block.mask[layer];
            if (unknown(stacks[layer])) {
                greatest[layer] =
                    greatestOf(image_.pixelType(), data.firstelement,
                               mask == nullptr ? nullptr : static_cast<const std::uint8_t*>(mask->firstelement),
                               static_cast<std::size_t>(data.numelements), greatest[layer]);
            }
        }
    });
    for (std::size_t layer = 0; layer < stacks.size(); ++layer) {
        if (unknown(stacks[layer])) {
            stacks[layer]->allStats[0]->statistics->maximum = greatest[layer];
        }
    }
}

std::vector<Range> Scan::findRanges()
{
    std::vector<StackPtr> stacks;
    for (std::uint32_t layer = 0; layer < image_.layers(); ++layer) {
        stacks.push_back(makeLayerStack(nullptr));
    }
    forEachBlock("Looking through", allRows(), false, [&](const Pixels::Block& block) { accumulate(stacks, block); });
    correctMaxima(stacks, allRows());
    std::vector<Range> ranges;
    for (const StackPtr& stack : stacks) {
        const Esta_Statistics& statistics = *stack->allStats[0]->statistics;
        ranges.push_back(stack->allStats[0]->count > 0 ? Range{statistics.minimum, statistics.maximum} : Range{});
    }
    return ranges;
}

void Scan::beginUnique(Esta_AllStatsStack& stack, const BinSpec& spec) const
{
    Reports reports;
    esta_AllStatsUVHistogramBegin(stack.allStats[0], spec.mostUnique(), image_.pixelType(), reports);
    reports.check(image_.path() + ": its distinct values cannot be kept");
}

std::vector<StackPtr> Scan::makeLayerStacks(const BinSpec& spec)
{
    const bool unique = spec.kind == BinSpec::Kind::unique;
    const std::vector<Range> ranges =
        spec.needsRange(image_.pixelType()) ? findRanges() : std::vector<Range>(image_.layers());
    std::vector<StackPtr> stacks;
    for (const Range& range : ranges) {
        stacks.push_back(makeLayerStack(unique ? nullptr : spec.make(image_.pixelType(), range)));
        if (unique) {
            beginUnique(*stacks.back(), spec);
        }
    }
    return stacks;
}

/* With the sums for the covariance, where there are layers to compare. */
std::vector<StackPtr> Scan::scanLayers(const BinSpec& spec, const RowRange& rows)
{
    std::vector<StackPtr> stacks = makeLayerStacks(spec);
    const bool wantCovariance = image_.layers() > 1;
    if (wantCovariance) {
        covariance_ = makeStack(image_.layers(), nullptr);
    }
    forEachBlock("Reading", rows, wantCovariance, [&](const Pixels::Block& block) {
        accumulate(stacks, block);
        if (wantCovariance) {
            accumulateCovariance(*covariance_, block);
        }
    });
    return stacks;
}

ImageDescription Scan::described(std::vector<StackPtr> stacks, const RowRange& rows)
{
    correctMaxima(stacks, rows);
    ImageDescription description;
    description.path = image_.path();
    description.name = std::filesystem::path(image_.path()).stem().string();
    description.width = image_.width();
    description.height = image_.height();
    description.skipX = options_.skipX;
    description.skipY = options_.skipY;
    description.rows = rows;
    description.colours = image_.colours();
    description.covariance = std::move(covariance_);
    for (StackPtr& stack : stacks) {
        description.layers.push_back({"Layer_" + std::to_string(description.layers.size() + 1), image_.pixelType(),
                                      std::move(stack)});
    }
    if (pixels_.excluded() != nullptr) {
        description.excluded.reset(egda_TableCopy(pixels_.excluded(), nullptr, reports_));
        check("the values left out cannot be kept");
    }
    return description;
}

ImageDescription Scan::whole(std::vector<std::string>& remarks)
{
    std::vector<StackPtr> stacks = scanLayers(bins(), allRows());
    if (bins().kind == BinSpec::Kind::unique && !isUniqueThroughout(stacks)) {
        remarks.push_back(image_.path() + tooManyValues(bins()) + "; counted in linear bins");
        stacks = makeLayerStacks(BinSpec());
        forEachBlock("Reading again", allRows(), false, [&](const Pixels::Block& block) { accumulate(stacks, block); });
    }
    return described(std::move(stacks), allRows());
}

ImageDescription Scan::part(const RowRange& rows)
{
    if (rows.last >= image_.height()) {
        throw Failure(image_.path() + ": its rows are 0 to " + std::to_string(image_.height() - 1) + ", not " +
                      std::to_string(rows.first) + " to " + std::to_string(rows.last));
    }
    std::vector<StackPtr> stacks = scanLayers(bins(), rows);
    if (bins().kind == BinSpec::Kind::unique && !isUniqueThroughout(stacks)) {
        throw Failure(image_.path() + tooManyValues(bins()) + ": parts of it need other bins");
    }
    return described(std::move(stacks), rows);
}

}  // namespace

ImageDescription scanRows(const std::string& path, const ScanOptions& options, const std::optional<RowRange>& rows)
{
    Scan scan(path, options);
    return scan.part(rows.value_or(scan.allRows()));
}

ImageDescription describeImage(const std::string& path, const ScanOptions& options, std::vector<std::string>& remarks)
{
    ImageDescription image = Scan(path, options).whole(remarks);
    finishImage(image, remarks);
    return image;
}

}  // namespace tool
