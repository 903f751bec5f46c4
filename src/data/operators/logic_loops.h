#include "data/operators/line_loops.h"

namespace emantle::EMANTLE_TARGET {

/* Most predicates hold for a complex number where they hold for both its parts. */
template <class Op, class T>
inline bool ofBothParts(T a)
{
    return (unsigned{Op::apply(a.real)} & unsigned{Op::apply(a.imaginary)}) != 0;
}

struct egda_MaoAnd : Two {
    template <class T>
    static bool apply(T a, T b)
    {
        if constexpr (isComplexValue<T>) {
            return ((a.real != 0) & (b.real != 0)) | ((a.imaginary != 0) & (b.imaginary != 0));
        } else {
            return (a != 0) & (b != 0);
        }
    }
};

struct egda_MaoOr : Two {
    template <class T>
    static bool apply(T a, T b)
    {
        if constexpr (isComplexValue<T>) {
            return (a.real != 0) | (b.real != 0) | (a.imaginary != 0) | (b.imaginary != 0);
        } else {
            return (a != 0) | (b != 0);
        }
    }
};

struct egda_SaoNot : One {
    template <class T>
    static bool apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return ofBothParts<egda_SaoNot>(a);
        } else {
            return a == 0;
        }
    }
};

struct egda_SaoEven : One {
    template <class T>
    static bool apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return ofBothParts<egda_SaoEven>(a);
        } else if constexpr (std::is_integral_v<T>) {
            return (a & 1) == 0;
        } else {
            /* fmod(a, 2) is 0. Halves of the smallest numbers are not exact, and infinity is not even. */
            const T half = a * T{0.5};
            const T size = half < 0 ? -half : half;
            return (a == 0) | ((size >= 1) & (size <= std::numeric_limits<T>::max()) & (__builtin_floor(half) == half));
        }
    }
};

struct egda_SaoOdd : One {
    template <class T>
    static bool apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return ofBothParts<egda_SaoOdd>(a);
        } else {
            return !egda_SaoEven::apply(a);
        }
    }
};

struct egda_SaoNonZero : One {
    template <class T>
    static bool apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return ofBothParts<egda_SaoNonZero>(a);
        } else {
            return a != 0;
        }
    }
};

struct egda_SaoWhole : One {
    template <class T>
    static bool apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return ofBothParts<egda_SaoWhole>(a);
        } else if constexpr (std::is_integral_v<T>) {
            return true;
        } else {
            return (a >= 0) & (__builtin_floor(a) == a);
        }
    }
};

struct egda_SaoStep : One {
    template <class T>
    static bool apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return ofBothParts<egda_SaoStep>(a);
        } else if constexpr (std::is_unsigned_v<T>) {
            return true;
        } else {
            return a >= 0;
        }
    }
};

struct egda_SaoRect : One {
    template <class T>
    static bool apply(T a)
    {
        if constexpr (isComplexValue<T>) {
            return ofBothParts<egda_SaoRect>(a);
        } else if constexpr (std::is_integral_v<T>) {
            return a == 0;
        } else {
            return (a <= T{0.5}) & (a >= T{-0.5});
        }
    }
};

struct egda_MaoCircle : Two {
    template <class T>
    static bool apply(T a, T b)
    {
        if constexpr (std::is_integral_v<T>) {
            /* Of whole numbers the origin and its four neighbours, and no square that might wrap. */
            constexpr T minusOne = std::is_signed_v<T> ? static_cast<T>(-1) : T{1};
            const bool isUnitA = (a == 1) | (a == minusOne);
            const bool isUnitB = (b == 1) | (b == minusOne);
            return ((a == 0) & ((b == 0) | isUnitB)) | ((b == 0) & isUnitA);
        } else {
            const double x = a;
            const double y = b;
            return x * x + y * y <= 1;
        }
    }
};

struct egda_MaoSquare : Two {
    template <class T>
    static bool apply(T a, T b)
    {
        return (unsigned{egda_SaoRect::apply(a)} & unsigned{egda_SaoRect::apply(b)}) != 0;
    }
};

}  // namespace emantle::EMANTLE_TARGET
