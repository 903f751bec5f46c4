#include "data/operators/line_loops.h"

namespace emantle::EMANTLE_TARGET {

inline double gammaOf(double x)
{
    double log;
    egda_Dgamma(&log, x);
    return std::exp(log);
}

inline void gammaLoop(void* dest, const void* a, const void*, long count)
{
    auto* out = static_cast<Cell<double>*>(dest);
    const auto* x = static_cast<const Cell<double>*>(a);
    for (long i = 0; i < count; ++i) {
        out[i].value = gammaOf(x[i].value);
    }
}

inline void factorialLoop(void* dest, const void* a, const void*, long count)
{
    auto* out = static_cast<Cell<double>*>(dest);
    const auto* x = static_cast<const Cell<double>*>(a);
    for (long i = 0; i < count; ++i) {
        out[i].value = gammaOf(x[i].value + 1);
    }
}

/* From 35 on by Stirling's formula; below as the product that starts with the number itself, so that the factorial of
 * 0 is 0, and what is negative stays. */
inline void factorialOfWholeLoop(void* dest, const void* a, const void*, long count)
{
    auto* out = static_cast<Cell<double>*>(dest);
    const auto* x = static_cast<const Cell<double>*>(a);
    for (long i = 0; i < count; ++i) {
        const double n = x[i].value;
        double product = n;
        if (n >= 35) {
            product = std::exp((n + 0.5) * std::log(n) - n + 0.918938533);
        } else {
            for (double factor = n - 1; factor >= 2; --factor) {
                product *= factor;
            }
        }
        out[i].value = product;
    }
}

struct egda_FuncGamma : One {
    template <class T>
    static consteval LineCell cell()
    {
        return doubleCell<T>(gammaLoop, complexGamma);
    }
};

struct egda_FuncFact : One {
    template <class T>
    static consteval LineCell cell()
    {
        return doubleCell<T>(std::is_integral_v<T> ? factorialOfWholeLoop : factorialLoop, complexFact);
    }
};

}  // namespace emantle::EMANTLE_TARGET
