#include "store/mif/fetch.h"

#include "store/mif/decode.h"

#include <emantle/siblings/ethr.h>

namespace emantle::mif {

namespace {

const Emif_DesignItem* itemNamed(const Emif_Design& design, std::string_view name) noexcept
{
    const Emif_DesignItem* item = design.items;
    while (item != nullptr && item->name != name) {
        item = item->next;
    }
    return item;
}

void holdAgainst(const HostRecord& record, const Emif_Design& design)
{
    require(static_cast<std::size_t>(design.hostSize) == record.size, "%s takes %d bytes by its design, %ld in memory",
            design.name, design.hostSize, static_cast<long>(record.size));
    for (const Field& field : record.fields) {
        const Emif_DesignItem* item = itemNamed(design, field.name);
        require(item, "%s has no item %s", design.name, field.name);
        require(static_cast<std::size_t>(item->hostOffset) == field.offset,
                "%s has %s at %d by its design, at %ld in memory", design.name, field.name, item->hostOffset,
                static_cast<long>(field.offset));
    }
    std::size_t items = 0;
    for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
        ++items;
    }
    require(record.fields.empty() || record.fields.size() == items, "%s has %ld items, %ld of them with a field",
            design.name, static_cast<long>(items), static_cast<long>(record.fields.size()));
}

/* The name stands behind the last brace. */
std::string nameIn(std::string_view text)
{
    const std::size_t start = text.rfind('}') + 1;
    return std::string(text.substr(start, text.rfind(',') - start));
}

}  // namespace

Emif_Design* OwnDesign::make(EerrException& scope, long line)
{
    const std::string origin = nameIn(text_) + "_Design";
    const EthrMTUnsafeCode section;
    if (made_.load(std::memory_order_relaxed) == nullptr) {
        asFunction(scope, origin.c_str(), {"EMIF_DESIGN_FETCH failed", line}, [&] {
            if (home_.holder_.dictionary == nullptr) {
                home_.holder_.dictionary = checked(scope, emif_DictionaryCreate(scope), "Dictionary create fail");
            }
            asFunction(scope, "emif_DesignCreate", "Design create failed", [&] {
                Characters characters(text_);
                DesignPtr design = decodeOne(scope, characters, *home_.holder_.dictionary);
                holdAgainst(record_, *design);
                made_.store(DictionaryEditor(*home_.holder_.dictionary).take(scope, std::move(design)),
                            std::memory_order_release);
            });
        });
    }
    return made_.load(std::memory_order_relaxed);
}

}  // namespace emantle::mif
