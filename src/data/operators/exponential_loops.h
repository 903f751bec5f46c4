/* Exponentials, logarithms and what is made of them, for instruction sets with fused multiplication. They give the same
 * bits on all of these. No guard: part of a file of loops. */

namespace emantle::EMANTLE_TARGET {

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

/* Positive normal numbers. */
inline constexpr double kLeastBase = 0x1p-1022;
inline constexpr double kMostBase = 0x1.fffffffffffffp1023;

/* Such a number is a power of 2 times z, and z times an inverse from the table is 1 + rest, without loss. */
struct Reduced {
    Doubles exponent;
    Words scale; /* the bits by which x is larger than z */
    Words index; /* in the low bits */
    Doubles inverse;
    Pair rest;
};

inline Reduced reduced(Doubles x)
{
    constexpr std::uint64_t least = 0x3FE7C00000000000; /* 1.484375 / 2, in the middle between two entries */
    const Words above = bitsOf(x) - least;
    const Words scale = above & 0xFFF0000000000000;
    const Words index = (bitsOf(x) + (std::uint64_t{1} << 46)) >> 47;
    const Doubles z = ofBits(bitsOf(x) - scale);
    const Doubles inverse = lookUp(function_tables::kInverses, index);
    const Doubles product = z * inverse;
    return {signedTop(above), scale, index, inverse, {product - 1, fma(z, inverse, -product)}};
}

/* What the power of 2 and the inverse add to the logarithm: the first part, and its sum with the rest, are exact. */
inline Pair logarithmOfScale(const Reduced& x)
{
    constexpr double high = 0x1.62e42fefa38p-1;
    constexpr double low = 0x1.ef35793c7673p-45;
    return {fma(x.exponent, all(high), lookUp(function_tables::kLogarithms, x.index)),
            fma(x.exponent, all(low), lookUp(function_tables::kLogarithmRests, x.index))};
}

/* The rest is at most 1 / 60, for which the series ends at the ninth power. */
inline Doubles logarithm(Doubles x)
{
    const Reduced parts = reduced(x);
    const Pair scale = logarithmOfScale(parts);
    const Doubles r = parts.rest.high;
    const Doubles square = r * r;
    const Doubles a = fma(r, all(1.0 / 3), all(-1.0 / 2));
    const Doubles b = fma(r, all(1.0 / 5), all(-1.0 / 4));
    const Doubles c = fma(r, all(1.0 / 7), all(-1.0 / 6));
    const Doubles d = fma(r, all(1.0 / 9), all(-1.0 / 8));
    const Doubles series = fma(square * square, fma(square, d, c), fma(square, b, a));
    const Pair linear = sumOf(scale.high, r);
    return linear.high + fma(square, series, linear.low + (scale.low + parts.rest.low));
}

/* ln(1 + r) - r + r^2 / 2 over r^3. */
inline Doubles logarithmSeries(Doubles r, Doubles square)
{
    const Doubles a = fma(r, all(-1.0 / 4), all(1.0 / 3));
    const Doubles b = fma(r, all(-1.0 / 6), all(1.0 / 5));
    const Doubles c = fma(r, all(-1.0 / 8), all(1.0 / 7));
    const Doubles d = fma(r, all(-1.0 / 10), all(1.0 / 9));
    const Doubles last = fma(square, all(1.0 / 11), d);
    return fma(square * square, fma(square, last, c), fma(square, b, a));
}

/* The logarithm to some 65 bits: all but the series is summed with what rounding takes. */
inline Pair wideLogarithm(const Reduced& parts)
{
    const Pair scale = logarithmOfScale(parts);
    const Doubles r = parts.rest.high;
    const Doubles square = r * r;
    const Doubles low = scale.low + fma(parts.rest.low, square - r, parts.rest.low);
    const Pair linear = sumOf(scale.high, r);
    const Doubles half = r * -0.5;
    const Doubles quadratic = r * half;
    const Pair sum = sumOf(linear.high, quadratic);
    const Doubles cubic = r * square * logarithmSeries(r, square);
    return sumOf(sum.high, cubic + (fma(r, half, -quadratic) + linear.low + sum.low + low));
}

inline Pair wideLogarithmOf(Pair x)
{
    Reduced parts = reduced(x.high);
    const Doubles unscale = ofBits(0x3FF0000000000000 - parts.scale);
    parts.rest.low += x.low * unscale * parts.inverse;
    return wideLogarithm(parts);
}

inline Doubles decimalLogarithm(Doubles x)
{
    constexpr double high = 0x1.bcb7b1526e50ep-2;
    constexpr double low = 0x1.95355baaafad3p-57;
    const Pair natural = wideLogarithm(reduced(x));
    const Doubles product = natural.high * high;
    return product + (fma(natural.high, all(high), -product) + fma(natural.high, all(low), natural.low * high));
}

/* base^exponent; `logarithm` becomes that of the result. */
inline Doubles powerOf(Doubles base, Doubles exponent, Doubles& logarithm)
{
    const Pair ofBase = wideLogarithm(reduced(base));
    logarithm = exponent * ofBase.high;
    return exponentialOf(logarithm, fma(exponent, ofBase.high, -logarithm) + exponent * ofBase.low);
}

/* The root of a sum; what it leaves is divided by twice the root. */
inline Pair rootOf(Pair x)
{
    const Doubles root = squareRoot(x.high);
    return {root, (fma(-root, root, x.high) + x.low) * (0.5 / root)};
}

/* ln(x + sqrt(x^2 + 1)); below 2^-27 the number itself. */
inline Doubles inverseHyperbolicSine(Doubles x)
{
    const Doubles size = absolute(x);
    const Doubles square = size * size;
    const Pair sum = sumOf(size < 1.0 ? all(1) : square, size < 1.0 ? square : all(1));
    const Pair root = rootOf({sum.high, sum.low + fma(size, size, -square)});
    const Pair argument = sumOf(root.high, size);
    const Pair result = wideLogarithmOf({argument.high, argument.low + root.low});
    return withSignOf(size < 0x1p-27 ? size : result.high + result.low, x);
}

/* ln(x + sqrt(x^2 - 1)). */
inline Doubles inverseHyperbolicCosine(Doubles x)
{
    const Doubles square = x * x;
    const Pair difference = sumOf(square, all(-1));
    const Pair root = rootOf({difference.high, difference.low + fma(x, x, -square)});
    const Pair argument = sumOf(x, root.high);
    const Pair result = wideLogarithmOf({argument.high, argument.low + root.low});
    return x == 1.0 ? Doubles{} : result.high + result.low;
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

/* Beyond 22 it is 1. */
inline Doubles hyperbolicTangent(Doubles x)
{
    const Doubles size = absolute(x);
    const Hyperbolic both = hyperbolicOf(size < 22.0 ? size : all(22));
    return withSignOf(quotientOf(both.sine, both.cosine), x);
}

}  // namespace emantle::EMANTLE_TARGET
