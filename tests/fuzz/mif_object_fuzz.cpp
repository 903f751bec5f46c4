// A dictionary's text and behind its "." the bytes of a record of its last design: what can be read can be copied,
// measured and written, and both give the same bytes.

#include "fuzz/input.h"
#include "store/mif/stream.h"

#include <emantle/store/emif.h>
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
