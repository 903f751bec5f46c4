#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <emantle/data/egda.h>

#include "image/colour_map.h"

namespace tool {

/* The first directory of a TIFF or BigTIFF file, read in bands of whole rows. Samples are layers.
 *  1. Strips or tiles, interleaved or planar; whole numbers of 1, 2, 4, 8, 16, 32 and 64 bits, floating ones of 32 and
 *     64, complex floating ones of 64 and 128 bits. Whole numbers of 64 bits become doubles, since no pixel type holds
 *     them; signed ones below 8 bits become signed bytes.
 *  2. Memory holds one band: the rows of one row of tiles, or as many rows as make a band worth the trouble.
 *  3. Whatever is wrong with the file is a Failure that names it. */
class TiffImage {
public:
    explicit TiffImage(const std::string& path);
    ~TiffImage();
    TiffImage(const TiffImage&) = delete;
    TiffImage& operator=(const TiffImage&) = delete;

    const std::string& path() const;
    std::uint32_t width() const;
    std::uint32_t height() const;
    std::uint32_t layers() const;
    Egda_PixelType pixelType() const;

    /* The text of the no-data tag, where there is one. */
    const std::optional<std::string>& noData() const;

    /* Empty for an image whose pixels are no numbers of colours. */
    const ColourMap& colours() const;

    /* Rows that a band has; the last one may have fewer. */
    std::uint32_t bandRows() const;

    /* Rows of one layer of a band, tightly packed. */
    struct Band {
        std::uint32_t firstRow = 0;
        std::uint32_t rows = 0;
        std::vector<const std::byte*> layers;
    };

    /* The band that starts at `firstRow`, a multiple of bandRows. It lives until the next call. Bands are meant to be
     * read in order; a compressed file of one large strip is decoded from its start for every step back. */
    const Band& read(std::uint32_t firstRow);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace tool
