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

/* A copy gives the same bytes, also when all of its items are set to those of the first. */
void passAround(const void* object, const Emif_Design* design, const std::vector<std::uint8_t>& bytes)
{
    fuzz::Unheard report;
    void* copy = emif_ObjectCopy(object, design, report);
    void* parts = emif_NewObject(design, report);
    fuzz::need(copy != nullptr && parts != nullptr && written(copy, design) == bytes);
    for (Emif_DesignItem* item = design->items; item != nullptr; item = item->next) {
        const Emif_DesignItem* named = design->items;
        while (std::strcmp(named->name, item->name) != 0) {
            named = named->next;
        }
        auto* place = const_cast<std::uint8_t*>(static_cast<const std::uint8_t*>(object) + named->hostOffset);
        fuzz::need(emif_ObjectItemValueSet(copy, design, item->name, place, report) == place);
        if (named == item) {
            emif_ObjectItemValueGet(copy, design, item->name, static_cast<std::uint8_t*>(parts) + item->hostOffset, report);
        }
    }
    emif_FreeObject(&parts, design, report);
    fuzz::need(written(copy, design) == bytes);
    emif_ObjectFree(&copy, design, report);
}

/* By way of a file; what is left over of the bytes makes no difference. */
void passThroughFile(const void* object, const Emif_Design* design, const std::vector<std::uint8_t>& bytes)
{
    fuzz::Unheard report;
    Efio_File* file = fuzz::scratchFile("/memory/scratch");
    const long size = emif_ConvertToMIF(file, object, design, nullptr, report);
    fuzz::need(size == static_cast<long>(bytes.size()));
    for (const bool moves : {false, true}) {
        void* again = emif_NewObject(design, report);
        fuzz::need(again != nullptr);
        efio_Seek(file, 0, EFIO_SEEK_SET, report);
        void* at = nullptr;
        const long done = moves ? emif_ConvertToHostX(file, &at, design, again, report)
                                : emif_ConvertToHost(file, nullptr, design, again, report);
        fuzz::need(done == size && written(again, design) == bytes);
        emif_FreeObject(&again, design, report);
    }
}

/* A copy of what is packed is the same, wherever it is moved to. */
void needSamePacked(const Emif_MIFObject& packed)
{
    fuzz::Unheard report;
    Emif_MIFObject copy{};
    emif_MIFObjectCopyContents(&copy, &packed, report);
    fuzz::need(emif_MIFObjectIsSame(&copy, &packed));
    Emif_MIFObject other{};
    emif_MIFObjectTransferContents(&other, &copy);
    fuzz::need(emif_MIFObjectIsSame(&other, &packed));
    Emif_String text{};
    emif_EmifStringFromEmifString(&text, &other.type, report);
    char* plain = emif_EmifStringToString(&text, report);
    if (plain != nullptr) {
        emif_EmifStringFromString(&text, plain, report);
    }
    emsc_HeapFree(plain);
    emsc_HeapFree(text.string);
    emif_MIFObjectFreeContents(&other);
}

/* The map of a record, changed, nested into another, and on its way there and back. */
void changeMap(Emif_MIFObject& packed)
{
    using namespace nubr::miflib_ns;
    try {
        const boost::shared_ptr<IPropertyMap> outer = CreatePropertyMap();
        outer->SetProperty("inner", DeserializeFromMIF(&packed, nullptr, true));
        outer->SetProperty("number", 7);
        boost::shared_ptr<void> bytes;
        boost::shared_ptr<char> text;
        boost::shared_ptr<char> name;
        long size = 0;
        SerializeToMIF(*outer, bytes, size, text, name);
        EmifDictionaryT<char> dictionary(emif_DictionaryDecodeFromString(text.get(), nullptr));
        const auto again = DeserializeFromMIF(bytes.get(), emif_FindDesignByName(dictionary, name.get(), nullptr), false);
        fuzz::need(again->GetPropertyCount() == 2 && again->GetPropertyName(1) == "number");
        again->GetProperty("absent");
    } catch (EerrException& exception) {
        exception.Clear();
    }
}

/* The record packed with its design, and where it is one, as a property map. */
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
            emif_PropertyMapGetPropertyFloat(map, property, report);
            emif_PropertyMapGetPropertyLong(map, property, report);
            emif_PropertyMapGetPropertyULong(map, property, report);
        }
        emif_PropertyMapSetPropertyLong(map, "text", 7, report);
        emif_PropertyMapSetPropertyULong(map, "long", 7, report);
        emif_PropertyMapSetPropertyFloat(map, "float", 7, report);
        emif_PropertyMapSetPropertyDouble(map, "double", 7, report);
        emif_PropertyMapSetPropertyText(map, "words", "some", report);
        for (void* block : {bytes, static_cast<void*>(text), static_cast<void*>(name)}) {
            emsc_HeapFree(block);
        }
        emif_PropertyMapDelete(map);
        changeMap(packed);
    }
    needSamePacked(packed);
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
        const std::vector<std::uint8_t> once = written(object, design);
        /* One thing for each input: together they take many times as long as the reading. */
        if (bytes.size() % 4 == 0) {
            passAround(object, design, once);
        } else if (bytes.size() % 4 == 1) {
            repack(object, design);
        } else if (bytes.size() % 4 == 2) {
            emif_FprintfDesign(fuzz::scratchFile("/memory/scratch"), object, design, fuzz::Unheard());
        } else if (bytes.size() % 16 == 3) {
            passThroughFile(object, design, once);
        }
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
