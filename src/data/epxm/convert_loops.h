/* Conversion of runs of elements. Compiled once for each instruction set: nothing here calls an inline function from
 * outside its namespace. */

#include "data/epxm/float_whole_loops.h"

namespace emantle::EMANTLE_TARGET {

/* Adds `half` away from zero; where the limits leave no value below zero the sign is known. */
template <class To, class Float>
inline Float awayFromZero(Float value, Float half)
{
    if constexpr (To::low == 0) {
        return value + half;
    } else {
        return value + (std::is_same_v<Float, float> ? static_cast<Float>(__builtin_copysignf(half, value))
                                                     : static_cast<Float>(__builtin_copysign(half, value)));
    }
}

template <class To>
inline typename To::Storage wholeFromDouble(double value)
{
    constexpr double low = To::low;
    constexpr double high = To::high;
    value = value > low ? value : low; /* also what NaN becomes */
    value = value < high ? value : high;
    value = awayFromZero<To>(value, 0.5);
    if constexpr (To::high == UINT32_MAX) {
        /* Vector units before AVX-512 convert to signed numbers alone. */
        const bool upper = value >= 2147483648.0;
        const auto rest = static_cast<std::int32_t>(upper ? value - 2147483648.0 : value);
        return static_cast<std::uint32_t>(rest) + (upper ? 0x80000000u : 0u);
    } else {
        return static_cast<typename To::Storage>(static_cast<std::int32_t>(value));
    }
}

/* The same result for types of up to 16 bits without leaving float. */
template <class To>
inline typename To::Storage wholeFromFloat(float value)
{
    constexpr float low = To::low;
    constexpr float high = To::high;
    value = value > low ? value : low;
    value = value < high ? value : high;
    value = awayFromZero<To>(value, kBelowHalf);
    return static_cast<typename To::Storage>(static_cast<std::int32_t>(value));
}

template <class To, class Value>
inline typename To::Storage wholeFromWhole(Value value)
{
    constexpr std::int64_t low = static_cast<Value>(-1) < 0 ? -(std::int64_t{1} << (8 * sizeof(Value) - 1)) : 0;
    constexpr std::int64_t high = low < 0 ? -(low + 1) : (std::int64_t{1} << 8 * sizeof(Value)) - 1;
    if constexpr (low < To::low) {
        value = value < static_cast<Value>(To::low) ? static_cast<Value>(To::low) : value;
    }
    if constexpr (high > To::high) {
        value = value > static_cast<Value>(To::high) ? static_cast<Value>(To::high) : value;
    }
    return static_cast<typename To::Storage>(value);
}

template <class To, class Value>
inline typename To::Storage converted(Value value)
{
    if constexpr (isComplexValue<Value>) {
        const double real = value.real;
        const double imaginary = value.imaginary;
        return converted<To>(__builtin_sqrt(real * real + imaginary * imaginary));
    } else if constexpr (!isWhole<To>) {
        return static_cast<typename To::Storage>(value);
    } else if constexpr (std::is_integral_v<Value>) {
        return wholeFromWhole<To>(value);
    } else if constexpr (sizeof(value) == sizeof(float) && sizeof(typename To::Storage) <= 2) {
        return wholeFromFloat<To>(value);
    } else {
        return wholeFromDouble<To>(value);
    }
}

template <class To, class Value>
inline void convertCell(const Cell<Value>& source, Cell<typename To::Storage>& dest)
{
    if constexpr (!isComplex<To>) {
        dest.value = converted<To>(source.value);
    } else if constexpr (isComplexValue<Value>) {
        const Value value = source.value;
        dest.value.real = static_cast<typename To::PartStorage>(value.real);
        dest.value.imaginary = static_cast<typename To::PartStorage>(value.imaginary);
    } else {
        dest.value.real = static_cast<typename To::PartStorage>(source.value);
        dest.value.imaginary = 0;
    }
}

template <class To, class Value>
void convert(const void* source, void* dest, long count)
{
    if constexpr (isComplex<To> && isComplexValue<Value>) {
        convert<Real<typename To::PartStorage>, decltype(Value::real)>(source, dest, 2 * count);
    } else {
        constexpr long size = sizeof(typename To::Storage);
        /* One source, wider than the destination, leaves it more of the caches. */
        constexpr long share = size < static_cast<long>(sizeof(Value)) ? 2 : 1;
        if (count > kNeverStreamed / size && isStreamed(count * size / share)) {
            return convertStreaming(convert<To, Value>, source, sizeof(Value), dest, size, count);
        }
        const auto* in = static_cast<const Cell<Value>*>(source);
        auto* out = static_cast<Cell<typename To::Storage>*>(dest);
        long first = 0;
        if constexpr (std::is_floating_point_v<Value> && isWhole<To>) {
            if constexpr (To::high <= INT32_MAX) {
                first = floatsToWhole<To, true, Value>(source, dest, count);
            }
        }
#if !defined(__clang__) /* which looks for overlap itself, and warns where a promise of none does not help */
#pragma GCC ivdep
#endif
        for (long i = first; i < count; ++i) {
            convertCell<To>(in[i], out[i]);
        }
    }
}

template <std::size_t size>
void copy(const void* source, void* dest, long count)
{
    const long bytes = count * static_cast<long>(size);
    if (bytes > kNeverStreamed && isStreamed(bytes)) {
        copyStreaming(source, dest, bytes);
    } else if (count > 0) {
        __builtin_memmove(dest, source, static_cast<std::size_t>(count) * size);
    }
}

template <class To, class Value>
void convertInc(const void* source, void* dest, long count, long sourceStep, long destStep)
{
    for (long i = 0; i < count; ++i) {
        convertCell<To>(*reinterpret_cast<const Cell<Value>*>(static_cast<const char*>(source) + i * sourceStep),
                        *reinterpret_cast<Cell<typename To::Storage>*>(static_cast<char*>(dest) + i * destStep));
    }
}

template <class Storage>
void copyInc(const void* source, void* dest, long count, long sourceStep, long destStep)
{
    for (long i = 0; i < count; ++i) {
        const auto element = *reinterpret_cast<const Cell<Storage>*>(static_cast<const char*>(source) + i * sourceStep);
        *reinterpret_cast<Cell<Storage>*>(static_cast<char*>(dest) + i * destStep) = element;
    }
}

/* Loops are made by the storage of the source, so the four byte types share theirs; an equal type is a copy. */
struct Contiguous {
    template <class To, class From>
    static consteval Epxm_ConvertRoutine cell()
    {
        if constexpr (std::is_same_v<To, From>) {
            return copy<sizeof(typename To::Storage)>;
        } else {
            return convert<To, typename From::Storage>;
        }
    }
};

struct Stepped {
    template <class To, class From>
    static consteval Epxm_ConvertIncRoutine cell()
    {
        if constexpr (std::is_same_v<To, From>) {
            return copyInc<typename To::Storage>;
        } else {
            return convertInc<To, typename From::Storage>;
        }
    }
};

constexpr auto kConvert = convertCells<Contiguous, Epxm_ConvertRoutine>(convertStrings);

}  // namespace emantle::EMANTLE_TARGET
