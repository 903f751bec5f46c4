/* Exponentials, logarithms and what is made of them, for instruction sets with fused multiplication. They give the same
 * bits on all of these. No guard: part of a file of loops. */

namespace emantle::EMANTLE_TARGET {

/* The sum of two numbers, the second of which is a correction. */
struct Pair {
    Doubles high;
    Doubles low;
};

/* The sum of numbers of which the first is the larger one or 0. */
inline Pair sumOf(Doubles a, Doubles b)
{
    const Doubles sum = a + b;
    return {sum, a - sum + b};
}

/* Up to here e^x and its inverse are neither infinite nor of reduced precision. */
inline constexpr double kMostExponent = 708;

/* x as sixteenths of ln 2 and a rest. */
struct Sixteenths {
    Words count; /* in the low bits */
    Pair rest;
};

inline Sixteenths sixteenthsOf(Doubles x)
{
    constexpr double high = 0x1.62e42fef8p-5; /* times the count exact */
    constexpr double low = 0x1.1cf79abc9e3b4p-40;
    const Doubles shifted = fma(x, all(0x1.71547652b82fep+4), all(kToWhole));
    const Doubles count = shifted - kToWhole;
    const Doubles first = fma(count, all(-high), x);
    const Doubles rest = fma(count, all(-low), first);
    return {bitsOf(shifted), {rest, fma(count, all(-low), first - rest)}};
}

/* 2 to so many sixteenths. */
inline Doubles powerOf(Words sixteenths)
{
    return ofBits(bitsOf(lookUp(function_tables::kPowers, sixteenths)) + (sixteenths >> 4 << 52));
}

/* e^(x + low). The rest is at most ln 2 / 32, for which the series ends at the seventh power. */
inline Doubles exponentialOf(Doubles x, Doubles low)
{
    const Sixteenths parts = sixteenthsOf(x);
    const Doubles r = parts.rest.high + low;
    const Doubles square = r * r;
    const Doubles first = fma(r, all(1.0 / 6), all(1.0 / 2));
    const Doubles second = fma(r, all(1.0 / 120), all(1.0 / 24));
    const Doubles third = fma(r, all(1.0 / 5040), all(1.0 / 720));
    const Doubles series = fma(square, fma(square, third, second), first);
    const Doubles power = powerOf(parts.count);
    const Doubles rest = r + lookUp(function_tables::kPowerRests, parts.count);
    return fma(power, fma(square, series, rest), power);
}

inline Doubles exponential(Doubles x)
{
    return exponentialOf(x, Doubles{});
}

/* ln(1 + r) - r + r^2 / 2 over r^3, for numbers up to 1 / 60. */
inline Doubles logarithmSeries(Doubles r, Doubles square)
{
    const Doubles a = fma(r, all(-1.0 / 4), all(1.0 / 3));
    const Doubles b = fma(r, all(-1.0 / 6), all(1.0 / 5));
    const Doubles c = fma(r, all(-1.0 / 8), all(1.0 / 7));
    const Doubles d = fma(r, all(-1.0 / 10), all(1.0 / 9));
    const Doubles fourth = square * square;
    const Doubles last = fma(square, all(1.0 / 11), d);
    return fma(fourth, fma(square, last, c), fma(square, b, a));
}

/* Positive normal numbers. */
inline constexpr double kLeastBase = 0x1p-1022;
inline constexpr double kMostBase = 0x1.fffffffffffffp1023;

/* The logarithm of such numbers to some 65 bits: x is a power of 2 times z, z times an inverse from the table
 * is 1 + r, and all but the series is summed with what rounding takes. */
inline Pair logarithmOf(Doubles x)
{
    constexpr std::uint64_t least = 0x3FE7C00000000000; /* 1.484375 / 2, in the middle between two entries */
    constexpr double ln2High = 0x1.62e42fefa38p-1;
    constexpr double ln2Low = 0x1.ef35793c7673p-45;
    const Words above = bitsOf(x) - least;
    const Words exponent = (above + kSign) >> 52;
    const Doubles k = ofBits(exponent | 0x4330000000000000) - (0x1p52 + 2048);
    const Doubles z = ofBits(bitsOf(x) - (above & 0xFFF0000000000000));
    const Words index = (bitsOf(z) + (std::uint64_t{1} << 46)) >> 47;

    const Doubles inverse = lookUp(function_tables::kInverses, index);
    const Doubles product = z * inverse;
    const Doubles productLow = fma(z, inverse, -product);
    const Doubles r = product - 1;
    const Doubles square = r * r;
    const Doubles tableLow = fma(k, all(ln2Low), lookUp(function_tables::kLogarithmRests, index));
    const Doubles low = tableLow + fma(productLow, square - r, productLow);

    const Pair linear = sumOf(fma(k, all(ln2High), lookUp(function_tables::kLogarithms, index)), r);
    const Doubles half = r * -0.5;
    const Doubles quadratic = r * half;
    const Pair sum = sumOf(linear.high, quadratic);
    const Doubles cubic = r * square * logarithmSeries(r, square);
    return {sum.high, cubic + (fma(r, half, -quadratic) + linear.low + sum.low + low)};
}

inline Doubles logarithm(Doubles x)
{
    const Pair pair = logarithmOf(x);
    return pair.high + pair.low;
}

inline Doubles decimalLogarithm(Doubles x)
{
    constexpr double high = 0x1.bcb7b1526e50ep-2;
    constexpr double low = 0x1.95355baaafad3p-57;
    const Pair pair = logarithmOf(x);
    const Pair sum = sumOf(pair.high, pair.low);
    const Doubles product = sum.high * high;
    return product + (fma(sum.high, all(high), -product) + fma(sum.high, all(low), sum.low * high));
}

/* base^exponent for positive normal bases; `logarithm` becomes that of the result. */
inline Doubles powerOf(Doubles base, Doubles exponent, Doubles& logarithm)
{
    const Pair pair = logarithmOf(base);
    const Pair sum = sumOf(pair.high, pair.low);
    logarithm = exponent * sum.high;
    return exponentialOf(logarithm, fma(exponent, sum.high, -logarithm) + exponent * sum.low);
}

/* Both for positive x. With p = 2^(n / 16) / 2 and its inverse as m, and the even and odd parts c and s of e to the rest:
 * cosh x = (p + m) c + (p - m) s, sinh x = (p - m) c + (p + m) s. */
struct Hyperbolic {
    Pair sine;
    Pair cosine;
};

inline Hyperbolic hyperbolicOf(Doubles x)
{
    const Sixteenths parts = sixteenthsOf(x);
    const Words opposite = Words{} - parts.count;
    const Doubles up = powerOf(parts.count) * 0.5;
    const Doubles down = powerOf(opposite) * 0.5;
    const Doubles upLow = up * lookUp(function_tables::kPowerRests, parts.count);
    const Doubles downLow = down * lookUp(function_tables::kPowerRests, opposite);
    const Pair sum = sumOf(up, down);
    const Pair difference = sumOf(up, -down);
    const Doubles sumLow = sum.low + (upLow + downLow);
    const Doubles differenceLow = difference.low + (upLow - downLow);

    const Doubles r = parts.rest.high;
    const Doubles square = r * r;
    const Doubles even = square * fma(square, fma(square, all(1.0 / 720), all(1.0 / 24)), all(1.0 / 2));
    const Doubles series = fma(square, fma(square, all(1.0 / 5040), all(1.0 / 120)), all(1.0 / 6));
    const Doubles odd = fma(r * square, series, parts.rest.low);

    const Doubles product = sum.high * r;
    const Pair sine = sumOf(difference.high, product);
    const Doubles sineLow = fma(sum.high, r, -product) + sine.low + fma(sumLow, r, differenceLow);
    return {{sine.high, fma(difference.high, even, fma(sum.high, odd, sineLow))},
            {sum.high, fma(difference.high, r + odd, fma(sum.high, even, sumLow))}};
}

inline Doubles hyperbolicSine(Doubles x)
{
    const Pair sine = hyperbolicOf(absolute(x)).sine;
    return withSignOf(sine.high + sine.low, x);
}

inline Doubles hyperbolicCosine(Doubles x)
{
    const Pair cosine = hyperbolicOf(absolute(x)).cosine;
    return cosine.high + cosine.low;
}

/* A quotient by one division, mended by what it leaves. Beyond 22 it is 1. */
inline Doubles hyperbolicTangent(Doubles x)
{
    const Doubles size = absolute(x);
    const Hyperbolic both = hyperbolicOf(size < 22.0 ? size : all(22));
    const Pair sine = sumOf(both.sine.high, both.sine.low);
    const Pair cosine = sumOf(both.cosine.high, both.cosine.low);
    const Doubles inverse = 1 / cosine.high;
    const Doubles quotient = sine.high * inverse;
    const Doubles left = fma(-quotient, cosine.high, sine.high) + fma(-quotient, cosine.low, sine.low);
    return withSignOf(fma(left, inverse, quotient), x);
}

}  // namespace emantle::EMANTLE_TARGET
