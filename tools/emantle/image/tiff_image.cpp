#include "image/tiff_image.h"

#include "image/no_data.h"
#include "image/samples.h"
#include "image/tiff_file.h"
#include "image/tiff_layout.h"

#include <algorithm>

namespace tool {

namespace {

/* A band of this many bytes stays in the cache between decoding and use, and is long enough for its overhead not to
 * show. */
constexpr std::size_t kGoodBandBytes = std::size_t(1) << 20;

/* A strip beyond this is decoded row by row. */
constexpr std::size_t kMostStripBytes = std::size_t(1) << 24;

std::uint32_t rowsOfGoodBand(const TiffLayout& layout)
{
    const std::size_t rowBytes = static_cast<std::size_t>(layout.width) * layout.samples * layout.format.pixelBytes();
    return static_cast<std::uint32_t>(std::clamp<std::size_t>(kGoodBandBytes / rowBytes, 1, layout.height));
}

/* Whole blocks a band, as long as a block is of reasonable size. */
std::uint32_t rowsOfBand(const TiffLayout& layout)
{
    if (layout.tiled) {
        return std::min(layout.blockHeight, layout.height);
    }
    const std::uint32_t good = rowsOfGoodBand(layout);
    if (layout.blockBytes() > kMostStripBytes) {
        return good;
    }
    return std::min(layout.height, std::max(good / layout.blockHeight, 1U) * layout.blockHeight);
}

}  // namespace

struct TiffImage::Implementation {
    explicit Implementation(const std::string& path)
        : file(path), layout(readLayout(file)), noData(noDataText(file.get())),
          colours(colourMapOf(file.get())), rows(rowsOfBand(layout)),
          byRow(!layout.tiled && layout.blockBytes() > kMostStripBytes)
    {
        const std::size_t planeBytes = static_cast<std::size_t>(rows) * layout.width * layout.format.pixelBytes();
        if (planeBytes > (std::size_t(1) << 31) / layout.samples) {
            file.fail("needs too much memory for a row of blocks");
        }
        pixels = std::make_unique_for_overwrite<std::byte[]>(planeBytes * layout.samples);
        for (std::uint32_t k = 0; k < layout.samples; ++k) {
            planes.push_back(pixels.get() + k * planeBytes);
        }
        band.layers.assign(planes.begin(), planes.end());
        const std::size_t packedBytes = byRow ? layout.packedRowBytes(layout.width) : layout.blockBytes();
        packed = std::make_unique_for_overwrite<std::byte[]>(packedBytes);
        if (byRow && layout.planar) {
            for (std::uint32_t k = 1; k < layout.samples; ++k) {
                planeFiles.push_back(std::make_unique<TiffFile>(path));
            }
        }
        targets.resize(layout.samples);
    }

    /* The file that decodes a plane: row by row each plane needs a decoder of its own, or going from plane to plane
     * would start each strip anew for every row. */
    TIFF* decoderOf(std::uint32_t plane) const
    {
        return plane == 0 || planeFiles.empty() ? file.get() : planeFiles[plane - 1]->get();
    }

    /* Puts a run of packed pixels of one row of the band in its place. */
    void place(const std::byte* run, std::uint32_t plane, std::uint32_t row, std::uint32_t column, std::uint32_t count)
    {
        const std::size_t offset =
            (static_cast<std::size_t>(row) * layout.width + column) * layout.format.pixelBytes();
        const std::uint32_t samples = layout.samplesPerBlock();
        for (std::uint32_t k = 0; k < samples; ++k) {
            targets[k] = planes[plane + k] + offset;
        }
        unpackRow(layout.format, run, count, samples, targets.data());
    }

    [[noreturn]] void failAt(std::uint32_t row) const
    {
        file.fail("cannot be read at row " + std::to_string(row) + "; the file may be truncated or damaged");
    }

    void requireDecoded(std::int64_t got, std::size_t wanted, std::uint32_t row) const
    {
        if (got < 0 || static_cast<std::size_t>(got) < wanted) {
            failAt(row);
        }
    }

    /* The decoder reads uncompressed blocks without a look at how many bytes the file says they have, and takes a block
     * that was never written from the start of the file. */
    void requireStored(std::uint32_t block, std::size_t wanted, std::uint32_t row) const
    {
        const std::uint64_t stored = TIFFGetStrileByteCount(file.get(), block);
        const bool compressed = file.shortField(TIFFTAG_COMPRESSION) != COMPRESSION_NONE;
        if (TIFFGetStrileOffset(file.get(), block) == 0 || stored == 0 || (!compressed && stored < wanted)) {
            failAt(row);
        }
    }

    void readRows(std::uint32_t plane)
    {
        for (std::uint32_t row = 0; row < band.rows; ++row) {
            const auto number = static_cast<std::uint16_t>(plane);
            requireStored(TIFFComputeStrip(file.get(), band.firstRow + row, number), 1, band.firstRow + row);
            const int done = TIFFReadScanline(decoderOf(plane), packed.get(), band.firstRow + row, number);
            requireDecoded(done < 0 ? -1 : 0, 0, band.firstRow + row);
            place(packed.get(), plane, row, 0, layout.width);
        }
    }

    void readStrips(std::uint32_t plane)
    {
        const std::size_t rowBytes = layout.packedRowBytes(layout.width);
        const bool asStored = layout.samplesPerBlock() == 1 && layout.format.bits >= 8 &&
                              (layout.format.bits != 64 || layout.format.isFloating || layout.format.isComplex);
        for (std::uint32_t row = 0; row < band.rows; row += layout.blockHeight) {
            const std::uint32_t count = std::min(layout.blockHeight, band.rows - row);
            const std::uint32_t strip =
                TIFFComputeStrip(file.get(), band.firstRow + row, static_cast<std::uint16_t>(plane));
            requireStored(strip, count * rowBytes, band.firstRow + row);
            std::byte* target = asStored ? planes[plane] + row * rowBytes : packed.get();
            const auto got = TIFFReadEncodedStrip(file.get(), strip, target, static_cast<tmsize_t>(count * rowBytes));
            requireDecoded(got, count * rowBytes, band.firstRow + row);
            for (std::uint32_t i = 0; !asStored && i < count; ++i) {
                place(packed.get() + i * rowBytes, plane, row + i, 0, layout.width);
            }
        }
    }

    void readTiles(std::uint32_t plane)
    {
        const std::size_t rowBytes = layout.packedRowBytes(layout.blockWidth);
        for (std::uint32_t column = 0; column < layout.width; column += layout.blockWidth) {
            const std::uint32_t tile =
                TIFFComputeTile(file.get(), column, band.firstRow, 0, static_cast<std::uint16_t>(plane));
            requireStored(tile, layout.blockBytes(), band.firstRow);
            const auto got =
                TIFFReadEncodedTile(file.get(), tile, packed.get(), static_cast<tmsize_t>(layout.blockBytes()));
            requireDecoded(got, band.rows * rowBytes, band.firstRow);
            const std::uint32_t count = std::min(layout.blockWidth, layout.width - column);
            for (std::uint32_t row = 0; row < band.rows; ++row) {
                place(packed.get() + row * rowBytes, plane, row, column, count);
            }
        }
    }

    const Band& read(std::uint32_t firstRow)
    {
        band.firstRow = firstRow;
        band.rows = std::min(rows, layout.height - firstRow);
        const std::uint32_t planeCount = layout.planar ? layout.samples : 1;
        for (std::uint32_t plane = 0; plane < planeCount; ++plane) {
            if (layout.tiled) {
                readTiles(plane);
            } else if (byRow) {
                readRows(plane);
            } else {
                readStrips(plane);
            }
        }
        return band;
    }

    TiffFile file;
    TiffLayout layout;
    std::optional<std::string> noData;
    ColourMap colours;
    std::uint32_t rows;
    bool byRow;
    std::unique_ptr<std::byte[]> pixels;
    std::unique_ptr<std::byte[]> packed;
    std::vector<std::byte*> planes;
    std::vector<std::byte*> targets;
    std::vector<std::unique_ptr<TiffFile>> planeFiles;
    Band band;
};

TiffImage::TiffImage(const std::string& path) : implementation_(std::make_unique<Implementation>(path)) {}

TiffImage::~TiffImage() = default;

const std::string& TiffImage::path() const
{
    return implementation_->file.path();
}

std::uint32_t TiffImage::width() const
{
    return implementation_->layout.width;
}

std::uint32_t TiffImage::height() const
{
    return implementation_->layout.height;
}

std::uint32_t TiffImage::layers() const
{
    return implementation_->layout.samples;
}

Egda_PixelType TiffImage::pixelType() const
{
    return implementation_->layout.format.pixelType();
}

const ColourMap& TiffImage::colours() const
{
    return implementation_->colours;
}

const std::optional<std::string>& TiffImage::noData() const
{
    return implementation_->noData;
}

std::uint32_t TiffImage::bandRows() const
{
    return implementation_->rows;
}

const TiffImage::Band& TiffImage::read(std::uint32_t firstRow)
{
    return implementation_->read(firstRow);
}

}  // namespace tool
