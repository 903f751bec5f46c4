#include "data/operators/line_loops.h"

namespace emantle::EMANTLE_TARGET {

template <class T>
inline T wrapped(unsigned value)
{
    return static_cast<T>(value);
}

struct egda_SaoNeg : One {
    template <class T>
    static T apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return {-a.real, -a.imaginary};
        } else if constexpr (std::is_floating_point_v<T>) {
            return -a;
        } else {
            /* The inverse of the bits and one more stay in the element's own width. */
            return wrapped<T>(static_cast<unsigned>(static_cast<T>(~a)) + 1U);
        }
    }
};

/* Of complex numbers only the real part is stepped and written. */

struct egda_SaoInc : One {
    template <class T>
    static constexpr bool keepsPart = isComplexValue<T>;
    template <class T>
    static T apply(T a)
    {
        if constexpr (std::is_floating_point_v<T>) {
            return a + 1;
        } else {
            return wrapped<T>(static_cast<unsigned>(a) + 1U);
        }
    }
    template <class T>
    static T apply(T a, T old)
    {
        return {a.real + 1, old.imaginary};
    }
};

struct egda_SaoDec : One {
    template <class T>
    static constexpr bool keepsPart = isComplexValue<T>;
    template <class T>
    static T apply(T a)
    {
        if constexpr (std::is_floating_point_v<T>) {
            return a - 1;
        } else {
            return wrapped<T>(static_cast<unsigned>(a) - 1U);
        }
    }
    template <class T>
    static T apply(T a, T old)
    {
        return {a.real - 1, old.imaginary};
    }
};

struct egda_SaoSign : One {
    template <class T>
    static T apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return {apply(a.real), apply(a.imaginary)};
        } else if constexpr (std::is_unsigned_v<T>) {
            return static_cast<T>(a != 0);
        } else {
            return static_cast<T>(static_cast<T>(a > 0) - static_cast<T>(a < 0));
        }
    }
};

}  // namespace emantle::EMANTLE_TARGET
