// The text of a dictionary: whatever decodes must encode to a text that decodes. It need not be the same text again: where
// one name stands for two designs, the order of the new text may decide for the other.

#include "fuzz/input.h"
#include "store/mif/owners.h"
#include "store/mif/stream.h"

#include <emantle/store/emif.h>
#include <cstring>
#include <string>

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
        return 0;
    }
    if (dictionary->last != nullptr) {
        needSameCopy(*dictionary->last);
        fuzz::need(emif_DictionarySearchByName(dictionary, dictionary->last->name, nullptr) != nullptr);
    }
    emif_FprintfDictionary(fuzz::scratchFile(), dictionary, fuzz::Unheard());
    const std::string text = encoded(dictionary);
    EmifDictionaryT<char> again(emif_DictionaryDecodeFromString(text.c_str(), nullptr));
    if (!again || encoded(again).empty()) {
        std::abort();
    }
    return 0;
}
