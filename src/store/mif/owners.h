#pragma once

#include <emantle/store/emif/dictionary.h>
#include <memory>

namespace emantle::mif {

struct Release {
    void operator()(Emif_Design* design) const noexcept { emif_DesignDestroy(design); }
    void operator()(Emif_Dictionary* dictionary) const noexcept { emif_DictionaryDestroy(dictionary); }
};

using DesignPtr = std::unique_ptr<Emif_Design, Release>;
using DictionaryPtr = std::unique_ptr<Emif_Dictionary, Release>;

}  // namespace emantle::mif
