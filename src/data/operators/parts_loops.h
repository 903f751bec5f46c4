#include "data/operators/line_loops.h"

namespace emantle::EMANTLE_TARGET {

/* Of a complex number these give a double; of a real one its own type. */

struct egda_FuncAbs : One {
    template <class T>
    static constexpr bool copies = std::is_unsigned_v<T>;
    template <class T>
    static auto apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            const double real = a.real;
            const double imaginary = a.imaginary;
            return __builtin_sqrt(real * real + imaginary * imaginary);
        } else if constexpr (std::is_floating_point_v<T>) {
            return static_cast<T>(sizeof(T) == 4 ? __builtin_fabsf(static_cast<float>(a)) : __builtin_fabs(a));
        } else {
            return static_cast<T>(a < 0 ? 0U - static_cast<unsigned>(a) : static_cast<unsigned>(a));
        }
    }
};

struct egda_SaoReal : One {
    template <class T>
    static constexpr bool copies = !isComplexValue<T>;
    template <class T>
    static double apply(T a)
    {
        return a.real;
    }
};

struct egda_SaoImag : One {
    template <class T>
    static auto apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return static_cast<double>(a.imaginary);
        } else {
            return T{0};
        }
    }
};

struct egda_SaoConj : One {
    template <class T>
    static constexpr bool copies = !isComplexValue<T>;
    template <class T>
    static T apply(T a)
    {
        return {a.real, -a.imaginary};
    }
};

struct egda_SaoAngle : One {
    template <class T>
    static T apply(T)
    {
        return T{0};
    }
    template <class T>
        requires(isComplexValue<T>)
    static consteval LineCell cell()
    {
        return {complexAngle, nullptr, nullptr, {{codeOf<T>, EGDA_TYPE_C128}}, EGDA_TYPE_F64, false};
    }
};

struct egda_SaoTrian : One {
    template <class T>
    static auto apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            const double height = 1 - __builtin_fabs(static_cast<double>(a.real)) -
                                  __builtin_fabs(static_cast<double>(a.imaginary));
            return height >= 0 ? height : 0.0;
        } else if constexpr (std::is_floating_point_v<T>) {
            const T size = a < 0 ? -a : a;
            return size <= 1 ? 1 - size : T{0};
        } else {
            return static_cast<T>(a == 0);
        }
    }
};

}  // namespace emantle::EMANTLE_TARGET
