#pragma once

#include "tables/binfunction_helpers.h"

#include <emantle/data/egda/stack.h>
#include <emantle/data/epxm/pixelrect.h>
#include <emantle/tables/esta.h>

#include <cmath>
#include <cstring>
#include <numeric>
#include <random>

/* Rasters for tests of statistics: each has bytes of another kind around every row, and knows its pixels one at a
 * time. */

inline constexpr Egda_PixelType kAllNumbers[] = {
    EGDA_TYPE_U1,  EGDA_TYPE_U2,  EGDA_TYPE_U4,  EGDA_TYPE_U8,  EGDA_TYPE_S8,  EGDA_TYPE_U16,  EGDA_TYPE_S16,
    EGDA_TYPE_U32, EGDA_TYPE_S32, EGDA_TYPE_F32, EGDA_TYPE_F64, EGDA_TYPE_C64, EGDA_TYPE_C128,
};

inline bool isWholeType(Egda_PixelType type) { return type <= EGDA_TYPE_S32; }

/* A view of `rows` by `columns` on a larger raster of random bytes, in which floating pixels are numbers. */
class Picture {
public:
    Picture(Egda_PixelType type, long rows, long columns, unsigned seed, long margin = 3)
        : whole_(egda_RasterCreate(rows + 1, columns + margin, type, nullptr))
    {
        std::mt19937_64 random(seed);
        const long parts = type >= EGDA_TYPE_C64 ? 2 : 1;
        const long numbers = static_cast<long>(whole_->numelements) * parts;
        std::uniform_real_distribution<double> reals(-1000, 3000);
        for (long at = 0; at < numbers; ++at) {
            if (type == EGDA_TYPE_F32 || type == EGDA_TYPE_C64) {
                static_cast<float*>(whole_->data)[at] = static_cast<float>(reals(random));
            } else if (type == EGDA_TYPE_F64 || type == EGDA_TYPE_C128) {
                static_cast<double*>(whole_->data)[at] = reals(random);
            } else {
                const std::uint64_t bits = random();
                std::memcpy(static_cast<char*>(whole_->data) + at * whole_->numbytes, &bits,
                            static_cast<std::size_t>(whole_->numbytes));
            }
        }
        view_.reset(margin == 0 ? egda_BaseDataDerived(whole_.get(), 0, 0, rows, columns, nullptr)
                                : egda_BaseDataDerived(whole_.get(), 1, 1, rows, columns, nullptr));
    }

    Egda_BaseData* get() const { return view_.get(); }
    long rows() const { return view_->numrows; }
    long columns() const { return view_->numcolumns; }

    template <class Pixel>
    Pixel& at(long row, long column) const
    {
        return reinterpret_cast<Pixel*>(static_cast<char*>(view_->firstelement) + row * view_->pitch)[column];
    }

    template <class Pixel>
    void fill(Pixel value)
    {
        for (long row = 0; row < rows(); ++row) {
            std::fill_n(&at<Pixel>(row, 0), columns(), value);
        }
    }

    /* The pixel as a number, the magnitude of a complex one. */
    double value(long row, long column) const
    {
        switch (view_->datatype) {
        case EGDA_TYPE_S8:
            return at<std::int8_t>(row, column);
        case EGDA_TYPE_U16:
            return at<std::uint16_t>(row, column);
        case EGDA_TYPE_S16:
            return at<std::int16_t>(row, column);
        case EGDA_TYPE_U32:
            return at<std::uint32_t>(row, column);
        case EGDA_TYPE_S32:
            return at<std::int32_t>(row, column);
        case EGDA_TYPE_F32:
            return at<float>(row, column);
        case EGDA_TYPE_F64:
            return at<double>(row, column);
        case EGDA_TYPE_C64: {
            const auto& pixel = at<Egda_Complex64>(row, column);
            return std::sqrt(pixel.real * pixel.real + pixel.imaginary * pixel.imaginary);
        }
        case EGDA_TYPE_C128: {
            const auto& pixel = at<Egda_Complex128>(row, column);
            return std::sqrt(pixel.real * pixel.real + pixel.imaginary * pixel.imaginary);
        }
        default:
            return at<std::uint8_t>(row, column);
        }
    }

private:
    BaseData whole_;
    BaseData view_;
};

/* A mask of random pixels, set with any value that is not 0. */
inline Picture maskFor(const Picture& picture, unsigned seed)
{
    Picture mask(EGDA_TYPE_U8, picture.rows(), picture.columns(), seed, 5);
    for (long row = 0; row < mask.rows(); ++row) {
        for (long column = 0; column < mask.columns(); ++column) {
            std::uint8_t& pixel = mask.at<std::uint8_t>(row, column);
            pixel = pixel < 100 ? 0 : pixel;
        }
    }
    return mask;
}

/* What one pass must find, one pixel at a time. */
struct Expected {
    double count = 0;
    double least = std::numeric_limits<double>::max();
    double greatest = std::numeric_limits<double>::min();
    long double sum = 0;
    long double squares = 0;

    Expected(const Picture& picture, const Picture* mask)
    {
        for (long row = 0; row < picture.rows(); ++row) {
            for (long column = 0; column < picture.columns(); ++column) {
                if (mask == nullptr || mask->at<std::uint8_t>(row, column) != 0) {
                    take(picture.value(row, column));
                }
            }
        }
    }

    void take(double value)
    {
        count += 1;
        least = std::min(least, value);
        greatest = std::max(greatest, value);
        sum += value;
        squares += static_cast<long double>(value) * value;
    }
};

struct DeleteEsta {
    void operator()(Esta_AllStats* allStats) const { esta_AllStatsDelete(allStats, nullptr); }
    void operator()(Esta_AllStatsStack* stack) const { esta_AllStatsStackDelete(stack, nullptr); }
};
using AllStats = std::unique_ptr<Esta_AllStats, DeleteEsta>;
using AllStatsStack = std::unique_ptr<Esta_AllStatsStack, DeleteEsta>;
struct DeleteHistogram {
    void operator()(Esta_Histogram* histogram) const { esta_HistogramDelete(histogram, nullptr); }
};
using Histogram = std::unique_ptr<Esta_Histogram, DeleteHistogram>;

/* Borrowed layers as a stack. */
struct Layers {
    std::vector<Egda_BaseData*> list;
    Egda_BaseDataStack stack{};

    explicit Layers(std::vector<Egda_BaseData*> layers) : list(std::move(layers))
    {
        stack = {static_cast<std::int32_t>(list.size()), 1, list.data(), 0};
    }
};

inline std::vector<double> rowsOf(const Egda_BaseData* table)
{
    const double* rows = static_cast<const double*>(table->data);
    return {rows, rows + table->numelements};
}
