// A dictionary's text and behind its "." the bytes of a record of its last design: what can be read can be copied,
// measured and written, and both give the same bytes.

#include "fuzz/input.h"
#include "store/mif/stream.h"

#include <emantle/store/emif.h>
#include <cstring>
#include <vector>

namespace {

constexpr long kLargestRecord = 1L << 20;

std::vector<std::uint8_t> written(const void* object, const Emif_Design* design)
{
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(emif_ObjectSize(object, design, nullptr)));
    if (emif_ConvertToMIF(nullptr, object, design, bytes.data(), nullptr) != static_cast<long>(bytes.size())) {
        std::abort();
    }
    return bytes;
}

/* The record as others see it: as text, item by item, packed, and where it is one, as a property map. */
void passAround(const void* object, const Emif_Design* design)
{
    fuzz::Unheard report;
    emif_FprintfDesign(fuzz::scratchFile(), object, design, report);
    void* copy = emif_ObjectCopy(object, design, report);
    fuzz::need(copy != nullptr);
    for (Emif_DesignItem* item = design->items; item != nullptr; item = item->next) {
        const Emif_DesignItem* named = design->items;
        while (std::strcmp(named->name, item->name) != 0) {
            named = named->next;
        }
        auto* place = const_cast<std::uint8_t*>(static_cast<const std::uint8_t*>(object) + named->hostOffset);
        fuzz::need(emif_ObjectItemValueSet(copy, design, item->name, place, report) == place);
    }
    fuzz::need(written(copy, design) == written(object, design));
    emif_ObjectFree(&copy, design, report);
}

void repack(const void* object, const Emif_Design* design)
{
    fuzz::Unheard report;
    Emif_MIFObject packed{};
    if (emif_MIFableObjectConvertToMIFObject(object, design, &packed, report) < 0) {
        return;
    }
    void* again = nullptr;
    Emif_Design* own = nullptr;
    if (emif_MIFableObjectConvertFromMIFObject(&again, &own, &packed, report)) {
        emif_ObjectFree(&again, own, report);
        emif_DesignDestroy(own);
    }
    if (Emif_PropertyMap* map = emif_DeserializePropertyMap(&packed, nullptr, 1, report)) {
        void* bytes = nullptr;
        long size = 0;
        char* text = nullptr;
        char* name = nullptr;
        emif_SerializePropertyMap(map, &bytes, &size, &text, &name, report);
        for (const char* property : {"text", "long", "a:b"}) {
            emsc_HeapFree(emif_PropertyMapGetPropertyText(map, property, report));
            emif_PropertyMapGetPropertyDouble(map, property, report);
            emif_PropertyMapSetPropertyLong(map, property, 7, report);
        }
        for (void* block : {bytes, static_cast<void*>(text), static_cast<void*>(name)}) {
            emsc_HeapFree(block);
        }
        emif_PropertyMapDelete(map);
    }
    emif_MIFObjectFreeContents(&packed);
}

void tryRecord(EerrException& scope, emantle::mif::Bytes bytes, const Emif_Design* design)
{
    void* object = emif_ObjectAllocate(design, nullptr);
    if (object == nullptr) {
        return;
    }
    try {
        emantle::mif::convertToHost(scope, bytes, *design, object);
        void* copy = emif_ObjectCopy(object, design, nullptr);
        if (copy == nullptr || written(copy, design) != written(object, design)) {
            std::abort();
        }
        passAround(object, design);
        repack(object, design);
        emif_ObjectFree(&copy, design, nullptr);
    } catch (const emantle::Failure&) {
        scope.Clear();
    }
    emif_ObjectFree(&object, design, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::dropReports();
    EmifDictionaryT<char> dictionary(emif_DictionaryCreate(nullptr));
    EerrException scope(OrvikLog::Literal{"fuzz"});
    std::size_t length = 0;
    try {
        length = emantle::mif::decodeDictionary(scope, {reinterpret_cast<const char*>(data), size}, *dictionary);
    } catch (const emantle::Failure&) {
        scope.Clear();
        return 0;
    }
    const Emif_Design* design = dictionary->last;
    if (design != nullptr && design->hostSize <= kLargestRecord && emantle::mif::leastStreamBytes(*design) <= kLargestRecord) {
        tryRecord(scope, emantle::mif::Bytes(data, size).subspan(length), design);
    }
    return 0;
}
