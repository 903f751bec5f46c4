#include "describe/scan.h"

#include "console/progress.h"
#include "describe/not_a_number.h"
#include "describe/pixels.h"
#include "image/no_data.h"
#include "image/tiff_image.h"

#include <algorithm>
#include <functional>
#include <limits>

namespace tool {

namespace {

using RectanglesPtr = Owned<Egda_BaseDataStack, egda_BaseDataStackDelete>;

/* The maximum at which an accumulator starts: what stands there afterwards may be no pixel's. */
constexpr double kStartOfMaximum = std::numeric_limits<double>::min();

/* One reading of an image after another, with the accumulators that it feeds. */
class Scan {
public:
    Scan(const std::string& path, const ScanOptions& options, std::vector<std::string>& remarks);

    ImageDescription describe();

private:
    void forEachBlock(const char* doing, bool wantWhole, const std::function<void(const Pixels::Block&)>& visit);
    StackPtr makeStack(long layers, const BinFunctionPtr& bins) const;
    void accumulate(std::vector<StackPtr>& stacks, const Pixels::Block& block);
    void accumulateCovariance(Esta_AllStatsStack& stack, const Pixels::Block& block);
    void feed(std::size_t layer, Esta_AllStatsStack& stack, const Pixels::Block& block);
    std::vector<Range> findRanges();
    void correctMaxima(std::vector<StackPtr>& stacks);
    std::vector<StackPtr> makeLayerStacks(const BinSpec& spec);
    void beginUnique(Esta_AllStatsStack& stack, const BinSpec& spec) const;
    bool endUnique(std::vector<StackPtr>& stacks) const;
    void scanLayers(ImageDescription& description);
    void check(const char* what) const { reports_.check(image_.path() + ": " + what); }

    const ScanOptions& options_;
    std::vector<std::string>& remarks_;
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

Scan::Scan(const std::string& path, const ScanOptions& options, std::vector<std::string>& remarks)
    : options_(options), remarks_(remarks), image_(path), exclude_(valuesToLeaveOut(image_, options)),
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

void Scan::forEachBlock(const char* doing, bool wantWhole, const std::function<void(const Pixels::Block&)>& visit)
{
    Progress progress(std::string(doing) + " " + image_.path(), !options_.quiet);
    for (std::uint64_t row = 0; row < image_.height(); row += image_.bandRows()) {
        progress.update(static_cast<double>(row), image_.height());
        if (const Pixels::Block* block = pixels_.read(static_cast<std::uint32_t>(row), wantWhole)) {
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
void Scan::correctMaxima(std::vector<StackPtr>& stacks)
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
    forEachBlock("Reading again", false, [&](const Pixels::Block& block) {
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
        stacks.push_back(makeStack(1, nullptr));
        esta_CovarianceDestroy(&stacks.back()->covariance, reports_);
    }
    forEachBlock("Looking through", false, [&](const Pixels::Block& block) { accumulate(stacks, block); });
    correctMaxima(stacks);
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
        stacks.push_back(makeStack(1, unique ? nullptr : spec.make(image_.pixelType(), range)));
        esta_CovarianceDestroy(&stacks.back()->covariance, reports_);
        if (unique) {
            beginUnique(*stacks.back(), spec);
        }
    }
    return stacks;
}

/* Ends the histograms of distinct values; false when one of them had ended before, because there were too many. */
bool Scan::endUnique(std::vector<StackPtr>& stacks) const
{
    bool complete = true;
    for (const StackPtr& stack : stacks) {
        Esta_AllStats& all = *stack->allStats[0];
        complete = complete && all.uvHistogram != nullptr;
        if (all.uvHistogram != nullptr) {
            Reports reports;
            esta_AllStatsUVHistogramEnd(&all, nullptr, reports);
            reports.check(image_.path() + ": its distinct values cannot be counted");
        }
    }
    return complete;
}

void Scan::scanLayers(ImageDescription& description)
{
    BinSpec spec = options_.bins.value_or(BinSpec::usualFor(image_.pixelType()));
    std::vector<StackPtr> stacks = makeLayerStacks(spec);
    const bool wantCovariance = image_.layers() > 1;
    if (wantCovariance) {
        covariance_ = makeStack(image_.layers(), nullptr);
    }
    forEachBlock("Reading", wantCovariance, [&](const Pixels::Block& block) {
        accumulate(stacks, block);
        if (wantCovariance) {
            accumulateCovariance(*covariance_, block);
        }
    });
    if (spec.kind == BinSpec::Kind::unique && !endUnique(stacks)) {
        remarks_.push_back(image_.path() + ": more than " + std::to_string(spec.mostUnique()) +
                           " distinct values; counted in linear bins");
        stacks = makeLayerStacks(BinSpec());
        forEachBlock("Reading again", false, [&](const Pixels::Block& block) { accumulate(stacks, block); });
    }
    correctMaxima(stacks);
    for (StackPtr& stack : stacks) {
        esta_AllStatsStackFinish(stack.get(), reports_);
        check("its statistics cannot be finished");
        description.layers.push_back({"Layer_" + std::to_string(description.layers.size() + 1), image_.pixelType(),
                                      std::move(stack)});
    }
}

ImageDescription Scan::describe()
{
    ImageDescription description;
    description.path = image_.path();
    description.width = image_.width();
    description.height = image_.height();
    description.skipX = options_.skipX;
    description.skipY = options_.skipY;
    scanLayers(description);
    if (covariance_) {
        esta_AllStatsStackFinish(covariance_.get(), reports_);
        check("its covariance cannot be finished");
        description.covariance = std::move(covariance_);
    }
    if (pixels_.excluded() != nullptr) {
        description.excluded.reset(egda_TableCopy(pixels_.excluded(), nullptr, reports_));
        check("the values left out cannot be kept");
    }
    return description;
}

}  // namespace

ImageDescription describeImage(const std::string& path, const ScanOptions& options, std::vector<std::string>& remarks)
{
    return Scan(path, options, remarks).describe();
}

}  // namespace tool
