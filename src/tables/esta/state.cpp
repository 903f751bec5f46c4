#include "tables/esta/state.h"

#include "frame/memory/heap_ptr.h"
#include "store/mif/owners.h"
#include "tables/eahg/counts.h"
#include "tables/edsc/binfunction/exchange.h"
#include "tables/esta/owners.h"

#include <algorithm>
#include <cstring>
#include <emantle/tables/esta/merge.h>
#include <limits>

namespace emantle::tables {

namespace {

constinit mif::OwnDictionary ownDictionary;

constexpr mif::Field kFields[] = {
    {"skipFactorX", offsetof(StackState, skipFactorX)}, {"skipFactorY", offsetof(StackState, skipFactorY)},
    {"count", offsetof(StackState, count)},             {"covariance", offsetof(StackState, covariance)},
    {"means", offsetof(StackState, means)},             {"excludedValues", offsetof(StackState, excludedValues)},
    {"layers", offsetof(StackState, layers)},
};

DataPtr copyOf(const Egda_BaseData* data, EerrException& scope)
{
    return DataPtr(data == nullptr ? nullptr : checked(scope, egda_BaseDataCopy(data, nullptr, scope)));
}

/* A copy without the bin function, which the copy of a record shares with its source. */
DataPtr rowsOf(const Egda_BaseData* data, EerrException& scope)
{
    DataPtr copy = copyOf(data, scope);
    if (copy != nullptr) {
        copy->binfunction = nullptr;
    }
    return copy;
}

void packFunction(Emif_MIFObject& packed, const Edsc_BinFunction* function, EerrException& scope)
{
    if (function == nullptr) {
        return;
    }
    void* object = nullptr;
    const Emif_Design* design = nullptr;
    checked(scope, edsc_BinFunctionConvertToMIFable(function, &object, &design, scope));
    const ObjectOwner owner(object, design);
    checked(scope, emif_MIFableObjectConvertToMIFObject(object, design, &packed, scope));
}

BinFunctionPtr unpackFunction(const Emif_MIFObject& packed, EerrException& scope)
{
    void* object = nullptr;
    Emif_Design* design = nullptr;
    checked(scope, emif_MIFableObjectConvertFromMIFObject(&object, &design, &packed, scope));
    const mif::DesignPtr designOwner(design);
    const ObjectOwner owner(object, design);
    Edsc_BinFunction* function = nullptr;
    checked(scope, edsc_BinFunctionConvertFromMIFable(&function, object, design, scope));
    return BinFunctionPtr(function);
}

Egda_PixelType storedType(Egda_PixelType type) noexcept
{
    return std::max<Egda_PixelType>(type, EGDA_TYPE_U8);
}

void packValues(LayerState& state, const Eahg_Histogram& kept, EerrException& scope)
{
    state.uniqueType = kept.dataType;
    state.maxUnique = kept.maxUnique;
    const std::vector<PatternCount> counts = countsOf(kept, scope);
    if (counts.empty()) {
        return;
    }
    const long rows = static_cast<long>(counts.size());
    state.uniqueValues = checked(scope, egda_TableCreate(rows, storedType(kept.dataType), scope));
    state.uniqueCounts = checked(scope, egda_TableCreate(rows, EGDA_TYPE_U32, scope));
    for (long row = 0; row < rows; ++row) {
        const PatternCount& one = counts[static_cast<std::size_t>(row)];
        std::memcpy(static_cast<std::byte*>(state.uniqueValues->data) + row * kept.bytesPerPixel, one.pattern.data(),
                    static_cast<std::size_t>(kept.bytesPerPixel));
        static_cast<std::uint32_t*>(state.uniqueCounts->data)[row] = one.count;
    }
}

void packLayer(LayerState& state, const Esta_AllStats& allStats, EerrException& scope)
{
    state.isPresent = 1;
    state.count = allStats.count;
    if (const Esta_Statistics* sums = allStats.statistics) {
        state.hasStatistics = 1;
        state.minimum = sums->minimum;
        state.maximum = sums->maximum;
        state.sum = sums->mean;
        state.squares = sums->stddev;
    }
    state.histogram = rowsOf(allStats.histogram, scope).release();
    if (allStats.histogram != nullptr) {
        packFunction(state.binFunction, allStats.histogram->binfunction, scope);
    }
    if (allStats.uvHistogram != nullptr) {
        packValues(state, *allStats.uvHistogram, scope);
    }
}

/* A table of `type` with elements in it. */
bool isTable(const Egda_BaseData* data, Egda_PixelType type)
{
    return data != nullptr && data->datatype == type && data->numcolumns == 1 && data->numrows > 0 &&
           data->data != nullptr;
}

bool isCovariance(const StackState& state)
{
    const std::int32_t layers = state.layers.count;
    return isTable(state.means, EGDA_TYPE_F64) && state.means->numrows == layers &&
           state.covariance->datatype == EGDA_TYPE_F64 && state.covariance->objecttype == EGDA_MATRIX_OBJECT &&
           state.covariance->numrows == layers && state.covariance->numcolumns == layers &&
           state.covariance->data != nullptr;
}

/* A live table of values costs up to 256 KiB whatever it holds: a small file must not claim any number of them. */
constexpr long kMostKept = 1024;

void requireKept(long kept)
{
    require(kept <= kMostKept, "The state of an accumulation keeps the values of %ld layers; at most %ld can be kept",
            kept, kMostKept);
}

void requireStack(const StackState& state)
{
    require(state.layers.count > 0 && state.layers.count <= std::numeric_limits<std::int16_t>::max() &&
                state.layers.layers != nullptr,
            "The state of an accumulation has %d layers", state.layers.count);
    require(state.count >= 0, "The state of an accumulation has %g common pixels", state.count);
    require((state.covariance == nullptr) == (state.means == nullptr) &&
                (state.covariance == nullptr || isCovariance(state)),
            "The state of an accumulation has sums of products for another number of layers");
    const Egda_BaseData* excluded = state.excludedValues;
    require(excluded == nullptr || (isNumber(excluded->datatype) && excluded->data != nullptr),
            "The state of an accumulation has no numbers as excluded values");
    requireKept(std::count_if(state.layers.layers, state.layers.layers + state.layers.count,
                              [](const LayerState& layer) { return layer.uniqueType >= 0; }));
}

/* The buckets of a hash table are paid for by the values that are there, not by the limit that the state claims. */
void unpackValues(Esta_AllStats& allStats, const LayerState& state, EerrException& scope)
{
    const Egda_PixelType type = state.uniqueType;
    require(isNumber(type), "Invalid data type for histogram");
    require(state.maxUnique >= 0, "The state of an accumulation keeps at most %g values", state.maxUnique);
    const long rows = state.uniqueValues == nullptr ? 0 : state.uniqueValues->numrows;
    require((state.uniqueValues == nullptr) == (state.uniqueCounts == nullptr) &&
                (rows == 0 || (isTable(state.uniqueValues, storedType(type)) &&
                               isTable(state.uniqueCounts, EGDA_TYPE_U32) && state.uniqueCounts->numrows == rows)) &&
                static_cast<double>(rows) <= state.maxUnique,
            "The state of an accumulation has values and counts that do not match");
    allStats.uvHistogram = checked(scope, eahg_HistogramCreate(std::min<double>(state.maxUnique,
                                                                                static_cast<double>(rows)),
                                                               type, 0, scope),
                                   "eahg_HistogramCreate failed");
    require(state.maxUnique <= std::numeric_limits<std::uint32_t>::max(), "Not implemented yet");
    Eahg_Histogram& kept = *allStats.uvHistogram;
    kept.maxUnique = state.maxUnique;
    for (long row = 0; row < rows; ++row) {
        PatternCount one;
        one.count = static_cast<const std::uint32_t*>(state.uniqueCounts->data)[row];
        std::memcpy(one.pattern.data(),
                    static_cast<const std::byte*>(state.uniqueValues->data) + row * kept.bytesPerPixel,
                    static_cast<std::size_t>(kept.bytesPerPixel));
        require(one.count > 0, "The state of an accumulation has a value that is there 0 times");
        addCount(kept, one, scope);
        addToTotal(kept, one.count);
    }
}

void unpackHistogram(Esta_AllStats& allStats, const LayerState& state, EerrException& scope)
{
    require(isTable(state.histogram, EGDA_TYPE_F64), "The state of an accumulation has a histogram of no counts");
    HistogramPtr histogram(rowsOf(state.histogram, scope).release());
    if (state.binFunction.MIFObject.count > 0) {
        histogram->binfunction = unpackFunction(state.binFunction, scope).release();
        require(checked(scope, edsc_BinFunctionBinCount(histogram->binfunction, scope)) <=
                    static_cast<std::uint32_t>(histogram->numrows),
                "The state of an accumulation has a histogram of fewer rows than its bins");
    }
    allStats.histogram = histogram.release();
}

EstaPtr<Esta_AllStats> unpackLayer(const LayerState& state, EerrException& scope)
{
    EstaPtr<Esta_AllStats> allStats(allocate<Esta_AllStats>(1, "Out of memory").release());
    require(state.count >= 0, "The state of an accumulation has a layer of %g pixels", state.count);
    allStats->count = state.count;
    if (state.hasStatistics != 0) {
        allStats->statistics = checked(scope, esta_StatisticsCreate(scope),
                                       "Error reported by function esta_StatisticsCreate");
        *allStats->statistics = {state.minimum, state.maximum, state.sum, 0, 0, state.squares};
    }
    if (state.histogram != nullptr) {
        unpackHistogram(*allStats, state, scope);
    }
    if (state.uniqueType >= 0) {
        unpackValues(*allStats, state, scope);
    }
    return allStats;
}

}  // namespace

constinit mif::OwnDesign stackStateDesign(
    ownDictionary,
    "{1:lskipFactorX,1:lskipFactorY,1:dcount,1:*bcovariance,1:*bmeans,1:*bexcludedValues,"
    "0:px{1:lisPresent,1:lhasStatistics,1:dcount,1:dminimum,1:dmaximum,1:dsum,1:dsquares,1:*bhistogram,"
    "1:x{1:x{0:pcstring,}Emif_String,type,1:x{0:pcstring,}Emif_String,MIFDictionary,0:pCMIFObject,}Emif_MIFObject,"
    "binFunction,1:luniqueType,1:dmaxUnique,1:*buniqueValues,1:*buniqueCounts,}Esta_AllStatsState,"
    "layers,}" ESTA_ALL_STATS_STACK_STATE ",",
    mif::recordOf<StackState>(kFields));

EMANTLE_API Emsc_Boolean esta_AllStatsStackConvertToMIF(const Esta_AllStatsStack* stack, void** object,
                                                        const Emif_Design** design, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsStackConvertToMIF", 0, [&](EerrException& scope) {
        require(stack != nullptr && object != nullptr && design != nullptr, "Bad args");
        *object = nullptr;
        *design = nullptr;
        requireKept(std::count_if(stack->allStats, stack->allStats + stack->numLayers, [](const Esta_AllStats* layer) {
            return layer != nullptr && layer->uvHistogram != nullptr;
        }));
        const Emif_Design* const own = stackStateDesign.fetch(scope);
        ObjectOwner owner(allocate<StackState>(1, "Out of memory").release(), own);
        StackState& state = *owner.as<StackState>();
        state.skipFactorX = stack->skipFactorX;
        state.skipFactorY = stack->skipFactorY;
        state.count = stack->count;
        state.covariance = copyOf(stack->covariance, scope).release();
        state.means = rowsOf(stack->covariance == nullptr ? nullptr : stack->means, scope).release();
        state.excludedValues = rowsOf(stack->excludedValues, scope).release();
        state.layers.layers =
            allocate<LayerState>(static_cast<std::size_t>(stack->numLayers), "Out of memory").release();
        state.layers.count = stack->numLayers;
        for (int layer = 0; layer < stack->numLayers; ++layer) {
            state.layers.layers[layer].uniqueType = -1;
            if (stack->allStats[layer] != nullptr) {
                packLayer(state.layers.layers[layer], *stack->allStats[layer], scope);
            }
        }
        *object = owner.release();
        *design = own;
        return 1;
    });
}

EMANTLE_API Esta_AllStatsStack* esta_AllStatsStackConvertFromMIF(const void* object, const Emif_Design* design,
                                                                 Eerr_ErrorReport** err)
{
    return guarded<Esta_AllStatsStack*>(err, "esta_AllStatsStackConvertFromMIF", nullptr, [&](EerrException& scope) {
        require(object != nullptr && design != nullptr, "Bad args");
        const Emif_Design* const own = stackStateDesign.fetch(scope);
        require(design == own || (design->name != nullptr && std::strcmp(design->name, own->name) == 0 &&
                                  sameLayout(*design, *own)),
                "Don't know how to create an accumulation from a %s object",
                design->name == nullptr ? "<NULL>" : design->name);
        const StackState& state = *static_cast<const StackState*>(object);
        requireStack(state);
        EstaPtr<Esta_AllStatsStack> stack(allocate<Esta_AllStatsStack>(1, "Out of memory").release());
        stack->skipFactorX = state.skipFactorX;
        stack->skipFactorY = state.skipFactorY;
        stack->count = state.count;
        stack->covariance = copyOf(state.covariance, scope).release();
        stack->means = rowsOf(state.means, scope).release();
        stack->excludedValues = rowsOf(state.excludedValues, scope).release();
        stack->allStats =
            allocate<Esta_AllStats*>(static_cast<std::size_t>(state.layers.count), "Out of memory").release();
        stack->numLayers = state.layers.count;
        for (int layer = 0; layer < stack->numLayers; ++layer) {
            if (state.layers.layers[layer].isPresent != 0) {
                stack->allStats[layer] = unpackLayer(state.layers.layers[layer], scope).release();
            }
        }
        return stack.release();
    });
}

EMANTLE_API Emif_Design* esta_AllStatsStackStateDesignFetch(Eerr_ErrorReport** err)
{
    return guarded<Emif_Design*>(err, "esta_AllStatsStackStateDesignFetch", nullptr, [&](EerrException& scope) {
        return checked(scope, emif_DesignCopy(stackStateDesign.fetch(scope), scope));
    });
}

}  // namespace emantle::tables
