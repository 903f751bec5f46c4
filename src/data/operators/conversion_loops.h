#include "data/epxm/float_whole_loops.h"
#include "data/operators/line_loops.h"

namespace emantle::EMANTLE_TARGET {

/* Clamped to the limits of the type and truncated; NaN becomes the lower limit. Limits of 16 bits are exact floats. */
template <class To, class T>
inline typename To::Storage truncatedTo(T value)
{
    if constexpr (sizeof(T) == 4 && sizeof(typename To::Storage) == 4) {
        return truncatedTo<To>(static_cast<double>(value));
    } else {
        constexpr T low = To::low;
        constexpr T high = To::high;
        value = value > low ? value : low;
        value = value < high ? value : high;
        if constexpr (To::high == UINT32_MAX) {
            const bool upper = value >= 2147483648.0;
            const auto rest = static_cast<std::int32_t>(upper ? value - 2147483648.0 : value);
            return static_cast<std::uint32_t>(rest) + (upper ? 0x80000000U : 0U);
        } else {
            return static_cast<typename To::Storage>(static_cast<std::int32_t>(value));
        }
    }
}

/* Whatever needs no truncation is what epxm_Convert does. */
template <class To>
struct Converts : One {
    static constexpr bool walksSource = true;
    template <class T>
    static consteval LineCell cell()
    {
        return {nullptr, nullptr, nullptr, {{codeOf<T>, codeOf<To>}}, codeOf<To>, false};
    }
};

template <class To, class T>
void truncateFloats(void* dest, const void* a, const void*, long count)
{
    const auto* x = static_cast<const Cell<T>*>(a);
    auto* out = static_cast<Cell<typename To::Storage>*>(dest);
    for (long i = floatsToWhole<To, false, T>(a, dest, count); i < count; ++i) {
        out[i].value = truncatedTo<To>(x[i].value);
    }
}

template <class To>
struct Truncates : Converts<typename To::Storage> {
    template <class T>
    static auto apply(T value)
    {
        if constexpr (isComplexValue<T>) {
            const double real = value.real;
            const double imaginary = value.imaginary;
            return truncatedTo<To>(__builtin_sqrt(real * real + imaginary * imaginary));
        } else {
            return truncatedTo<To>(value);
        }
    }
    template <class T>
    static consteval LineCell cell()
    {
        LineCell cell = Converts<typename To::Storage>::template cell<T>();
        if constexpr (!std::is_integral_v<T>) {
            if constexpr (std::is_floating_point_v<T> && To::high <= INT32_MAX) {
                cell.loop = truncateFloats<To, T>;
            } else {
                cell.loop = loopOverOne<Truncates, T>;
            }
            cell.operands[0].read = codeOf<T>;
        }
        return cell;
    }
};

struct egda_ConvertToU8 : Truncates<U8> {};
struct egda_ConvertToS8 : Truncates<S8> {};
struct egda_ConvertToU16 : Truncates<U16> {};
struct egda_ConvertToS16 : Truncates<S16> {};
struct egda_ConvertToU32 : Truncates<U32> {};
struct egda_ConvertToS32 : Truncates<S32> {};
struct egda_ConvertToF32 : Converts<float> {};
struct egda_ConvertToF64 : Converts<double> {};
struct egda_ConvertToC64 : Converts<Egda_Complex64> {};
struct egda_ConvertToC128 : Converts<Egda_Complex128> {};

struct egda_ConvertRoundToU8 : Converts<std::uint8_t> {};
struct egda_ConvertRoundToS8 : Converts<std::int8_t> {};
struct egda_ConvertRoundToU16 : Converts<std::uint16_t> {};
struct egda_ConvertRoundToS16 : Converts<std::int16_t> {};
struct egda_ConvertRoundToU32 : Converts<std::uint32_t> {};
struct egda_ConvertRoundToS32 : Converts<std::int32_t> {};

}  // namespace emantle::EMANTLE_TARGET
