#pragma once

#include <emantle/data/egda/types.h>

#include <cstdint>
#include <type_traits>

/* The element types as the loops see them: how an element is stored, and the limits that conversions clamp to. */

namespace emantle {

template <class Stored, Stored Low, Stored High>
struct Whole {
    using Storage = Stored;
    static constexpr Stored low = Low;
    static constexpr Stored high = High;
};

template <class Stored>
struct Real {
    using Storage = Stored;
};

template <class Stored, class Part>
struct Complex {
    using Storage = Stored;
    using PartStorage = Part;
};

using U1 = Whole<std::uint8_t, 0, 1>;
using U2 = Whole<std::uint8_t, 0, 3>;
using U4 = Whole<std::uint8_t, 0, 15>;
using U8 = Whole<std::uint8_t, 0, 255>;
using S8 = Whole<std::int8_t, INT8_MIN, INT8_MAX>;
using U16 = Whole<std::uint16_t, 0, UINT16_MAX>;
using S16 = Whole<std::int16_t, INT16_MIN, INT16_MAX>;
using U32 = Whole<std::uint32_t, 0, UINT32_MAX>;
using S32 = Whole<std::int32_t, INT32_MIN, INT32_MAX>;
using F32 = Real<float>;
using F64 = Real<double>;
using C64 = Complex<Egda_Complex64, float>;
using C128 = Complex<Egda_Complex128, double>;

template <class T>
inline constexpr bool isWhole = false;
template <class Stored, Stored Low, Stored High>
inline constexpr bool isWhole<Whole<Stored, Low, High>> = true;

template <class T>
inline constexpr bool isComplex = false;
template <class Stored, class Part>
inline constexpr bool isComplex<Complex<Stored, Part>> = true;

template <class Value>
inline constexpr bool isComplexValue = std::is_same_v<Value, Egda_Complex64> || std::is_same_v<Value, Egda_Complex128>;

/* An element in memory of any alignment and any origin: a row of a caller's buffer, a field of a file. */
template <class Storage>
struct [[gnu::packed, gnu::may_alias]] Cell {
    Storage value;
};

/* The types in the order of their codes, and the type of a code; all but strings. */
template <class... Types>
struct TypeList {
    static constexpr int count = sizeof...(Types);
};
using NumberTypes = TypeList<U1, U2, U4, U8, S8, U16, S16, U32, S32, F32, F64, C64, C128>;
static_assert(NumberTypes::count == EGDA_TYPE_STRING);

}  // namespace emantle
