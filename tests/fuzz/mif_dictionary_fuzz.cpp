// The text of a dictionary: whatever decodes must encode to a text that decodes. It need not be the same text again: where
// one name stands for two designs, the order of the new text may decide for the other.

#include "fuzz/input.h"
#include "store/mif/stream.h"

#include <emantle/store/emif.h>
#include <string>

namespace {

std::string encoded(Emif_Dictionary* dictionary)
{
    char* text = emif_DictionaryEncodeToString(dictionary, nullptr);
    std::string copy = text;
    emsc_HeapFree(text);
    return copy;
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
    const std::string text = encoded(dictionary);
    EmifDictionaryT<char> again(emif_DictionaryDecodeFromString(text.c_str(), nullptr));
    if (!again || encoded(again).empty()) {
        std::abort();
    }
    return 0;
}
