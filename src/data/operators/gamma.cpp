#include <emantle/data/egda/operations.h>

#include <cmath>

/* The logarithm of the gamma function by the series of Lanczos, with g = 5 and six terms. */

namespace {

constexpr double kTerms[] = {76.18009173, -86.50532033, 24.01409822, -1.231739516, 0.00120858003, -5.26382e-06};
constexpr double kRootOfTwoPi = 2.50662827465;

}  // namespace

EMANTLE_API void egda_Dgamma(double* out, double x)
{
    const double t = x - 1;
    const double s = t + 5.5;
    double series = 1;
    double divisor = t;
    for (const double term : kTerms) {
        divisor += 1;
        series += term / divisor;
    }
    *out = std::log(kRootOfTwoPi * series) - (s - (t + 0.5) * std::log(s));
}

EMANTLE_API void egda_Cgamma(double* out, double re, double im)
{
    const double t = re - 1;
    const double s = t + 5.5;
    double real = 1;
    double imaginary = 0;
    double divisor = t;
    for (const double term : kTerms) {
        divisor += 1;
        const double size = divisor * divisor + im * im;
        real += term * divisor / size;
        imaginary -= term * im / size;
    }
    real *= kRootOfTwoPi;
    imaginary *= kRootOfTwoPi;
    /* log(series) - (s - (t + 0.5) log(s)), each number with its imaginary part */
    const double logReal = std::log(s * s + im * im) / 2;
    const double logImaginary = std::atan2(im, s);
    out[0] = std::log(real * real + imaginary * imaginary) / 2 - (s - ((t + 0.5) * logReal - im * logImaginary));
    out[1] = std::atan2(imaginary, real) - (im - ((t + 0.5) * logImaginary + im * logReal));
}
