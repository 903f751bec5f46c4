/* From the expression of an operator to its loops. Included at the top of each file of expressions, once for each
 * instruction set; no guard.
 *
 * An expression is a struct named after its table:
 *
 *     struct egda_MaoMax : Fold {
 *         template <class T> static T apply(T a, T b) { return a > b ? a : b; }
 *     };
 *
 *  1. Its base says how many sources it takes (One, Two, Fold) and, with InDouble, that it is computed on F64 and C128
 *     whatever the source is.
 *  2. What `apply` returns is what the destination holds; bool is a byte of 0 or 1.
 *  3. `stops(b)` tells the second operands at which the operator stops; `apply` must be defined for them all the same.
 *  4. `keepsPart<T>`: `apply` gets the old element of the destination as its last argument.
 *  5. `copies<T>`: the element itself is the result, and there is no loop.
 *  6. `cell<T>()`: a cell of the operator's own making, in place of the one made here. */

#define EMANTLE_TEXT(name) #name
#define EMANTLE_TEXT_OF(name) EMANTLE_TEXT(name)

namespace emantle::EMANTLE_TARGET {

/* The one without fused multiplication. */
inline constexpr bool isBaseline = std::string_view(EMANTLE_TEXT_OF(EMANTLE_TARGET)) == "baseline";
inline constexpr int kVectorBytes = isBaseline                                                        ? 16
                                    : std::string_view(EMANTLE_TEXT_OF(EMANTLE_TARGET)) == "avx2" ? 32
                                                                                                    : 64;

struct OnStored {
    template <class T>
    using Read = T;
    static constexpr bool walksSource = false;
    static constexpr bool fills = false;
};
struct InDouble : OnStored {
    template <class T>
    using Read = std::conditional_t<isComplexValue<T>, Egda_Complex128, double>;
};

template <Arity count, class Reading = OnStored>
struct Takes : Reading {
    static constexpr Arity arity = count;
};
using One = Takes<Arity::one>;
using Two = Takes<Arity::two>;
using Fold = Takes<Arity::fold>;
using OneInDouble = Takes<Arity::one, InDouble>;
using TwoInDouble = Takes<Arity::two, InDouble>;

template <class T>
using Stored = std::conditional_t<std::is_same_v<T, bool>, std::uint8_t, T>;

template <class Op, class A>
void loopOverOne(void* dest, const void* a, const void*, long count)
{
    using Result = Stored<decltype(Op::apply(A{}))>;
    auto* out = static_cast<Cell<Result>*>(dest);
    const auto* x = static_cast<const Cell<A>*>(a);
#if !defined(__clang__)
#pragma GCC ivdep
#endif
    for (long i = 0; i < count; ++i) {
        out[i].value = Op::apply(x[i].value);
    }
}

/* Only the parts that `apply` gives new values differ from what was there. */
template <class Op, class A>
void loopKeepingPart(void* dest, const void* a, const void*, long count)
{
    auto* out = static_cast<Cell<A>*>(dest);
    const auto* x = static_cast<const Cell<A>*>(a);
    for (long i = 0; i < count; ++i) {
        out[i].value = Op::apply(x[i].value, out[i].value);
    }
}

template <class Op, class A, class B>
void loopOverTwo(void* dest, const void* a, const void* b, long count)
{
    using Result = Stored<decltype(Op::apply(A{}, B{}))>;
    auto* out = static_cast<Cell<Result>*>(dest);
    const auto* x = static_cast<const Cell<A>*>(a);
    const auto* y = static_cast<const Cell<B>*>(b);
#if !defined(__clang__)
#pragma GCC ivdep
#endif
    for (long i = 0; i < count; ++i) {
        out[i].value = Op::apply(x[i].value, y[i].value);
    }
}

/* Looks at whole runs before it looks for the element. */
template <class Op, class B>
long scanForStop(const void* b, const std::uint8_t* mask, long count)
{
    const auto* y = static_cast<const Cell<B>*>(b);
    constexpr long run = 256;
    for (long first = 0; first < count; first += run) {
        const long end = first + run < count ? first + run : count;
        unsigned stops = 0;
        if (mask == nullptr) {
            for (long i = first; i < end; ++i) {
                stops |= Op::stops(y[i].value) ? 1U : 0U;
            }
        } else {
            for (long i = first; i < end; ++i) {
                stops |= Op::stops(y[i].value) ? static_cast<unsigned>(mask[i]) : 0U;
            }
        }
        for (long i = first; stops != 0 && i < end; ++i) {
            if (Op::stops(y[i].value) && (mask == nullptr || mask[i] != 0)) {
                return i;
            }
        }
    }
    return count;
}

template <class Op, class T>
consteval bool isCopy()
{
    if constexpr (requires { Op::template copies<T>; }) {
        return Op::template copies<T>;
    } else {
        return false;
    }
}

template <class Op, class T>
consteval bool keepsPartOf()
{
    if constexpr (requires { Op::template keepsPart<T>; }) {
        return Op::template keepsPart<T>;
    } else {
        return false;
    }
}

template <class Op, class T>
consteval LineCell cellFor()
{
    using Read = typename Op::template Read<T>;
    constexpr OperandTypes operand{codeOf<T>, codeOf<Read>};
    if constexpr (requires { Op::template cell<T>(); }) {
        return Op::template cell<T>();
    } else if constexpr (isCopy<Op, T>()) {
        return {nullptr, nullptr, nullptr, {operand, operand}, codeOf<Read>, false};
    } else if constexpr (keepsPartOf<Op, T>()) {
        return {loopKeepingPart<Op, T>, nullptr, nullptr, {operand, operand}, codeOf<T>, true};
    } else if constexpr (Op::arity == Arity::one) {
        using Result = Stored<decltype(Op::apply(Read{}))>;
        return {loopOverOne<Op, Read>, nullptr, nullptr, {operand, operand}, codeOf<Result>, false};
    } else {
        using Result = Stored<decltype(Op::apply(Read{}, Read{}))>;
        LineCell cell{loopOverTwo<Op, Read, Read>, nullptr, nullptr, {operand, operand}, codeOf<Result>, false};
        if constexpr (Op::arity == Arity::fold) {
            cell.next = loopOverTwo<Op, Result, Read>;
        }
        if constexpr (requires { Op::stops(T{}); }) {
            cell.stop = scanForStop<Op, T>;
        }
        return cell;
    }
}

/* A cell of an operator that is computed on F64 and C128 by loops of its own. */
template <class T>
consteval LineCell doubleCell(LineLoop real, LineLoop complex, bool quick = false)
{
    if constexpr (isComplexValue<T>) {
        return {complex, nullptr, nullptr, {{codeOf<T>, EGDA_TYPE_C128}}, EGDA_TYPE_C128, false};
    } else {
        return {real, nullptr, nullptr, {{codeOf<T>, EGDA_TYPE_F64}}, EGDA_TYPE_F64, false, quick};
    }
}

template <class Op, class T, std::uint16_t bits>
consteval void setCell(LineCells& cells)
{
    if constexpr (TypeSet{bits}.has(codeOf<T>)) {
        cells[codeOf<T>] = cellFor<Op, T>();
    }
}

template <class Op, std::uint16_t bits, class... T>
consteval LineCells lineCells(TypeList<T...>)
{
    LineCells cells{};
    (setCell<Op, T, bits>(cells), ...);
    if constexpr (TypeSet{bits}.has(EGDA_TYPE_STRING)) {
        cells[EGDA_TYPE_STRING] = cellFor<Op, char*>();
    }
    return cells;
}

}  // namespace emantle::EMANTLE_TARGET

#undef EMANTLE_TEXT
#undef EMANTLE_TEXT_OF
