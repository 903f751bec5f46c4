#include "image/tiff_layout.h"

#include <algorithm>
#include <limits>

namespace tool {

namespace {

/* What one decoded tile may take; a file that asks for more is refused before anything is allocated. */
constexpr std::size_t kMostBlockBytes = std::size_t(1) << 28;
constexpr std::uint32_t kMostPixels = std::numeric_limits<std::int32_t>::max();

bool isOneOf(unsigned value, std::initializer_list<unsigned> values)
{
    return std::find(values.begin(), values.end(), value) != values.end();
}

SampleFormat readFormat(const TiffFile& file)
{
    SampleFormat format;
    format.bits = file.shortField(TIFFTAG_BITSPERSAMPLE);
    const unsigned kind = file.shortField(TIFFTAG_SAMPLEFORMAT);
    bool known = false;
    switch (kind) {
    case SAMPLEFORMAT_UINT:
    case SAMPLEFORMAT_VOID:
    case SAMPLEFORMAT_INT:
        format.isSigned = kind == SAMPLEFORMAT_INT;
        known = isOneOf(format.bits, {1, 2, 4, 8, 16, 32, 64});
        break;
    case SAMPLEFORMAT_IEEEFP:
        format.isFloating = true;
        known = isOneOf(format.bits, {32, 64});
        break;
    case SAMPLEFORMAT_COMPLEXIEEEFP:
        format.isComplex = true;
        known = isOneOf(format.bits, {64, 128});
        break;
    default:
        break;
    }
    if (!known) {
        file.fail("unsupported sample format " + std::to_string(kind) + " of " + std::to_string(format.bits) + " bits");
    }
    return format;
}

/* Colour that is stored subsampled has no samples to speak of, except where the decoder turns it into RGB itself. */
void settleColour(const TiffFile& file)
{
    if (file.shortField(TIFFTAG_PHOTOMETRIC) != PHOTOMETRIC_YCBCR) {
        return;
    }
    if (file.shortField(TIFFTAG_COMPRESSION) == COMPRESSION_JPEG) {
        TIFFSetField(file.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        return;
    }
    std::uint16_t across = 1;
    std::uint16_t down = 1;
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_YCBCRSUBSAMPLING, &across, &down);
    if (across != 1 || down != 1) {
        file.fail("unsupported subsampled colour");
    }
}

}  // namespace

Egda_PixelType SampleFormat::pixelType() const
{
    if (isComplex) {
        return bits == 64 ? EGDA_TYPE_C64 : EGDA_TYPE_C128;
    }
    if (isFloating || bits == 64) {
        return bits == 32 ? EGDA_TYPE_F32 : EGDA_TYPE_F64;
    }
    switch (bits) {
    case 32: return isSigned ? EGDA_TYPE_S32 : EGDA_TYPE_U32;
    case 16: return isSigned ? EGDA_TYPE_S16 : EGDA_TYPE_U16;
    case 4: return isSigned ? EGDA_TYPE_S8 : EGDA_TYPE_U4;
    case 2: return isSigned ? EGDA_TYPE_S8 : EGDA_TYPE_U2;
    case 1: return isSigned ? EGDA_TYPE_S8 : EGDA_TYPE_U1;
    default: return isSigned ? EGDA_TYPE_S8 : EGDA_TYPE_U8;
    }
}

std::size_t SampleFormat::pixelBytes() const
{
    return std::max(bits, 8U) / 8;
}

TiffLayout readLayout(const TiffFile& file)
{
    settleColour(file);
    TiffLayout layout;
    layout.width = file.field(TIFFTAG_IMAGEWIDTH, 0);
    layout.height = file.field(TIFFTAG_IMAGELENGTH, 0);
    layout.samples = file.shortField(TIFFTAG_SAMPLESPERPIXEL);
    if (layout.width == 0 || layout.height == 0 || layout.samples == 0) {
        file.fail("has no pixels");
    }
    if (layout.width > kMostPixels || layout.height > kMostPixels) {
        file.fail("has more rows or columns than can be counted");
    }
    layout.format = readFormat(file);
    layout.planar = layout.samples > 1 && file.shortField(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    layout.tiled = TIFFIsTiled(file.get()) != 0;
    if (layout.tiled) {
        layout.blockWidth = file.field(TIFFTAG_TILEWIDTH, 0);
        layout.blockHeight = file.field(TIFFTAG_TILELENGTH, 0);
        if (layout.blockWidth == 0 || layout.blockHeight == 0 || layout.blockWidth > kMostPixels ||
            layout.blockHeight > kMostPixels || layout.packedRowBytes(layout.blockWidth) > kMostBlockBytes ||
            layout.blockBytes() > kMostBlockBytes) {
            file.fail("has tiles of unusable size");
        }
    } else {
        layout.blockWidth = layout.width;
        layout.blockHeight = std::clamp<std::uint32_t>(file.field(TIFFTAG_ROWSPERSTRIP, layout.height), 1, layout.height);
        if (layout.packedRowBytes(layout.width) > kMostBlockBytes) {
            file.fail("has rows of unusable size");
        }
    }
    return layout;
}

}  // namespace tool
