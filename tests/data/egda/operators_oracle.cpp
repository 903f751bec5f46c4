#include "data/egda/operators_support.h"

#include <algorithm>
#include <complex>

/* What every operator owes, written from its description in wide arithmetic. */

namespace operators_test {

namespace {

using D = long double;

int same(int type) { return type < EGDA_TYPE_U8 ? static_cast<int>(EGDA_TYPE_U8) : type; }
int byteType(int) { return EGDA_TYPE_U8; }
int partType(int type) { return isComplexType(type) ? EGDA_TYPE_F64 : same(type); }
int doubleType(int type) { return isComplexType(type) ? EGDA_TYPE_C128 : EGDA_TYPE_F64; }
int bitsType(int type) { return type == EGDA_TYPE_F32 || type == EGDA_TYPE_F64 ? EGDA_TYPE_S32 : same(type); }

/* The rule of the limits: bytes and signed bytes stop at one end, everything else keeps its low bits. */
D limited(int type, D value, bool isDifference)
{
    if (type <= EGDA_TYPE_U8) {
        return isDifference ? std::max(value, D{0}) : std::min(value, D{255});
    }
    if (type == EGDA_TYPE_S8) {
        return isDifference ? std::max(value, D{-128}) : std::min(value, D{127});
    }
    return value;
}

/* Floating results are rounded in the type itself. */
template <class Expression>
D inType(int type, D a, D b, Expression expression)
{
    switch (type) {
    case EGDA_TYPE_F32:
    case EGDA_TYPE_C64:
        return expression(static_cast<float>(a), static_cast<float>(b));
    case EGDA_TYPE_F64:
    case EGDA_TYPE_C128:
        return expression(static_cast<double>(a), static_cast<double>(b));
    default:
        return expression(a, b);
    }
}

D modulus(Wide a) { return std::sqrt(a.re * a.re + a.im * a.im); }
bool even(int, D x) { return std::fmod(x, D{2}) == 0; }

std::int64_t bits(int type, D x)
{
    if (isWholeType(type)) {
        return static_cast<std::int64_t>(x);
    }
    return x >= -2147483648.L && x < 2147483648.L ? static_cast<std::int64_t>(x) : -2147483648LL;
}

/* Holds for both parts. */
template <class Predicate>
std::function<Wide(int, Wide, Wide, Wide)> ofParts(Predicate holds)
{
    return [=](int type, Wide a, Wide, Wide) {
        return Wide{static_cast<D>(holds(type, a.re) && (!isComplexType(type) || holds(type, a.im))), 0};
    };
}

template <class Part>
std::function<Wide(int, Wide, Wide, Wide)> perPart(Part part)
{
    return [=](int type, Wide a, Wide, Wide) {
        return Wide{part(type, a.re), isComplexType(type) ? part(type, a.im) : 0};
    };
}

D sign(int, D x) { return x > 0 ? 1 : x < 0 ? -1 : 0; }

D clampTo(int to, D x)
{
    const D low = lowOf(to);
    const D high = highOf(to);
    return x > low ? std::min(x, high) : low;
}

Wide converted(int from, int to, Wide a, bool rounds)
{
    if (isComplexType(to)) {
        return a;
    }
    const D value = isComplexType(from) ? static_cast<double>(modulus(a)) : a.re;
    if (!isWholeType(to)) {
        return {value, 0};
    }
    const D inLimits = clampTo(to, value);
    return {std::trunc(rounds && !isWholeType(from) ? inLimits + std::copysign(D{0.5}, inLimits) : inLimits), 0};
}

D logGamma(D x)
{
    const D terms[] = {76.18009173L, -86.50532033L, 24.01409822L, -1.231739516L, 0.00120858003L, -5.26382e-06L};
    const D t = x - 1;
    const D s = t + 5.5L;
    D series = 1;
    for (int i = 0; i < 6; ++i) {
        series += terms[i] / (t + i + 1);
    }
    return std::log(2.50662827465L * series) - (s - (t + 0.5L) * std::log(s));
}

D factorial(int type, D n)
{
    if (!isWholeType(type)) {
        return std::exp(logGamma(n + 1));
    }
    if (n >= 35) {
        return std::exp((n + 0.5L) * std::log(n) - n + 0.918938533L);
    }
    D product = n;
    for (D factor = n - 1; factor > 1; --factor) {
        product *= factor;
    }
    return product;
}

using Expression = std::function<Wide(int, Wide, Wide, Wide)>;

std::map<std::string, Oracle> build()
{
    std::map<std::string, Oracle> all;
    const auto fold = [&](const char* name, Expression result) -> Oracle& {
        return all[name] = {Arity::fold, same, std::move(result)};
    };
    fold("egda_MaoAdd", [](int t, Wide a, Wide b, Wide) {
        const auto add = [t](D x, D y) { return inType(t, x, y, [](auto p, auto q) { return D{p + q}; }); };
        return Wide{limited(t, add(a.re, b.re), false), add(a.im, b.im)};
    });
    fold("egda_MaoSub", [](int t, Wide a, Wide b, Wide) {
        const auto sub = [t](D x, D y) { return inType(t, x, y, [](auto p, auto q) { return D{p - q}; }); };
        return Wide{limited(t, sub(a.re, b.re), true), sub(a.im, b.im)};
    });
    fold("egda_MaoMul", [](int t, Wide a, Wide b, Wide) {
        if (isComplexType(t)) {
            return Wide{a.re * b.re - a.im * b.im, b.re * a.im + a.re * b.im};
        }
        return Wide{limited(t, inType(t, a.re, b.re, [](auto p, auto q) { return D{p * q}; }), false), 0};
    });
    fold("egda_MaoDiv", [](int t, Wide a, Wide b, Wide) {
        if (isComplexType(t)) {
            const D x = b.re * b.re + b.im * b.im;
            return Wide{(a.re * b.re + a.im * b.im) / x, (b.re * a.im - a.re * b.im) / x};
        }
        return Wide{isWholeType(t) ? std::trunc(a.re / b.re)
                                   : inType(t, a.re, b.re, [](auto p, auto q) { return D{p / q}; }),
                    0};
    }).divides = true;
    all["egda_MaoDiv"].ulps = 2; /* of complex numbers; the real ones are exact all the same */
    fold("egda_MaoRem", [](int t, Wide a, Wide b, Wide) {
        return Wide{inType(t, a.re, b.re, [](auto p, auto q) { return D{std::fmod(p, q)}; }), 0};
    }).divides = true;
    fold("egda_MaoMax", [](int, Wide a, Wide b, Wide) { return a.re > b.re ? a : b; });
    fold("egda_MaoMin", [](int, Wide a, Wide b, Wide) { return a.re < b.re ? a : b; });

    const auto bitwise = [&](const char* name, auto operation) {
        all[name] = {Arity::two, bitsType, [=](int t, Wide a, Wide b, Wide) {
                         return Wide{static_cast<D>(operation(bits(t, a.re), bits(t, b.re))), 0};
                     }};
    };
    bitwise("egda_MaoBitAnd", [](std::int64_t a, std::int64_t b) { return a & b; });
    bitwise("egda_MaoBitOr", [](std::int64_t a, std::int64_t b) { return a | b; });
    bitwise("egda_MaoBitXor", [](std::int64_t a, std::int64_t b) { return a ^ b; });
    all["egda_SaoBitNeg"] = {Arity::one, bitsType,
                             [](int t, Wide a, Wide, Wide) { return Wide{static_cast<D>(~bits(t, a.re)), 0}; }};

    const auto relation = [&](const char* name, auto holds) {
        all[name] = {Arity::two, byteType,
                     [=](int, Wide a, Wide b, Wide) { return Wide{static_cast<D>(holds(a, b)), 0}; }};
    };
    relation("egda_MaoAnd", [](Wide a, Wide b) { return (a.re != 0 && b.re != 0) || (a.im != 0 && b.im != 0); });
    relation("egda_MaoOr", [](Wide a, Wide b) { return a.re != 0 || b.re != 0 || a.im != 0 || b.im != 0; });
    relation("egda_MaoEq", [](Wide a, Wide b) { return a.re == b.re && a.im == b.im; });
    relation("egda_MaoNe", [](Wide a, Wide b) { return a.re != b.re || a.im != b.im; });
    relation("egda_MaoGt", [](Wide a, Wide b) { return a.re > b.re; });
    relation("egda_MaoGe", [](Wide a, Wide b) { return a.re >= b.re; });
    relation("egda_MaoLt", [](Wide a, Wide b) { return a.re < b.re; });
    relation("egda_MaoLe", [](Wide a, Wide b) { return a.re <= b.re; });
    relation("egda_MaoCircle", [](Wide a, Wide b) {
        return static_cast<double>(a.re) * static_cast<double>(a.re) +
                   static_cast<double>(b.re) * static_cast<double>(b.re) <= 1;
    });
    relation("egda_MaoSquare", [](Wide a, Wide b) { return std::abs(a.re) <= 0.5L && std::abs(b.re) <= 0.5L; });

    const auto predicate = [&](const char* name, auto holds) { all[name] = {Arity::one, byteType, ofParts(holds)}; };
    predicate("egda_SaoNot", [](int, D x) { return x == 0; });
    predicate("egda_SaoEven", [](int t, D x) { return even(t, x); });
    predicate("egda_SaoOdd", [](int t, D x) { return !even(t, x); });
    predicate("egda_SaoNonZero", [](int, D x) { return x != 0; });
    predicate("egda_SaoWhole", [](int t, D x) { return isWholeType(t) || (x >= 0 && x == std::floor(x)); });
    predicate("egda_SaoStep", [](int, D x) { return x >= 0; });
    predicate("egda_SaoRect", [](int, D x) { return std::abs(x) <= 0.5L; });

    const auto parts = [&](const char* name, auto part) { all[name] = {Arity::one, same, perPart(part)}; };
    parts("egda_FuncCeil", [](int, D x) { return std::ceil(x); });
    parts("egda_FuncFloor", [](int, D x) { return std::floor(x); });
    parts("egda_FuncRound", [](int t, D x) { return isWholeType(t) ? x : std::floor(static_cast<double>(x) + 0.5); });
    parts("egda_FuncTrunc", [](int, D x) { return std::trunc(x) + 0.0L; });
    parts("egda_SaoNeg", [](int, D x) { return -x; });
    parts("egda_SaoSign", sign);
    parts("egda_SaoCopy", [](int, D x) { return x; });
    const auto stepped = [&](const char* name, D by) {
        all[name] = {Arity::one, same, [by](int t, Wide a, Wide, Wide old) {
                         return Wide{inType(t, a.re, by, [](auto p, auto q) { return D{p + q}; }),
                                     isComplexType(t) ? old.im : 0};
                     }};
    };
    stepped("egda_SaoInc", 1);
    stepped("egda_SaoDec", -1);
    all["egda_SaoConj"] = {Arity::one, same, [](int, Wide a, Wide, Wide) { return Wide{a.re, -a.im}; }};

    const auto toPart = [&](const char* name, Expression result, double ulps = 0) {
        all[name] = {Arity::one, partType, std::move(result), ulps};
    };
    toPart("egda_FuncAbs", [](int t, Wide a, Wide, Wide) {
        return Wide{isComplexType(t) ? modulus(a) : std::abs(a.re), 0};
    }, 1);
    toPart("egda_SaoReal", [](int, Wide a, Wide, Wide) { return Wide{a.re, 0}; });
    toPart("egda_SaoImag", [](int, Wide a, Wide, Wide) { return Wide{a.im, 0}; });
    toPart("egda_SaoAngle", [](int t, Wide a, Wide, Wide) {
        return Wide{isComplexType(t) ? std::atan2(a.im, a.re) : 0, 0};
    }, 1);
    toPart("egda_SaoTrian", [](int t, Wide a, Wide, Wide) {
        if (isWholeType(t)) {
            return Wide{static_cast<D>(a.re == 0), 0};
        }
        const D height = inType(t, std::abs(a.re), 0, [](auto p, auto) { return D{1 - p}; }) - std::abs(a.im);
        return Wide{height >= 0 ? height : 0, 0};
    });

    const auto toDouble = [&](const char* name, double ulps, D (*real)(D), Expression complex) {
        all[name] = {Arity::one, doubleType, [=](int t, Wide a, Wide b, Wide old) {
                         return isComplexType(t) ? complex(t, a, b, old) : Wide{real(a.re), 0};
                     }, ulps};
    };
    using C = std::complex<D>;
#define OF_LIBRARY(table, function)                                                                               \
    toDouble(table, 1.01, [](D x) { return std::function(x); }, [](int, Wide a, Wide, Wide) {                     \
        const C result = std::function(C(a.re, a.im));                                                            \
        return Wide{result.real(), result.imag()};                                                                \
    });
    OF_LIBRARY("egda_FuncSin", sin)
    OF_LIBRARY("egda_FuncCos", cos)
    OF_LIBRARY("egda_FuncTan", tan)
    OF_LIBRARY("egda_FuncSinh", sinh)
    OF_LIBRARY("egda_FuncCosh", cosh)
    OF_LIBRARY("egda_FuncTanh", tanh)
    OF_LIBRARY("egda_FuncAsin", asin)
    OF_LIBRARY("egda_FuncAcos", acos)
    OF_LIBRARY("egda_FuncAtan", atan)
    OF_LIBRARY("egda_FuncAsinh", asinh)
    OF_LIBRARY("egda_FuncAcosh", acosh)
    OF_LIBRARY("egda_FuncLog", log)
    OF_LIBRARY("egda_FuncExp", exp)
    OF_LIBRARY("egda_FuncLog10", log10)
#undef OF_LIBRARY
    toDouble("egda_FuncSqrt", 1, [](D x) { return std::sqrt(x); }, [](int, Wide a, Wide, Wide) {
        return Wide{std::sqrt((modulus(a) + a.re) / 2), std::sqrt((modulus(a) - a.re) / 2)};
    });
    toDouble("egda_SaoInv", 1, [](D x) { return 1 / x; }, [](int, Wide a, Wide, Wide) {
        const D x = a.re * a.re + a.im * a.im;
        return Wide{a.re / x, -a.im / x};
    });
    toDouble("egda_SaoSinc", 4, [](D x) {
        const double y = static_cast<double>(x) * M_PI; /* what is divided is what the sine was taken of */
        return std::sin(D{y}) / D{y};
    }, [](int, Wide a, Wide, Wide) {
        const C y(static_cast<double>(a.re) * M_PI, static_cast<double>(a.im) * M_PI);
        const C result = std::sin(y) / y;
        return Wide{result.real(), result.imag()};
    });
    const auto exponential = [](const C& log) {
        return Wide{std::exp(log.real()) * std::cos(log.imag()), std::exp(log.real()) * std::sin(log.imag())};
    };
    const auto complexGamma = [exponential](C x) {
        const D terms[] = {76.18009173L, -86.50532033L, 24.01409822L, -1.231739516L, 0.00120858003L, -5.26382e-06L};
        const C t = x - C(1);
        const C s = t + C(5.5L);
        C series = 1;
        for (int i = 0; i < 6; ++i) {
            series += terms[i] / (t + C(i + 1));
        }
        return exponential(std::log(2.50662827465L * series) - (s - (t + C(0.5L)) * std::log(s)));
    };
    toDouble("egda_FuncGamma", 1e5, [](D x) { return std::exp(logGamma(x)); },
             [=](int, Wide a, Wide, Wide) { return complexGamma(C(a.re, a.im)); });
    all["egda_FuncFact"] = {Arity::one, doubleType, [=](int t, Wide a, Wide, Wide) {
                                return isComplexType(t) ? complexGamma(C(a.re + 1, a.im)) : Wide{factorial(t, a.re), 0};
                            }, 1e5};
    all["egda_MaoPow"] = {Arity::two, doubleType, [](int, Wide a, Wide b, Wide) {
                              return Wide{std::pow(a.re, b.re), 0};
                          }, 1.01};
    all["egda_MaoDist"] = {Arity::two, doubleType, [](int, Wide a, Wide b, Wide) {
                               const double sum = static_cast<double>(a.re) * static_cast<double>(a.re) +
                                                  static_cast<double>(b.re) * static_cast<double>(b.re);
                               return Wide{std::sqrt(sum), 0};
                           }};

    const auto conversion = [&](const char* name, int to, bool rounds) {
        all[name] = {Arity::one, [to](int) { return to; },
                     [=](int t, Wide a, Wide, Wide) { return converted(t, to, a, rounds); }, 1};
    };
    for (const int to : {EGDA_TYPE_U8, EGDA_TYPE_S8, EGDA_TYPE_U16, EGDA_TYPE_S16, EGDA_TYPE_U32, EGDA_TYPE_S32,
                         EGDA_TYPE_F32, EGDA_TYPE_F64, EGDA_TYPE_C64, EGDA_TYPE_C128}) {
        std::string name = egda_PixelNameFromType(to);
        for (char& c : name) {
            c = static_cast<char>(std::toupper(c));
        }
        conversion(("egda_ConvertTo" + name).c_str(), to, false);
        if (isWholeType(to)) {
            conversion(("egda_ConvertRoundTo" + name).c_str(), to, true);
        }
    }
    return all;
}

/* Units in the last place of `expected` between the two. */
double distance(int type, D actual, D expected)
{
    const bool narrow = type == EGDA_TYPE_F32 || type == EGDA_TYPE_C64;
    const D rounded = narrow ? D{static_cast<float>(expected)} : D{static_cast<double>(expected)};
    if ((std::isnan(actual) && std::isnan(rounded)) || actual == rounded) {
        return 0;
    }
    if (!std::isfinite(actual) || !std::isfinite(rounded)) {
        return std::numeric_limits<double>::infinity();
    }
    const int exponent = std::max(expected == 0 ? -5000 : std::ilogb(expected), narrow ? -126 : -1022);
    return static_cast<double>(std::abs(actual - expected) / std::ldexp(D{1}, exponent - (narrow ? 23 : 52)));
}

}  // namespace

const std::map<std::string, Oracle>& oracles()
{
    static const std::map<std::string, Oracle> all = build();
    return all;
}

namespace {

/* Complex results are held against their size: a part may be much smaller than both. */
bool isWithin(int type, Wide actual, Wide expected, double ulps)
{
    if (isWholeType(type)) {
        return actual.re == expected.re;
    }
    if (!isComplexType(type)) {
        return distance(type, actual.re, expected.re) <= ulps;
    }
    const D size = std::max(std::abs(expected.re), std::abs(expected.im));
    const D unit = type == EGDA_TYPE_C64 ? 0x1p-23L : 0x1p-52L;
    const auto near = [&](D x, D y) {
        return distance(type, x, y) == 0 ||
               (ulps > 0 && std::abs(x - y) <= 8 * std::max(ulps, 1.0) * size * unit);
    };
    return near(actual.re, expected.re) && near(actual.im, expected.im);
}

}  // namespace

void expectAsOracle(const Oracle& oracle, const Runner& runner, Picture picture, const Place& dest,
                    const std::vector<Place>& sources, const Place* mask, const std::string& what)
{
    SCOPED_TRACE(what);
    const int type = sources.back().type;
    Picture expected = picture;
    std::vector<Egda_BaseData> records;
    std::vector<Egda_BaseData*> layers(sources.size());
    std::vector<Egda_BaseDataStack> stacks(sources.size());
    std::vector<Egda_BaseDataStack*> pointers(sources.size());
    for (const Place& source : sources) {
        records.push_back(picture.record(source));
    }
    for (std::size_t i = 0; i < sources.size(); ++i) {
        layers[i] = &records[i];
        stacks[i] = {1, 1, &layers[i], 0};
        pointers[i] = &stacks[i];
    }
    Egda_BaseData maskRecord = mask != nullptr ? picture.record(*mask) : Egda_BaseData{};
    const Egda_BaseDataStackArray array{static_cast<int32_t>(sources.size()), pointers.data(),
                                        mask != nullptr ? &maskRecord : nullptr};
    Egda_BaseData destRecord = picture.record(dest);
    Egda_BaseData* destLayer = &destRecord;
    Egda_BaseDataStack destStack{1, 1, &destLayer, 0};
    Report report;
    runner(type, &destStack, &array, report);
    EXPECT_EQ(report.text(), "");

    const bool walksSource = what.find("Convert") != std::string::npos;
    const Place& walked = walksSource ? sources[0] : dest;
    const std::size_t passes = sources.size() > 2 ? sources.size() - 1 : 1;
    int faults = 0;
    for (std::size_t pass = 0; pass < passes; ++pass) {
        for (long line = 0; line < linesOf(walked); ++line) {
            for (long i = 0; i < runOf(walked); ++i) {
                if (mask != nullptr && *expected.at(mask->offset + line * mask->pitch + i) == 0) {
                    continue;
                }
                char* to = expected.element(dest, line, i);
                const Place& first = pass == 0 ? sources[0] : dest;
                const Wide a = read(first.type, expected.element(first, line, i));
                const Place& second = sources[sources.size() == 1 ? 0 : pass + 1];
                const Wide b = read(second.type, expected.element(second, line, i));
                const Wide result = oracle.result(type, a, b, read(dest.type, to));
                write(dest.type, to, result);
                if (pass + 1 < passes) {
                    continue;
                }
                const char* at = picture.element(dest, line, i);
                const Wide exact = isWholeType(dest.type) ? read(dest.type, to) : result;
                const Wide actual = read(dest.type, at);
                if (!isWithin(dest.type, actual, exact, oracle.ulps) && ++faults <= 5) {
                    ADD_FAILURE() << "line " << line << " element " << i << " of " << static_cast<double>(a.re) << ' '
                                  << static_cast<double>(a.im) << " and " << static_cast<double>(b.re) << ' '
                                  << static_cast<double>(b.im) << ": " << static_cast<double>(actual.re) << ' '
                                  << static_cast<double>(actual.im) << " instead of " << static_cast<double>(exact.re)
                                  << ' ' << static_cast<double>(exact.im);
                }
                std::memcpy(to, at, static_cast<std::size_t>(sizeOfType(dest.type)));
            }
        }
    }
    EXPECT_TRUE(picture == expected) << "bytes outside the elements changed, or a fold went wrong";
}

Egda_OperatorTable tableByName(const std::string& name)
{
    static const std::map<std::string, Egda_OperatorTable> tables{
#define EGDA_OPERATION(number, symbol, table, check, types, home) {#table, emsc_AddressOf_##table()},
#define EGDA_TABLE(table, types, home) {#table, emsc_AddressOf_##table()},
#include <emantle/data/egda/operations.def>
    };
    return tables.at(name);
}

}  // namespace operators_test

#define EMANTLE_TABLE_OF_arithmetic(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_division(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_bits(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_logic(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_comparison(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_functions(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_rounding(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_gamma(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_parts(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_steps(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_copy(table, types) EMANTLE_TABLE_WITH_LOOPS(table)
#define EMANTLE_TABLE_OF_conversion(table, types) EMANTLE_TABLE_WITH_LOOPS(table)

#define EMANTLE_TABLE_WITH_LOOPS(table) extern const Operator table##Operator;
namespace emantle {
#include "data/operators/homes.h"
}
#undef EMANTLE_TABLE_WITH_LOOPS

const std::map<std::string, const emantle::Operator*>& operators_test::operatorsByName()
{
    static const std::map<std::string, const Operator*> operators{
#define EMANTLE_TABLE_WITH_LOOPS(table) {#table, &emantle::table##Operator},
#include "data/operators/homes.h"
    };
    return operators;
}
