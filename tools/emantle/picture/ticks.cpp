#include "picture/ticks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tool {

namespace {

double roundStep(double least)
{
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1., 2., 5.}) {
        if (factor * power >= least * (1 - 1e-9)) {
            return factor * power;
        }
    }
    return 10 * power;
}

std::string formatted(const char* format, int digits, double value)
{
    char text[400];
    std::snprintf(text, sizeof text, format, digits, value);
    return text;
}

/* "1.50e+07" as "1.5e7". */
std::string shortExponent(const std::string& text)
{
    const std::size_t e = text.find('e');
    std::string digits = text.substr(0, e);
    if (digits.find('.') != std::string::npos) {
        digits.erase(digits.find_last_not_of('0') + 1);
        digits.erase(digits.find_last_not_of('.') + 1);
    }
    const std::size_t exponent = text.find_first_of("123456789", e);
    return digits + (text[e + 1] == '-' ? "e-" : "e") + (exponent == std::string::npos ? "0" : text.substr(exponent));
}

/* Enough digits that neighbours `step` apart differ. */
std::string tickText(double value, double step, double greatest)
{
    const int ofStep = static_cast<int>(std::floor(std::log10(step) + 1e-9));
    const int ofGreatest = static_cast<int>(std::floor(std::log10(greatest)));
    if (value == 0) {
        return "0";
    }
    if (greatest >= 1e7 || step < 1e-5) {
        const int own = static_cast<int>(std::floor(std::log10(std::fabs(value)) + 1e-9));
        return shortExponent(formatted("%.*e", std::clamp(std::min(own, ofGreatest) - ofStep, 0, 16), value));
    }
    return formatted("%.*f", std::max(0, -ofStep), value);
}

}  // namespace

std::vector<Tick> roundTicks(double low, double high, std::size_t most)
{
    const double greatest = std::max(std::fabs(low), std::fabs(high));
    const double step = roundStep((high - low) / static_cast<double>(std::max<std::size_t>(most, 1)));
    std::vector<Tick> ticks;
    if (std::isfinite(step) && step > 0 && step > greatest * 1e-14) {
        const double first = std::ceil(low / step - 1e-9);
        for (double number = first; number * step <= high + step * 1e-9 && ticks.size() <= most; ++number) {
            const double value = number * step + 0.; /* no negative zero */
            ticks.push_back({value, tickText(value, step, greatest)});
        }
    }
    if (ticks.empty()) {
        ticks = {{low, formatted("%.*g", 17, low)}, {high, formatted("%.*g", 17, high)}};
    }
    return ticks;
}

std::string groupedText(double value)
{
    if (!(std::fabs(value) < 1e15)) {
        return formatted("%.*g", 4, value);
    }
    std::string text = formatted("%.*f", 0, value);
    const std::size_t sign = text[0] == '-' ? 1 : 0;
    for (std::size_t place = text.size(); place > sign + 3;) {
        place -= 3;
        text.insert(place, ",");
    }
    return text;
}

std::string labelText(double value)
{
    return std::isnan(value) ? "nan" : formatted("%.*g", 6, value);
}

}  // namespace tool
