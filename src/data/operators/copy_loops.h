#include "data/operators/line_loops.h"

namespace emantle::EMANTLE_TARGET {

struct egda_SaoCopy : One {
    template <class T>
    static constexpr bool copies = true;
};

struct egda_SaoFill : egda_SaoCopy {
    static constexpr bool fills = true;
};

}  // namespace emantle::EMANTLE_TARGET
