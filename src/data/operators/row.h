#pragma once

#include <emantle/data/egda/operations.h>

#include <array>
#include <cstdint>
#include <utility>

/* Rows of operator tables: which cells compute, and what stands in the others. */

namespace emantle {

/* A set of type codes, by the names that operations.def uses. */
struct TypeSet {
    std::uint16_t bits;

    constexpr bool has(Egda_PixelType type) const { return (bits >> type & 1) != 0; }
};

namespace type_sets {

inline constexpr TypeSet real{(1 << EGDA_TYPE_C64) - 1};
inline constexpr TypeSet all{(1 << EGDA_TYPE_STRING) - 1};
inline constexpr TypeSet real_text{real.bits | 1 << EGDA_TYPE_STRING};
inline constexpr TypeSet all_text{all.bits | 1 << EGDA_TYPE_STRING};
inline constexpr TypeSet f64_only{1 << EGDA_TYPE_F64};

}  // namespace type_sets

/* The type whose loops serve `type`: U1, U2 and U4 are stored and computed as U8. */
constexpr Egda_PixelType loopType(Egda_PixelType type)
{
    return type < EGDA_TYPE_U8 ? Egda_PixelType{EGDA_TYPE_U8} : type;
}

using OperatorCells = std::array<Egda_OperatorCell, EGDA_NUM_TYPES>;
using OperatorRows = std::array<Egda_OperatorRow, EGDA_NUM_OBJECTS>;

/* `Family::routine<type>()` is the routine of a type, U8 for all the bytes; it is asked for types of the set alone. */
template <class Family, int type, std::uint16_t bits>
consteval Egda_OperatorRoutine cellRoutine()
{
    if constexpr (TypeSet{bits}.has(type)) {
        return Family::template routine<loopType(type)>();
    } else {
        return egda_NoOperation;
    }
}

template <class Family, std::uint16_t bits, int... type>
consteval OperatorCells cellsOf(std::integer_sequence<int, type...>)
{
    return {{{cellRoutine<Family, type, bits>(), {0, 0}}...}};
}

/* Every set keeps the rule that the bytes go together, since they share a routine, and names types alone. */
constexpr bool keepsTheRule(TypeSet types)
{
    constexpr unsigned bytes = (1 << (EGDA_TYPE_U8 + 1)) - 1;
    return (types.bits >> EGDA_NUM_TYPES) == 0 && ((types.bits & bytes) == 0 || (types.bits & bytes) == bytes);
}
static_assert(loopType(EGDA_TYPE_U1) == EGDA_TYPE_U8 && loopType(EGDA_TYPE_U2) == EGDA_TYPE_U8 &&
              loopType(EGDA_TYPE_U4) == EGDA_TYPE_U8 && loopType(EGDA_TYPE_S8) == EGDA_TYPE_S8);

/* The table of a family: the address to return from its accessor. All objects share the row. */
template <class Family, std::uint16_t bits>
struct TableOf {
    static constexpr OperatorCells cells = cellsOf<Family, bits>(std::make_integer_sequence<int, EGDA_NUM_TYPES>{});
    static_assert(keepsTheRule(TypeSet{bits}));
    static constexpr OperatorRows rows{cells.data(), cells.data(), cells.data(), cells.data()};
    /* For routines that only tables and matrices may reach. */
    static constexpr OperatorRows rowsOfMatrices{nullptr, cells.data(), cells.data(), nullptr};
};

}  // namespace emantle
