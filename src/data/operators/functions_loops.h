#include "data/operators/line_loops.h"

/* The vectors of the mathematics library, and its names for them. What it computes is within 1 unit in the last place.
 */
#define EMANTLE_DOUBLES_baseline __m128d
#define EMANTLE_DOUBLES_avx2 __m256d
#define EMANTLE_DOUBLES_avx512 __m512d
#define EMANTLE_NAME_baseline(function) Sleef_##function##d2_u10sse2
#define EMANTLE_NAME_avx2(function) Sleef_##function##d4_u10avx2
#define EMANTLE_NAME_avx512(function) Sleef_##function##d8_u10avx512f
#define EMANTLE_JOIN(a, b) a##b
#define EMANTLE_OF_TARGET(what, target) EMANTLE_JOIN(EMANTLE_##what##_, target)
#define EMANTLE_VECTORISED(function) EMANTLE_OF_TARGET(NAME, EMANTLE_TARGET)(function)

namespace emantle::EMANTLE_TARGET {

using Doubles = EMANTLE_OF_TARGET(DOUBLES, EMANTLE_TARGET);
inline constexpr long kLanes = sizeof(Doubles) / sizeof(double);

extern "C" {
Doubles EMANTLE_VECTORISED(sin)(Doubles);
Doubles EMANTLE_VECTORISED(cos)(Doubles);
Doubles EMANTLE_VECTORISED(tan)(Doubles);
Doubles EMANTLE_VECTORISED(sinh)(Doubles);
Doubles EMANTLE_VECTORISED(cosh)(Doubles);
Doubles EMANTLE_VECTORISED(tanh)(Doubles);
Doubles EMANTLE_VECTORISED(asin)(Doubles);
Doubles EMANTLE_VECTORISED(acos)(Doubles);
Doubles EMANTLE_VECTORISED(atan)(Doubles);
Doubles EMANTLE_VECTORISED(asinh)(Doubles);
Doubles EMANTLE_VECTORISED(acosh)(Doubles);
Doubles EMANTLE_VECTORISED(log)(Doubles);
Doubles EMANTLE_VECTORISED(exp)(Doubles);
Doubles EMANTLE_VECTORISED(log10)(Doubles);
Doubles EMANTLE_VECTORISED(pow)(Doubles, Doubles);
}

/* So many elements are looked at together, and put aside where some are not plain. */
inline constexpr long kPiece = 64;

struct Piece {
    Cell<double> values[kPiece];
};

inline Doubles load(const Cell<double>* from)
{
    Doubles values;
    __builtin_memcpy(&values, from, sizeof(values));
    return values;
}

inline void store(Cell<double>* to, Doubles values)
{
    __builtin_memcpy(to, &values, sizeof(values));
}

/* The vectorised function for `least` to `most`, and the C library outside, where the other loses digits or has other
 * limits. A last vector that is not full is computed beside the operands. */
template <class Function>
void functionOfPiece(const Cell<double>* x, Cell<double>* out, long count)
{
    long i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        store(out + i, Function::of(load(x + i)));
    }
    if (i < count) {
        const auto bytes = static_cast<std::size_t>(count - i) * sizeof(double);
        Cell<double> last[kLanes] = {};
        __builtin_memcpy(last, x + i, bytes);
        store(last, Function::of(load(last)));
        __builtin_memcpy(out + i, last, bytes);
    }
}

template <class Function>
void functionLoop(void* dest, const void* a, const void*, long count)
{
    auto* out = static_cast<Cell<double>*>(dest);
    const auto* x = static_cast<const Cell<double>*>(a);
    for (long first = 0; first < count; first += kPiece) {
        const long most = count - first < kPiece ? count - first : kPiece;
        bool plain = true;
        for (long i = 0; i < most; ++i) {
            const double value = x[first + i].value;
            plain &= (value >= Function::least) & (value <= Function::most);
        }
        if (plain) {
            functionOfPiece<Function>(x + first, out + first, most);
            continue;
        }
        Piece piece;
        __builtin_memcpy(&piece, x + first, static_cast<std::size_t>(most) * sizeof(double));
        functionOfPiece<Function>(piece.values, out + first, most);
        for (long i = 0; i < most; ++i) {
            const double value = piece.values[i].value;
            if (!((value >= Function::least) & (value <= Function::most))) {
                out[first + i].value = Function::of(value);
            }
        }
    }
}

/* Both forms of a function, and where the vectorised one is used. */
#define EMANTLE_FUNCTION(function, from, to)                                       \
    struct function##Function {                                                    \
        static constexpr double least = from;                                      \
        static constexpr double most = to;                                         \
        static Doubles of(Doubles x) { return EMANTLE_VECTORISED(function)(x); }   \
        static double of(double x) { return std::function(x); }                    \
    };
EMANTLE_FUNCTION(sin, -1e9, 1e9)
EMANTLE_FUNCTION(cos, -1e9, 1e9)
EMANTLE_FUNCTION(tan, -1e9, 1e9)
EMANTLE_FUNCTION(sinh, -700, 700)
EMANTLE_FUNCTION(cosh, -700, 700)
EMANTLE_FUNCTION(tanh, -1e300, 1e300)
EMANTLE_FUNCTION(asin, -1e300, 1e300)
EMANTLE_FUNCTION(acos, -1e300, 1e300)
EMANTLE_FUNCTION(atan, -1e300, 1e300)
EMANTLE_FUNCTION(asinh, -1e150, 1e150)
EMANTLE_FUNCTION(acosh, -1e150, 1e150)
EMANTLE_FUNCTION(log, 1e-300, 1e300)
EMANTLE_FUNCTION(exp, -700, 700)
EMANTLE_FUNCTION(log10, 1e-300, 1e300)
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
        return doubleCell<T>(loopOverOne<SquareRoot, double>, complexSqrt);
    }
};

struct egda_SaoInv : One {
    template <class T>
    static consteval LineCell cell()
    {
        return doubleCell<T>(loopOverOne<Inverse, double>, complexInv);
    }
};

inline constexpr double kPi = 3.14159265358979323846;

/* sin(y) / y of pi times the element, which is no number for 0. */
inline void sincLoop(void* dest, const void* a, const void*, long count)
{
    auto* out = static_cast<Cell<double>*>(dest);
    const auto* x = static_cast<const Cell<double>*>(a);
    for (long first = 0; first < count; first += kPiece) {
        const long most = count - first < kPiece ? count - first : kPiece;
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

inline bool isPowerWithin(double base, double exponent, double mostBase, double mostExponent)
{
    return (base <= mostBase) & (base >= 1 / mostBase) & (exponent <= mostExponent) & (exponent >= -mostExponent);
}

/* Positive bases whose power is far from the limits of a double. */
inline bool isPlainPower(double base, double exponent)
{
    return isPowerWithin(base, exponent, 0x1p7, 140) | isPowerWithin(base, exponent, 0x1p14, 70) |
           isPowerWithin(base, exponent, 0x1p32, 30) | isPowerWithin(base, exponent, 0x1p100, 9);
}

/* Powers that the processor rounds correctly itself: squares, square roots, inverses and the bases as they are. False for
 * other exponents, or where they differ. */
inline bool isSimplePower(const Cell<double>* x, const Cell<double>* y, Cell<double>* out, long count)
{
    const double exponent = y[0].value;
    bool alike = (exponent == 2) | (exponent == 0.5) | (exponent == -1) | (exponent == 1);
    for (long i = 1; alike && i < count; ++i) {
        alike = y[i].value == exponent;
    }
    for (long i = 0; alike && i < count; ++i) {
        const double base = x[i].value;
        out[i].value = exponent == 2     ? base * base
                       : exponent == 0.5 ? __builtin_sqrt(base)
                       : exponent == -1  ? 1 / base
                                         : base;
    }
    return alike;
}

inline void powOfPiece(const Cell<double>* x, const Cell<double>* y, Cell<double>* out, long count)
{
    long i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        store(out + i, EMANTLE_VECTORISED(pow)(load(x + i), load(y + i)));
    }
    if (i < count) {
        const auto bytes = static_cast<std::size_t>(count - i) * sizeof(double);
        Cell<double> base[kLanes] = {};
        Cell<double> exponent[kLanes] = {};
        __builtin_memcpy(base, x + i, bytes);
        __builtin_memcpy(exponent, y + i, bytes);
        store(base, EMANTLE_VECTORISED(pow)(load(base), load(exponent)));
        __builtin_memcpy(out + i, base, bytes);
    }
}

inline void powLoop(void* dest, const void* a, const void* b, long count)
{
    auto* out = static_cast<Cell<double>*>(dest);
    const auto* x = static_cast<const Cell<double>*>(a);
    const auto* y = static_cast<const Cell<double>*>(b);
    for (long first = 0; first < count; first += kPiece) {
        const long most = count - first < kPiece ? count - first : kPiece;
        bool plain = true;
        for (long i = first; i < first + most; ++i) {
            plain &= isPlainPower(x[i].value, y[i].value);
        }
        if (plain) {
            if (!isSimplePower(x + first, y + first, out + first, most)) {
                powOfPiece(x + first, y + first, out + first, most);
            }
            continue;
        }
        const auto bytes = static_cast<std::size_t>(most) * sizeof(double);
        Piece bases;
        Piece exponents;
        __builtin_memcpy(&bases, x + first, bytes);
        __builtin_memcpy(&exponents, y + first, bytes);
        powOfPiece(bases.values, exponents.values, out + first, most);
        for (long i = 0; i < most; ++i) {
            if (!isPlainPower(bases.values[i].value, exponents.values[i].value)) {
                out[first + i].value = std::pow(bases.values[i].value, exponents.values[i].value);
            }
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

#undef EMANTLE_DOUBLES_baseline
#undef EMANTLE_DOUBLES_avx2
#undef EMANTLE_DOUBLES_avx512
#undef EMANTLE_NAME_baseline
#undef EMANTLE_NAME_avx2
#undef EMANTLE_NAME_avx512
#undef EMANTLE_JOIN
#undef EMANTLE_OF_TARGET
#undef EMANTLE_VECTORISED
