#include "data/operators/complex_functions.h"

#include "data/epxm/element_types.h"

#include <emantle/data/egda/operations.h>

#include <cmath>
#include <complex>

namespace emantle {

namespace {

using Number = Egda_Complex128;

template <class Expression>
void loop(void* dest, const void* a, long count, Expression expression)
{
    auto* out = static_cast<Cell<Number>*>(dest);
    const auto* in = static_cast<const Cell<Number>*>(a);
    for (long i = 0; i < count; ++i) {
        const Number value = in[i].value;
        out[i].value = expression(value.real, value.imaginary);
    }
}

/* The inverse functions have their principal values. */
template <class Function>
void loopOfLibrary(void* dest, const void* a, long count, Function function)
{
    loop(dest, a, count, [&](double re, double im) {
        const std::complex<double> result = function(std::complex<double>(re, im));
        return Number{result.real(), result.imag()};
    });
}

Number sine(double re, double im)
{
    return {std::sin(re) * std::cosh(im), std::cos(re) * std::sinh(im)};
}

Number exponential(double re, double im)
{
    const double size = std::exp(re);
    return {size * std::cos(im), size * std::sin(im)};
}

Number logarithm(double re, double im)
{
    return {std::log(re * re + im * im) / 2, std::atan2(im, re)};
}

Number quotient(Number a, Number b)
{
    const double size = b.real * b.real + b.imaginary * b.imaginary;
    return {(a.real * b.real + a.imaginary * b.imaginary) / size, (a.imaginary * b.real - a.real * b.imaginary) / size};
}

Number gammaOf(double re, double im)
{
    double log[2];
    egda_Cgamma(log, re, im);
    return exponential(log[0], log[1]);
}

}  // namespace

void complexSin(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, sine);
}

void complexCos(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, [](double re, double im) {
        return Number{std::cos(re) * std::cosh(im), -std::sin(re) * std::sinh(im)};
    });
}

/* Far from the real axis sine and cosine are too large to be divided. */
void complexTan(void* dest, const void* a, const void*, long count)
{
    loopOfLibrary(dest, a, count, [](const std::complex<double>& z) { return std::tan(z); });
}

void complexSinh(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, [](double re, double im) {
        return Number{std::sinh(re) * std::cos(im), std::cosh(re) * std::sin(im)};
    });
}

void complexCosh(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, [](double re, double im) {
        return Number{std::cosh(re) * std::cos(im), std::sinh(re) * std::sin(im)};
    });
}

void complexTanh(void* dest, const void* a, const void*, long count)
{
    loopOfLibrary(dest, a, count, [](const std::complex<double>& z) { return std::tanh(z); });
}

void complexAsin(void* dest, const void* a, const void*, long count)
{
    loopOfLibrary(dest, a, count, [](const std::complex<double>& z) { return std::asin(z); });
}

void complexAcos(void* dest, const void* a, const void*, long count)
{
    loopOfLibrary(dest, a, count, [](const std::complex<double>& z) { return std::acos(z); });
}

void complexAtan(void* dest, const void* a, const void*, long count)
{
    loopOfLibrary(dest, a, count, [](const std::complex<double>& z) { return std::atan(z); });
}

void complexAsinh(void* dest, const void* a, const void*, long count)
{
    loopOfLibrary(dest, a, count, [](const std::complex<double>& z) { return std::asinh(z); });
}

void complexAcosh(void* dest, const void* a, const void*, long count)
{
    loopOfLibrary(dest, a, count, [](const std::complex<double>& z) { return std::acosh(z); });
}

void complexLog(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, logarithm);
}

void complexExp(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, exponential);
}

void complexLog10(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, [](double re, double im) {
        constexpr double log10OfE = 0.43429448190325182765;
        const Number log = logarithm(re, im);
        return Number{log.real * log10OfE, log.imaginary * log10OfE};
    });
}

/* The root whose imaginary part is not negative. */
void complexSqrt(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, [](double re, double im) {
        const double size = std::sqrt(re * re + im * im);
        return Number{std::sqrt((size + re) / 2), std::sqrt((size - re) / 2)};
    });
}

void complexInv(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, [](double re, double im) {
        const double size = re * re + im * im;
        return Number{re / size, -im / size};
    });
}

void complexSinc(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, [](double re, double im) {
        const Number y{re * M_PI, im * M_PI};
        return quotient(sine(y.real, y.imaginary), y);
    });
}

void complexGamma(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, gammaOf);
}

void complexFact(void* dest, const void* a, const void*, long count)
{
    loop(dest, a, count, [](double re, double im) { return gammaOf(re + 1, im); });
}

void complexAngle(void* dest, const void* a, const void*, long count)
{
    auto* out = static_cast<Cell<double>*>(dest);
    const auto* in = static_cast<const Cell<Number>*>(a);
    for (long i = 0; i < count; ++i) {
        out[i].value = std::atan2(in[i].value.imaginary, in[i].value.real);
    }
}

void complexPow(void* dest, const void* a, const void* b, long count)
{
    const auto* exponent = static_cast<const Cell<double>*>(b);
    loop(dest, a, count, [&](double re, double im) {
        const double power = exponent++->value;
        const double size = std::pow(std::sqrt(re * re + im * im), power);
        const double angle = std::atan2(im, re) * power;
        return Number{size * std::cos(angle), size * std::sin(angle)};
    });
}

}  // namespace emantle
