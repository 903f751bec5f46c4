#include "console/numbers.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace tool {

std::string numberText(double value)
{
    char text[64];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value);
    return std::string(text, end);
}

std::string shortNumberText(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

nlohmann::ordered_json numberJson(double value)
{
    constexpr double kExact = 9007199254740992.0;
    if (!std::isfinite(value)) {
        return nullptr;
    }
    if (value == std::trunc(value) && std::fabs(value) <= kExact) {
        return static_cast<std::int64_t>(value);
    }
    return value;
}

std::string timeText(double seconds)
{
    constexpr double kLastYear = 253402300800.0;
    if (!(seconds > 0 && seconds < kLastYear)) {
        return "-";
    }
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    char text[32];
    if (localtime_r(&time, &parts) == nullptr || std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts) == 0) {
        return "-";
    }
    return text;
}

}  // namespace tool
