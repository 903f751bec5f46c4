/* Sine and cosine, for instruction sets with fused multiplication. They give the same bits on all of these. No guard: part
 * of a file of loops. */

namespace emantle::EMANTLE_TARGET {

/* An angle less the nearest multiple of a right one. */
struct Turned {
    Words rightAngles; /* in the low bits */
    Doubles rest;
    Doubles low;
};

/* What is left after the first part of pi / 2 is exact; the second part is subtracted with what rounding takes. So the rest
 * has all its digits also beside the zeros. */
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

/* The sine of an angle and of so many right ones. Both series are of least error up to pi / 4. */
inline Doubles sineOf(const Turned& angle, std::uint64_t more)
{
    const Doubles x = angle.rest;
    const Doubles z = x * x;
    const Doubles z2 = z * z;
    const Doubles half = z * 0.5;
    const Doubles flat = 1 - half;
    const Doubles ofSine = fma(z2, fma(z2, fma(z, all(0x1.5e09858a97437p-33), all(-0x1.ae60069ee3ecfp-26)),
                                       fma(z, all(0x1.71de3792528abp-19), all(-0x1.a01a019e8069ap-13))),
                               fma(z, all(0x1.1111111110ba5p-7), all(-0x1.5555555555555p-3)));
    const Doubles ofCosine = fma(z2, fma(z2, fma(z, all(-0x1.907c0e977e8bdp-37), all(0x1.1eeb66b6cb12cp-29)),
                                         fma(z, all(-0x1.27e4fa15bdc69p-22), all(0x1.a01a019f4d0fp-16))),
                                 fma(z, all(-0x1.6c16c16c1696p-10), all(0x1.5555555555555p-5)));
    const Doubles sine = x + fma(x * z, ofSine, angle.low * flat);
    const Doubles cosine = flat + (1 - flat - half + fma(z2, ofCosine, -(x * angle.low)));
    const Words rightAngles = angle.rightAngles + more;
    return ofBits(bitsOf(ifOdd(rightAngles, cosine, sine)) ^ (rightAngles >> 1 << 63));
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

}  // namespace emantle::EMANTLE_TARGET
