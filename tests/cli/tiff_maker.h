#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <tiffio.h>
#include <vector>

/* An image as the tests know it: every sample wide enough to be exact. */
struct Raster {
    using Value = std::complex<long double>;

    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t layers = 1;
    unsigned bits = 8;
    unsigned format = SAMPLEFORMAT_UINT;
    std::vector<Value> values; /* by layer, row and column */

    const Value& at(std::uint32_t layer, std::uint32_t x, std::uint32_t y) const
    {
        return values[(static_cast<std::size_t>(layer) * height + y) * width + x];
    }
};

/* How an image lies in its file. */
struct Storage {
    unsigned compression = COMPRESSION_NONE;
    unsigned predictor = 0;
    bool planar = false;
    std::uint32_t tile = 0;
    std::uint32_t rowsPerStrip = 16;
    const char* mode = "w";
    std::string noData = {};
    int furtherDirectories = 0;
};

using Pixel = std::function<Raster::Value(std::uint32_t layer, std::uint32_t x, std::uint32_t y)>;

inline Raster makeRaster(std::uint32_t width, std::uint32_t height, std::uint32_t layers, unsigned bits,
                         unsigned format, const Pixel& pixel)
{
    Raster raster{width, height, layers, bits, format, {}};
    const bool narrow =
        (format == SAMPLEFORMAT_IEEEFP && bits == 32) || (format == SAMPLEFORMAT_COMPLEXIEEEFP && bits == 64);
    for (std::uint32_t layer = 0; layer < layers; ++layer) {
        for (std::uint32_t y = 0; y < height; ++y) {
            for (std::uint32_t x = 0; x < width; ++x) {
                const Raster::Value value = pixel(layer, x, y);
                raster.values.push_back(
                    narrow ? Raster::Value(static_cast<float>(value.real()), static_cast<float>(value.imag())) : value);
            }
        }
    }
    return raster;
}

/* Numbers that look random and are the same everywhere. */
inline std::uint32_t noise(std::uint64_t seed)
{
    seed += 0x9e3779b97f4a7c15U;
    seed = (seed ^ (seed >> 30)) * 0xbf58476d1ce4e5b9U;
    seed = (seed ^ (seed >> 27)) * 0x94d049bb133111ebU;
    return static_cast<std::uint32_t>((seed ^ (seed >> 31)) >> 16);
}

class TiffMaker {
public:
    TiffMaker(const Raster& raster, const Storage& storage) : raster_(raster), storage_(storage) {}

    void write(const std::string& path) const
    {
        TIFF* file = TIFFOpen(path.c_str(), storage_.mode);
        for (int directory = 0; file != nullptr && directory <= storage_.furtherDirectories; ++directory) {
            writeDirectory(file, directory);
        }
        if (file == nullptr) {
            throw std::runtime_error("cannot make " + path);
        }
        TIFFClose(file);
    }

private:
    void writeDirectory(TIFF* file, int directory) const
    {
        TIFFSetField(file, TIFFTAG_SUBFILETYPE, directory == 0 ? 0 : FILETYPE_REDUCEDIMAGE);
        TIFFSetField(file, TIFFTAG_IMAGEWIDTH, raster_.width);
        TIFFSetField(file, TIFFTAG_IMAGELENGTH, raster_.height);
        TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, raster_.layers);
        TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, raster_.bits);
        TIFFSetField(file, TIFFTAG_SAMPLEFORMAT, raster_.format);
        TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(file, TIFFTAG_PLANARCONFIG, storage_.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
        TIFFSetField(file, TIFFTAG_COMPRESSION, storage_.compression);
        if (storage_.predictor != 0) {
            TIFFSetField(file, TIFFTAG_PREDICTOR, storage_.predictor);
        }
        if (storage_.tile != 0) {
            TIFFSetField(file, TIFFTAG_TILEWIDTH, storage_.tile);
            TIFFSetField(file, TIFFTAG_TILELENGTH, storage_.tile);
        } else {
            TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, storage_.rowsPerStrip);
        }
        if (!storage_.noData.empty()) {
            static char name[] = "NoData";
            static const TIFFFieldInfo field = {42113, -1, -1, TIFF_ASCII, FIELD_CUSTOM, 1, 0, name};
            TIFFMergeFieldInfo(file, &field, 1);
            TIFFSetField(file, 42113, storage_.noData.c_str());
        }
        const std::uint32_t planes = storage_.planar ? raster_.layers : 1;
        for (std::uint32_t plane = 0; plane < planes; ++plane) {
            writePlane(file, plane, directory == 0);
        }
        TIFFWriteDirectory(file);
    }

    /* The directories behind the first one have the same size and other pixels. */
    void writePlane(TIFF* file, std::uint32_t plane, bool first) const
    {
        const std::uint32_t across = storage_.tile != 0 ? storage_.tile : raster_.width;
        const std::uint32_t down = storage_.tile != 0 ? storage_.tile : storage_.rowsPerStrip;
        for (std::uint32_t y = 0; y < raster_.height; y += down) {
            const std::uint32_t rows = storage_.tile != 0 ? down : std::min(down, raster_.height - y);
            for (std::uint32_t x = 0; x < raster_.width; x += across) {
                std::vector<std::uint8_t> bytes = pack(plane, x, y, across, rows);
                if (!first) {
                    bytes.assign(bytes.size(), 0x55);
                }
                const auto size = static_cast<tmsize_t>(bytes.size());
                const auto number = static_cast<std::uint16_t>(plane);
                const tmsize_t written =
                    storage_.tile != 0
                        ? TIFFWriteEncodedTile(file, TIFFComputeTile(file, x, y, 0, number), bytes.data(), size)
                        : TIFFWriteEncodedStrip(file, TIFFComputeStrip(file, y, number), bytes.data(), size);
                if (written < 0) {
                    throw std::runtime_error("cannot write a block");
                }
            }
        }
    }

    /* Pixels of a tile outside the image hold a pattern that would spoil every figure. */
    std::vector<std::uint8_t> pack(std::uint32_t plane, std::uint32_t left, std::uint32_t top, std::uint32_t across,
                                   std::uint32_t rows) const
    {
        const std::uint32_t samples = storage_.planar ? 1 : raster_.layers;
        const std::size_t rowBits = (static_cast<std::size_t>(across) * samples * raster_.bits + 7) / 8 * 8;
        std::vector<std::uint8_t> bytes(rowBits / 8 * rows, 0x7e);
        for (std::uint32_t row = 0; row < rows && top + row < raster_.height; ++row) {
            for (std::uint32_t column = 0; column < across && left + column < raster_.width; ++column) {
                for (std::uint32_t k = 0; k < samples; ++k) {
                    put(raster_.at(plane + k, left + column, top + row), bytes,
                        row * rowBits + (static_cast<std::size_t>(column) * samples + k) * raster_.bits);
                }
            }
        }
        return bytes;
    }

    template <class T> static void copy(long double value, std::uint8_t* to)
    {
        const T stored = static_cast<T>(value);
        std::memcpy(to, &stored, sizeof stored);
    }

    void put(const Raster::Value& value, std::vector<std::uint8_t>& bytes, std::size_t bit) const
    {
        std::uint8_t* to = bytes.data() + bit / 8;
        if (raster_.format == SAMPLEFORMAT_IEEEFP) {
            return raster_.bits == 32 ? copy<float>(value.real(), to) : copy<double>(value.real(), to);
        }
        if (raster_.format == SAMPLEFORMAT_COMPLEXIEEEFP) {
            raster_.bits == 64 ? copy<float>(value.real(), to) : copy<double>(value.real(), to);
            to += raster_.bits / 16;
            return raster_.bits == 64 ? copy<float>(value.imag(), to) : copy<double>(value.imag(), to);
        }
        const std::uint64_t whole = value.real() < 0
                                        ? static_cast<std::uint64_t>(static_cast<std::int64_t>(value.real()))
                                        : static_cast<std::uint64_t>(value.real());
        if (raster_.bits >= 8) {
            std::memcpy(to, &whole, raster_.bits / 8);
            return;
        }
        const unsigned shift = 8 - raster_.bits - bit % 8;
        const unsigned mask = (1U << raster_.bits) - 1;
        *to = static_cast<std::uint8_t>((*to & ~(mask << shift)) | ((whole & mask) << shift));
    }

    const Raster& raster_;
    const Storage& storage_;
};

inline void writeTiff(const std::string& path, const Raster& raster, const Storage& storage = {})
{
    TiffMaker(raster, storage).write(path);
}

/* Ten columns of ten rows and two layers of bytes: for tests to which the pixels do not matter. */
inline Raster smallRaster()
{
    return makeRaster(10, 10, 2, 8, SAMPLEFORMAT_UINT,
                      [](auto layer, auto x, auto y) { return Raster::Value(10 * layer + (x * y) % 7); });
}
