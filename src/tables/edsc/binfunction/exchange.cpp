#include "tables/edsc/binfunction/exchange.h"

#include "store/mif/owners.h"
#include "tables/edsc/designs.h"

#include <cstddef>
#include <cstring>

using namespace emantle;
using namespace emantle::tables;

namespace emantle::tables {

namespace {

constexpr mif::Field kOldFields[] = {{"numBins", offsetof(OldObject, numBins)},
                                     {"binFunctionType", offsetof(OldObject, binFunctionType)},
                                     {"minLimit", offsetof(OldObject, minLimit)},
                                     {"maxLimit", offsetof(OldObject, maxLimit)},
                                     {"binLimits", offsetof(OldObject, binLimits)}};
constexpr mif::Field kNewFields[] = {{"startBin", offsetof(NewObject, startBin)},
                                     {"binCount", offsetof(NewObject, binCount)},
                                     {"origBinCount", offsetof(NewObject, origBinCount)},
                                     {"binFunction", offsetof(NewObject, binFunction)},
                                     {"title", offsetof(NewObject, title)}};
constexpr mif::Field kUniqueFields[] = {{"numBins", offsetof(UniqueObject, numBins)},
                                        {"binLimits", offsetof(UniqueObject, binLimits)}};

constinit mif::OwnDesign oldDesign_(ownDictionary,
                                    "{1:lnumBins,1:e4:direct,linear,logarithmic,explicit,binFunctionType,1:dminLimit,"
                                    "1:dmaxLimit,1:*bbinLimits,}Edsc_BinFunction,",
                                    mif::recordOf<OldObject>(kOldFields));
constinit mif::OwnDesign newDesign_(ownDictionary,
                                    "{1:lstartBin,1:LbinCount,1:LorigBinCount,"
                                    "1:x{1:x{0:pcstring,}Emif_String,type,1:x{0:pcstring,}Emif_String,MIFDictionary,"
                                    "0:pCMIFObject,}Emif_MIFObject,binFunction,"
                                    "1:x{0:pcstring,}Emif_String,title,}Edsc_BinFunction840,",
                                    mif::recordOf<NewObject>(kNewFields));
constinit mif::OwnDesign uniqueDesign_(ownDictionary, "{1:LnumBins,1:*bbinLimits,}BFUnique,",
                                       mif::recordOf<UniqueObject>(kUniqueFields));

bool sameItem(const Emif_DesignItem& a, const Emif_DesignItem& b) noexcept
{
    const bool alike = a.type == b.type && a.count == b.count && a.isPointer == b.isPointer &&
                       a.isCountedPointer == b.isCountedPointer && a.hostOffset == b.hostOffset &&
                       a.hostSize == b.hostSize && a.enumCount == b.enumCount && std::strcmp(a.name, b.name) == 0;
    if (!alike || (a.design == nullptr) != (b.design == nullptr)) {
        return false;
    }
    return a.design == nullptr || sameLayout(*a.design, *b.design);
}

}  // namespace

mif::OwnDesign& oldDesign() noexcept { return oldDesign_; }
mif::OwnDesign& newDesign() noexcept { return newDesign_; }
mif::OwnDesign& uniqueDesign() noexcept { return uniqueDesign_; }

bool sameLayout(const Emif_Design& a, const Emif_Design& b) noexcept
{
    const Emif_DesignItem* one = a.items;
    const Emif_DesignItem* other = b.items;
    while (one != nullptr && other != nullptr && sameItem(*one, *other)) {
        one = one->next;
        other = other->next;
    }
    return one == nullptr && other == nullptr && a.hostSize == b.hostSize;
}

void* unpackAs(EerrException& scope, mif::OwnDesign& design, const unsigned char* object, const char* dictionary,
               const char* designName)
{
    Emif_Design* own = design.fetch(scope);
    require(designName != nullptr && std::strcmp(designName, own->name) == 0, "Incorrect bin function design");
    void* record = nullptr;
    Emif_Design* found = nullptr;
    emif_MIFableObjectConvertFromMIF(&record, &found, const_cast<unsigned char*>(object), dictionary, designName,
                                     scope);
    check(scope);
    const mif::DesignPtr foundOwner(found);
    ObjectOwner owner(record, found);
    require(record != nullptr && found != nullptr && sameLayout(*found, *own), "Incorrect bin function design");
    return owner.release();
}

}  // namespace emantle::tables

EMANTLE_API const char* edsc_HFABinFunctionNameFetch(void) { return "#Bin_Function#"; }

EMANTLE_API const char* edsc_HFABinFunction840NameFetch(void) { return "#Bin_Function840#"; }

EMANTLE_API const char* edsc_HFABinFunctionNameFromDesignFetch(const Emif_Design* design)
{
    const bool old = design != nullptr && design->name != nullptr && std::strcmp(design->name, "Edsc_BinFunction") == 0;
    return old ? edsc_HFABinFunctionNameFetch() : edsc_HFABinFunction840NameFetch();
}

EMANTLE_API const Emif_Design* edsc_HFABinFunctionDesignFetch(Eerr_ErrorReport** err)
{
    return guarded<const Emif_Design*>(err, "edsc_HFABinFunctionDesignFetch", nullptr,
                                       [&](EerrException& scope) { return oldDesign().fetch(scope); });
}

EMANTLE_API const Emif_Design* edsc_HFABinFunction840DesignFetch(Eerr_ErrorReport** err)
{
    return guarded<const Emif_Design*>(err, "edsc_HFABinFunction840DesignFetch", nullptr,
                                       [&](EerrException& scope) { return newDesign().fetch(scope); });
}

EMANTLE_API long edsc_HFABinFunctionMIFableToMIF(const Edsc_BinFunctionPre840* old, unsigned char** object,
                                                 char** dictionary, char** designName, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "edsc_HFABinFunctionMIFableToMIF", -1, [&](EerrException& scope) {
        require(old != nullptr && object != nullptr && dictionary != nullptr && designName != nullptr, "Args");
        const OldObject record{old->numBins, old->binFunctionType, old->minLimit, old->maxLimit, old->binLimits};
        void* bytes = nullptr;
        const long size = checked(scope, emif_MIFableObjectConvertToMIF(&record, oldDesign().fetch(scope), &bytes,
                                                                       dictionary, designName, scope));
        *object = static_cast<unsigned char*>(bytes);
        return size;
    });
}

EMANTLE_API Edsc_BinFunctionPre840* edsc_HFABinFunctionMIFableFromMIF(const unsigned char* object,
                                                                      const char* dictionary, const char* designName,
                                                                      Eerr_ErrorReport** err)
{
    return guarded<Edsc_BinFunctionPre840*>(err, "edsc_HFABinFunctionMIFableFromMIF", nullptr,
                                            [&](EerrException& scope) {
        require(object != nullptr && dictionary != nullptr, "Args");
        HeapPtr<Edsc_BinFunctionPre840> old = allocate<Edsc_BinFunctionPre840>(1, "Insufficient memory");
        void* record = unpackAs(scope, oldDesign(), object, dictionary, designName);
        /* The limits move over; only the shell of the record goes. */
        const HeapPtr<OldObject> unpacked(static_cast<OldObject*>(record));
        old->numBins = unpacked->numBins;
        old->binFunctionType = unpacked->binFunctionType;
        old->minLimit = unpacked->minLimit;
        old->maxLimit = unpacked->maxLimit;
        old->binLimits = unpacked->binLimits;
        return old.release();
    });
}
