/* Sine, cosine, tangent and its inverse, for instruction sets with fused multiplication. They give the same bits on all of
 * these. No guard: part of a file of loops. */

namespace emantle::EMANTLE_TARGET {

/* An angle less the nearest multiple of a right one. */
struct Turned {
    Words rightAngles; /* in the low bits */
    Doubles rest;
    Doubles low;
};

/* What is left after the first part of pi / 2 is exact; the second part is subtracted with what rounding takes. So the
 * rest has all its digits also beside the zeros. */
inline Turned turned(Doubles x)
{
    constexpr double high = 0x1.921fb54442d18p+0;
    constexpr double middle = 0x1.1a62633145c07p-54;
    constexpr double low = -0x1.f1976b7ed8fbcp-110;
    const Doubles shifted = fma(x, all(0x1.45f306dc9c883p-1), all(kToWhole));
    const Doubles count = shifted - kToWhole;
    const Doubles first = fma(count, all(-high), x);
    const Doubles product = count * middle;
    const Doubles productLow = fma(count, all(middle), -product);
    const Doubles rest = first - product;
    const Doubles taken = rest - first;
    const Doubles lost = first - (rest - taken) - (product + taken);
    return {bitsOf(shifted), rest, lost - fma(count, all(low), productLow)};
}

/* Both of a rest, by series of least error up to pi / 4. */
struct Circular {
    Pair sine;
    Pair cosine;
};

inline Circular circularOf(const Turned& angle)
{
    const Doubles x = angle.rest;
    const Doubles z = x * x;
    const Doubles zLow = fma(x, x, -z);
    const Doubles z2 = z * z;
    const Doubles half = z * 0.5;
    const Doubles flat = 1 - half;
    const Doubles sineEnd = fma(z2, all(-0x1.ab161790d481ep-41),
                                fma(z, all(0x1.61217c18c5ad8p-33), all(-0x1.ae64540f0c1bcp-26)));
    const Doubles ofSine = fma(z2, fma(z2, sineEnd, fma(z, all(0x1.71de3a545e704p-19), all(-0x1.a01a01a019926p-13))),
                               fma(z, all(0x1.111111111111p-7), all(-0x1.5555555555555p-3)));
    const Doubles ofCosine = fma(z2, fma(z2, fma(z, all(-0x1.907c0e977e8bdp-37), all(0x1.1eeb66b6cb12cp-29)),
                                         fma(z, all(-0x1.27e4fa15bdc69p-22), all(0x1.a01a019f4d0fp-16))),
                                 fma(z, all(-0x1.6c16c16c1696p-10), all(0x1.5555555555555p-5)));
    return {{x, fma(x * z, ofSine, angle.low * flat)},
            {flat, 1 - flat - half + fma(z2, ofCosine, fma(x, -angle.low, zLow * -0.5))}};
}

/* The sine of an angle and of so many right ones. */
inline Doubles sineOf(const Turned& angle, std::uint64_t more)
{
    const Circular both = circularOf(angle);
    const Words rightAngles = angle.rightAngles + more;
    const Doubles size = ifOdd(rightAngles, both.cosine.high, both.sine.high) +
                         ifOdd(rightAngles, both.cosine.low, both.sine.low);
    return ofBits(bitsOf(size) ^ (rightAngles >> 1 << 63));
}

/* The sign is put aside, and so that of 0 is kept. */
inline Doubles sine(Doubles x)
{
    return withSignOf(sineOf(turned(absolute(x)), 0), x);
}

inline Doubles cosine(Doubles x)
{
    return sineOf(turned(x), 1);
}

inline Doubles tangent(Doubles x)
{
    const Turned angle = turned(absolute(x));
    const Circular both = circularOf(angle);
    const Words odd = angle.rightAngles;
    const Pair over{ifOdd(odd, both.cosine.high, both.sine.high), ifOdd(odd, both.cosine.low, both.sine.low)};
    const Pair by{ifOdd(odd, both.sine.high, both.cosine.high), ifOdd(odd, both.sine.low, both.cosine.low)};
    return ofBits(bitsOf(withSignOf(quotientOf(over, by), x)) ^ (odd << 63));
}

/* The arctangent of the nearest number c of the table, and that of (x - c) / (1 + x c), which is at most 1 / 16, by a
 * series up to the thirteenth power. Below the table c is 0, and above it infinite. */
inline Doubles inverseTangent(Doubles x)
{
    constexpr double least = 0x1p-4;
    constexpr double most = 0x1p4;
    const Doubles size = absolute(x);
    const Words index = (bitsOf(size) - 0x3FB0000000000000) >> 50;
    const Doubles zero = all(0);
    const Doubles one = all(1);
    const Doubles c = size < least ? zero : size < most ? lookUp(function_tables::kTangents, index) : one;
    const Doubles ofOne = size < most ? one : zero;
    const Doubles high =
        size < least ? zero : size < most ? lookUp(function_tables::kArctangents, index) : all(0x1.921fb54442d18p+0);
    const Doubles low =
        size < least ? zero : size < most ? lookUp(function_tables::kArctangentRests, index) : all(0x1.1a62633145c07p-54);

    const Doubles r = fma(size, ofOne, -c) / fma(size, c, ofOne);
    const Doubles z = r * r;
    const Doubles z2 = z * z;
    const Doubles series = fma(z2, fma(z2, fma(z, all(1.0 / 13), all(-1.0 / 11)), fma(z, all(1.0 / 9), all(-1.0 / 7))),
                               fma(z, all(1.0 / 5), all(-1.0 / 3)));
    return withSignOf(high + (fma(r * z, series, low) + r), x);
}

}  // namespace emantle::EMANTLE_TARGET
