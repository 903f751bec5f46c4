#include "describe/bin_spec.h"

#include <charconv>
#include <cmath>
#include <stdexcept>
#include <vector>

namespace tool {

namespace {

constexpr std::uint32_t kUsualBins = 256;
constexpr std::uint32_t kUsualUnique = 65536;
constexpr std::uint32_t kMostBins = 1U << 24;

std::vector<std::string> splitAtColons(const std::string& text)
{
    std::vector<std::string> parts{{}};
    for (const char c : text) {
        if (c == ':') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

double parseNumber(const std::string& text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        throw std::invalid_argument("'" + text + "' is not a number");
    }
    return value;
}

std::uint32_t parseCount(const std::string& text)
{
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value == 0 || value > kMostBins) {
        throw std::invalid_argument("'" + text + "' is not a count from 1 to " + std::to_string(kMostBins));
    }
    return value;
}

bool hasTypeRange(Egda_PixelType type)
{
    return type <= EGDA_TYPE_S16;
}

}  // namespace

BinSpec BinSpec::parse(const std::string& text)
{
    const std::vector<std::string> parts = splitAtColons(text);
    BinSpec spec;
    if (parts[0] == "direct" && (parts.size() == 1 || parts.size() == 3)) {
        spec.kind = Kind::direct;
        if (parts.size() == 3) {
            spec.minimum = parseNumber(parts[1]);
            spec.count = parseCount(parts[2]);
        }
        return spec;
    }
    if (parts[0] == "linear") {
        spec.kind = Kind::linear;
    } else if (parts[0] == "log") {
        spec.kind = Kind::logarithmic;
    } else if (parts[0] == "unique") {
        spec.kind = Kind::unique;
    } else {
        throw std::invalid_argument("'" + text +
                                    "' is none of direct[:MIN:COUNT], linear[:COUNT], log[:COUNT] and unique[:MAX]");
    }
    if (parts.size() > 2) {
        throw std::invalid_argument("'" + text + "' has too many parts");
    }
    if (parts.size() == 2) {
        spec.count = parseCount(parts[1]);
    }
    return spec;
}

BinSpec BinSpec::usualFor(Egda_PixelType type)
{
    BinSpec spec;
    spec.kind = type <= EGDA_TYPE_S8 ? Kind::direct : Kind::linear;
    return spec;
}

bool BinSpec::needsRange(Egda_PixelType type) const
{
    switch (kind) {
    case Kind::direct: return !minimum && !hasTypeRange(type);
    case Kind::unique: return false;
    default: return true;
    }
}

BinFunctionPtr BinSpec::make(Egda_PixelType type, const Range& range) const
{
    Reports reports;
    Edsc_BinFunction* made = nullptr;
    if (kind == Kind::linear) {
        made = edsc_BinFunctionCreateLinear(range.minimum, range.maximum, count.value_or(kUsualBins), reports);
    } else if (kind == Kind::logarithmic) {
        made = edsc_BinFunctionCreateLogarithm(range.minimum, range.maximum, count.value_or(kUsualBins), reports);
    } else if (minimum) {
        made = edsc_BinFunctionCreateDirect(*minimum, *count, reports);
    } else {
        const double low = hasTypeRange(type) ? emsc_AddressOf_egda_IntegerMinValue()[type] : std::floor(range.minimum);
        const double high = hasTypeRange(type) ? emsc_AddressOf_egda_IntegerMaxValue()[type] : std::floor(range.maximum);
        if (!(high - low < kMostBins)) {
            throw Failure("direct bins of the whole range would be too many; give their start and count");
        }
        made = edsc_BinFunctionCreateDirect(low, static_cast<std::uint32_t>(high - low) + 1, reports);
    }
    BinFunctionPtr function(made);
    reports.check("the bins cannot be made");
    return function;
}

std::uint32_t BinSpec::mostUnique() const
{
    return count.value_or(kUsualUnique);
}

}  // namespace tool
