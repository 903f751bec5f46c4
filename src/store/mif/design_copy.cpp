#include "frame/guard/plain_scope.h"
#include "store/mif/layout.h"

#include <cstring>
#include <emantle/frame/etxt.h>
#include <utility>

namespace emantle::mif {

namespace {

/* Takes a record out of a list of its kind. */
template <class Node>
void unlink(Node* node) noexcept
{
    if (node->next != nullptr) {
        node->next->prev = node->prev;
    }
    if (node->prev != nullptr) {
        node->prev->next = node->next;
    }
}

template <class Design>
void destroyDesign(Design* design) noexcept
{
    if (design == nullptr) {
        return;
    }
    unlink(design);
    for (auto* item = design->items; item != nullptr;) {
        auto* next = item->next;
        for (int i = 0; item->enumNames != nullptr && i < item->enumCount; ++i) {
            emsc_HeapFree(item->enumNames[i]);
        }
        emsc_HeapFree(item->enumNames);
        emsc_HeapFree(item->name);
        destroyDesign(item->design);
        emsc_HeapFree(item);
        item = next;
    }
    emsc_HeapFree(design->name);
    emsc_HeapFree(design);
}

template <class Design>
struct Destroyer {
    void operator()(Design* design) const noexcept { destroyDesign(design); }
};

char* textCopy(const char* text, char*)
{
    return heapText(text, "Out of memory").release();
}

Etxt_TextU* textCopy(const char* text, Etxt_TextU*)
{
    Etxt_TextU* copy = etxt_Text_Ascii2Unicode(nullptr, text, 0);
    require(copy, "Failed to allocate memory for Emif_DesignU");
    return copy;
}

char* textCopy(const Etxt_TextU* text, char*)
{
    char* copy = etxt_Text_Unicode2Ascii(nullptr, text, 0);
    require(copy, "Failed to allocate memory for Emif_DesignA");
    return copy;
}

template <class To>
Say noMemory()
{
    if constexpr (std::is_same_v<To, Emif_DesignU>) {
        return {"Failed to allocate memory for Emif_DesignU", 1};
    } else {
        return {"Failed to allocate memory for Emif_DesignA", 1};
    }
}

/* Copies between the two character widths, or within one. */
template <class To, class From>
class Copier {
    static constexpr bool widthChanges = !std::is_same_v<To, From>;
    using ToItem = std::remove_pointer_t<decltype(To::items)>;
    using FromItem = std::remove_pointer_t<decltype(From::items)>;
    using ToText = std::remove_pointer_t<decltype(To::name)>;
    using Owner = std::unique_ptr<To, Destroyer<To>>;

public:
    static Owner design(const From& source)
    {
        Owner copy(fresh<To>());
        copy->alignment = source.alignment;
        copy->hostSize = source.hostSize;
        copy->mifSize = source.mifSize;
        text(copy->name, source.name);
        ToItem* last = nullptr;
        for (const FromItem* item = source.items; item != nullptr; item = item->next) {
            ToItem* added = fresh<ToItem>();
            (last == nullptr ? copy->items : last->next) = added;
            added->prev = last;
            last = added;
            fill(*added, *item);
        }
        return copy;
    }

private:
    template <class Record>
    static Record* fresh(std::size_t count = 1)
    {
        if constexpr (widthChanges) {
            return allocate<Record>(count, noMemory<To>()).release();
        } else {
            return allocate<Record>(count, "Out of memory").release();
        }
    }

    template <class Source>
    static void text(ToText*& to, const Source* from)
    {
        to = from == nullptr ? nullptr : textCopy(from, static_cast<ToText*>(nullptr));
    }

    static void fill(ToItem& to, const FromItem& from)
    {
        to.type = from.type;
        to.mifBytesPerElement = from.mifBytesPerElement;
        to.mifSize = from.mifSize;
        to.hostBytesPerElement = from.hostBytesPerElement;
        to.hostSize = from.hostSize;
        to.count = from.count;
        to.isCountedPointer = from.isCountedPointer;
        to.isPointer = from.isPointer;
        to.hostOffset = from.hostOffset;
        to.padAfter = from.padAfter;
        if (widthChanges && from.type == EMIF_TYPE_CHAR) {
            to.mifBytesPerElement = 1;
            to.hostBytesPerElement = static_cast<int32_t>(sizeof(ToText));
        }
        text(to.name, from.name);
        if (from.enumNames != nullptr && from.enumCount > 0) {
            to.enumNames = fresh<ToText*>(static_cast<std::size_t>(from.enumCount));
            to.enumCount = from.enumCount;
            for (int i = 0; i < from.enumCount; ++i) {
                text(to.enumNames[i], from.enumNames[i]);
            }
        }
        if (from.design != nullptr) {
            to.design = design(*from.design).release();
        }
    }
};

}  // namespace

DesignPtr copyOf(const Emif_Design& design)
{
    return DesignPtr(Copier<Emif_Design, Emif_Design>::design(design).release());
}

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

EMANTLE_API Emif_Design* emif_DesignCopy(const Emif_Design* design, Eerr_ErrorReport** err)
{
    return guarded<Emif_Design*>(err, "emif_DesignCopy", nullptr, [&] {
        require(design, "Invalid source design");
        return copyOf(*design).release();
    });
}

EMANTLE_API Emif_DesignU* emif_DesignA2U(const Emif_DesignA* design, Eerr_ErrorReport** err)
{
    return guarded<Emif_DesignU*>(err, "emif_DesignA2U", nullptr, [&] {
        require(design, "Empty input source design");
        return Copier<Emif_DesignU, Emif_DesignA>::design(*design).release();
    });
}

EMANTLE_API Emif_DesignA* emif_DesignU2A(const Emif_DesignU* design, Eerr_ErrorReport** err)
{
    return guarded<Emif_DesignA*>(err, "emif_DesignU2A", nullptr, [&] {
        require(design, "Empty input source design");
        return Copier<Emif_DesignA, Emif_DesignU>::design(*design).release();
    });
}

EMANTLE_API void emif_DesignDestroy(Emif_Design* design)
{
    destroyDesign(design);
}

void emif_DesignDestroy(Emif_DesignU* design)
{
    destroyDesign(design);
}

EMANTLE_API void emif_DesignDelete(Emif_Design* design, Eerr_ErrorReport** err)
{
    PlainScope scope("emif_DesignDelete", err);
    destroyDesign(design);
}
