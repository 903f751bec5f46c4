/* Counting pixels by value and by bin. Included once for each instruction set.
 *
 * Equal neighbours would make one counter wait for itself, so neighbours count in different tables. */

namespace emantle {
namespace {
namespace EMANTLE_TARGET {

constexpr int kWidth = vector_bytes::EMANTLE_TARGET;

/* 1 in each byte of `word` that is not 0. */
inline std::uint64_t onesOf(std::uint64_t word)
{
    constexpr std::uint64_t kLow = 0x7f7f7f7f7f7f7f7f;
    return ((((word & kLow) + kLow) | word) >> 7) & 0x0101010101010101;
}

template <bool isMasked>
void countBytes(const PixelBlock& block, std::uint32_t* counts)
{
    constexpr int kTables = 8;
    std::uint32_t tables[kTables][256] = {};
    for (long row = 0; row < block.rows; ++row) {
        const std::uint8_t* pixels = (const std::uint8_t*)(block.pixels + row * block.pitch);
        const std::uint8_t* mask = isMasked ? block.mask + row * block.maskPitch : nullptr;
        long column = 0;
        for (; column + 8 <= block.columns; column += 8) {
            std::uint64_t word;
            __builtin_memcpy(&word, pixels + column, 8);
            std::uint64_t ones = 0x0101010101010101;
            if constexpr (isMasked) {
                __builtin_memcpy(&ones, mask + column, 8);
                ones = onesOf(ones);
            }
#pragma GCC unroll 8
            for (int byte = 0; byte < 8; ++byte) {
                tables[byte][(word >> (8 * byte)) & 0xff] += isMasked ? (std::uint32_t)(ones >> (8 * byte)) & 1 : 1;
            }
        }
        for (; column < block.columns; ++column) {
            tables[0][pixels[column]] += !isMasked || mask[column] != 0;
        }
    }
    for (int value = 0; value < 256; ++value) {
        for (int table = 0; table < kTables; ++table) {
            counts[value] += tables[table][value];
        }
    }
}

void countBytes(const PixelBlock& block, std::uint32_t* counts)
{
    block.mask != nullptr ? countBytes<true>(block, counts) : countBytes<false>(block, counts);
}

template <bool isMasked>
void countWords(const PixelBlock& block, std::uint32_t* counts, std::uint32_t low)
{
    for (long row = 0; row < block.rows; ++row) {
        const std::uint16_t* pixels = (const std::uint16_t*)(block.pixels + row * block.pitch);
        const std::uint8_t* mask = isMasked ? block.mask + row * block.maskPitch : nullptr;
        for (long column = 0; column < block.columns; ++column) {
            const std::uint32_t take = !isMasked || mask[column] != 0;
            const std::uint16_t cell = (std::uint16_t)(pixels[column] - low);
            counts[isMasked && take == 0 ? 0 : cell] += take;
        }
    }
}

void countWords(const PixelBlock& block, std::uint32_t* counts, std::uint32_t low)
{
    block.mask != nullptr ? countWords<true>(block, counts, low) : countWords<false>(block, counts, low);
}

/* Places -1 and below count in the first row, places above `last` in the last one. */
void holdPlaces(std::int32_t* places, long count, std::int32_t last)
{
    for (long at = 0; at < count; ++at) {
        const std::int32_t place = places[at] < last ? places[at] : last;
        places[at] = place > 0 ? place : 0;
    }
}

template <bool isMasked>
void countPlaces(const std::int32_t* places, const std::uint8_t* mask, long count, std::uint32_t* counts, long stride)
{
    long at = 0;
    for (; at + kPartialTables <= count; at += kPartialTables) {
#pragma GCC unroll 4
        for (int table = 0; table < kPartialTables; ++table) {
            counts[table * stride + places[at + table]] += !isMasked || mask[at + table] != 0;
        }
    }
    for (; at < count; ++at) {
        counts[places[at]] += !isMasked || mask[at] != 0;
    }
}

void countPlaces(const std::int32_t* places, const std::uint8_t* mask, long count, std::uint32_t* counts, long stride)
{
    mask != nullptr ? countPlaces<true>(places, mask, count, counts, stride)
                    : countPlaces<false>(places, mask, count, counts, stride);
}

constexpr int kLanes = kWidth / 8;
typedef float HalfReals __attribute__((vector_size(kWidth / 2)));
typedef double Reals __attribute__((vector_size(kWidth)));
typedef std::int64_t Longs __attribute__((vector_size(kWidth)));
typedef std::int32_t HalfLongs __attribute__((vector_size(kWidth / 2)));

/* Whether any bit is set. */
inline bool anyOf(const Longs& lanes)
{
    std::int64_t any = 0;
    for (int lane = 0; lane < kLanes; ++lane) {
        any |= lanes[lane];
    }
    return any != 0;
}

/* A quotient costs a dozen products. The product with the reciprocal of the span is off by less than 2^-51 of itself, so
 * it tells the bin unless it lies that close to a whole number; the answer is whether one did. */
template <bool isExact>
bool placeRun(const float* pixels, long vectors, const EvenBins& even, std::int32_t* places)
{
    constexpr double kToWhole = 0x1.8p52;
    const double reciprocal = 1 / even.span;
    const Reals lowest = Reals{} + (even.start + 0.5);
    const Reals highest = Reals{} + (even.start + even.count + 0.5);
    /* By a span of 1 the product is the quotient. */
    const Reals doubt = Reals{} + (even.span == 1 ? 0 : (even.start + even.count + 1) * 0x1p-51);
    const double first = even.first;
    const double bins = even.bins;
    const double span = even.span;
    const double start = even.start;
    const Reals count = Reals{} + even.count;
    const Reals above = Reals{} + even.above;
    Longs close = {};
    for (long vector = 0; vector < vectors; ++vector) {
        HalfReals narrow;
        __builtin_memcpy(&narrow, pixels + vector * kLanes, sizeof narrow);
        const Reals scaled = (__builtin_convertvector(narrow, Reals) - first) * bins;
        Reals bin = isExact ? scaled / span : scaled * reciprocal;
        bin = bin > lowest ? bin : lowest;
        bin = bin < highest ? bin : highest;
        if constexpr (!isExact) {
            const Reals distance = bin - ((bin + kToWhole) - kToWhole);
            close |= (distance < doubt) & (distance > -doubt);
        }
        bin -= start;
        bin = bin < count ? bin : above;
        const HalfLongs cut = __builtin_convertvector(bin, HalfLongs);
        __builtin_memcpy(places + vector * kLanes, &cut, sizeof cut);
    }
    return !isExact && anyOf(close);
}

void evenPlaces(const float* pixels, long count, const EvenBins& even, std::int32_t* places)
{
    const long vectors = count / kLanes;
    if (placeRun<false>(pixels, vectors, even, places)) {
        placeRun<true>(pixels, vectors, even, places);
    }
    if (count % kLanes != 0) {
        float last[kLanes] = {};
        std::int32_t lastPlaces[kLanes];
        const long done = vectors * kLanes;
        __builtin_memcpy(last, pixels + done, (std::size_t)(count - done) * sizeof(float));
        placeRun<true>(last, 1, even, lastPlaces);
        __builtin_memcpy(places + done, lastPlaces, (std::size_t)(count - done) * sizeof(std::int32_t));
    }
}

constexpr HistogramLoops kHistogram = {countBytes, countWords, holdPlaces, countPlaces, evenPlaces};

}  // namespace EMANTLE_TARGET
}  // namespace
}  // namespace emantle
