#include "tables/esta/raster.h"

#include <algorithm>
#include <array>
#include <emantle/data/epxm/pixelrect.h>

namespace emantle::tables {

namespace {

/* A run of all layers as doubles that stays in the nearest cache. */
constexpr long kRunBytes = 32 * 1024;
constexpr long kLongestRun = 1024;

long runOf(long layers)
{
    const long fitting = kRunBytes / static_cast<long>(sizeof(double)) / layers;
    return std::clamp(fitting / 64 * 64, 64L, kLongestRun);
}

double totalOf(const double* lanes)
{
    double total = 0;
    for (int lane = 0; lane < kSumLanes; ++lane) {
        total += lanes[lane];
    }
    return total;
}

/* What one block adds to the sums of a stack. Pixels out of the mask are 0 in every layer, so they add nothing. */
class BlockProducts {
public:
    explicit BlockProducts(int layers)
        : layers_(layers), run_(runOf(layers)), scratch_(scratch())
    {
        const std::size_t size = static_cast<std::size_t>(layers * run_ + (pairs() + layers) * kSumLanes);
        if (scratch_.size() < size) {
            scratch_.resize(size);
        }
        std::fill_n(products(), (pairs() + layers) * kSumLanes, 0.0);
    }

    /* `count` pixels of the row `row` of every block, from `column` on. */
    void take(const std::vector<PixelBlock>& blocks, const std::vector<Egda_PixelType>& types, long row, long column,
              long count)
    {
        const long padded = (count + kSumLanes - 1) / kSumLanes * kSumLanes;
        for (int layer = 0; layer < layers_; ++layer) {
            const PixelBlock& block = blocks[static_cast<std::size_t>(layer)];
            const Egda_PixelType type = types[static_cast<std::size_t>(layer)];
            const std::byte* pixels = block.pixels + row * block.pitch + column * egda_NumBytePerPixelFromType(type);
            const std::uint8_t* mask = block.mask != nullptr ? block.mask + row * block.maskPitch + column : nullptr;
            double* values = rows() + layer * run_;
            loops().widen[type](pixels, mask, count, values);
            std::fill(values + count, values + padded, 0.0);
        }
        loops().products(rows(), run_, layers_, padded, products(), values());
    }

    long run() const noexcept { return run_; }

    double product(int i, int j) { return totalOf(products() + (j * (j + 1) / 2 + i) * kSumLanes); }
    double value(int i) { return totalOf(values() + i * kSumLanes); }

private:
    static const CovarianceLoops& loops()
    {
        static const CovarianceLoops& chosen = covarianceLoops(platform::fastestInstructionSet());
        return chosen;
    }
    static std::vector<double>& scratch()
    {
        thread_local std::vector<double> kept;
        return kept;
    }

    long pairs() const noexcept { return static_cast<long>(layers_) * (layers_ + 1) / 2; }
    double* products() noexcept { return scratch_.data(); }
    double* values() noexcept { return products() + pairs() * kSumLanes; }
    double* rows() noexcept { return values() + layers_ * kSumLanes; }

    int layers_;
    long run_;
    std::vector<double>& scratch_;
};

double countOf(const Egda_BaseData& mask, const PixelBlock& block)
{
    static const StatisticsLoops& loops = statisticsLoops(platform::fastestInstructionSet());
    PixelBlock ofMask = block;
    ofMask.pixels = reinterpret_cast<const std::byte*>(block.mask);
    ofMask.pitch = block.maskPitch;
    return loops.masked[mask.datatype](ofMask).count;
}

double& sumOf(Esta_Covariance& covariance, int row, int column) noexcept
{
    return doublesOf(covariance)[static_cast<long>(column) * covariance.numrows + row];
}

/* The mask that holds for every layer: null without masks, the only one as it stands, else all of them combined in
 * `scratch`. */
const Egda_BaseData* commonMask(const Egda_BaseDataStack& rectangles, DataPtr& scratch, EerrException& scope)
{
    const Egda_BaseDataStack* masks = esta_RectanglesMasks(&rectangles);
    if (masks == nullptr || masks->numlayers < 1) {
        return nullptr;
    }
    const Egda_BaseData& first = *rectangles.datalayer[0];
    for (long layer = 0; layer < masks->numlayers; ++layer) {
        requirePixels(&first, masks->datalayer[layer]);
    }
    if (masks->numlayers == 1) {
        return masks->datalayer[0];
    }
    scratch.reset(checked(scope, epxm_PixelRectCreate(first.numcolumns, first.numrows, EGDA_TYPE_U8, scope),
                          "Error from egda_BaseDataCreate!"));
    const Egda_BaseData* combined = masks->datalayer[0];
    for (long layer = 1; layer < masks->numlayers; ++layer) {
        epxm_MaskOperation(scratch.get(), combined, masks->datalayer[layer], first.numcolumns, first.numrows,
                           EPXM_MASK_AND, scope);
        check(scope, "Error from eaoi_MaskOperation!");
        combined = scratch.get();
    }
    return combined;
}

}  // namespace

void agreeWithCovariance(Esta_AllStatsStack& stack)
{
    for (int layer = 0; layer < stack.numLayers; ++layer) {
        Esta_AllStats* const allStats = stack.allStats[layer];
        if (allStats != nullptr && allStats->statistics != nullptr) {
            allStats->count = stack.count;
            allStats->statistics->mean = doublesOf(*stack.means)[layer];
            allStats->statistics->stddev = sumOf(*stack.covariance, layer, layer);
        }
    }
}

void requireStack(const Esta_AllStatsStack* stack, const Egda_BaseDataStack* rectangles)
{
    require(stack != nullptr && stack->covariance != nullptr && stack->means != nullptr && rectangles != nullptr,
            "Bad args");
    const long layers = stack->numLayers;
    require(layers == rectangles->numlayers,
            "Esta_AllStatsStack structure and Eimg_PixelRectStack have different numbers of layers (%d vs. %d)",
            stack->numLayers, rectangles->numlayers);
    require(layers > 0 && stack->covariance->numrows == layers && stack->covariance->numcolumns == layers &&
                stack->means->numrows == layers,
            "Bad args");
}

/* Without a mask the sums grow as with one, but neither the stack's count nor the layers are touched: the finish then
 * leaves the matrix at zero apart from its diagonal. */
void accumulateCovariance(Esta_AllStatsStack& stack, const Egda_BaseDataStack& rectangles, const Egda_BaseData* mask)
{
    const int layers = stack.numLayers;
    const Egda_BaseData& first = *rectangles.datalayer[0];
    std::vector<PixelBlock> blocks;
    std::vector<Egda_PixelType> types;
    bool inOnePiece = true;
    for (int layer = 0; layer < layers; ++layer) {
        const Egda_BaseData* data = rectangles.datalayer[layer];
        requirePixels(data, mask);
        require(data->numrows == first.numrows && data->numcolumns == first.numcolumns &&
                    data->objecttype == first.objecttype,
                "Layer %d is %d by %d, and the first one %d by %d", layer, data->numrows, data->numcolumns,
                first.numrows, first.numcolumns);
        blocks.push_back(pixelBlock(*data, mask));
        types.push_back(data->datatype);
        inOnePiece = inOnePiece && blocks.back().rows <= 1;
    }
    if (first.numelements < 1) {
        return;
    }
    const bool byColumn = first.objecttype == EGDA_MATRIX_OBJECT;
    const long rows = inOnePiece ? 1 : byColumn ? first.numcolumns : first.numrows;
    const long columns = first.numelements / rows;
    BlockProducts sums(layers);
    for (long row = 0; row < rows; ++row) {
        for (long column = 0; column < columns; column += sums.run()) {
            sums.take(blocks, types, row, column, std::min(sums.run(), columns - column));
        }
    }
    for (int j = 0; j < layers; ++j) {
        doublesOf(*stack.means)[j] += sums.value(j);
        for (int i = 0; i <= j; ++i) {
            sumOf(*stack.covariance, j, i) += sums.product(i, j);
        }
    }
    if (mask != nullptr) {
        stack.count += countOf(*mask, pixelBlock(first, mask));
        agreeWithCovariance(stack);
    }
}

EMANTLE_API Emsc_Boolean esta_AoiFeatRasterAccumCovariance(Esta_AllStatsStack* stack,
                                                           const Egda_BaseDataStack* rectangles,
                                                           Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AoiFeatRasterAccumCovariance", 0, [&](EerrException& scope) {
        requireStack(stack, rectangles);
        if (rectangles->datalayer[0] == nullptr || rectangles->datalayer[0]->numelements < 1) {
            return 1;
        }
        DataPtr scratch;
        const Egda_BaseData* mask = commonMask(*rectangles, scratch, scope);
        accumulateCovariance(*stack, *rectangles, mask);
        return 1;
    });
}

}  // namespace emantle::tables
