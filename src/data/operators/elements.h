#pragma once

#include "data/epxm/element_types.h"
#include "data/operators/frame.h"
#include "data/operators/row.h"

#include <algorithm>
#include <limits>
#include <string_view>

/* What a file of expressions needs before the loops are made for each instruction set: the types that have loops, and
 * the tables made of them. */

namespace emantle {

template <class T>
inline constexpr Egda_PixelType codeOf = -1;
template <>
inline constexpr Egda_PixelType codeOf<std::uint8_t> = EGDA_TYPE_U8;
template <>
inline constexpr Egda_PixelType codeOf<std::int8_t> = EGDA_TYPE_S8;
template <>
inline constexpr Egda_PixelType codeOf<std::uint16_t> = EGDA_TYPE_U16;
template <>
inline constexpr Egda_PixelType codeOf<std::int16_t> = EGDA_TYPE_S16;
template <>
inline constexpr Egda_PixelType codeOf<std::uint32_t> = EGDA_TYPE_U32;
template <>
inline constexpr Egda_PixelType codeOf<std::int32_t> = EGDA_TYPE_S32;
template <>
inline constexpr Egda_PixelType codeOf<float> = EGDA_TYPE_F32;
template <>
inline constexpr Egda_PixelType codeOf<double> = EGDA_TYPE_F64;
template <>
inline constexpr Egda_PixelType codeOf<Egda_Complex64> = EGDA_TYPE_C64;
template <>
inline constexpr Egda_PixelType codeOf<Egda_Complex128> = EGDA_TYPE_C128;
template <>
inline constexpr Egda_PixelType codeOf<char*> = EGDA_TYPE_STRING;

using LoopTypes = TypeList<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float,
                           double, Egda_Complex64, Egda_Complex128>;

}  // namespace emantle

/* The operator of the expression `op`, by the name that its reports bear; behind for_each_target.h. */
#define EMANTLE_ELEMENT_OPERATOR(op, types, name)                                                             \
    namespace emantle {                                                                                       \
    namespace {                                                                                               \
    constexpr LineCells op##Baseline = baseline::lineCells<baseline::op, type_sets::types.bits>(LoopTypes{}); \
    constexpr LineCells op##Avx2 = avx2::lineCells<avx2::op, type_sets::types.bits>(LoopTypes{});             \
    constexpr LineCells op##Avx512 = avx512::lineCells<avx512::op, type_sets::types.bits>(LoopTypes{});       \
    }                                                                                                         \
    extern const Operator op##Operator; /* has a name outside, for the tests of each instruction set */       \
    constexpr Operator op##Operator{name,                                                                     \
                                    baseline::op::arity,                                                      \
                                    baseline::op::walksSource,                                                \
                                    baseline::op::fills,                                                      \
                                    {&op##Baseline, &op##Avx2, &op##Avx512}};                                 \
    }

/* The accessor of a table whose cells come from `Family` (row.h). */
#define EMANTLE_TABLE_ACCESSOR(table, types, ...)                                                  \
    EMANTLE_API Egda_OperatorTable emsc_AddressOf_##table(void)                                    \
    {                                                                                              \
        return emantle::TableOf<__VA_ARGS__, emantle::type_sets::types.bits>::rows.data();         \
    }

/* Both for a table of the list. */
#define EMANTLE_ELEMENT_TABLE(table, types)                                                         \
    EMANTLE_ELEMENT_OPERATOR(table, types, #table)                                                  \
    EMANTLE_TABLE_ACCESSOR(table, types, emantle::OperatorFamily<emantle::table##Operator>)
