#pragma once

#include "image/tiff_file.h"

#include <emantle/data/egda.h>

#include <cstddef>
#include <cstdint>

namespace tool {

/* How samples lie in the file, and what they become. */
struct SampleFormat {
    unsigned bits = 8;
    bool isSigned = false;
    bool isFloating = false;
    bool isComplex = false;

    Egda_PixelType pixelType() const;
    std::size_t pixelBytes() const;
};

/* The geometry of a directory, checked: every size below fits its type and memory. */
struct TiffLayout {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t samples = 1;
    SampleFormat format;
    bool planar = false;
    bool tiled = false;
    std::uint32_t blockWidth = 0;  /* of a tile; the image's width for strips */
    std::uint32_t blockHeight = 0; /* of a tile or a strip */

    /* Samples that lie side by side in a block. */
    std::uint32_t samplesPerBlock() const { return planar ? 1 : samples; }
    std::size_t packedRowBytes(std::uint32_t pixels) const
    {
        return (static_cast<std::size_t>(pixels) * samplesPerBlock() * format.bits + 7) / 8;
    }
    std::size_t blockBytes() const { return packedRowBytes(blockWidth) * blockHeight; }
};

/* Reads and checks the first directory of `file`; a Failure says what is not supported. */
TiffLayout readLayout(const TiffFile& file);

}  // namespace tool
