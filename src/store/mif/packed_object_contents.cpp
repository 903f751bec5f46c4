#include "frame/guard/guard.h"

#include <emantle/frame/emsc/heap.h>
#include <emantle/store/emif/object.h>

/* An Emif_MIFObject is three counted pointers, and each of these functions is the one on a counted pointer, three times. */

using namespace emantle;

namespace {

Emif_PTR asPointer(const Emif_String& string) noexcept
{
    return {string.count, string.string};
}

/* Runs `step` on a string as a counted pointer and takes over what it made of it. */
template <class Step>
void onString(Emif_String& string, const Step& step)
{
    Emif_PTR pointer = asPointer(string);
    step(pointer);
    string = {pointer.count, static_cast<char*>(pointer.pointer)};
}

}  // namespace

EMANTLE_API void emif_MIFObjectCopyContents(Emif_MIFObject* destination, const Emif_MIFObject* source,
                                            Eerr_ErrorReport** err)
{
    guarded(err, "emif_MIFObjectCopyContents", [&](EerrException& scope) {
        require(destination != nullptr && source != nullptr, "Args");
        Emif_PTR copies[3] = {};
        const Emif_PTR sources[3] = {asPointer(source->type), asPointer(source->MIFDictionary), source->MIFObject};
        try {
            for (int i = 0; i < 3; ++i) {
                emif_PTRCopyContents(&copies[i], &sources[i], scope);
                check(scope);
            }
        } catch (...) {
            for (Emif_PTR& copy : copies) {
                emif_PTRFreeContents(&copy);
            }
            throw;
        }
        emif_MIFObjectFreeContents(destination);
        destination->type = {copies[0].count, static_cast<char*>(copies[0].pointer)};
        destination->MIFDictionary = {copies[1].count, static_cast<char*>(copies[1].pointer)};
        destination->MIFObject = copies[2];
    });
}

EMANTLE_API void emif_MIFObjectFreeContents(Emif_MIFObject* object)
{
    if (object != nullptr) {
        onString(object->type, [](Emif_PTR& held) { emif_PTRFreeContents(&held); });
        onString(object->MIFDictionary, [](Emif_PTR& held) { emif_PTRFreeContents(&held); });
        emif_PTRFreeContents(&object->MIFObject);
    }
}

EMANTLE_API void emif_MIFObjectTransferContents(Emif_MIFObject* destination, Emif_MIFObject* source)
{
    if (destination != nullptr && source != nullptr && destination != source) {
        emif_MIFObjectFreeContents(destination);
        *destination = *source;
        *source = {};
    }
}

EMANTLE_API Emsc_Boolean emif_MIFObjectIsSame(const Emif_MIFObject* first, const Emif_MIFObject* second)
{
    if (first == nullptr || second == nullptr) {
        return first == second;
    }
    const auto same = [](const Emif_PTR& a, const Emif_PTR& b) { return emif_PTRIsSame(&a, &b) != 0; };
    return same(asPointer(first->type), asPointer(second->type)) &&
           same(asPointer(first->MIFDictionary), asPointer(second->MIFDictionary)) &&
           same(first->MIFObject, second->MIFObject);
}

EMANTLE_API void emif_MIFObjectFree(Emif_MIFObject** object)
{
    if (object != nullptr && *object != nullptr) {
        emif_MIFObjectFreeContents(*object);
        emsc_HeapFree(*object);
        *object = nullptr;
    }
}
