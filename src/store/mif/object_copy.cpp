#include "frame/memory/heap_ptr.h"
#include "store/mif/elements.h"
#include "store/mif/owners.h"

#include <emantle/store/emif/data.h>

namespace emantle::mif {

namespace {

void copyItems(EerrException& scope, const void* from, void* to, const Emif_Design& design);

/* `to` is zero, and null where `from` is null. */
void copyBaseData(EerrException& scope, const void* from, void* to)
{
    Egda_BaseData source;
    std::memcpy(&source, from, sizeof source);
    if (source.data == nullptr) {
        std::memcpy(to, &source, sizeof source);
        return;
    }
    HeapPtr<Egda_BaseData> copy(checked(scope, egda_BaseDataCopy(&source, nullptr, scope), "egda_BaseDataCopy fail"));
    std::memcpy(to, copy.get(), sizeof source);
}

void copyElements(EerrException& scope, const Emif_DesignItem& item, const Elements& from, const Elements& to)
{
    if (item.type == EMIF_TYPE_BASEDATA) {
        for (std::size_t i = 0; i < from.count; ++i) {
            asFunction(scope, "emif_BaseDataCopy", "emif_BaseDataCopy failed.", [&] {
                copyBaseData(scope, elementAt(item, from, i).data, elementAt(item, to, i).data);
            });
        }
    } else if (isRecord(item.type)) {
        require(item.design, "Missing design.");
        for (std::size_t i = 0; i < from.count && item.hostBytesPerElement > 0; ++i) {
            asFunction(scope, "emif_ObjectItemsCopy", "Trouble copying object %d.", [&] {
                copyItems(scope, elementAt(item, from, i).data, elementAt(item, to, i).data, *item.design);
            }, static_cast<int>(i));
        }
    } else if (from.count > 0) {
        std::memcpy(to.data, from.data, from.count * static_cast<std::size_t>(item.hostBytesPerElement));
    }
}

/* Fresh storage for as many elements as `from` has, in the item at `to`. */
Elements storageLike(const Emif_DesignItem& item, const Elements& from, const void* source, void* to)
{
    uint8_t* data = allocate<uint8_t>(from.count * static_cast<std::size_t>(item.hostBytesPerElement)).release();
    setPointer(item, to, data);
    if (item.isCountedPointer != 0) {
        setCount(to, data == nullptr ? 0 : countIn(source));
    }
    return {data, data == nullptr ? 0 : from.count};
}

/* Into zeroed memory; what is there after a failure can be freed by the design. */
void copyItem(EerrException& scope, const void* from, void* to, const Emif_DesignItem& item)
{
    require(from, "Bad srcObjectPP.");
    require(to, "Bad dstObjectPP.");
    require(isKnown(item.type), "Unrecognized item type %d.", item.type);
    if (item.type == kNoType) {
        return;
    }
    Elements source = elementsOf(item, from);
    if (item.isPointer == 0) {
        copyElements(scope, item, source, {static_cast<uint8_t*>(to), source.count});
        return;
    }
    const Elements target = storageLike(item, source, from, to);
    source.count = target.count;
    copyElements(scope, item, source, target);
}

void copyItems(EerrException& scope, const void* from, void* to, const Emif_Design& design)
{
    for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
        asFunction(scope, "emif_ObjectItemCopy", "ObjectItemCopy failure", [&] {
            copyItem(scope, static_cast<const uint8_t*>(from) + item->hostOffset,
                     static_cast<uint8_t*>(to) + item->hostOffset, *item);
        });
    }
}

/* Frees what a copy that failed had got; a second failure tells nothing new. */
template <class Free>
void dropHalf(const Free& release)
{
    EerrException ignored(OrvikLog::Literal{"emif_ObjectFree"});
    try {
        release(ignored);
    } catch (...) {
        ignored.Clear();
    }
}

void* allocateRecord(const Emif_Design* design)
{
    return design == nullptr ? nullptr : emsc_HeapMalloc(design->hostSize);
}

const Emif_DesignItem* itemNamed(const Emif_Design& design, const char* name) noexcept
{
    for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
        if (item->name == name || (item->name != nullptr && std::strcmp(item->name, name) == 0)) {
            return item;
        }
    }
    return nullptr;
}

/* A deep copy of the item at `from` to `to`, which is overwritten unseen. */
void copyItemOver(EerrException& scope, const void* from, void* to, const Emif_DesignItem& item)
{
    std::memset(to, 0, static_cast<std::size_t>(item.hostSize));
    asFunction(scope, "emif_ObjectItemCopy", "ObjectItemCopy fail", [&] {
        try {
            copyItem(scope, from, to, item);
        } catch (...) {
            dropHalf([&](EerrException& inner) { releaseItem(inner, to, item); });
            throw;
        }
    });
}

}  // namespace

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

EMANTLE_API void* emif_NewObject(const Emif_Design* design, Eerr_ErrorReport** err)
{
    return emif_ObjectAllocate(design, err);
}

EMANTLE_API void* emif_ObjectAllocate(const Emif_Design* design, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "emif_ObjectAllocate", nullptr, [&] {
        void* object = allocateRecord(design);
        require(object != nullptr || design == nullptr || design->hostSize < 1, "No memory");
        return object;
    });
}

EMANTLE_API void* emif_ObjectCopy(const void* object, const Emif_Design* design, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "emif_ObjectCopy", nullptr, [&](EerrException& scope) {
        require(object, "Bad srcObjectPP.");
        require(design, "Missing design.");
        HeapPtr<uint8_t> copy(static_cast<uint8_t*>(allocateRecord(design)));
        require(copy, "Cannot allocate new object.");
        asFunction(scope, "emif_ObjectItemsCopy", "Couldn't copy sub-objects.", [&] {
            try {
                copyItems(scope, object, copy.get(), *design);
            } catch (...) {
                dropHalf([&](EerrException& inner) { releaseItems(inner, copy.get(), *design); });
                throw;
            }
        });
        return static_cast<void*>(copy.release());
    });
}

EMANTLE_API void* emif_ObjectItemValueGet(const void* object, const Emif_Design* design, const char* name, void* value,
                                          Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "emif_ObjectItemValueGet", nullptr, [&](EerrException& scope) -> void* {
        require(object != nullptr && design != nullptr && name != nullptr && value != nullptr, "Args!");
        const Emif_DesignItem* item = itemNamed(*design, name);
        if (item == nullptr) {
            return nullptr;
        }
        copyItemOver(scope, static_cast<const uint8_t*>(object) + item->hostOffset, value, *item);
        return value;
    });
}

EMANTLE_API void* emif_ObjectItemValueSet(void* object, const Emif_Design* design, const char* name, void* value,
                                          Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "emif_ObjectItemValueSet", nullptr, [&](EerrException& scope) -> void* {
        require(object != nullptr && design != nullptr && name != nullptr && value != nullptr, "Args!");
        const Emif_DesignItem* item = itemNamed(*design, name);
        if (item == nullptr) {
            return nullptr;
        }
        void* place = static_cast<uint8_t*>(object) + item->hostOffset;
        /* Copied aside first: a value that cannot be copied leaves the record as it was. */
        const auto size = static_cast<std::size_t>(item->hostSize);
        HeapPtr<uint8_t> fresh = allocate<uint8_t>(size);
        if (fresh == nullptr) {
            return value;
        }
        copyItemOver(scope, value, fresh.get(), *item);
        asFunction(scope, "emif_ObjectItemFree", "ObjectItemFree fail", [&] { releaseItem(scope, place, *item); });
        std::memcpy(place, fresh.get(), size);
        return value;
    });
}

EMANTLE_API void emif_StreamImmediateFlushEnable(void*, Eerr_ErrorReport** err)
{
    eerr_Init(err);
}

EMANTLE_API void emif_StreamImmediateFlushDisable(void*, Eerr_ErrorReport** err)
{
    eerr_Init(err);
}
