#pragma once

#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"
#include "store/mif/fetch.h"

#include <cstdint>
#include <emantle/store/emif/object.h>
#include <emantle/tables/edsc/kinds.h>

/* The stored forms of bin functions. */

namespace emantle::tables {

/* The host form of the design "Edsc_BinFunction": an Edsc_BinFunctionPre840 without its last word. */
struct OldObject {
    std::uint32_t numBins;
    std::int32_t binFunctionType;
    double minLimit;
    double maxLimit;
    Egda_BaseData* binLimits;
};

/* The host form of "Edsc_BinFunction840". */
struct NewObject {
    std::int32_t startBin;
    std::uint32_t binCount;
    std::uint32_t origBinCount;
    Emif_MIFObject binFunction;
    Emif_String title;
};

/* The host form of "BFUnique". */
struct UniqueObject {
    std::uint32_t numBins;
    Egda_BaseData* binLimits;
};

mif::OwnDesign& oldDesign() noexcept;
mif::OwnDesign& newDesign() noexcept;
mif::OwnDesign& uniqueDesign() noexcept;

/* Whether records of the two designs lie in memory alike. */
bool sameLayout(const Emif_Design& a, const Emif_Design& b) noexcept;

/* An object of a design, freed with what it points to. */
class ObjectOwner {
public:
    ObjectOwner(void* object, const Emif_Design* design) noexcept : object_(object), design_(design) {}
    ~ObjectOwner()
    {
        if (object_ != nullptr) {
            emif_ObjectFree(&object_, design_, nullptr);
        }
    }
    ObjectOwner(const ObjectOwner&) = delete;
    ObjectOwner& operator=(const ObjectOwner&) = delete;

    template <class Record>
    Record* as() const noexcept
    {
        return static_cast<Record*>(object_);
    }

    void* release() noexcept
    {
        void* object = object_;
        object_ = nullptr;
        return object;
    }

private:
    void* object_;
    const Emif_Design* design_;
};

/* The MIF bytes of a kind's object under the toolkit's own `design`, unpacked; fails with "Incorrect bin function
 * design" for another one. The record is freed by emif_ObjectFree with that design. */
void* unpackAs(EerrException& scope, mif::OwnDesign& design, const unsigned char* object, const char* dictionary,
               const char* designName);

}  // namespace emantle::tables
