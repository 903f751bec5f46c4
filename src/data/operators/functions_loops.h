#include "data/operators/line_loops.h"

#include "data/operators/doubles_loops.h"

#if EMANTLE_OF_TARGET(LANES) > 2
#include "data/operators/circular_loops.h"
#include "data/operators/exponential_loops.h"
#endif

/* The mathematics library's names for what it computes on vectors, within 1 unit in the last place. */
#define EMANTLE_NAME_baseline(function) Sleef_##function##d2_u10sse2
#define EMANTLE_NAME_avx2(function) Sleef_##function##d4_u10avx2
#define EMANTLE_NAME_avx512(function) Sleef_##function##d8_u10avx512f
#define EMANTLE_VECTORISED(function) EMANTLE_OF_TARGET(NAME)(function)

namespace emantle::EMANTLE_TARGET {

extern "C" {
Doubles EMANTLE_VECTORISED(asin)(Doubles);
Doubles EMANTLE_VECTORISED(acos)(Doubles);
#if EMANTLE_OF_TARGET(LANES) == 2
Doubles EMANTLE_VECTORISED(sin)(Doubles);
Doubles EMANTLE_VECTORISED(cos)(Doubles);
Doubles EMANTLE_VECTORISED(tan)(Doubles);
Doubles EMANTLE_VECTORISED(atan)(Doubles);
Doubles EMANTLE_VECTORISED(sinh)(Doubles);
Doubles EMANTLE_VECTORISED(cosh)(Doubles);
Doubles EMANTLE_VECTORISED(tanh)(Doubles);
Doubles EMANTLE_VECTORISED(asinh)(Doubles);
Doubles EMANTLE_VECTORISED(acosh)(Doubles);
Doubles EMANTLE_VECTORISED(log)(Doubles);
Doubles EMANTLE_VECTORISED(exp)(Doubles);
Doubles EMANTLE_VECTORISED(log10)(Doubles);
#endif
}

/* The C library where the vectorised function loses digits or has other limits; in long double, since what it gives for
 * doubles is not always within the unit. */
template <class Function>
__attribute__((noinline)) Doubles mended(Doubles x, Doubles result)
{
    for (long i = 0; i < kLanes; ++i) {
        if (!(x[i] >= Function::least && x[i] <= Function::most)) {
            result[i] = Function::of(x[i]);
        }
    }
    return result;
}

template <class Function>
inline Doubles functionOf(Doubles x)
{
    const Doubles result = Function::of(x);
    if (!areWithin(x, Function::least, Function::most)) [[unlikely]] {
        return mended<Function>(x, result);
    }
    return result;
}

/* A last vector that is not full is computed beside the operands. */
template <class Function>
void functionLoop(void* dest, const void* a, const void*, long count)
{
    auto* out = static_cast<Cell<double>*>(dest);
    const auto* x = static_cast<const Cell<double>*>(a);
    long i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        store(out + i, functionOf<Function>(load(x + i)));
    }
    if (i < count) {
        const auto bytes = static_cast<std::size_t>(count - i) * sizeof(double);
        Doubles last = all(1);
        __builtin_memcpy(&last, x + i, bytes);
        last = functionOf<Function>(last);
        __builtin_memcpy(out + i, &last, bytes);
    }
}

/* Both forms of a function, and where the vectorised one is used. */
#define EMANTLE_FUNCTION(function, vectorised, from, to)                           \
    struct function##Function {                                                    \
        static constexpr double least = from;                                      \
        static constexpr double most = to;                                         \
        static Doubles of(Doubles x) { return vectorised(x); }                     \
        static double of(double x)                                                 \
        {                                                                          \
            return static_cast<double>(std::function(static_cast<long double>(x))); \
        }                                                                          \
    };
#if EMANTLE_OF_TARGET(LANES) > 2
EMANTLE_FUNCTION(sin, sine, -1e9, 1e9)
EMANTLE_FUNCTION(cos, cosine, -1e9, 1e9)
EMANTLE_FUNCTION(tan, tangent, -1e9, 1e9)
EMANTLE_FUNCTION(atan, inverseTangent, -1e300, 1e300)
EMANTLE_FUNCTION(sinh, hyperbolicSine, -kMostExponent, kMostExponent)
EMANTLE_FUNCTION(cosh, hyperbolicCosine, -kMostExponent, kMostExponent)
EMANTLE_FUNCTION(tanh, hyperbolicTangent, -1e300, 1e300)
EMANTLE_FUNCTION(log, logarithm, kLeastBase, kMostBase)
EMANTLE_FUNCTION(exp, exponential, -kMostExponent, kMostExponent)
EMANTLE_FUNCTION(log10, decimalLogarithm, kLeastBase, kMostBase)
EMANTLE_FUNCTION(asinh, inverseHyperbolicSine, -1e150, 1e150)
EMANTLE_FUNCTION(acosh, inverseHyperbolicCosine, 1, 1e150)
#else
EMANTLE_FUNCTION(sin, EMANTLE_VECTORISED(sin), -1e9, 1e9)
EMANTLE_FUNCTION(cos, EMANTLE_VECTORISED(cos), -1e9, 1e9)
EMANTLE_FUNCTION(tan, EMANTLE_VECTORISED(tan), -1e9, 1e9)
EMANTLE_FUNCTION(atan, EMANTLE_VECTORISED(atan), -1e300, 1e300)
EMANTLE_FUNCTION(sinh, EMANTLE_VECTORISED(sinh), -700, 700)
EMANTLE_FUNCTION(cosh, EMANTLE_VECTORISED(cosh), -700, 700)
EMANTLE_FUNCTION(tanh, EMANTLE_VECTORISED(tanh), -1e300, 1e300)
EMANTLE_FUNCTION(log, EMANTLE_VECTORISED(log), 1e-300, 1e300)
EMANTLE_FUNCTION(exp, EMANTLE_VECTORISED(exp), -700, 700)
EMANTLE_FUNCTION(log10, EMANTLE_VECTORISED(log10), 1e-300, 1e300)
EMANTLE_FUNCTION(asinh, EMANTLE_VECTORISED(asinh), -1e150, 1e150)
EMANTLE_FUNCTION(acosh, EMANTLE_VECTORISED(acosh), -1e150, 1e150)
#endif
EMANTLE_FUNCTION(asin, EMANTLE_VECTORISED(asin), -1e300, 1e300)
EMANTLE_FUNCTION(acos, EMANTLE_VECTORISED(acos), -1e300, 1e300)
#undef EMANTLE_FUNCTION

/* What an operator is for real and for complex numbers. */
template <class Function, LineLoop complex>
struct Computes : One {
    template <class T>
    static consteval LineCell cell()
    {
        return doubleCell<T>(functionLoop<Function>, complex);
    }
};

struct egda_FuncSin : Computes<sinFunction, complexSin> {};
struct egda_FuncCos : Computes<cosFunction, complexCos> {};
struct egda_FuncTan : Computes<tanFunction, complexTan> {};
struct egda_FuncSinh : Computes<sinhFunction, complexSinh> {};
struct egda_FuncCosh : Computes<coshFunction, complexCosh> {};
struct egda_FuncTanh : Computes<tanhFunction, complexTanh> {};
struct egda_FuncAsin : Computes<asinFunction, complexAsin> {};
struct egda_FuncAcos : Computes<acosFunction, complexAcos> {};
struct egda_FuncAtan : Computes<atanFunction, complexAtan> {};
struct egda_FuncAsinh : Computes<asinhFunction, complexAsinh> {};
struct egda_FuncAcosh : Computes<acoshFunction, complexAcosh> {};
struct egda_FuncLog : Computes<logFunction, complexLog> {};
struct egda_FuncExp : Computes<expFunction, complexExp> {};
struct egda_FuncLog10 : Computes<log10Function, complexLog10> {};

/* Those that the processor has itself. */

struct SquareRoot {
    static double apply(double x) { return __builtin_sqrt(x); }
};

struct Inverse {
    static double apply(double x) { return 1 / x; }
};

struct egda_FuncSqrt : One {
    template <class T>
    static consteval LineCell cell()
    {
        return doubleCell<T>(loopOverOne<SquareRoot, double>, complexSqrt, true);
    }
};

struct egda_SaoInv : One {
    template <class T>
    static consteval LineCell cell()
    {
        return doubleCell<T>(loopOverOne<Inverse, double>, complexInv, true);
    }
};

inline constexpr double kPi = 3.14159265358979323846;

struct Piece {
    Cell<double> values[64];
};

/* sin(y) / y of pi times the element, which is no number for 0. */
inline void sincLoop(void* dest, const void* a, const void*, long count)
{
    auto* out = static_cast<Cell<double>*>(dest);
    const auto* x = static_cast<const Cell<double>*>(a);
    constexpr long piece = 64;
    for (long first = 0; first < count; first += piece) {
        const long most = count - first < piece ? count - first : piece;
        Piece angles;
        Piece sines;
        for (long i = 0; i < most; ++i) {
            angles.values[i].value = x[first + i].value * kPi;
        }
        functionLoop<sinFunction>(sines.values, angles.values, nullptr, most);
        for (long i = 0; i < most; ++i) {
            out[first + i].value = sines.values[i].value / angles.values[i].value;
        }
    }
}

struct egda_SaoSinc : One {
    template <class T>
    static consteval LineCell cell()
    {
        return doubleCell<T>(sincLoop, complexSinc);
    }
};

struct egda_MaoDist : TwoInDouble {
    static double apply(double a, double b) { return __builtin_sqrt(a * a + b * b); }
};

/* Powers that the processor rounds correctly itself: squares, square roots, inverses and the bases as they are. False for
 * other exponents, or where they differ. */
inline bool isSimplePower(const Cell<double>* x, const Cell<double>* y, Cell<double>* out, long count)
{
    const double exponent = y[0].value;
    bool alike = exponent == 2 || exponent == 0.5 || exponent == -1 || exponent == 1;
    for (long i = 1; alike && i < count; ++i) {
        alike = y[i].value == exponent;
    }
    for (long i = 0; alike && i < count; ++i) {
        const double base = x[i].value;
        /* Roots have no sign, and those of both infinities are one. */
        const double positive = base == -__builtin_inf() ? -base : base + 0.0;
        out[i].value = exponent == 2     ? base * base
                       : exponent == 0.5 ? __builtin_sqrt(positive)
                       : exponent == -1  ? 1 / base
                                         : base;
    }
    return alike;
}

#if EMANTLE_OF_TARGET(LANES) > 2

/* The C library for bases that are not positive, and beside the limits of a double. */
__attribute__((noinline)) inline Doubles mendedPower(Doubles base, Doubles exponent, Doubles logarithm, Doubles result)
{
    for (long i = 0; i < kLanes; ++i) {
        if (!(base[i] >= kLeastBase && base[i] <= kMostBase && std::fabs(logarithm[i]) <= kMostExponent)) {
            result[i] = std::pow(base[i], exponent[i]);
        }
    }
    return result;
}

inline Doubles power(Doubles base, Doubles exponent)
{
    Doubles logarithm;
    const Doubles result = powerOf(base, exponent, logarithm);
    if (!areWithin(base, kLeastBase, kMostBase) || !areWithin(logarithm, -kMostExponent, kMostExponent)) [[unlikely]] {
        return mendedPower(base, exponent, logarithm, result);
    }
    return result;
}

inline void powers(const Cell<double>* x, const Cell<double>* y, Cell<double>* out, long count)
{
    long i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        store(out + i, power(load(x + i), load(y + i)));
    }
    if (i < count) {
        const auto bytes = static_cast<std::size_t>(count - i) * sizeof(double);
        Doubles base = all(1);
        Doubles exponent = all(1);
        __builtin_memcpy(&base, x + i, bytes);
        __builtin_memcpy(&exponent, y + i, bytes);
        base = power(base, exponent);
        __builtin_memcpy(out + i, &base, bytes);
    }
}

#else

/* Vectors of two without fused multiplication are no faster than this. */
inline void powers(const Cell<double>* x, const Cell<double>* y, Cell<double>* out, long count)
{
    for (long i = 0; i < count; ++i) {
        out[i].value = std::pow(x[i].value, y[i].value);
    }
}

#endif

inline void powLoop(void* dest, const void* a, const void* b, long count)
{
    auto* out = static_cast<Cell<double>*>(dest);
    const auto* x = static_cast<const Cell<double>*>(a);
    const auto* y = static_cast<const Cell<double>*>(b);
    constexpr long piece = 64;
    for (long first = 0; first < count; first += piece) {
        const long most = count - first < piece ? count - first : piece;
        if (!isSimplePower(x + first, y + first, out + first, most)) {
            powers(x + first, y + first, out + first, most);
        }
    }
}

/* The exponents of complex numbers are read as a run of doubles, whatever their type. */
struct egda_MaoPow : Two {
    template <class T>
    static consteval LineCell cell()
    {
        LineCell cell = doubleCell<T>(powLoop, complexPow);
        cell.operands[1] = {isComplexValue<T> ? Egda_PixelType{EGDA_TYPE_F64} : codeOf<T>, EGDA_TYPE_F64};
        return cell;
    }
};

}  // namespace emantle::EMANTLE_TARGET

#undef EMANTLE_NAME_baseline
#undef EMANTLE_NAME_avx2
#undef EMANTLE_NAME_avx512
#undef EMANTLE_VECTORISED
#undef EMANTLE_JOIN
#undef EMANTLE_OF_TARGET
#undef EMANTLE_OF_TARGET_
#undef EMANTLE_DOUBLES_baseline
#undef EMANTLE_DOUBLES_avx2
#undef EMANTLE_DOUBLES_avx512
#undef EMANTLE_LANES_baseline
#undef EMANTLE_LANES_avx2
#undef EMANTLE_LANES_avx512
