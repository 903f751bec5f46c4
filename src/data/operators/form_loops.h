#include "data/operators/line_loops.h"

namespace emantle::EMANTLE_TARGET {

struct formC64 : TwoInDouble {
    static Egda_Complex64 apply(double real, double imaginary)
    {
        return {static_cast<float>(real), static_cast<float>(imaginary)};
    }
};

struct formC128 : TwoInDouble {
    static Egda_Complex128 apply(double real, double imaginary) { return {real, imaginary}; }
};

}  // namespace emantle::EMANTLE_TARGET
