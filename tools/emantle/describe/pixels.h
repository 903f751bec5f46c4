#pragma once

#include "describe/description.h"
#include "image/tiff_image.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tool {

/* The pixels of an image that count, band by band: every how many-th of rows and columns, and under a mask those that
 * are neither a not-a-number nor one of the values to leave out. */
class Pixels {
public:
    Pixels(TiffImage& image, const std::vector<double>& exclude, int skipX, int skipY);

    /* The records of a band; they borrow the band's pixels and live until the next one. */
    struct Block {
        std::vector<Egda_BaseData*> data; /* a record a layer */
        std::vector<Egda_BaseData*> mask; /* bytes, a record a layer; null where every pixel counts */
        Egda_BaseData* whole = nullptr;   /* where every pixel counts: a mask that says so, for those who need one */
    };

    /* The block of those of `rows` that are in the band that starts at `firstRow`; null when none of them is looked at.
     * `wantWhole` asks for a mask where every pixel counts. */
    const Block* read(std::uint32_t firstRow, const RowRange& rows, bool wantWhole);

    /* A table of the values to leave out that a layer of this type can hold; null for none. */
    const Egda_BaseData* excluded() const { return excluded_.get(); }

private:
    TiffImage::Band cut(const TiffImage::Band& band, const RowRange& rows) const;
    void sample(const TiffImage::Band& band);
    void aim(std::vector<TablePtr>& records, std::size_t layer, Egda_PixelType type, void* pixels);
    void mark(std::size_t layer);
    void makeWhole();

    TiffImage& image_;
    const int skipX_;
    const int skipY_;
    const std::size_t columns_;
    const std::size_t pixelBytes_;
    TablePtr excluded_;
    bool sorts_; /* whether a pixel can fail to count */
    std::vector<std::vector<std::byte>> sampled_;
    std::vector<std::vector<std::uint8_t>> masks_;
    std::vector<TablePtr> dataRecords_;
    std::vector<TablePtr> maskRecords_;
    std::size_t rows_ = 0;
    Block block_;
};

}  // namespace tool
