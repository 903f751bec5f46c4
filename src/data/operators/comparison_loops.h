#include "data/operators/line_loops.h"

namespace emantle::EMANTLE_TARGET {

/* How two texts follow each other is how what strcmp says follows 0. */

struct egda_MaoEq : Two {
    template <class T>
    static bool apply(T a, T b)
    {
        if constexpr (isComplexValue<T>) {
            return (a.real == b.real) & (a.imaginary == b.imaginary);
        } else if constexpr (std::is_pointer_v<T>) {
            return etxt_Text_strcmp(a, b) == 0;
        } else {
            return a == b;
        }
    }
};

struct egda_MaoNe : Two {
    template <class T>
    static bool apply(T a, T b)
    {
        return !egda_MaoEq::apply(a, b);
    }
};

struct egda_MaoGt : Two {
    template <class T>
    static bool apply(T a, T b)
    {
        if constexpr (std::is_pointer_v<T>) {
            return etxt_Text_strcmp(a, b) > 0;
        } else {
            return a > b;
        }
    }
};

struct egda_MaoGe : Two {
    template <class T>
    static bool apply(T a, T b)
    {
        if constexpr (std::is_pointer_v<T>) {
            return etxt_Text_strcmp(a, b) >= 0;
        } else {
            return a >= b;
        }
    }
};

struct egda_MaoLt : Two {
    template <class T>
    static bool apply(T a, T b)
    {
        return egda_MaoGt::apply(b, a);
    }
};

struct egda_MaoLe : Two {
    template <class T>
    static bool apply(T a, T b)
    {
        return egda_MaoGe::apply(b, a);
    }
};

}  // namespace emantle::EMANTLE_TARGET
