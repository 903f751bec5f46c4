/* Count, extremes, sum and sum of squares in one pass. Included once for each instruction set.
 *
 * Whole numbers are taken as unsigned: a signed type has its sign bit flipped, and the result is moved back at the end.
 * Their sums start in lanes as narrow as they fit and are folded into 64 bits before those can overflow. */

namespace emantle {
namespace {
namespace EMANTLE_TARGET {

constexpr int kWidth = vector_bytes::EMANTLE_TARGET;

typedef std::uint8_t Bytes __attribute__((vector_size(kWidth)));
typedef std::uint16_t Words __attribute__((vector_size(kWidth)));
typedef std::uint32_t Doubles __attribute__((vector_size(kWidth)));
typedef std::uint64_t Quads __attribute__((vector_size(kWidth)));

#define EMANTLE_INLINE inline __attribute__((always_inline))

/* The compiler would rather read the memory again for each use of a vector. Each of those reads waits for the same line
 * when it comes from beyond the cache, and such a loop reads at half the speed and less. */
template <class Vector>
EMANTLE_INLINE void keepInRegister(Vector& vector)
{
    asm("" : "+v"(vector));
}

template <class Vector>
EMANTLE_INLINE void load(Vector& vector, const void* address)
{
    __builtin_memcpy(&vector, address, sizeof(Vector));
}

template <class Vector>
EMANTLE_INLINE void takeLeast(Vector& least, const Vector& value)
{
    least = value < least ? value : least;
}

template <class Vector>
EMANTLE_INLINE void takeGreatest(Vector& greatest, const Vector& value)
{
    greatest = value > greatest ? value : greatest;
}

EMANTLE_INLINE std::uint64_t total(const Quads& lanes)
{
    std::uint64_t sum = 0;
    for (int lane = 0; lane < kWidth / 8; ++lane) {
        sum += lanes[lane];
    }
    return sum;
}

/* Adds the halves of each lane to lanes of twice the width. */
EMANTLE_INLINE void addHalves(Words& sums, const Bytes& values)
{
    sums += ((Words)values & 0xff) + ((Words)values >> 8);
}
EMANTLE_INLINE void addHalves(Doubles& sums, const Words& values)
{
    sums += ((Doubles)values & 0xffff) + ((Doubles)values >> 16);
}
EMANTLE_INLINE void addHalves(Quads& sums, const Doubles& values)
{
    sums += ((Quads)values & 0xffffffff) + ((Quads)values >> 32);
}

/* A product of 64-bit lanes costs three of these. */
template <int width, class Vector>
EMANTLE_INLINE void squareOfLowHalves(Vector& square, const Vector& value)
{
    if constexpr (width == 64) {
        square = (Vector)_mm512_maskz_mul_epu32(0xff, (__m512i)value, (__m512i)value);
    } else if constexpr (width == 32) {
        square = (Vector)_mm256_mul_epu32((__m256i)value, (__m256i)value);
    } else {
        square = (Vector)_mm_mul_epu32((__m128i)value, (__m128i)value);
    }
}

/* Bytes, one in each lane of 32 bits. */
template <int width, class Vector>
EMANTLE_INLINE void loadBytes(Vector& lanes, const std::uint8_t* bytes)
{
    if constexpr (width == 64) {
        lanes = (Vector)_mm512_maskz_cvtepu8_epi32(0xffff, _mm_loadu_si128((const __m128i*)bytes));
    } else if constexpr (width == 32) {
        lanes = (Vector)_mm256_cvtepu8_epi32(_mm_loadl_epi64((const __m128i*)bytes));
    } else {
        lanes = Vector{bytes[0], bytes[1], bytes[2], bytes[3]};
    }
}

/* The state of a pass over unsigned pixels. `Flip` is what turns the stored pixel into an unsigned one of the same
 * order. */
struct WholeSums {
    std::uint64_t count = 0;
    std::uint64_t least = UINT64_MAX;
    std::uint64_t greatest = 0;
    Whole128 sum = 0;
    Whole128 squares = 0;

    EMANTLE_INLINE void take(std::uint64_t value)
    {
        ++count;
        least = value < least ? value : least;
        greatest = value > greatest ? value : greatest;
        sum += value;
        squares += (Whole128)value * value;
    }
};

/* Vectors of one pass; `Step` takes one vector and `fold` empties the narrow lanes, after kSteps steps at most. */
struct ByteSums {
    typedef Bytes Pixels;
    static constexpr long kSteps = 128;

    Bytes least = ~Bytes{};
    Bytes greatest = {};
    Bytes counts = {};
    Words sums = {};
    Doubles squares = {};
    Quads wideCounts = {};
    Quads wideSums = {};
    Quads wideSquares = {};

    EMANTLE_INLINE void add(const Bytes& value)
    {
        const Words even = (Words)value & 0xff;
        const Words odd = (Words)value >> 8;
        sums += even + odd;
        addHalves(squares, even * even);
        addHalves(squares, odd * odd);
    }
    EMANTLE_INLINE void takeAll(const Bytes& value)
    {
        takeLeast(least, value);
        takeGreatest(greatest, value);
        add(value);
    }
    EMANTLE_INLINE void takeSome(const Bytes& value, const std::uint8_t* mask)
    {
        Bytes set;
        load(set, mask);
        set = (Bytes)(set != 0);
        counts -= set;
        takeLeast(least, value | ~set);
        takeGreatest(greatest, value & set);
        add(value & set);
    }
    EMANTLE_INLINE void fold()
    {
        addHalves(wideSums, foldWords(sums));
        addHalves(wideSquares, squares);
        Words words = {};
        addHalves(words, counts);
        addHalves(wideCounts, foldWords(words));
        counts = Bytes{};
        sums = Words{};
        squares = Doubles{};
    }
    static EMANTLE_INLINE Doubles foldWords(const Words& words)
    {
        Doubles folded = {};
        addHalves(folded, words);
        return folded;
    }
};

struct WordSums {
    typedef Words Pixels;
    static constexpr long kSteps = 16384;

    Words least = ~Words{};
    Words greatest = {};
    Words counts = {};
    Doubles sums = {};
    Doubles lowSquares = {};
    Doubles highSquares = {};
    Quads wideCounts = {};
    Quads wideSums = {};
    Quads wideSquares = {};

    EMANTLE_INLINE void addSquare(const Doubles& square)
    {
        lowSquares += square & 0xffff;
        highSquares += square >> 16;
    }
    EMANTLE_INLINE void add(const Words& value)
    {
        const Doubles even = (Doubles)value & 0xffff;
        const Doubles odd = (Doubles)value >> 16;
        sums += even + odd;
        addSquare(even * even);
        addSquare(odd * odd);
    }
    EMANTLE_INLINE void takeAll(const Words& value)
    {
        takeLeast(least, value);
        takeGreatest(greatest, value);
        add(value);
    }
    EMANTLE_INLINE void takeSome(const Words& value, const std::uint8_t* mask)
    {
        typedef std::uint8_t Narrow __attribute__((vector_size(kWidth / 2)));
        Narrow bytes;
        load(bytes, mask);
        const Words set = (Words)(__builtin_convertvector(bytes, Words) != 0);
        counts -= set;
        takeLeast(least, value | ~set);
        takeGreatest(greatest, value & set);
        add(value & set);
    }
    EMANTLE_INLINE void fold()
    {
        Doubles folded = {};
        addHalves(folded, counts);
        addHalves(wideCounts, folded);
        addHalves(wideSums, sums);
        addHalves(wideSquares, lowSquares);
        Quads high = {};
        addHalves(high, highSquares);
        wideSquares += high << 16;
        counts = Words{};
        sums = lowSquares = highSquares = Doubles{};
    }
};

struct DoubleSums {
    typedef Doubles Pixels;
    static constexpr long kSteps = 1L << 24;

    Doubles least = ~Doubles{};
    Doubles greatest = {};
    Doubles counts = {};
    Quads wideCounts = {};
    Quads wideSums = {};
    Quads wideSquares = {}; /* their low halves */
    Quads highSquares = {};

    EMANTLE_INLINE void addSquare(const Quads& value)
    {
        Quads square;
        squareOfLowHalves<kWidth>(square, value);
        wideSquares += square & 0xffffffff;
        highSquares += square >> 32;
    }
    EMANTLE_INLINE void add(const Doubles& value)
    {
        const Quads even = (Quads)value & 0xffffffff;
        const Quads odd = (Quads)value >> 32;
        wideSums += even + odd;
        addSquare(even);
        addSquare(odd);
    }
    EMANTLE_INLINE void takeAll(const Doubles& value)
    {
        takeLeast(least, value);
        takeGreatest(greatest, value);
        add(value);
    }
    EMANTLE_INLINE void takeSome(const Doubles& value, const std::uint8_t* mask)
    {
        Doubles bytes;
        loadBytes<kWidth>(bytes, mask);
        const Doubles set = (Doubles)(bytes != 0);
        counts -= set;
        takeLeast(least, value | ~set);
        takeGreatest(greatest, value & set);
        add(value & set);
    }
    EMANTLE_INLINE void fold()
    {
        addHalves(wideCounts, counts);
        counts = Doubles{};
    }
};

EMANTLE_INLINE Whole128 squaresOf(const DoubleSums& sums)
{
    return ((Whole128)total(sums.highSquares) << 32) + total(sums.wideSquares);
}
template <class Sums>
EMANTLE_INLINE Whole128 squaresOf(const Sums& sums)
{
    return total(sums.wideSquares);
}

/* `Unsigned` is the type of the pixels as the sums see it. */
template <class Unsigned>
struct SumsOf;
template <>
struct SumsOf<std::uint8_t> {
    typedef ByteSums Type;
};
template <>
struct SumsOf<std::uint16_t> {
    typedef WordSums Type;
};
template <>
struct SumsOf<std::uint32_t> {
    typedef DoubleSums Type;
};

/* What the flip of the sign bit did to the sums is undone in whole numbers: with u = v + shift,
 * sum v^2 = sum u^2 - 2 shift sum u + n shift^2. */
EMANTLE_INLINE ScalarSums moved(const WholeSums& sums, std::uint64_t shift)
{
    if (sums.count == 0) {
        return kNothing;
    }
    const Signed128 n = sums.count;
    const Signed128 by = shift;
    const Signed128 sum = (Signed128)sums.sum - n * by;
    const Signed128 squares = (Signed128)sums.squares - 2 * by * (Signed128)sums.sum + n * by * by;
    return {(double)sums.count, (double)((std::int64_t)sums.least - (std::int64_t)shift),
            (double)((std::int64_t)sums.greatest - (std::int64_t)shift), (double)sum, (double)squares};
}

template <class Unsigned, bool isSigned, bool isMasked>
ScalarSums wholeNumbers(const PixelBlock& block)
{
    typedef typename SumsOf<Unsigned>::Type Sums;
    constexpr long kLanes = kWidth / (long)sizeof(Unsigned);
    constexpr Unsigned kFlip = isSigned ? (Unsigned)((Unsigned)1 << (8 * sizeof(Unsigned) - 1)) : (Unsigned)0;

    Sums sums;
    WholeSums rest;
    std::uint64_t vectors = 0;
    for (long row = 0; row < block.rows; ++row) {
        const std::byte* pixels = block.pixels + row * block.pitch;
        const std::uint8_t* mask = isMasked ? block.mask + row * block.maskPitch : nullptr;
        long left = block.columns / kLanes;
        vectors += (std::uint64_t)left;
        while (left > 0) {
            const long steps = left < Sums::kSteps ? left : Sums::kSteps;
            Sums local = sums;
            for (long step = 0; step < steps; ++step) {
                typename Sums::Pixels value;
                load(value, pixels + step * kWidth);
                keepInRegister(value);
                if constexpr (isSigned) {
                    value ^= kFlip;
                }
                if constexpr (isMasked) {
                    local.takeSome(value, mask + step * kLanes);
                } else {
                    local.takeAll(value);
                }
            }
            local.fold();
            sums = local;
            pixels += steps * kWidth;
            if constexpr (isMasked) {
                mask += steps * kLanes;
            }
            left -= steps;
        }
        for (long column = 0; column < block.columns % kLanes; ++column) {
            Unsigned value;
            __builtin_memcpy(&value, pixels + column * (long)sizeof(Unsigned), sizeof(Unsigned));
            if (!isMasked || mask[column] != 0) {
                rest.take((Unsigned)(value ^ kFlip));
            }
        }
    }

    const std::uint64_t inVectors = isMasked ? total(sums.wideCounts) : vectors * (std::uint64_t)kLanes;
    rest.count += inVectors;
    rest.sum += total(sums.wideSums);
    rest.squares += squaresOf(sums);
    for (long lane = 0; inVectors != 0 && lane < kLanes; ++lane) {
        rest.least = sums.least[lane] < rest.least ? sums.least[lane] : rest.least;
        rest.greatest = sums.greatest[lane] > rest.greatest ? sums.greatest[lane] : rest.greatest;
    }
    return moved(rest, kFlip);
}

/* Floating pixels: sums in 16 lanes of doubles whatever the width of a vector, so that they do not depend on it. */

constexpr int kLanesOfReals = 16;
constexpr int kPartLanes = kWidth / 8;
constexpr int kParts = kLanesOfReals / kPartLanes;

typedef double Reals __attribute__((vector_size(kWidth)));
typedef std::int64_t RealMasks __attribute__((vector_size(kWidth)));

struct RealSums {
    double least = kNothing.least;
    double greatest = kNothing.greatest;
    double sums[kLanesOfReals] = {};
    double squares[kLanesOfReals] = {};
    std::uint64_t count = 0;

    EMANTLE_INLINE void take(double value, int lane)
    {
        ++count;
        least = value < least ? value : least;
        greatest = value > greatest ? value : greatest;
        sums[lane] += value;
        squares[lane] += value * value;
    }

    ScalarSums result() const
    {
        ScalarSums all = {(double)count, least, greatest, 0, 0};
        for (int lane = 0; lane < kLanesOfReals; ++lane) {
            all.sum += sums[lane];
            all.squares += squares[lane];
        }
        return all;
    }
};

/* kPartLanes pixels as doubles. The generic conversion would go by halves of a vector. */
template <int width, class Vector>
EMANTLE_INLINE void widen(Vector& value, const float* pixels)
{
    if constexpr (width == 64) {
        value = (Vector)_mm512_maskz_cvtps_pd(0xff, _mm256_loadu_ps(pixels));
    } else {
        typedef float Narrow __attribute__((vector_size(width / 2)));
        Narrow narrow;
        __builtin_memcpy(&narrow, pixels, sizeof narrow);
        value = __builtin_convertvector(narrow, Vector);
    }
}
EMANTLE_INLINE void loadReals(Reals& value, const float* pixels)
{
    widen<kWidth>(value, pixels);
}
EMANTLE_INLINE void loadReals(Reals& value, const double* pixels)
{
    load(value, pixels);
}

/* All bits of a lane where its byte of the mask is not 0: the bytes are spread to every lane as they lie, and each lane
 * looks at its own. */
EMANTLE_INLINE void loadMask(RealMasks& set, const std::uint8_t* mask)
{
    typedef std::conditional_t<kPartLanes == 8, std::uint64_t,
                               std::conditional_t<kPartLanes == 4, std::uint32_t, std::uint16_t>>
        Word;
    Word word;
    __builtin_memcpy(&word, mask, sizeof word);
    RealMasks ownByte;
    for (int lane = 0; lane < kPartLanes; ++lane) {
        ownByte[lane] = (std::int64_t)(std::uint64_t{0xff} << (8 * lane));
    }
    set = ((RealMasks{} + (std::int64_t)word) & ownByte) != 0;
}

template <class Real, bool isMasked>
EMANTLE_INLINE void takeRun(RealSums& all, const Real* pixels, const std::uint8_t* mask, long steps)
{
    Reals least[2] = {Reals{} + all.least, Reals{} + all.least};
    Reals greatest[2] = {Reals{} + all.greatest, Reals{} + all.greatest};
    Reals sums[kParts];
    Reals squares[kParts];
    RealMasks counts = {};
    __builtin_memcpy(sums, all.sums, sizeof sums);
    __builtin_memcpy(squares, all.squares, sizeof squares);
    for (long step = 0; step < steps; ++step) {
#pragma GCC unroll 8
        for (int part = 0; part < kParts; ++part) {
            const long at = step * kLanesOfReals + part * kPartLanes;
            Reals value;
            loadReals(value, pixels + at);
            keepInRegister(value);
            if constexpr (isMasked) {
                RealMasks set;
                loadMask(set, mask + at);
                counts -= set;
                takeLeast(least[part % 2], set ? value : Reals{} + kNothing.least);
                takeGreatest(greatest[part % 2], set ? value : Reals{} + kNothing.greatest);
                value = set ? value : Reals{};
            } else {
                takeLeast(least[part % 2], value);
                takeGreatest(greatest[part % 2], value);
            }
            sums[part] += value;
            squares[part] += value * value;
        }
    }
    __builtin_memcpy(all.sums, sums, sizeof sums);
    __builtin_memcpy(all.squares, squares, sizeof squares);
    takeLeast(least[0], least[1]);
    takeGreatest(greatest[0], greatest[1]);
    for (int lane = 0; lane < kPartLanes; ++lane) {
        all.least = least[0][lane] < all.least ? least[0][lane] : all.least;
        all.greatest = greatest[0][lane] > all.greatest ? greatest[0][lane] : all.greatest;
        all.count += isMasked ? (std::uint64_t)counts[lane] : 0;
    }
    all.count += isMasked ? 0 : (std::uint64_t)(steps * kLanesOfReals);
}

template <class Real, bool isMasked>
EMANTLE_INLINE void takeRow(RealSums& all, const Real* pixels, const std::uint8_t* mask, long columns)
{
    const long steps = columns / kLanesOfReals;
    takeRun<Real, isMasked>(all, pixels, mask, steps);
    for (long column = steps * kLanesOfReals; column < columns; ++column) {
        if (!isMasked || mask[column] != 0) {
            all.take(pixels[column], (int)(column % kLanesOfReals));
        }
    }
}

template <class Real, bool isMasked>
ScalarSums reals(const PixelBlock& block)
{
    RealSums all;
    for (long row = 0; row < block.rows; ++row) {
        takeRow<Real, isMasked>(all, (const Real*)(block.pixels + row * block.pitch),
                                isMasked ? block.mask + row * block.maskPitch : nullptr, block.columns);
    }
    return all.result();
}

template <class Part, bool isMasked>
ScalarSums magnitudes(const PixelBlock& block)
{
    constexpr long kPiece = 512;
    RealSums all;
    double values[kPiece];
    for (long row = 0; row < block.rows; ++row) {
        const Part* parts = (const Part*)(block.pixels + row * block.pitch);
        const std::uint8_t* mask = isMasked ? block.mask + row * block.maskPitch : nullptr;
        for (long from = 0; from < block.columns; from += kPiece) {
            const long count = block.columns - from < kPiece ? block.columns - from : kPiece;
            for (long at = 0; at < count; ++at) {
                const Part real = parts[2 * (from + at)];
                const Part imaginary = parts[2 * (from + at) + 1];
                values[at] = std::sqrt(real * real + imaginary * imaginary);
            }
            takeRow<double, isMasked>(all, values, isMasked ? mask + from : nullptr, count);
        }
    }
    return all.result();
}

constexpr StatisticsLoops kStatistics = {
    {wholeNumbers<std::uint8_t, false, false>, wholeNumbers<std::uint8_t, false, false>,
     wholeNumbers<std::uint8_t, false, false>, wholeNumbers<std::uint8_t, false, false>,
     wholeNumbers<std::uint8_t, true, false>, wholeNumbers<std::uint16_t, false, false>,
     wholeNumbers<std::uint16_t, true, false>, wholeNumbers<std::uint32_t, false, false>,
     wholeNumbers<std::uint32_t, true, false>, reals<float, false>, reals<double, false>, magnitudes<float, false>,
     magnitudes<double, false>, nullptr},
    {wholeNumbers<std::uint8_t, false, true>, wholeNumbers<std::uint8_t, false, true>,
     wholeNumbers<std::uint8_t, false, true>, wholeNumbers<std::uint8_t, false, true>,
     wholeNumbers<std::uint8_t, true, true>, wholeNumbers<std::uint16_t, false, true>,
     wholeNumbers<std::uint16_t, true, true>, wholeNumbers<std::uint32_t, false, true>,
     wholeNumbers<std::uint32_t, true, true>, reals<float, true>, reals<double, true>, magnitudes<float, true>,
     magnitudes<double, true>, nullptr},
};

#undef EMANTLE_INLINE

}  // namespace EMANTLE_TARGET
}  // namespace
}  // namespace emantle
