// The bytes of the state of an accumulation: what can be read goes on as an accumulation does. Written and read again
// it gives the same bytes; merged with its copy it counts no less; it can be finished.

#include "fuzz/input.h"
#include "store/mif/stream.h"
#include "tables/esta/state.h"

#include <emantle/store/emif.h>
#include <emantle/tables/esta.h>
#include <vector>

namespace {

/* A live table of values costs up to 256 KiB: a few show what many do. */
constexpr int kMostLayers = 16;

struct Unheard {
    ~Unheard() { eerr_DeleteErrorReportEx(&chain); }
    operator Eerr_ErrorReport**()
    {
        eerr_DeleteErrorReportEx(&chain);
        return &chain;
    }
    Eerr_ErrorReport* chain = nullptr;
};

struct Delete {
    void operator()(Esta_AllStatsStack* stack) const noexcept { esta_AllStatsStackDelete(stack, nullptr); }
};
using Stack = std::unique_ptr<Esta_AllStatsStack, Delete>;

std::vector<std::uint8_t> written(const Stack& stack, Stack& again)
{
    Unheard report;
    void* object = nullptr;
    const Emif_Design* design = nullptr;
    fuzz::need(esta_AllStatsStackConvertToMIF(stack.get(), &object, &design, report));
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(emif_ObjectSize(object, design, report)));
    fuzz::need(emif_ConvertToMIF(nullptr, object, design, bytes.data(), report) == static_cast<long>(bytes.size()));
    again.reset(esta_AllStatsStackConvertFromMIF(object, design, report));
    fuzz::need(again != nullptr);
    emif_ObjectFree(&object, design, report);
    return bytes;
}

void goOn(Stack stack)
{
    Unheard report;
    Stack again;
    Stack third;
    const std::vector<std::uint8_t> bytes = written(stack, again);
    fuzz::need(bytes == written(again, third));
    const double before = stack->count;
    if (esta_AllStatsStackMerge(stack.get(), again.get(), report)) {
        fuzz::need(!(stack->count < before));
    }
    for (int layer = 0; layer < stack->numLayers; ++layer) {
        if (stack->allStats[layer] != nullptr && stack->allStats[layer]->uvHistogram != nullptr) {
            esta_AllStatsUVHistogramEnd(stack->allStats[layer], stack->excludedValues, report);
        }
    }
    esta_AllStatsStackFinish(stack.get(), report);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::dropReports();
    EerrException scope(OrvikLog::Literal{"fuzz"});
    const Emif_Design* design = emantle::tables::stackStateDesign.fetch(scope);
    void* object = emif_ObjectAllocate(design, nullptr);
    fuzz::need(object != nullptr);
    bool isRead = false;
    try {
        emantle::mif::convertToHost(scope, emantle::mif::Bytes(data, size), *design, object);
        isRead = static_cast<emantle::tables::StackState*>(object)->layers.count <= kMostLayers;
    } catch (const emantle::Failure&) {
        scope.Clear();
    }
    Unheard report;
    Stack stack(isRead ? esta_AllStatsStackConvertFromMIF(object, design, report) : nullptr);
    emif_ObjectFree(&object, design, report);
    if (stack != nullptr) {
        goOn(std::move(stack));
    }
    return 0;
}
