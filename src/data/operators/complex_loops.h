/* Products and quotients of complex numbers, by the vector. Each product is rounded before another is added to it, whatever
 * the instruction set: g++ joins the two where signs alternate, though it is told to join none. Behind line_loops.h, and
 * compiled once for each instruction set; no guard. */

namespace emantle::EMANTLE_TARGET {

template <class Real>
struct Parts {
    typedef Real Vector __attribute__((vector_size(kVectorBytes)));
    static constexpr int lanes = kVectorBytes / sizeof(Real);
    using Lanes = std::make_integer_sequence<int, lanes>;

    template <int... i>
    static Vector swapped(Vector v, std::integer_sequence<int, i...>)
    {
        return __builtin_shufflevector(v, v, (i ^ 1)...);
    }
    template <int... i>
    static Vector reals(Vector v, std::integer_sequence<int, i...>)
    {
        return __builtin_shufflevector(v, v, (i & ~1)...);
    }
    template <int... i>
    static Vector imaginaries(Vector v, std::integer_sequence<int, i...>)
    {
        return __builtin_shufflevector(v, v, (i | 1)...);
    }
    template <int... i>
    static Vector alternating(Vector even, Vector odd, std::integer_sequence<int, i...>)
    {
        return __builtin_shufflevector(even, odd, (i + (i & 1) * lanes)...);
    }
    static Vector rounded(Vector v)
    {
        asm("" : "+x"(v));
        return v;
    }

    /* a with the real parts of b, and a with its parts swapped with the imaginary ones. */
    struct Products {
        Vector straight;
        Vector crossed;
    };
    static Products products(Vector a, Vector b, Lanes all)
    {
        return {rounded(a * reals(b, all)), rounded(swapped(a, all) * imaginaries(b, all))};
    }
};

struct ComplexProduct {
    template <class Real, class Vector>
    static Vector of(Vector a, Vector b)
    {
        using P = Parts<Real>;
        constexpr typename P::Lanes all{};
        const auto [straight, crossed] = P::products(a, b, all);
        return P::alternating(straight - crossed, straight + crossed, all);
    }
};

struct ComplexQuotient {
    template <class Real, class Vector>
    static Vector of(Vector a, Vector b)
    {
        using P = Parts<Real>;
        constexpr typename P::Lanes all{};
        const auto [straight, crossed] = P::products(a, b, all);
        const Vector squares = P::rounded(b * b);
        return P::alternating(straight + crossed, straight - crossed, all) / (squares + P::swapped(squares, all));
    }
};

/* A last vector that is not full is computed beside the operands, so that all elements go the same way. */
template <class Op, class Complex>
void complexLoop(void* dest, const void* a, const void* b, long count)
{
    using Real = decltype(Complex::real);
    using Vector = typename Parts<Real>::Vector;
    auto* out = static_cast<char*>(dest);
    const auto* x = static_cast<const char*>(a);
    const auto* y = static_cast<const char*>(b);
    const long bytes = count * static_cast<long>(sizeof(Complex));
    for (long i = 0; i < bytes; i += kVectorBytes) {
        const auto some = static_cast<std::size_t>(bytes - i < kVectorBytes ? bytes - i : kVectorBytes);
        Vector left{};
        Vector right{};
        if (some == sizeof(Vector)) {
            __builtin_memcpy(&left, x + i, sizeof(Vector));
            __builtin_memcpy(&right, y + i, sizeof(Vector));
            left = Op::template of<Real>(left, right);
            __builtin_memcpy(out + i, &left, sizeof(Vector));
        } else {
            __builtin_memcpy(&left, x + i, some);
            __builtin_memcpy(&right, y + i, some);
            left = Op::template of<Real>(left, right);
            __builtin_memcpy(out + i, &left, some);
        }
    }
}

/* The cell of such an operator. */
template <class Op, class Complex>
consteval LineCell complexCell(StopScan stop)
{
    constexpr OperandTypes operand{codeOf<Complex>, codeOf<Complex>};
    return {complexLoop<Op, Complex>, complexLoop<Op, Complex>, stop, {operand, operand}, codeOf<Complex>, false};
}

}  // namespace emantle::EMANTLE_TARGET
