#include "frame/guard/guard.h"
#include "store/mif/owners.h"
#include "tables/edsc/binfunction/exchange.h"
#include "tables/edsc/binfunction/internals.h"
#include "tables/edsc/binfunction/record.h"

#include <cstring>
#include <string>
#include <utility>

/* Bin functions as MIF objects. */

using namespace emantle;
using namespace emantle::tables;

namespace {

/* A kind's object as MIF bytes with the text of its dictionary and the name of its design. */
struct Packed {
    HeapPtr<unsigned char> object;
    HeapPtr<char> dictionary;
    HeapPtr<char> designName;
    long size = 0;
};

void* oldObject(EerrException& scope, const Edsc_BinFunction& record)
{
    Edsc_BinFunctionPre840 old{};
    record.functions->BinFunctionBCSyncOld(record.internals, &old, scope);
    check(scope, "BinFunctionBCSyncOld failed");
    BaseDataPtr limits(old.binLimits);
    HeapPtr<OldObject> object = allocate<OldObject>(1, "Insufficient memory");
    *object = {old.numBins, old.binFunctionType, old.minLimit, old.maxLimit, limits.release()};
    return object.release();
}

Packed packKind(EerrException& scope, const Edsc_BinFunction& record)
{
    unsigned char* object = nullptr;
    char* dictionary = nullptr;
    char* designName = nullptr;
    Packed packed;
    packed.size =
        record.functions->BinFunctionConvertToMIF(record.internals, &object, &dictionary, &designName, scope);
    packed.object.reset(object);
    packed.dictionary.reset(dictionary);
    packed.designName.reset(designName);
    check(scope, "BinFunctionConvertToMIF failed");
    require(packed.size >= 0 && packed.size <= INT32_MAX && object != nullptr, "BinFunctionConvertToMIF failed");
    return packed;
}

void* newObject(EerrException& scope, const Edsc_BinFunction& record, const Emif_Design* design)
{
    Packed packed = packKind(scope, record);
    ObjectOwner owner(allocate<NewObject>(1, "Insufficient memory").release(), design);
    NewObject* object = owner.as<NewObject>();
    object->startBin = record.startBin;
    object->binCount = record.binCount;
    object->origBinCount = record.origBinCount;
    emif_EmifStringFromString(&object->binFunction.type, packed.designName.get(), scope);
    check(scope);
    emif_EmifStringFromString(&object->binFunction.MIFDictionary, packed.dictionary.get(), scope);
    check(scope);
    emif_EmifStringFromString(&object->title, record.title, scope);
    check(scope);
    object->binFunction.MIFObject = {static_cast<std::int32_t>(packed.size), packed.object.release()};
    return owner.release();
}

bool fitsOldForm(const Edsc_BinFunction& record) noexcept
{
    return record.functions->BinFunctionBCSyncOld != nullptr && record.startBin == 0 &&
           record.binCount == record.origBinCount;
}

/* The state of a kind from its packed object. */
void* unpackKind(EerrException& scope, const Edsc_BinFunctionMethods& methods, const unsigned char* object,
                 const char* dictionary, const char* designName)
{
    void* internals = nullptr;
    const Emsc_Boolean done = methods.BinFunctionConvertFromMIF(object, dictionary, designName, &internals, scope);
    check(scope, "BinFunctionConvertFromMIF failed");
    require(done && internals != nullptr, "BinFunctionConvertFromMIF failed");
    return internals;
}

BinFunctionPtr fromOldObject(EerrException& scope, const OldObject& object)
{
    const char* title = titleOfOldType(object.binFunctionType);
    require(title, "edsc_BinFunctionMethodsTitleFromMIFable failed");
    require(object.numBins > 0 && object.numBins <= kMostBins, "The number of bins must be a positive integer");
    MethodsPtr methods(openMethods(scope, title));

    const Edsc_BinFunctionPre840 old{object.numBins,  object.binFunctionType, object.minLimit,
                                     object.maxLimit, object.binLimits,       0};
    unsigned char* bytes = nullptr;
    char* dictionary = nullptr;
    char* designName = nullptr;
    edsc_HFABinFunctionMIFableToMIF(&old, &bytes, &dictionary, &designName, scope);
    const HeapPtr<unsigned char> bytesOwner(bytes);
    const HeapPtr<char> dictionaryOwner(dictionary);
    const HeapPtr<char> nameOwner(designName);
    check(scope);

    void* internals = unpackKind(scope, *methods, bytes, dictionary, designName);
    return makeRecord(scope, {title, std::move(methods), internals, 0, object.numBins, object.numBins});
}

std::string textOf(const Emif_String& string)
{
    return string.string == nullptr || string.count <= 0
               ? std::string()
               : std::string(string.string, strnlen(string.string, static_cast<std::size_t>(string.count)));
}

/* Fails where the packed bytes end before the record that they are to hold: the kinds take them without a length. */
void requireWhole(EerrException& scope, const Emif_MIFObject& packed)
{
    void* object = nullptr;
    Emif_Design* design = nullptr;
    emif_MIFableObjectConvertFromMIFObject(&object, &design, &packed, scope);
    const mif::DesignPtr designOwner(design);
    const ObjectOwner objectOwner(object, design);
    check(scope);
}

BinFunctionPtr fromNewObject(EerrException& scope, const NewObject& object)
{
    const std::int64_t end = std::int64_t{object.startBin} + object.binCount;
    require(object.startBin >= 0 && object.binCount > 0 && end <= std::int64_t{object.origBinCount} &&
                object.origBinCount <= kMostBins,
            "Invalid bins of a bin function:  %lu from %ld of %lu", static_cast<unsigned long>(object.binCount),
            static_cast<long>(object.startBin), static_cast<unsigned long>(object.origBinCount));
    const std::string title = textOf(object.title);
    require(!title.empty(), "edsc_BinFunctionMethodsTitleFromMIFable failed");
    requireWhole(scope, object.binFunction);
    MethodsPtr methods(openMethods(scope, title.c_str()));
    void* internals =
        unpackKind(scope, *methods, static_cast<const unsigned char*>(object.binFunction.MIFObject.pointer),
                   textOf(object.binFunction.MIFDictionary).c_str(), textOf(object.binFunction.type).c_str());
    return makeRecord(scope, {title.c_str(), std::move(methods), internals, object.startBin, object.binCount,
                              object.origBinCount});
}

bool isDesign(const Emif_Design& design, const Emif_Design& own) noexcept
{
    return &design == &own ||
           (design.name != nullptr && std::strcmp(design.name, own.name) == 0 && sameLayout(design, own));
}

}  // namespace

EMANTLE_API Emsc_Boolean edsc_BinFunctionConvertToMIFable(const Edsc_BinFunction* binFunction, void** object,
                                                          const Emif_Design** design, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_BinFunctionConvertToMIFable", 0, [&](EerrException& scope) {
        require(object != nullptr && design != nullptr, "Args");
        *object = nullptr;
        *design = nullptr;
        if (binFunction == nullptr) {
            *design = oldDesign().fetch(scope);
            return 1;
        }
        const UsableBinFunction record(scope, binFunction);
        require(record->functions->BinFunctionConvertToMIF, "Conversion to MIFable not supported");
        const bool old = fitsOldForm(*record);
        const Emif_Design* own = old ? oldDesign().fetch(scope) : newDesign().fetch(scope);
        *object = old ? oldObject(scope, *record) : newObject(scope, *record, own);
        *design = own;
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_BinFunctionConvertFromMIFable(Edsc_BinFunction** result, const void* object,
                                                            const Emif_Design* design, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_BinFunctionConvertFromMIFable", 0, [&](EerrException& scope) {
        require(result != nullptr && object != nullptr && design != nullptr, "Args");
        *result = nullptr;
        if (isDesign(*design, *oldDesign().fetch(scope))) {
            OldObject old;
            std::memcpy(&old, object, sizeof old);
            *result = fromOldObject(scope, old).release();
        } else if (isDesign(*design, *newDesign().fetch(scope))) {
            NewObject created;
            std::memcpy(&created, object, sizeof created);
            *result = fromNewObject(scope, created).release();
        } else {
            fail("Don't know how to create a bin function from a %s object",
                 design->name == nullptr ? "<NULL>" : design->name);
        }
        return 1;
    });
}

EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreate(const void* object, const Emif_Design* design,
                                                     Eerr_ErrorReport** err)
{
    return guarded<Edsc_BinFunction*>(err, "edsc_BinFunctionCreate", nullptr, [&](EerrException& scope) {
        Edsc_BinFunction* result = nullptr;
        checked(scope, edsc_BinFunctionConvertFromMIFable(&result, object, design, scope));
        return result;
    });
}
