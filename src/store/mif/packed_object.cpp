#include "frame/memory/heap_ptr.h"
#include "frame/guard/nested.h"
#include "store/mif/owners.h"
#include "store/mif/stream.h"

#include <cstring>
#include <emantle/store/emif/object.h>
#include <string_view>
#include <utility>

namespace emantle::mif {

namespace {

/* The characters held, up to a terminator among them. */
std::string_view textOf(const Emif_String& string) noexcept
{
    if (string.string == nullptr || string.count <= 0) {
        return {};
    }
    return {string.string, strnlen(string.string, static_cast<std::size_t>(string.count))};
}

void freeContents(Emif_PTR& held) noexcept
{
    emsc_HeapFree(held.pointer);
    held = {};
}

void freeContents(Emif_String& held) noexcept
{
    emsc_HeapFree(held.string);
    held = {};
}

/* Takes a text over; an empty one becomes { 0, null }. */
void setText(Emif_String& string, HeapPtr<char> text, std::size_t length) noexcept
{
    freeContents(string);
    if (text != nullptr && length > 0) {
        string = {static_cast<int32_t>(length + 1), text.release()};
    }
}

HeapPtr<char> copyOfText(std::string_view text)
{
    require(text.size() < INT32_MAX, "Invalid Args");
    return text.empty() ? nullptr : heapText(text, "Out of Memory");
}

HeapPtr<uint8_t> copyOfBytes(const void* bytes, int32_t count)
{
    if (bytes == nullptr || count <= 0) {
        return nullptr;
    }
    HeapPtr<uint8_t> copy = allocate<uint8_t>(static_cast<std::size_t>(count), "Out of Memory");
    std::memcpy(copy.get(), bytes, static_cast<std::size_t>(count));
    return copy;
}

/* A record that its design frees. */
class Record {
public:
    Record(void* object, const Emif_Design& design) noexcept : object_(object), design_(design) {}
    ~Record()
    {
        if (object_ != nullptr) {
            Eerr_ErrorReport* ignored = nullptr;
            emif_ObjectFree(&object_, &design_, &ignored);
            eerr_DeleteErrorReportEx(&ignored);
        }
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    void* get() const noexcept { return object_; }
    void* release() noexcept { return std::exchange(object_, nullptr); }

private:
    void* object_;
    const Emif_Design& design_;
};

struct Packed {
    HeapPtr<char> design;
    HeapPtr<char> dictionary;
    HeapPtr<uint8_t> bytes;
    long size = 0;
};

Packed pack(EerrException& scope, const void* object, const Emif_Design* design)
{
    require(object != nullptr && design != nullptr, "Args");
    DictionaryPtr dictionary(checked(scope, emif_DictionaryCreate(scope)));
    checked(scope, emif_DictionaryAddDesign(dictionary.get(), design, scope));
    Packed packed;
    packed.design = heapText(design->name, "estr_Duplicate failed");
    packed.dictionary.reset(checked(scope, emif_DictionaryEncodeToString(dictionary.get(), scope)));
    packed.size = checked(scope, emif_ObjectSize(object, design, scope));
    require(packed.size <= INT32_MAX, "Invalid Args");
    packed.bytes = allocate<uint8_t>(static_cast<std::size_t>(packed.size), "Out of Memory");
    checked(scope, emif_ConvertToMIF(nullptr, object, design, packed.bytes.get(), scope));
    return packed;
}

/* The design that a packed object bears. */
DesignPtr designIn(EerrException& scope, const char* dictionaryText, const char* name)
{
    require(dictionaryText != nullptr && name != nullptr, "Args");
    const DictionaryPtr dictionary(checked(scope, emif_DictionaryDecodeFromString(dictionaryText, scope)));
    const Emif_Design* design = checked(scope, emif_DictionarySearchByName(dictionary.get(), name, scope));
    require(design, "%s:  Missing design", name);
    return DesignPtr(checked(scope, emif_DesignCopy(design, scope)));
}

void* allocated(EerrException& scope, const Emif_Design& design)
{
    void* object = checked(scope, emif_ObjectAllocate(&design, scope));
    require(object, "emif_ObjectAllocate failed");
    return object;
}

}  // namespace

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

EMANTLE_API void emif_EmifStringFromString(Emif_String* string, const char* text, Eerr_ErrorReport** err)
{
    guarded(err, "emif_EmifStringFromString", [&] {
        require(string, "Args");
        const std::string_view source(text == nullptr ? "" : text);
        setText(*string, copyOfText(source), source.size());
    });
}

EMANTLE_API char* emif_EmifStringToString(const Emif_String* string, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "emif_EmifStringToString", nullptr, [&] {
        require(string, "Args");
        return heapText(textOf(*string), "Out of Memory").release();
    });
}

EMANTLE_API void emif_EmifStringFromEmifString(Emif_String* destination, const Emif_String* source,
                                               Eerr_ErrorReport** err)
{
    guarded(err, "emif_EmifStringFromEmifString", [&] {
        require(destination != nullptr && source != nullptr, "Args");
        const std::string_view text = textOf(*source);
        setText(*destination, copyOfText(text), text.size());
    });
}

EMANTLE_API long emif_MIFableObjectConvertToMIF(const void* object, const Emif_Design* design, void** buffer,
                                                char** dictionaryText, char** designName, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "emif_MIFableObjectConvertToMIF", -1, [&](EerrException& scope) {
        require(buffer != nullptr && dictionaryText != nullptr && designName != nullptr, "Args");
        *buffer = nullptr;
        *dictionaryText = nullptr;
        *designName = nullptr;
        Packed packed = pack(scope, object, design);
        *buffer = packed.bytes.release();
        *dictionaryText = packed.dictionary.release();
        *designName = packed.design.release();
        return packed.size;
    });
}

EMANTLE_API Emsc_Boolean emif_MIFableObjectConvertFromMIF(void** object, Emif_Design** design, void* buffer,
                                                          const char* dictionaryText, const char* designName,
                                                          Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "emif_MIFableObjectConvertFromMIF", 0, [&](EerrException& scope) {
        require(object != nullptr && design != nullptr && buffer != nullptr, "Args");
        *object = nullptr;
        *design = nullptr;
        DesignPtr copy = designIn(scope, dictionaryText, designName);
        Record record(allocated(scope, *copy), *copy);
        checked(scope, emif_ConvertToHost(nullptr, buffer, copy.get(), record.get(), scope));
        *object = record.release();
        *design = copy.release();
        return 1;
    });
}

EMANTLE_API long emif_MIFableObjectConvertToMIFObject(const void* object, const Emif_Design* design,
                                                      Emif_MIFObject* packed, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "emif_MIFableObjectConvertToMIFObject", -1, [&](EerrException& scope) {
        require(packed, "Args");
        Packed fresh = pack(scope, object, design);
        const std::size_t nameLength = std::strlen(fresh.design.get());
        const std::size_t textLength = std::strlen(fresh.dictionary.get());
        require(textLength < INT32_MAX, "Invalid Args");
        setText(packed->type, std::move(fresh.design), nameLength);
        setText(packed->MIFDictionary, std::move(fresh.dictionary), textLength);
        freeContents(packed->MIFObject);
        packed->MIFObject = {static_cast<int32_t>(fresh.size), fresh.bytes.release()};
        return fresh.size;
    });
}

EMANTLE_API Emsc_Boolean emif_MIFableObjectConvertFromMIFObject(void** object, Emif_Design** design,
                                                                const Emif_MIFObject* packed, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "emif_MIFableObjectConvertFromMIFObject", 0, [&](EerrException& scope) {
        require(object != nullptr && design != nullptr && packed != nullptr, "Args");
        *object = nullptr;
        *design = nullptr;
        const auto& held = packed->MIFObject;
        require(held.count >= 0 && (held.pointer != nullptr || held.count == 0), "Invalid Args");
        const std::string name(textOf(packed->type));
        const std::string text(textOf(packed->MIFDictionary));
        DesignPtr copy = designIn(scope, text.c_str(), name.c_str());
        const Bytes bytes(static_cast<const uint8_t*>(held.pointer), static_cast<std::size_t>(held.count));
        require(leastStreamBytes(*copy) <= bytes.size(), "Invalid Args"); /* before memory is asked for */
        Record record(allocated(scope, *copy), *copy);
        asFunction(scope, "emif_ConvertToHost", [&] { convertToHost(scope, bytes, *copy, record.get()); });
        *object = record.release();
        *design = copy.release();
        return 1;
    });
}

EMANTLE_API void emif_PTRCopyContents(Emif_PTR* destination, const Emif_PTR* source, Eerr_ErrorReport** err)
{
    guarded(err, "emif_PTRCopyContents", [&] {
        require(destination != nullptr && source != nullptr, "Args");
        HeapPtr<uint8_t> copy = copyOfBytes(source->pointer, source->count);
        freeContents(*destination);
        if (copy != nullptr) {
            *destination = {source->count, copy.release()};
        }
    });
}

EMANTLE_API void emif_PTRFreeContents(Emif_PTR* pointer)
{
    if (pointer != nullptr) {
        freeContents(*pointer);
    }
}

EMANTLE_API void emif_PTRTransferContents(Emif_PTR* destination, Emif_PTR* source)
{
    if (destination != nullptr && source != nullptr && destination != source) {
        freeContents(*destination);
        *destination = std::exchange(*source, {});
    }
}

EMANTLE_API Emsc_Boolean emif_PTRIsSame(const Emif_PTR* first, const Emif_PTR* second)
{
    if (first == nullptr || second == nullptr) {
        return first == second;
    }
    if (first->count != second->count) {
        return 0;
    }
    const bool areBytes = first->count > 0 && first->pointer != nullptr && second->pointer != nullptr;
    return areBytes ? std::memcmp(first->pointer, second->pointer, static_cast<std::size_t>(first->count)) == 0
                    : first->pointer == second->pointer || first->count <= 0;
}
