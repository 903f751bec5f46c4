#include "data/operators/line_loops.h"

namespace emantle::EMANTLE_TARGET {

/* Whole numbers are copied; both parts of a complex one are rounded. */
template <class Rounding>
struct Rounds : One {
    template <class T>
    static constexpr bool copies = std::is_integral_v<T>;
    template <class T>
    static T apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return {Rounding::of(a.real), Rounding::of(a.imaginary)};
        } else {
            return Rounding::of(a);
        }
    }
};

inline float floorOf(float a)
{
    return __builtin_floorf(a);
}

inline double floorOf(double a)
{
    return __builtin_floor(a);
}

struct Ceiling {
    static float of(float a) { return __builtin_ceilf(a); }
    static double of(double a) { return __builtin_ceil(a); }
};

struct Floor {
    template <class T>
    static T of(T a)
    {
        return floorOf(a);
    }
};

/* The floor of one half more. In float that is told from the fraction, since the sum itself would be rounded. */
struct Nearest {
    static float of(float a)
    {
        const float below = floorOf(a);
        return (a - below >= 0.5F ? below + 1 : below) + 0.0F;
    }
    static double of(double a) { return floorOf(a + 0.5); }
};

/* Through a whole number, which has no negative zero. */
struct TowardZero {
    static float of(float a) { return __builtin_truncf(a) + 0.0F; }
    static double of(double a) { return __builtin_trunc(a) + 0.0; }
};

struct egda_FuncCeil : Rounds<Ceiling> {};
struct egda_FuncFloor : Rounds<Floor> {};
struct egda_FuncRound : Rounds<Nearest> {};
struct egda_FuncTrunc : Rounds<TowardZero> {};

}  // namespace emantle::EMANTLE_TARGET
