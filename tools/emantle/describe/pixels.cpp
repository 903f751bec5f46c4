#include "describe/pixels.h"

#include "describe/not_a_number.h"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

/* Whether a pixel can have the value; a conversion would turn one that it can't have into another. */
bool canHold(Egda_PixelType type, double value)
{
    if (type < EGDA_NUM_INTEGER_TYPES) {
        return value == std::trunc(value) && value >= emsc_AddressOf_egda_IntegerMinValue()[type] &&
               value <= emsc_AddressOf_egda_IntegerMaxValue()[type];
    }
    /* The largest float is often written as a text that lies a little beyond it. */
    constexpr double kRoundsToInfinity = 0x1.ffffffp127;
    const bool narrow = type == EGDA_TYPE_F32 || type == EGDA_TYPE_C64;
    return !narrow || !std::isfinite(value) || std::fabs(value) < kRoundsToInfinity;
}

TablePtr tableOf(const std::vector<double>& values)
{
    if (values.empty()) {
        return nullptr;
    }
    Reports reports;
    TablePtr table(egda_TableCreate(static_cast<long>(values.size()), EGDA_TYPE_F64, reports));
    reports.check("the values to leave out cannot be kept");
    egda_BaseDataSet(table.get(), values.data(), EGDA_SET_ALL, 0, reports);
    reports.check("the values to leave out cannot be kept");
    return table;
}

std::vector<double> valuesThatOccur(Egda_PixelType type, const std::vector<double>& values)
{
    std::vector<double> kept;
    for (const double value : values) {
        if (canHold(type, value)) {
            kept.push_back(value);
        }
    }
    return kept;
}

std::size_t sampledCount(std::size_t count, int skip)
{
    return (count + static_cast<std::size_t>(skip) - 1) / static_cast<std::size_t>(skip);
}

template <std::size_t Bytes>
void copyEvery(const std::byte* from, std::size_t count, std::size_t step, std::byte* to)
{
    for (std::size_t i = 0; i < count; ++i) {
        std::copy_n(from + i * step * Bytes, Bytes, to + i * Bytes);
    }
}

void copyEvery(std::size_t bytes, const std::byte* from, std::size_t count, std::size_t step, std::byte* to)
{
    switch (bytes) {
    case 1: return copyEvery<1>(from, count, step, to);
    case 2: return copyEvery<2>(from, count, step, to);
    case 4: return copyEvery<4>(from, count, step, to);
    case 8: return copyEvery<8>(from, count, step, to);
    default: return copyEvery<16>(from, count, step, to);
    }
}

}  // namespace

Pixels::Pixels(TiffImage& image, const std::vector<double>& exclude, int skipX, int skipY)
    : image_(image), skipX_(skipX), skipY_(skipY), columns_(sampledCount(image.width(), skipX)),
      pixelBytes_(static_cast<std::size_t>(egda_NumBytePerPixelFromType(image.pixelType()))),
      excluded_(tableOf(valuesThatOccur(image.pixelType(), exclude))),
      sorts_(excluded_ != nullptr || image.pixelType() >= EGDA_TYPE_F32), sampled_(image.layers()),
      masks_(image.layers()), dataRecords_(image.layers()), maskRecords_(image.layers())
{
    block_.data.resize(image.layers());
    block_.mask.resize(image.layers());
}

/* The part of a band that lies in the rows; the two have rows in common. */
TiffImage::Band Pixels::cut(const TiffImage::Band& band, const RowRange& rows) const
{
    TiffImage::Band part = band;
    part.firstRow = std::max(band.firstRow, rows.first);
    part.rows = std::min(band.firstRow + band.rows - 1, rows.last) - part.firstRow + 1;
    for (const std::byte*& layer : part.layers) {
        layer += (part.firstRow - band.firstRow) * static_cast<std::size_t>(image_.width()) * pixelBytes_;
    }
    return part;
}

/* Copies the rows and columns that are looked at, tightly packed. */
void Pixels::sample(const TiffImage::Band& band)
{
    const auto skip = static_cast<std::uint32_t>(skipY_);
    const std::uint32_t first = (skip - band.firstRow % skip) % skip;
    rows_ = first < band.rows ? sampledCount(band.rows - first, skipY_) : 0;
    for (std::size_t layer = 0; layer < sampled_.size(); ++layer) {
        sampled_[layer].resize(rows_ * columns_ * pixelBytes_);
        for (std::size_t row = 0; row < rows_; ++row) {
            const std::byte* from =
                band.layers[layer] + (first + row * skip) * static_cast<std::size_t>(image_.width()) * pixelBytes_;
            copyEvery(pixelBytes_, from, columns_, static_cast<std::size_t>(skipX_),
                      sampled_[layer].data() + row * columns_ * pixelBytes_);
        }
    }
}

void Pixels::aim(std::vector<TablePtr>& records, std::size_t layer, Egda_PixelType type, void* pixels)
{
    Reports reports;
    Egda_BaseData* record = egda_BaseDataReCreate(records[layer].get(), static_cast<long>(rows_),
                                                  static_cast<long>(columns_), type, EGDA_RASTER_OBJECT, pixels, reports);
    reports.check(image_.path() + ": a block cannot be described");
    if (!records[layer]) {
        records[layer].reset(record);
    }
}

void Pixels::mark(std::size_t layer)
{
    const std::size_t count = rows_ * columns_;
    masks_[layer].resize(std::max(masks_[layer].size(), count));
    aim(maskRecords_, layer, EGDA_TYPE_U8, masks_[layer].data());
    block_.mask[layer] = maskRecords_[layer].get();
    markNumbers(image_.pixelType(), block_.data[layer]->firstelement, count, masks_[layer].data());
    if (excluded_) {
        Reports reports;
        esta_FeatureIgnoredValuesToMask(block_.data[layer], excluded_.get(), block_.mask[layer], reports);
        reports.check(image_.path() + ": values cannot be left out");
    }
}

void Pixels::makeWhole()
{
    masks_[0].resize(std::max(masks_[0].size(), rows_ * columns_), 1);
    aim(maskRecords_, 0, EGDA_TYPE_U8, masks_[0].data());
    block_.whole = maskRecords_[0].get();
}

const Pixels::Block* Pixels::read(std::uint32_t firstRow, const RowRange& rows, bool wantWhole)
{
    const TiffImage::Band band = cut(image_.read(firstRow), rows);
    const bool all = skipX_ == 1 && skipY_ == 1;
    rows_ = band.rows;
    if (!all) {
        sample(band);
    }
    if (rows_ == 0) {
        return nullptr;
    }
    for (std::size_t layer = 0; layer < dataRecords_.size(); ++layer) {
        const std::byte* pixels = all ? band.layers[layer] : sampled_[layer].data();
        aim(dataRecords_, layer, image_.pixelType(), const_cast<std::byte*>(pixels));
        block_.data[layer] = dataRecords_[layer].get();
        if (sorts_) {
            mark(layer);
        }
    }
    if (wantWhole && !sorts_) {
        makeWhole();
    }
    return &block_;
}

}  // namespace tool
