/* Products of layers. Included once for each instruction set.
 *
 * A tile of pairs stays in registers while the rows, which fit the cache, pass by. */

namespace emantle {
namespace {
namespace EMANTLE_TARGET {

constexpr int kWidth = vector_bytes::EMANTLE_TARGET;
constexpr int kLanes = kWidth / 8;
/* Layers are taken in groups of as many as leave the sums of all their pairs in registers. */
constexpr int kGroup = kWidth == 64 ? 6 : 3;

typedef double Reals __attribute__((vector_size(kWidth)));

inline __attribute__((always_inline)) void load(Reals& vector, const double* address)
{
    __builtin_memcpy(&vector, address, sizeof vector);
}

inline __attribute__((always_inline)) void addTo(double* lanes, const Reals& sums)
{
    Reals present;
    __builtin_memcpy(&present, lanes, sizeof present);
    present += sums;
    __builtin_memcpy(lanes, &present, sizeof present);
}

inline double* lanesOf(double* products, int i, int j)
{
    return products + (j * (j + 1) / 2 + i) * kSumLanes;
}

/* All pairs of the `size` rows from `first` on, and their values. */
template <int size>
void withinGroup(const double* rows, long stride, int first, long count, double* products, double* values)
{
    for (int part = 0; part < kSumLanes; part += kLanes) {
        Reals sums[size * (size + 1) / 2] = {};
        for (long at = part; at < count; at += kSumLanes) {
            Reals x[size];
#pragma GCC unroll 8
            for (int i = 0; i < size; ++i) {
                load(x[i], rows + (first + i) * stride + at);
            }
            int pair = 0;
#pragma GCC unroll 8
            for (int j = 0; j < size; ++j) {
#pragma GCC unroll 8
                for (int i = 0; i <= j; ++i) {
                    sums[pair++] += x[i] * x[j];
                }
            }
        }
        int pair = 0;
        for (int j = 0; j < size; ++j) {
            for (int i = 0; i <= j; ++i) {
                addTo(lanesOf(products, first + i, first + j) + part, sums[pair++]);
            }
        }
        Reals plain[size] = {};
        for (long at = part; at < count; at += kSumLanes) {
#pragma GCC unroll 8
            for (int i = 0; i < size; ++i) {
                Reals x;
                load(x, rows + (first + i) * stride + at);
                plain[i] += x;
            }
        }
        for (int i = 0; i < size; ++i) {
            addTo(values + (first + i) * kSumLanes + part, plain[i]);
        }
    }
}

/* The pairs of the whole group from `first` on with `size` later rows from `second` on. */
template <int size>
void acrossGroups(const double* rows, long stride, int first, int second, long count, double* products)
{
    for (int part = 0; part < kSumLanes; part += kLanes) {
        Reals sums[size][kGroup] = {};
        for (long at = part; at < count; at += kSumLanes) {
            Reals y[size];
#pragma GCC unroll 8
            for (int j = 0; j < size; ++j) {
                load(y[j], rows + (second + j) * stride + at);
            }
#pragma GCC unroll 8
            for (int i = 0; i < kGroup; ++i) {
                Reals x;
                load(x, rows + (first + i) * stride + at);
#pragma GCC unroll 8
                for (int j = 0; j < size; ++j) {
                    sums[j][i] += x * y[j];
                }
            }
        }
        for (int j = 0; j < size; ++j) {
            for (int i = 0; i < kGroup; ++i) {
                addTo(lanesOf(products, first + i, second + j) + part, sums[j][i]);
            }
        }
    }
}

template <int size>
void withinGroupOf(int layers, const double* rows, long stride, int first, long count, double* products,
                   double* values)
{
    if constexpr (size > 1) {
        if (layers < size) {
            withinGroupOf<size - 1>(layers, rows, stride, first, count, products, values);
            return;
        }
    }
    withinGroup<size>(rows, stride, first, count, products, values);
}

void products(const double* rows, long stride, int layers, long count, double* products, double* values)
{
    for (int first = 0; first < layers; first += kGroup) {
        withinGroupOf<kGroup>(layers - first, rows, stride, first, count, products, values);
        for (int second = first + kGroup; second < layers; second += 3) {
            switch (layers - second) {
            case 1:
                acrossGroups<1>(rows, stride, first, second, count, products);
                break;
            case 2:
                acrossGroups<2>(rows, stride, first, second, count, products);
                break;
            default:
                acrossGroups<3>(rows, stride, first, second, count, products);
                break;
            }
        }
    }
}

template <class Pixel>
void widen(const void* pixels, const std::uint8_t* mask, long count, double* dest)
{
    const Pixel* source = (const Pixel*)pixels;
    if (mask == nullptr) {
        for (long at = 0; at < count; ++at) {
            dest[at] = (double)source[at];
        }
    } else {
        for (long at = 0; at < count; ++at) {
            const double value = (double)source[at];
            dest[at] = mask[at] != 0 ? value : 0;
        }
    }
}

template <class Part>
void widenMagnitudes(const void* pixels, const std::uint8_t* mask, long count, double* dest)
{
    const Part* parts = (const Part*)pixels;
    for (long at = 0; at < count; ++at) {
        const Part real = parts[2 * at];
        const Part imaginary = parts[2 * at + 1];
        dest[at] = std::sqrt(real * real + imaginary * imaginary);
    }
    for (long at = 0; mask != nullptr && at < count; ++at) {
        dest[at] = mask[at] != 0 ? dest[at] : 0;
    }
}

constexpr CovarianceLoops kCovariance = {
    {widen<std::uint8_t>, widen<std::uint8_t>, widen<std::uint8_t>, widen<std::uint8_t>, widen<std::int8_t>,
     widen<std::uint16_t>, widen<std::int16_t>, widen<std::uint32_t>, widen<std::int32_t>, widen<float>, widen<double>,
     widenMagnitudes<float>, widenMagnitudes<double>, nullptr},
    products,
};

}  // namespace EMANTLE_TARGET
}  // namespace
}  // namespace emantle
