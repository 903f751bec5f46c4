#include "data/operators/line_loops.h"

namespace emantle::EMANTLE_TARGET {

/* The bits of a whole number, or of a floating one truncated to 32 bits. What does not fit becomes the smallest number,
 * as the processor has it. */
template <class T>
inline auto bitsOf(T value)
{
    if constexpr (std::is_integral_v<T>) {
        return value;
    } else {
        const bool fits = value >= T{-2147483648.0} && value < T{2147483648.0};
        return static_cast<std::int32_t>(fits ? value : T{-2147483648.0});
    }
}

template <class A, class B>
using BitsOfBoth = decltype(bitsOf(B{}));

struct egda_MaoBitAnd : Fold {
    template <class A, class B>
    static auto apply(A a, B b)
    {
        return static_cast<BitsOfBoth<A, B>>(bitsOf(a) & bitsOf(b));
    }
};

struct egda_MaoBitOr : Fold {
    template <class A, class B>
    static auto apply(A a, B b)
    {
        return static_cast<BitsOfBoth<A, B>>(bitsOf(a) | bitsOf(b));
    }
};

struct egda_MaoBitXor : Fold {
    template <class A, class B>
    static auto apply(A a, B b)
    {
        return static_cast<BitsOfBoth<A, B>>(bitsOf(a) ^ bitsOf(b));
    }
};

struct egda_SaoBitNeg : One {
    template <class T>
    static auto apply(T a)
    {
        return static_cast<BitsOfBoth<T, T>>(~bitsOf(a));
    }
};

}  // namespace emantle::EMANTLE_TARGET
