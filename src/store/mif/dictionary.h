#pragma once

#include "store/mif/layout.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace emantle::mif {

/* Searches a dictionary and adds to it. Once many names were asked for it keeps an index of them, so that merging one
 * dictionary into another takes time in proportion to both. The dictionary must not change behind its back. */
class DictionaryEditor {
public:
    explicit DictionaryEditor(Emif_Dictionary& dictionary) noexcept : dictionary_(dictionary) {}

    Emif_Design* find(std::string_view name);

    /* Adds a design, and before it the designs inside it, unless their names are taken. Gives the dictionary's design. */
    Emif_Design* add(EerrException& scope, const Emif_Design& design);
    Emif_Design* take(EerrException& scope, DesignPtr design);

private:
    class Pending;

    Emif_Design* append(DesignPtr design);

    Emif_Dictionary& dictionary_;
    int searches_ = 0;
    std::optional<std::unordered_map<std::string_view, Emif_Design*>> index_;
};

/* The toolkit's own design of that name, or null; it lives as long as the process. Fails where the private dictionary
 * cannot be filled. */
const Emif_Design* privateDesign(EerrException& scope, std::string_view name);

/* Adds a copy to the private dictionary. */
void addPrivately(EerrException& scope, const Emif_Design& design);

}  // namespace emantle::mif
