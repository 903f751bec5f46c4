#include "frame/memory/heap_ptr.h"
#include "store/mif/elements.h"

#include <emantle/store/emif/data.h>

namespace emantle::mif {

void releaseValues(EerrException& scope, void* baseData)
{
    Egda_BaseData data;
    std::memcpy(&data, baseData, sizeof data);
    if (data.data == nullptr) {
        return;
    }
    egda_BaseDataDeleteContents(&data, scope);
    check(scope);
    data.data = nullptr;
    data.firstelement = nullptr;
    std::memcpy(baseData, &data, sizeof data);
}

namespace {

void releaseBaseData(EerrException& scope, const Emif_DesignItem& item, const Elements& elements)
{
    for (std::size_t i = 0; i < elements.count; ++i) {
        releaseValues(scope, elementAt(item, elements, i).data);
    }
}

void releaseRecords(EerrException& scope, const Emif_DesignItem& item, const Elements& elements)
{
    require(item.design, "Missing design.");
    for (std::size_t i = 0; i < elements.count && item.hostBytesPerElement > 0; ++i) {
        asFunction(scope, "emif_ObjectItemsFree", "Trouble freeing object %d.",
                   [&] { releaseItems(scope, elementAt(item, elements, i).data, *item.design); }, static_cast<int>(i));
    }
}

}  // namespace

void releaseItem(EerrException& scope, void* place, const Emif_DesignItem& item)
{
    require(isKnown(item.type), "Unrecognized item type %d.", item.type);
    if (isRecord(item.type)) {
        releaseRecords(scope, item, elementsOf(item, place));
    } else if (item.type == EMIF_TYPE_BASEDATA) {
        asFunction(scope, "emif_BaseDataFree", "emif_BaseDataFree failed.",
                   [&] { releaseBaseData(scope, item, elementsOf(item, place)); });
    }
    if (item.isPointer != 0 && item.type != kNoType) {
        emsc_HeapFree(pointerIn(item, place));
        setPointer(item, place, nullptr);
    }
}

void releaseItems(EerrException& scope, void* record, const Emif_Design& design)
{
    for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
        if (item->type != kNoType) {
            asFunction(scope, "emif_ObjectItemFree", "ObjectItemFree failure",
                       [&] { releaseItem(scope, static_cast<uint8_t*>(record) + item->hostOffset, *item); });
        }
    }
}

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

namespace {

void freeItems(EerrException& scope, void** object, const Emif_Design* design)
{
    require(object != nullptr && *object != nullptr, "Bad objectPP.");
    require(design, "Missing design.");
    releaseItems(scope, *object, *design);
}

void freeObject(void** object, const Emif_Design* design, Eerr_ErrorReport** err)
{
    guarded(err, "emif_ObjectFree", [&](EerrException& scope) {
        asFunction(scope, "emif_ObjectItemsFree", "Couldn't free sub-objects.", [&] { freeItems(scope, object, design); });
        emsc_HeapFreeEx(object);
    });
}

}  // namespace

EMANTLE_API void emif_FreeObject(void** object, const Emif_Design* design, Eerr_ErrorReport** err)
{
    freeObject(object, design, err);
}

EMANTLE_API void emif_ObjectFree(void** object, const Emif_Design* design, Eerr_ErrorReport** err)
{
    freeObject(object, design, err);
}

EMANTLE_API void emif_ObjectItemsFree(void** object, const Emif_Design* design, Eerr_ErrorReport** err)
{
    guarded(err, "emif_ObjectItemsFree", [&](EerrException& scope) { freeItems(scope, object, design); });
}
