#include "store/hfa/dictionary.h"

#include "frame/memory/heap_ptr.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/space.h"
#include "store/mif/decode.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace emantle::hfa {

namespace {

/* The text from a position to the end of the file. */
class TextFrom final : public mif::Characters {
public:
    TextFrom(Handle& handle, uint32_t position) : mif::Characters({}), handle_(handle), position_(position) {}

private:
    std::string_view refill(EerrException& scope) override
    {
        const auto size = std::min<std::size_t>(sizeof piece_, handle_.fileEnd - position_);
        readBytes(handle_, position_, piece_, size, scope);
        position_ += static_cast<uint32_t>(size);
        return {piece_, size};
    }

    Handle& handle_;
    uint32_t position_;
    char piece_[1024];
};

/* Whether a dictionary text ends here, and not where its decoder met damage. */
bool endsProperly(Handle& handle, uint32_t start, uint32_t end, EerrException& scope)
{
    const uint32_t size = end - start;
    if (size < 2) {
        return size == 1;
    }
    char last[2];
    readBytes(handle, end - 2, last, sizeof last, scope);
    return last[0] == ',' && last[1] == '.';
}

}  // namespace

Emif_Dictionary* readDictionary(Handle& handle, Emif_Dictionary* into, uint32_t position, int32_t& length,
                                EerrException& scope)
{
    require(position >= kTagSize && position < handle.fileEnd, "The dictionary at %ld is not within the %ld bytes of %s",
            static_cast<long>(position), static_cast<long>(handle.fileEnd), handle.nameText.c_str());
    EmifDictionaryT<Etxt_TextA> own;
    if (into == nullptr) {
        own = checked(scope, emif_DictionaryCreate(scope), "Dictionary create fail");
        into = own;
    }
    TextFrom text(handle, position);
    asFunction(scope, "emif_DecodeDictionary", "emif_DecodeDictionary failed", [&] {
        asFunction(scope, "emif_DictionaryDecode", [&] { mif::decode(scope, text, *into); });
    });
    const auto end = position + static_cast<uint32_t>(text.consumed());
    length = endsProperly(handle, position, end, scope) ? static_cast<int32_t>(end - position) : 0;
    own.Release();
    return into;
}

void writeDictionary(Handle& handle, Emif_Dictionary* dictionary, uint32_t& position, int32_t& length, bool reuse,
                     EerrException& scope)
{
    const HeapPtr<char> text(
        checked(scope, emif_DictionaryEncodeToString(dictionary, scope), "emif_EncodeDictionary fail"));
    const auto size = static_cast<int64_t>(std::strlen(text.get()));
    const bool stays = reuse && position != 0 && (size == length || size + kNodeSize <= length);
    const uint32_t place = stays ? position : asFunction(scope, "ehfa_NextFreePos", "ehfa_NextFreePos failed", [&] {
        return allocateBlock(handle, size, scope);
    });
    writeBytes(handle, place, text.get(), static_cast<std::size_t>(size), scope);
    if (stays && size < length) {
        asFunction(scope, "ehfa_FreeSpace", "Troubling freeing up old dictionary xtra space",
                   [&] { freeBlock(handle, place + static_cast<uint32_t>(size), length - size, scope); });
    }
    position = place;
    length = static_cast<int32_t>(size);
}

void writeOwnDictionary(Handle& handle, EerrException& scope)
{
    if (handle.dictionary == nullptr || handle.dictionary->changed == 0) {
        return;
    }
    const uint32_t oldPosition = handle.dictionaryPtr;
    const int32_t oldLength = handle.dictionaryLength;
    try {
        asFunction(scope, "ehfa_DictionaryWrite", "ehfa_DictionaryWrite failed", [&] {
            writeDictionary(handle, handle.dictionary, handle.dictionaryPtr, handle.dictionaryLength, true, scope);
        });
        asFunction(scope, "ehfa_HeaderReWrite", "Header rewrite failed", [&] { writeHeader(handle); });
    } catch (...) {
        handle.dictionary->changed = 1;
        handle.dictionaryPtr = oldPosition;
        handle.dictionaryLength = oldLength;
        throw;
    }
    handle.step.dictionaryChanged = 1; /* where the call is undone, it is to be written again */
    if (oldPosition != 0 && oldPosition != handle.dictionaryPtr) {
        freeOldDictionary(handle, scope);
        handle.oldDictionary = {oldPosition, oldLength > 0 ? static_cast<uint32_t>(blockSizeOf(oldLength)) : 0};
    }
}

void freeOldDictionary(Handle& handle, EerrException& scope)
{
    const FreeBlock old = std::exchange(handle.oldDictionary, FreeBlock{});
    if (old.position != 0) {
        asFunction(scope, "ehfa_DictionaryDelete", "Troubling freeing up old dictionary",
                   [&] { freeBlock(handle, old.position, old.size, scope); });
    }
}

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Emsc_Boolean ehfa_DictionaryRead(Ehfa_File* file, Emif_Dictionary** dictionary, uint32_t position,
                                             int32_t* length, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_DictionaryRead", 0, [&](EerrException& scope) {
        require(file != nullptr && dictionary != nullptr, "Args");
        Activity activity(opened(file), scope);
        int32_t size = 0;
        *dictionary = readDictionary(opened(file), *dictionary, position, size, scope);
        if (length != nullptr) {
            *length = size;
        }
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_DictionaryWrite(Ehfa_File* file, Emif_Dictionary* dictionary, uint32_t* position,
                                              int32_t* length, Emsc_Boolean reuse, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_DictionaryWrite", 0, [&](EerrException& scope) {
        require(file != nullptr && dictionary != nullptr && position != nullptr && length != nullptr, "Args");
        Activity activity(opened(file), scope);
        writeDictionary(opened(file), dictionary, *position, *length, reuse != 0, scope);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_DictionaryDelete(Ehfa_File* file, uint32_t position, int32_t length,
                                               Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_DictionaryDelete", 0, [&](EerrException& scope) {
        require(file != nullptr, "Args");
        Activity activity(opened(file), scope);
        asFunction(scope, "ehfa_FreeSpace", "Troubling freeing up old dictionary",
                   [&] { freeBlock(opened(file), position, length, scope); });
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_DictionaryMergeWithFileDictionary(Ehfa_File* file, const Emif_Dictionary* dictionary,
                                                                Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_DictionaryMergeWithFileDictionary", 0, [&](EerrException& scope) {
        require(file != nullptr && dictionary != nullptr, "Args");
        EmifDictionaryT<Etxt_TextA> merged(checked(scope, emif_DictionaryCreate(scope), "Dictionary create fail"));
        for (const Emif_Dictionary* source : {dictionary, static_cast<const Emif_Dictionary*>(file->dictionary)}) {
            for (const Emif_Design* design = source->first; design != nullptr; design = design->next) {
                checked(scope, emif_DictionaryAddDesign(merged, design, scope), "emif_DictionaryAddDesign failed");
            }
        }
        emif_DictionaryDestroy(file->dictionary);
        file->dictionary = merged.Release();
        return 1;
    });
}
