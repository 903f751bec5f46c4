#include "tables/esta/raster.h"

#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <emantle/numerics/efga/create.h>
#include <limits>

namespace emantle::tables {

namespace {

double& element(Egda_BaseData& matrix, int row, int column) noexcept
{
    return doublesOf(matrix)[static_cast<long>(column) * matrix.numrows + row];
}

/* Steps of one layer of a block: exclusion, statistics, histogram. */
void accumulateLayer(Esta_AllStatsStack& stack, const Egda_BaseDataStack& rectangles, int layer, EerrException& scope)
{
    Esta_AllStats* const allStats = stack.allStats[layer];
    const Egda_BaseData* data = rectangles.datalayer[layer];
    const Egda_BaseDataStack* masks = esta_RectanglesMasks(&rectangles);
    Egda_BaseData* mask = maskOf(masks, layer);
    requirePixels(data, mask);
    if (stack.excludedValues != nullptr) {
        require(masks != nullptr && masks->numlayers > 0,
                "Values are to be excluded from the statistics computation, but no mask is available");
        if (layer < masks->numlayers) {
            excludeValues(*data, *stack.excludedValues, *mask, scope);
        }
    }
    if (allStats == nullptr) {
        return;
    }
    if (allStats->statistics != nullptr && allStats->uvHistogram == nullptr) {
        accumulateStatistics(*allStats, *data, mask);
    } else if (allStats->statistics != nullptr) {
        checked(scope, esta_AllStatsUVHistogramAccumulate(allStats, data, mask, scope),
                "esta_AllStatsUVHistogramAccumulate failed");
    }
    if (allStats->histogram != nullptr) {
        accumulateHistogram(*allStats->histogram, *data, mask, scope);
    }
}

bool isComplete(const Esta_AllStatsStack& stack) noexcept
{
    return std::all_of(stack.allStats, stack.allStats + stack.numLayers,
                       [](const Esta_AllStats* layer) { return layer != nullptr && layer->statistics != nullptr; });
}

/* Sums of products become the covariance of a sample. Without masks the count is 0, and so is the matrix apart from its
 * diagonal. */
void finishCovariance(Esta_AllStatsStack& stack)
{
    const double n = stack.count;
    double* means = doublesOf(*stack.means);
    for (int i = 0; n != 0 && i < stack.numLayers; ++i) {
        means[i] /= n;
    }
    for (int i = 0; i < stack.numLayers; ++i) {
        for (int j = i; j < stack.numLayers; ++j) {
            double& lower = element(*stack.covariance, j, i);
            lower = n <= 1 ? 0 : (lower / n - means[i] * means[j]) * (n / (n - 1));
            if (i == j && lower == 0) {
                const double deviation = stack.allStats[i]->statistics->stddev;
                lower = deviation * deviation;
            }
            element(*stack.covariance, i, j) = lower;
        }
    }
}

}  // namespace

Egda_BaseData* maskOf(const Egda_BaseDataStack* masks, long layer) noexcept
{
    if (masks == nullptr || masks->numlayers < 1) {
        return nullptr;
    }
    if (masks->numlayers == 1) {
        return masks->datalayer[0];
    }
    return layer < masks->numlayers ? masks->datalayer[layer] : nullptr;
}

EMANTLE_API Esta_AllStatsStack* esta_AllStatsStackCreate(long numLayers, long numBins,
                                                         const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err)
{
    return guarded<Esta_AllStatsStack*>(err, "esta_AllStatsStackCreate", nullptr, [&](EerrException& scope) {
        require(numLayers > 0 && numLayers <= std::numeric_limits<std::int16_t>::max(), "Bad args");
        EstaPtr<Esta_AllStatsStack> stack(allocate<Esta_AllStatsStack>(1, "Out of memory").release());
        stack->skipFactorX = 1;
        stack->skipFactorY = 1;
        stack->allStats = allocate<Esta_AllStats*>(static_cast<std::size_t>(numLayers), "Out of memory").release();
        stack->numLayers = static_cast<std::int32_t>(numLayers);
        for (long layer = 0; layer < numLayers; ++layer) {
            stack->allStats[layer] = checked(scope, esta_AllStatsCreate(numBins, binFunction, scope),
                                             "Error reported by function esta_AllStatsCreate");
        }
        stack->covariance = checked(scope, esta_CovarianceCreate(numLayers, scope),
                                    "Error reported by function esta_CovarianceCreate");
        stack->means = checked(scope, egda_TableCreate(numLayers, EGDA_TYPE_F64, scope),
                               "Error reported by function egda_TableCreate");
        return stack.release();
    });
}

EMANTLE_API Emsc_Boolean esta_AllStatsStackInit(Esta_AllStatsStack* stack, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsStackInit", 0, [&](EerrException& scope) {
        require(stack != nullptr, "Bad args");
        for (int layer = 0; layer < stack->numLayers; ++layer) {
            if (stack->allStats[layer] != nullptr) {
                esta_AllStatsInit(stack->allStats[layer], scope);
                check(scope, "Error reported by function esta_AllStatsInit");
            }
        }
        for (Egda_BaseData* sums : {stack->covariance, stack->means}) {
            if (sums != nullptr) {
                egda_BaseDataSetZero(sums, scope);
                check(scope, "Error reported by function egda_BaseDataSetZero");
            }
        }
        stack->count = 0;
        return 1;
    });
}

EMANTLE_API Esta_AllStatsStack* esta_AllStatsStackCopy(const Esta_AllStatsStack* source, Esta_AllStatsStack* target,
                                                       Eerr_ErrorReport** err)
{
    return guarded<Esta_AllStatsStack*>(err, "esta_AllStatsStackCopy", nullptr, [&](EerrException& scope) {
        require(source != nullptr && (target == nullptr || target->numLayers == source->numLayers), "Bad args");
        if (source == target) {
            return target;
        }
        const auto copyOf = [&](const Egda_BaseData* data, const char* text) {
            return DataPtr(data == nullptr ? nullptr
                                           : checked(scope, egda_BaseDataCopy(data, nullptr, scope), Say(text)));
        };
        DataPtr covariance = copyOf(source->covariance, "esta_CovarianceCopy failed");
        DataPtr excluded = copyOf(source->excludedValues, "Error reported by function egda_TableCopy");
        DataPtr means = copyOf(source->means, "Error reported by function egda_TableCopy");
        std::vector<EstaPtr<Esta_AllStats>> layers;
        for (int layer = 0; layer < source->numLayers; ++layer) {
            const Esta_AllStats* allStats = source->allStats[layer];
            layers.emplace_back(allStats == nullptr ? nullptr
                                                    : checked(scope, esta_AllStatsCopy(allStats, nullptr, scope),
                                                              "Error reported by function esta_AllStatsCopy"));
        }
        if (target == nullptr) {
            EstaPtr<Esta_AllStatsStack> made(allocate<Esta_AllStatsStack>(1, "Out of memory").release());
            made->allStats = allocate<Esta_AllStats*>(layers.size(), "Out of memory").release();
            made->numLayers = source->numLayers;
            target = made.release();
        }
        for (std::size_t layer = 0; layer < layers.size(); ++layer) {
            replace(target->allStats[layer], std::move(layers[layer]));
        }
        replaceData(target->covariance, std::move(covariance));
        replaceData(target->excludedValues, std::move(excluded));
        replaceData(target->means, std::move(means));
        target->count = source->count;
        target->skipFactorX = source->skipFactorX;
        target->skipFactorY = source->skipFactorY;
        return target;
    });
}

EMANTLE_API Emsc_Boolean esta_AllStatsAccumulate(Esta_AllStatsStack* stack, const Egda_BaseDataStack* rectangles,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsAccumulate", 0, [&](EerrException& scope) {
        require(stack != nullptr && rectangles != nullptr, "Bad args");
        require(stack->numLayers == rectangles->numlayers,
                "Esta_AllStatsStack structure and Eimg_PixelRectStack have different numbers of layers (%d vs. %d)",
                stack->numLayers, rectangles->numlayers);
        for (int layer = 0; layer < stack->numLayers; ++layer) {
            accumulateLayer(*stack, *rectangles, layer, scope);
        }
        if (stack->covariance != nullptr) {
            checked(scope, esta_AoiFeatRasterAccumCovariance(stack, rectangles, scope),
                    "Error reported by function erga_AoiFeatRasterAccumCovariance");
        }
        return 1;
    });
}

EMANTLE_API Emsc_Boolean esta_AllStatsStackFinish(Esta_AllStatsStack* stack, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_AllStatsStackFinish", 0, [&](EerrException& scope) {
        require(stack != nullptr, "Pointer to Esta_AllStatsStack structure is NULL");
        require(stack->numLayers > 0 && stack->allStats != nullptr, "Esta_AllStatsStack has no layers");
        const double scale = static_cast<double>(stack->skipFactorX) * stack->skipFactorY;
        for (int layer = 0; layer < stack->numLayers; ++layer) {
            Esta_AllStats* const allStats = stack->allStats[layer];
            if (allStats == nullptr) {
                continue;
            }
            checked(scope, esta_AllStatsFinish(allStats, scope), "Error reported by function esta_AllStatsFinish");
            if (Esta_Histogram* const histogram = allStats->histogram; histogram != nullptr && scale != 1) {
                std::for_each_n(doublesOf(*histogram), histogram->numrows, [&](double& bin) { bin *= scale; });
            }
        }
        if (stack->covariance != nullptr) {
            require(isComplete(*stack), "Cannot compute covariance matrix because scalar statistics are missing for at "
                                        "least one layer of the layer stack");
            finishCovariance(*stack);
        }
        return 1;
    });
}

EMANTLE_API void esta_AllStatsStackDelete(Esta_AllStatsStack* stack, Eerr_ErrorReport** err)
{
    guarded(err, "esta_AllStatsStackDelete", [&](EerrException& scope) {
        if (stack == nullptr) {
            return;
        }
        const HeapPtr<Esta_AllStatsStack> owned(stack);
        const HeapPtr<Esta_AllStats*> list(stack->allStats);
        for (int layer = 0; layer < stack->numLayers; ++layer) {
            esta_AllStatsDelete(stack->allStats[layer], scope);
            check(scope, "Error reported by function esta_AllStatsDelete");
        }
        esta_CovarianceDelete(stack->covariance, scope);
        check(scope);
        for (Egda_BaseData* table : {stack->excludedValues, stack->means}) {
            egda_TableDelete(table, scope);
            check(scope, "Error reported by function egda_TableDelete");
        }
    });
}

EMANTLE_API Esta_AllStatsStackArray* esta_AllStatsStackArrayStructureCreate(long count, Eerr_ErrorReport** err)
{
    return guarded<Esta_AllStatsStackArray*>(err, "esta_AllStatsStackArrayStructureCreate", nullptr, [&] {
        require(count >= 0 && count <= std::numeric_limits<std::int32_t>::max(), "Bad args");
        const std::size_t size = sizeof(Esta_AllStatsStackArray) +
                                 static_cast<std::size_t>(count) * sizeof(Esta_AllStatsStack*);
        HeapPtr<std::byte> block = allocate<std::byte>(size, "Out of memory");
        auto* const array = reinterpret_cast<Esta_AllStatsStackArray*>(block.release());
        array->numStacks = static_cast<std::int32_t>(count);
        array->stacks = reinterpret_cast<Esta_AllStatsStack**>(array + 1);
        return array;
    });
}

EMANTLE_API Esta_AllStatsStackArray* esta_AllStatsStackArrayCreate(long count, long numLayers, long numBins,
                                                                   const Edsc_BinFunction* binFunction,
                                                                   Eerr_ErrorReport** err)
{
    return guarded<Esta_AllStatsStackArray*>(
        err, "esta_AllStatsStackArrayCreate", nullptr, [&](EerrException& scope) {
            HeapPtr<Esta_AllStatsStackArray> array(
                checked(scope, esta_AllStatsStackArrayStructureCreate(count, scope)));
            std::vector<EstaPtr<Esta_AllStatsStack>> stacks;
            for (long stack = 0; stack < count; ++stack) {
                stacks.emplace_back(checked(scope, esta_AllStatsStackCreate(numLayers, numBins, binFunction, scope),
                                            "Error reported by function esta_AllStatsStackCreate"));
            }
            for (long stack = 0; stack < count; ++stack) {
                array->stacks[stack] = stacks[static_cast<std::size_t>(stack)].release();
            }
            return array.release();
        });
}

}  // namespace emantle::tables
