#pragma once

#include "tiff_maker.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

/* What of an image is looked at. */
struct Look {
    std::vector<double> exclude;
    std::uint32_t skipX = 1;
    std::uint32_t skipY = 1;
};

/* The bins that a layer is expected to be counted in; `count` is not looked at for unique values. */
struct Bins {
    std::string title = "Linear";
    unsigned count = 256;
    double start = 0; /* direct only */
};

/* Bounds for the figures: relative to the figure, and for sums of products to the spread. */
inline constexpr double kExact = 1e-12;
inline constexpr double kSpread = 1e-10;

/* One layer, one pixel at a time. A pixel of a complex type stands for its magnitude. */
class Oracle {
public:
    Oracle(const Raster& raster, std::uint32_t layer, const Look& look)
    {
        for (std::uint32_t y = 0; y < raster.height; y += look.skipY) {
            for (std::uint32_t x = 0; x < raster.width; x += look.skipX) {
                const Raster::Value& value = raster.at(layer, x, y);
                values_.push_back(raster.format == SAMPLEFORMAT_COMPLEXIEEEFP ? static_cast<double>(std::abs(value))
                                                                              : static_cast<double>(value.real()));
                counts_.push_back(counts(raster, value, look));
            }
        }
        const std::vector<double> pixels = counting();
        for (const double pixel : pixels) {
            mean += pixel;
        }
        count = static_cast<double>(pixels.size());
        mean /= count > 0 ? static_cast<long double>(count) : 1;
        for (const double pixel : pixels) {
            stddev += (pixel - mean) * (pixel - mean);
        }
        stddev = count > 1 ? std::sqrt(stddev / (count - 1)) : 0;
        minimum = pixels.empty() ? 0 : *std::min_element(pixels.begin(), pixels.end());
        maximum = pixels.empty() ? 0 : *std::max_element(pixels.begin(), pixels.end());
    }

    std::vector<double> counting() const
    {
        std::vector<double> pixels;
        for (std::size_t i = 0; i < values_.size(); ++i) {
            if (counts_[i]) {
                pixels.push_back(values_[i]);
            }
        }
        return pixels;
    }

    /* The covariances of the pixels that count in every layer, by row and column. */
    static std::vector<std::vector<long double>> covariances(const std::vector<Oracle>& layers)
    {
        const std::size_t size = layers[0].values_.size();
        std::vector<char> common(size, 1);
        for (const Oracle& layer : layers) {
            for (std::size_t i = 0; i < size; ++i) {
                common[i] = static_cast<char>(common[i] & layer.counts_[i]);
            }
        }
        const auto n = static_cast<long double>(std::count(common.begin(), common.end(), 1));
        const auto sumOf = [&](auto term) {
            long double sum = 0;
            for (std::size_t i = 0; i < size; ++i) {
                sum += common[i] != 0 ? term(i) : 0;
            }
            return sum;
        };
        std::vector<long double> means;
        for (const Oracle& layer : layers) {
            means.push_back(sumOf([&](std::size_t i) -> long double { return layer.values_[i]; }) / n);
        }
        std::vector matrix(layers.size(), std::vector<long double>(layers.size()));
        for (std::size_t a = 0; n > 1 && a < layers.size(); ++a) {
            for (std::size_t b = 0; b < layers.size(); ++b) {
                const auto product = [&](std::size_t i) {
                    return (layers[a].values_[i] - means[a]) * (layers[b].values_[i] - means[b]);
                };
                matrix[a][b] = sumOf(product) / (n - 1);
            }
        }
        return matrix;
    }

    double count = 0;
    double minimum = 0;
    double maximum = 0;
    long double mean = 0;
    long double stddev = 0;

private:
    static bool counts(const Raster& raster, const Raster::Value& value, const Look& look)
    {
        if (std::isnan(value.real()) || std::isnan(value.imag())) {
            return false;
        }
        const bool narrow = raster.bits == (raster.format == SAMPLEFORMAT_COMPLEXIEEEFP ? 64 : 32);
        const bool whole = raster.format == SAMPLEFORMAT_UINT || raster.format == SAMPLEFORMAT_INT;
        return std::none_of(look.exclude.begin(), look.exclude.end(), [&](double out) {
            const double stored = narrow && !whole ? static_cast<double>(static_cast<float>(out)) : out;
            return static_cast<double>(value.real()) == stored && value.imag() == 0;
        });
    }

    std::vector<double> values_;
    std::vector<char> counts_;
};

/* Bins by their formulas, with room for rounding where a value lies on an edge. */
class BinOracle {
public:
    BinOracle(const Bins& bins, const Oracle& layer)
        : bins_(bins), low_(bins.title == "Direct" ? bins.start : layer.minimum),
          high_(std::nextafter(layer.maximum, std::numeric_limits<double>::infinity()))
    {
        if (bins.title == "Unique Value") {
            values_ = layer.counting();
            std::sort(values_.begin(), values_.end());
            values_.erase(std::unique(values_.begin(), values_.end()), values_.end());
            bins_.count = static_cast<unsigned>(values_.size());
        }
    }

    unsigned count() const { return bins_.count; }

    /* The lower limit of a bin; of the bin after the last, the upper limit of the last. */
    double limit(unsigned bin) const
    {
        if (bins_.title == "Direct") {
            return low_ + bin;
        }
        if (bins_.title == "Linear") {
            return (high_ - low_) * bin / bins_.count + low_;
        }
        if (bins_.title == "Unique Value") {
            return bin < values_.size() ? values_[bin] : std::nextafter(values_.back(), INFINITY);
        }
        return std::log(static_cast<double>(bin) / bins_.count + 1) * (high_ - low_) / 0.69314718056 + low_;
    }

    /* The least and the greatest number of the bin that a value may fall into. */
    std::pair<unsigned, unsigned> binsOf(double value) const
    {
        if (bins_.title == "Unique Value") {
            const auto found = std::lower_bound(values_.begin(), values_.end(), value);
            const auto bin = static_cast<unsigned>(found - values_.begin());
            return {bin, bin};
        }
        if (bins_.title == "Direct") {
            return {clamp(std::floor(value - low_)), clamp(std::floor(value - low_))};
        }
        const long double share = (static_cast<long double>(value) - low_) / (static_cast<long double>(high_) - low_);
        const long double place = (bins_.title == "Linear" ? share : std::exp2(share) - 1) * bins_.count;
        const long double room = 1e-9L;
        return {clamp(std::floor(place - room)), clamp(std::floor(place + room))};
    }

private:
    unsigned clamp(long double bin) const
    {
        return static_cast<unsigned>(std::clamp<long double>(bin, 0, static_cast<long double>(bins_.count - 1)));
    }

    Bins bins_;
    double low_;
    double high_;
    std::vector<double> values_;
};

inline double number(const nlohmann::json& value)
{
    return value.is_null() ? std::numeric_limits<double>::quiet_NaN() : value.get<double>();
}

inline void expectNear(const nlohmann::json& actual, long double expected, double relative, long double scale,
                       const char* what)
{
    const long double bound = relative * std::max(std::fabs(expected), scale);
    EXPECT_LE(std::fabs(number(actual) - expected), bound)
        << what << ": " << actual << " instead of " << static_cast<double>(expected);
}

/* Every pixel in its bin, and the whole of them scaled by the skip factors. */
inline void expectHistogram(const nlohmann::json& json, const Oracle& layer, const BinOracle& bins, double scale)
{
    std::vector<double> least(bins.count());
    std::vector<double> most(bins.count());
    for (const double pixel : layer.counting()) {
        const auto [low, high] = bins.binsOf(pixel);
        least[low] += low == high ? scale : 0;
        for (unsigned bin = low; bin <= high; ++bin) {
            most[bin] += scale;
        }
    }
    ASSERT_EQ(json["histogram"].size(), bins.count());
    double sum = 0;
    for (unsigned bin = 0; bin < bins.count(); ++bin) {
        const double counted = json["histogram"][bin];
        sum += counted;
        ASSERT_GE(counted, least[bin]) << "bin " << bin;
        ASSERT_LE(counted, most[bin]) << "bin " << bin;
    }
    EXPECT_EQ(sum, layer.count * scale);
}

/* Median and mode by the histogram that was just found right. */
inline void expectMedianAndMode(const nlohmann::json& json, const Oracle& layer, const BinOracle& bins, double scale)
{
    const auto histogram = json["histogram"].get<std::vector<double>>();
    const auto mode = static_cast<unsigned>(std::max_element(histogram.begin(), histogram.end()) - histogram.begin());
    unsigned median = 0;
    for (double below = histogram[0] / scale; below < layer.count / 2; below += histogram[++median] / scale) {
    }
    const long double room = std::max(std::fabs(layer.minimum), std::fabs(layer.maximum));
    expectNear(json["median"], bins.limit(median), kExact, room, "median");
    expectNear(json["mode"], bins.limit(mode), kExact, room, "mode");
    expectNear(json["bins"]["minimum"], bins.limit(0), kExact, room, "lower limit of the bins");
    expectNear(json["bins"]["maximum"], bins.limit(bins.count()), kExact, room, "upper limit of the bins");
}

inline void expectLayer(const nlohmann::json& json, const Oracle& layer, const Bins& bins, double scale)
{
    const long double greatest = std::max(std::fabs(layer.minimum), std::fabs(layer.maximum));
    EXPECT_EQ(json["count"], layer.count);
    EXPECT_EQ(number(json["minimum"]), layer.minimum);
    EXPECT_EQ(number(json["maximum"]), layer.maximum);
    expectNear(json["mean"], layer.mean, kExact, greatest * 1e-3L, "mean");
    expectNear(json["stddev"], layer.stddev, kSpread, 0, "stddev");
    if (layer.count == 0) {
        return;
    }
    const BinOracle oracle(bins, layer);
    EXPECT_EQ(json["bins"]["function"], bins.title);
    EXPECT_EQ(json["bins"]["count"], oracle.count());
    expectHistogram(json, layer, oracle, scale);
    if (!testing::Test::HasFatalFailure()) {
        expectMedianAndMode(json, layer, oracle, scale);
    }
}

inline void expectCovariance(const nlohmann::json& actual, const std::vector<std::vector<long double>>& expected)
{
    for (std::size_t a = 0; a < expected.size(); ++a) {
        for (std::size_t b = 0; b < expected.size(); ++b) {
            const long double spread = std::sqrt(expected[a][a] * expected[b][b]);
            const std::string what = "covariance " + std::to_string(a) + ", " + std::to_string(b);
            expectNear(actual[a][b], expected[a][b], kSpread, spread, what.c_str());
        }
    }
}

/* Every figure that `describe --json` printed of an image against those of its pixels; of complex ones all but the
 * covariance, which has no magnitudes. */
inline void expectDescribes(const nlohmann::json& image, const Raster& raster, const Look& look, const Bins& bins)
{
    ASSERT_TRUE(image.is_object());
    EXPECT_EQ(image["width"], raster.width);
    EXPECT_EQ(image["height"], raster.height);
    ASSERT_EQ(image["layers"].size(), raster.layers);
    std::vector<Oracle> layers;
    for (std::uint32_t layer = 0; layer < raster.layers; ++layer) {
        layers.emplace_back(raster, layer, look);
    }
    for (std::size_t layer = 0; layer < layers.size(); ++layer) {
        SCOPED_TRACE("layer " + std::to_string(layer + 1));
        EXPECT_EQ(image["layers"][layer]["name"], "Layer_" + std::to_string(layer + 1));
        expectLayer(image["layers"][layer], layers[layer], bins, static_cast<double>(look.skipX) * look.skipY);
    }
    ASSERT_EQ(image["covariance"].size(), raster.layers > 1 ? raster.layers : 0);
    if (raster.layers > 1 && raster.format != SAMPLEFORMAT_COMPLEXIEEEFP) {
        expectCovariance(image["covariance"], Oracle::covariances(layers));
    }
}
