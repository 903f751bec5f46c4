/* Counting pixels by value and by bin. Included once for each instruction set.
 *
 * Equal neighbours would make one counter wait for itself, so neighbours count in different tables. */

namespace emantle {
namespace {
namespace EMANTLE_TARGET {

constexpr int kWidth = vector_bytes::EMANTLE_TARGET;

/* Counters of 16 bits, two tables of them: as small as one table of 32 bits, since what limits the loop is how many
 * lines of the cache its stores go to. */
struct ByteCounters {
    static constexpr int kTables = 2;
    static constexpr long kMost = 65528;

    std::uint16_t tables[kTables][256] = {};
    long taken = 0;

    /* Makes room for `count` pixels, at most kMost. */
    void reserve(long count, std::uint32_t* counts)
    {
        if (taken + count > kMost) {
            empty(counts);
        }
        taken += count;
    }

    void empty(std::uint32_t* counts)
    {
        for (int value = 0; value < 256; ++value) {
            counts[value] += (std::uint32_t)tables[0][value] + tables[1][value];
        }
        __builtin_memset(tables, 0, sizeof tables);
        taken = 0;
    }
};

template <bool isMasked>
void countRun(const std::uint8_t* pixels, const std::uint8_t* mask, long count, ByteCounters& counters)
{
    const long whole = count / 8 * 8;
    for (long at = 0; at < whole; at += 8) {
#pragma GCC unroll 8
        for (int next = 0; next < 8; ++next) {
            counters.tables[next % 2][pixels[at + next]] += !isMasked || mask[at + next] != 0;
        }
    }
    for (long at = whole; at < count; ++at) {
        counters.tables[0][pixels[at]] += !isMasked || mask[at] != 0;
    }
}

template <bool isMasked>
void countBytes(const PixelBlock& block, std::uint32_t* counts)
{
    ByteCounters counters;
    for (long row = 0; row < block.rows; ++row) {
        const std::uint8_t* pixels = (const std::uint8_t*)(block.pixels + row * block.pitch);
        const std::uint8_t* mask = isMasked ? block.mask + row * block.maskPitch : nullptr;
        for (long column = 0; column < block.columns; column += ByteCounters::kMost) {
            const long left = block.columns - column;
            const long run = left < ByteCounters::kMost ? left : ByteCounters::kMost;
            counters.reserve(run, counts);
            countRun<isMasked>(pixels + column, isMasked ? mask + column : nullptr, run, counters);
        }
    }
    counters.empty(counts);
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
    const long whole = count / kPartialTables * kPartialTables;
    for (long at = 0; at < whole; at += kPartialTables) {
        counts[places[at]] += !isMasked || mask[at] != 0;
        counts[stride + places[at + 1]] += !isMasked || mask[at + 1] != 0;
        counts[2 * stride + places[at + 2]] += !isMasked || mask[at + 2] != 0;
        counts[3 * stride + places[at + 3]] += !isMasked || mask[at + 3] != 0;
    }
    for (long at = whole; at < count; ++at) {
        counts[places[at]] += !isMasked || mask[at] != 0;
    }
}
static_assert(kPartialTables == 4);

void countPlaces(const std::int32_t* places, const std::uint8_t* mask, long count, std::uint32_t* counts, long stride)
{
    mask != nullptr ? countPlaces<true>(places, mask, count, counts, stride)
                    : countPlaces<false>(places, mask, count, counts, stride);
}

constexpr int kLanes = kWidth / 8;
typedef float Floats __attribute__((vector_size(kWidth)));
typedef std::int32_t Ints __attribute__((vector_size(kWidth)));
typedef float HalfReals __attribute__((vector_size(kWidth / 2)));
typedef double Reals __attribute__((vector_size(kWidth)));
typedef std::int64_t Longs __attribute__((vector_size(kWidth)));
typedef std::int32_t HalfLongs __attribute__((vector_size(kWidth / 2)));

/* The generic conversion goes by halves of a vector. */
template <int width, class Vector>
inline __attribute__((always_inline)) void loadReals(Vector& value, const float* pixels)
{
    if constexpr (width == 64) {
        value = (Vector)_mm512_maskz_cvtps_pd(0xff, _mm256_loadu_ps(pixels));
    } else {
        HalfReals narrow;
        __builtin_memcpy(&narrow, pixels, sizeof narrow);
        value = __builtin_convertvector(narrow, Vector);
    }
}

/* Whether a lane of `values`, which are not negative, is below that of `limits`. */
template <int width, class Vector>
inline __attribute__((always_inline)) bool anyBelow(const Vector& values, const Vector& limits)
{
    if constexpr (width == 64) {
        return _mm512_cmp_pd_mask((__m512d)values, (__m512d)limits, _CMP_LT_OQ) != 0;
    } else if constexpr (width == 32) {
        return _mm256_movemask_pd(_mm256_cmp_pd((__m256d)values, (__m256d)limits, _CMP_LT_OQ)) != 0;
    } else {
        return _mm_movemask_pd(_mm_cmplt_pd((__m128d)values, (__m128d)limits)) != 0;
    }
}

template <int width, class Vector>
inline __attribute__((always_inline)) bool anyFloatBelow(const Vector& values, const Vector& limits)
{
    if constexpr (width == 64) {
        return _mm512_cmp_ps_mask((__m512)values, (__m512)limits, _CMP_LT_OQ) != 0;
    } else if constexpr (width == 32) {
        return _mm256_movemask_ps(_mm256_cmp_ps((__m256)values, (__m256)limits, _CMP_LT_OQ)) != 0;
    } else {
        return _mm_movemask_ps(_mm_cmplt_ps((__m128)values, (__m128)limits)) != 0;
    }
}

/* Pixels at a time: they stay in the nearest cache, and are so many that what was stored is there when it is counted. */
constexpr long kPiece = 256;

/* The constants of an even division, spread over vectors. */
struct EvenVectors {
    double first;
    double bins;
    double span;
    double scale;
    HalfLongs start;
    Reals lowest;
    Reals highest;
    Reals doubt;

    explicit EvenVectors(const EvenBins& even)
        : first(even.first), bins(even.bins), span(even.span), scale(even.bins / even.span),
          start(HalfLongs{} + (std::int32_t)even.start), lowest(Reals{} + (even.start + 0.5)),
          highest(Reals{} + (even.start + even.count - 0.5)),
          doubt(Reals{} + (even.span == 1 ? 0 : (even.start + even.count + 1) * 0x1p-50))
    {
    }
};

/* The places of one vector of pixels, exactly. */
inline __attribute__((always_inline)) void placesByQuotient(const float* pixels, const EvenVectors& even,
                                                            std::int32_t* places)
{
    Reals pixel;
    loadReals<kWidth>(pixel, pixels);
    Reals bin = (pixel - even.first) * even.bins / even.span;
    bin = bin > even.lowest ? bin : even.lowest;
    bin = bin < even.highest ? bin : even.highest;
    const HalfLongs cut = __builtin_convertvector(bin, HalfLongs) - even.start;
    __builtin_memcpy(places, &cut, sizeof cut);
}

/* The same. A quotient costs a dozen products: a product by bins / span is off by less than
 * 2^-50 of itself, so it tells the bin unless it lies that close to a whole number, and only then the quotient is
 * asked. By a span of 1 the product is the quotient. Outside the range half a bin inside it says the same. */
inline __attribute__((always_inline)) void placesOf(const float* pixels, const EvenVectors& even, std::int32_t* places)
{
    constexpr double kToWhole = 0x1.8p52;
    Reals pixel;
    loadReals<kWidth>(pixel, pixels);
    const Reals distance = pixel - even.first;
    Reals bin = distance * even.scale;
    bin = bin > even.lowest ? bin : even.lowest;
    bin = bin < even.highest ? bin : even.highest;
    const Reals beside = bin - ((bin + kToWhole) - kToWhole);
    const Reals away = (Reals)((Longs)beside & INT64_MAX);
    if (__builtin_expect(anyBelow<kWidth>(away, even.doubt), 0)) {
        placesByQuotient(pixels, even, places);
        return;
    }
    const HalfLongs cut = __builtin_convertvector(bin, HalfLongs) - even.start;
    __builtin_memcpy(places, &cut, sizeof cut);
}

/* The same in single precision, for most pixels: `doubt` bounds what its four roundings and that of `first` can do. A
 * vector with a pixel that close to a whole number is in doubt, and its places are not to be used. */
struct FloatVectors {
    static constexpr int kPixels = kWidth / 4;

    float first;
    float scale;
    Ints start;
    Floats lowest;
    Floats highest;
    Floats doubt;
    bool isUseful;

    explicit FloatVectors(const EvenBins& even)
        : first((float)even.first), scale((float)(even.bins / even.span)), start(Ints{} + (std::int32_t)even.start),
          lowest(Floats{} + (float)(even.start + 0.5)), highest(Floats{} + (float)(even.start + even.count - 0.5))
    {
        const double bins = even.bins / even.span;
        const double offset = even.first < 0 ? -even.first * bins : even.first * bins;
        const double bound = (offset + even.start + even.count + 1) * 0x1p-21;
        doubt = Floats{} + (float)bound;
        isUseful = bound < 0.05 && bins > 1e-30 && bins < 1e30 && offset < 1e30;
    }
};

inline __attribute__((always_inline)) bool placesOf(const float* pixels, const FloatVectors& fast,
                                                    std::int32_t* places)
{
    constexpr float kToWhole = 0x1.8p23F;
    Floats pixel;
    __builtin_memcpy(&pixel, pixels, sizeof pixel);
    Floats bin = (pixel - fast.first) * fast.scale;
    bin = bin > fast.lowest ? bin : fast.lowest;
    bin = bin < fast.highest ? bin : fast.highest;
    const Floats beside = bin - ((bin + kToWhole) - kToWhole);
    const Floats away = (Floats)((Ints)beside & INT32_MAX);
    const Ints cut = __builtin_convertvector(bin, Ints) - fast.start;
    __builtin_memcpy(places, &cut, sizeof cut);
    return anyFloatBelow<kWidth>(away, fast.doubt);
}

/* Vectors in doubt are noted without a branch, since one pixel in a hundred on a limit puts every sixth of them there,
 * where no branch is foretold; then they are taken one behind the other. */
inline __attribute__((always_inline)) void placesOfPiece(const float* pixels, const FloatVectors& fast,
                                                         const EvenVectors& even, std::int32_t* places, long count)
{
    if (!fast.isUseful) {
        for (long at = 0; at < count; at += kLanes) {
            placesOf(pixels + at, even, places + at);
        }
        return;
    }
    long inDoubt[kPiece / FloatVectors::kPixels + 1];
    long doubts = 0;
    for (long at = 0; at < count; at += FloatVectors::kPixels) {
        inDoubt[doubts] = at;
        doubts += placesOf(pixels + at, fast, places + at);
    }
    for (long doubt = 0; doubt < doubts; ++doubt) {
        const long at = inDoubt[doubt];
        placesByQuotient(pixels + at, even, places + at);
        placesByQuotient(pixels + at + kLanes, even, places + at + kLanes);
    }
}

void countEven(const float* pixels, const std::uint8_t* mask, long count, const EvenBins& bins, std::uint32_t* counts,
               long stride)
{
    const EvenVectors even(bins);
    const FloatVectors fast(bins);
    std::int32_t places[kPiece];
    long at = 0;
    for (; at + kPiece <= count; at += kPiece) {
        placesOfPiece(pixels + at, fast, even, places, kPiece);
        countPlaces(places, mask != nullptr ? mask + at : nullptr, kPiece, counts, stride);
    }
    if (at < count) {
        float last[kPiece] = {};
        __builtin_memcpy(last, pixels + at, (std::size_t)(count - at) * sizeof(float));
        placesOfPiece(last, fast, even, places, kPiece);
        countPlaces(places, mask != nullptr ? mask + at : nullptr, count - at, counts, stride);
    }
}

constexpr HistogramLoops kHistogram = {countBytes, countWords, holdPlaces, countPlaces, countEven};

}  // namespace EMANTLE_TARGET
}  // namespace
}  // namespace emantle
