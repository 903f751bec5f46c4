// The text of a dictionary: whatever decodes must encode to a text that decodes. It need not be the same text again: where
// one name stands for two designs, the order of the new text may decide for the other.

#include "fuzz/input.h"
#include "store/mif/owners.h"
#include "store/mif/stream.h"

#include <emantle/store/emif.h>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string encoded(Emif_Dictionary* dictionary)
{
    char* text = emif_DictionaryEncodeToString(dictionary, nullptr);
    std::string copy = text;
    emsc_HeapFree(text);
    return copy;
}

/* A copy there and back is the same design. */
void needSameCopy(const Emif_Design& design)
{
    fuzz::Unheard report;
    const emantle::mif::DesignPtr copy(emif_DesignCopy(&design, report));
    if (copy == nullptr) {
        return;
    }
    Emif_DesignU* wide = emif_DesignA2U(copy.get(), report);
    const emantle::mif::DesignPtr back(wide == nullptr ? nullptr : emif_DesignU2A(wide, report));
    if (back != nullptr && (back->hostSize != design.hostSize || std::strcmp(back->name, design.name) != 0)) {
        std::abort();
    }
    emif_DesignDestroy(reinterpret_cast<Emif_Design*>(wide));
}

/* A design made anew of what it says of its items is laid out alike. */
void needSameDesign(const Emif_Design& design)
{
    fuzz::Unheard report;
    std::vector<Emif_DesignItemRow> rows;
    std::vector<std::vector<const char*>> names;
    for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
        const int shape = item->isCountedPointer != 0 ? EMIF_ITEM_COUNTED_POINTER : item->isPointer != 0 ? EMIF_ITEM_POINTER : 0;
        rows.push_back({static_cast<uint32_t>(item->type | shape | EMIF_ITEM_COUNT), item->name, item->count, 0, item->design});
        if (item->type == EMIF_TYPE_ENUM) {
            names.emplace_back(item->enumNames, item->enumNames + item->enumCount).push_back(nullptr);
            rows.back().extra = names.back().data();
        } else if (item->type == EMIF_TYPE_NAMED_DESIGN) {
            rows.back().flags = static_cast<uint32_t>(EMIF_TYPE_DESIGN | shape | EMIF_ITEM_COUNT);
        } else if (item->type < EMIF_TYPE_DESIGN || item->type > EMIF_TYPE_S32) {
            return; /* a letter that stands for nothing */
        }
    }
    const emantle::mif::DesignPtr made(
        emif_DesignCreateFromTable(nullptr, design.name, rows.data(), static_cast<long>(rows.size()), report));
    fuzz::need(made == nullptr || made->hostSize == design.hostSize);
}

/* By way of a file, and with a design more that names the last one. */
void needSameInFile(Emif_Dictionary& dictionary)
{
    fuzz::Unheard report;
    Efio_File* file = fuzz::scratchFile("/memory/scratch");
    fuzz::need(emif_EncodeDictionary(file, &dictionary, report) == emif_DictionaryEncodedLength(&dictionary, report));
    efio_Seek(file, 0, EFIO_SEEK_SET, report);
    Emif_Dictionary* again = emif_DecodeDictionary(file, nullptr, report);
    fuzz::need(again != nullptr);
    const char* last = again->last != nullptr ? again->last->name : "none";
    emif_DesignCreate(again, "More", report, int{EMIF_TYPE_NAMED_DESIGN}, "named", last, int{EMIF_TYPE_ENUM}, "kind", "one", "two",
                      nullptr, int{EMIF_TYPE_LONG} | int{EMIF_ITEM_COUNT}, "numbers", 3, 0);
    fuzz::need(!encoded(again).empty());
    emif_DictionaryDelete(again, report);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::dropReports();
    EmifDictionaryT<char> dictionary(emif_DictionaryCreate(nullptr));
    EerrException scope(OrvikLog::Literal{"fuzz"});
    try {
        emantle::mif::decodeDictionary(scope, {reinterpret_cast<const char*>(data), size}, *dictionary);
    } catch (const emantle::Failure&) {
        scope.Clear();
        fuzz::need(dictionary->first == nullptr); /* damage behind the first design only ends the text */
        return 0;
    }
    if (dictionary->last != nullptr) {
        fuzz::need(emif_DictionarySearchByName(dictionary, dictionary->last->name, nullptr) != nullptr);
    }
    /* What takes longer than the decoding is done with some of the inputs only. */
    if (size % 4 == 0 && dictionary->last != nullptr) {
        needSameCopy(*dictionary->last);
    } else if (size % 4 == 1) {
        emif_FprintfDictionary(fuzz::scratchFile("/memory/scratch"), dictionary, fuzz::Unheard());
    } else if (size % 4 == 2 && dictionary->last != nullptr) {
        needSameDesign(*dictionary->last);
    } else if (size % 16 == 3) {
        needSameInFile(*dictionary);
    }
    const std::string text = encoded(dictionary);
    EmifDictionaryT<char> again(emif_DictionaryDecodeFromString(text.c_str(), nullptr));
    if (!again || encoded(again).empty()) {
        std::abort();
    }
    return 0;
}
