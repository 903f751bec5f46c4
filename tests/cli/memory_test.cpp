#include "cli/tiff_maker.h"
#include "cli/tool_runner.h"

#include <numeric>

namespace {

constexpr std::uint32_t kSide = 8000;
constexpr long kMostKiB = 100 * 1024;

/* An image of kSide columns and rows that is made of few different rows, written row by row: it is never whole in
 * memory. The row `y` is `patternOf(y)`. */
template <class T> class LargeImage {
public:
    static constexpr std::uint32_t kPeriod = 10;

    explicit LargeImage(std::uint32_t samples) : samples_(samples) {}

    T valueAt(std::uint32_t layer, std::uint32_t x, std::uint32_t y) const
    {
        return static_cast<T>(x < kSide / 2 ? 0 : (y % kPeriod) * 3 + layer * 50 + x % 2);
    }

    void write(const std::string& path, bool tiled, bool planar, std::uint32_t rowsPerStrip) const
    {
        TIFF* file = TIFFOpen(path.c_str(), "w");
        ASSERT_NE(file, nullptr);
        TIFFSetField(file, TIFFTAG_IMAGEWIDTH, kSide);
        TIFFSetField(file, TIFFTAG_IMAGELENGTH, kSide);
        TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, samples_);
        TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 8 * sizeof(T));
        TIFFSetField(file, TIFFTAG_SAMPLEFORMAT, std::is_floating_point_v<T> ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
        TIFFSetField(file, TIFFTAG_PLANARCONFIG, planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
        TIFFSetField(file, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
        TIFFSetField(file, TIFFTAG_ZIPQUALITY, 1);
        const std::uint32_t together = planar ? 1 : samples_;
        if (tiled) {
            TIFFSetField(file, TIFFTAG_TILEWIDTH, 400);
            TIFFSetField(file, TIFFTAG_TILELENGTH, 400);
        } else {
            TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
        }
        for (std::uint16_t plane = 0; plane < samples_ / together; ++plane) {
            if (tiled) {
                writeTiles(file, plane, together);
            } else {
                writeRows(file, plane, together);
            }
        }
        TIFFClose(file);
    }

    /* The figures of one layer: the rows repeat, so that a period of them says all. */
    std::pair<long double, long double> meanAndDeviation(std::uint32_t layer) const
    {
        std::vector<long double> pixels;
        for (std::uint32_t y = 0; y < kPeriod; ++y) {
            for (std::uint32_t x = 0; x < kSide; ++x) {
                pixels.push_back(valueAt(layer, x, y));
            }
        }
        const auto n = static_cast<long double>(pixels.size());
        const long double mean = std::accumulate(pixels.begin(), pixels.end(), 0.0L) / n;
        long double squares = 0;
        for (const long double pixel : pixels) {
            squares += (pixel - mean) * (pixel - mean);
        }
        const long double repeats = static_cast<long double>(kSide) / kPeriod;
        return {mean, std::sqrt(squares * repeats / (n * repeats - 1))};
    }

private:
    void fill(std::vector<T>& block, std::uint16_t plane, std::uint32_t together, std::uint32_t left, std::uint32_t top,
              std::uint32_t across, std::uint32_t rows) const
    {
        block.clear();
        for (std::uint32_t y = top; y < top + rows; ++y) {
            for (std::uint32_t x = left; x < left + across; ++x) {
                for (std::uint32_t k = 0; k < together; ++k) {
                    block.push_back(valueAt(plane + k, x, y));
                }
            }
        }
    }

    void writeRows(TIFF* file, std::uint16_t plane, std::uint32_t together) const
    {
        std::vector<T> row;
        for (std::uint32_t y = 0; y < kSide; ++y) {
            fill(row, plane, together, 0, y, kSide, 1);
            ASSERT_EQ(TIFFWriteScanline(file, row.data(), y, plane), 1);
        }
    }

    void writeTiles(TIFF* file, std::uint16_t plane, std::uint32_t together) const
    {
        std::vector<T> tile;
        for (std::uint32_t y = 0; y < kSide; y += 400) {
            for (std::uint32_t x = 0; x < kSide; x += 400) {
                fill(tile, plane, together, x, y, 400, 400);
                ASSERT_GT(TIFFWriteTile(file, tile.data(), x, y, 0, plane), 0);
            }
        }
    }

    std::uint32_t samples_;
};

template <class T>
void expectLittleMemory(std::uint32_t samples, bool tiled, bool planar, std::uint32_t rowsPerStrip,
                        const std::vector<std::string>& arguments = {})
{
    const ScratchDirectory scratch;
    const LargeImage<T> large(samples);
    large.write(scratch / "large.tif", tiled, planar, rowsPerStrip);
    std::vector<std::string> all{"describe", scratch / "large.tif", "--json", "-o", scratch / "made.store"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const Outcome outcome = run(all);
    ASSERT_EQ(outcome.status, 0) << outcome.err << outcome.signal;
    if (!kSanitized) {
        EXPECT_LT(outcome.peakKiB, kMostKiB);
    }
    const nlohmann::json image = outcome.json()["images"][0];
    for (std::uint32_t layer = 0; layer < samples; ++layer) {
        const auto [mean, deviation] = large.meanAndDeviation(layer);
        EXPECT_EQ(image["layers"][layer]["count"], static_cast<double>(kSide) * kSide);
        EXPECT_NEAR(image["layers"][layer]["mean"], static_cast<double>(mean), 1e-12 * static_cast<double>(mean));
        EXPECT_NEAR(image["layers"][layer]["stddev"], static_cast<double>(deviation),
                    1e-10 * static_cast<double>(deviation));
    }
}

TEST(DescribeMemory, StaysSmallForLargeTiles)
{
    expectLittleMemory<std::uint8_t>(1, true, false, 0);
}

TEST(DescribeMemory, StaysSmallForOneLongStrip)
{
    expectLittleMemory<std::uint8_t>(1, false, false, kSide);
}

TEST(DescribeMemory, StaysSmallForOneLongStripALayer)
{
    expectLittleMemory<std::uint8_t>(2, false, true, kSide);
}

TEST(DescribeMemory, StaysSmallForFloatsWithValuesLeftOut)
{
    expectLittleMemory<float>(1, false, false, 64, {"--exclude", "-1"});
}

} // namespace
