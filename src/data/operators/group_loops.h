/* Group functions over pieces. Each goes over the sources one by one and keeps what it gathers in a piece of its own, so
 * that every inner loop is one over elements; it has the count at hand, since elements may alias anything. Compiled once
 * for each instruction set. */

namespace emantle::EMANTLE_TARGET {

template <class T>
inline const Cell<T>* sourceOf(const GroupPiece& piece, long i)
{
    return static_cast<const Cell<T>*>(piece.sources[i]);
}

template <class T>
inline bool equal(T a, T b)
{
    if constexpr (isComplexValue<T>) {
        return (a.real == b.real) & (a.imaginary == b.imaginary);
    } else {
        return a == b;
    }
}

template <class T>
void addAll(double* sums, const GroupPiece& piece)
{
    const long count = piece.count;
    const Cell<T>* first = sourceOf<T>(piece, 0);
    for (long e = 0; e < count; ++e) {
        sums[e] = static_cast<double>(first[e].value);
    }
    for (long i = 1; i < piece.n; ++i) {
        const Cell<T>* source = sourceOf<T>(piece, i);
        for (long e = 0; e < count; ++e) {
            sums[e] += static_cast<double>(source[e].value);
        }
    }
}

template <class T>
void meanOf(void* out, const GroupPiece& piece, long, void*)
{
    const long count = piece.count;
    auto* means = static_cast<double*>(out);
    addAll<T>(means, piece);
    const auto n = static_cast<double>(piece.n);
    for (long e = 0; e < count; ++e) {
        means[e] /= n;
    }
}

template <class T>
void sdeviOf(void* out, const GroupPiece& piece, long, void* scratch)
{
    const long count = piece.count;
    auto* means = static_cast<double*>(scratch);
    auto* squares = static_cast<double*>(out);
    meanOf<T>(means, piece, 0, nullptr);
    std::memset(out, 0, static_cast<std::size_t>(count) * sizeof(double));
    for (long i = 0; i < piece.n; ++i) {
        const Cell<T>* source = sourceOf<T>(piece, i);
        for (long e = 0; e < count; ++e) {
            const double deviation = static_cast<double>(source[e].value) - means[e];
            squares[e] += deviation * deviation;
        }
    }
    const auto n = static_cast<double>(piece.n - 1);
    for (long e = 0; e < count; ++e) {
        squares[e] = __builtin_sqrt(squares[e] / n);
    }
}

/* A complex piece is one of twice as many parts. */
template <class Part, GroupLoop loop>
void byParts(void* out, const GroupPiece& piece, long parameter, void* scratch)
{
    loop(out, {piece.sources, piece.n, 2 * piece.count}, parameter, scratch);
}

template <class T>
void diversity(void* out, const GroupPiece& piece, long, void* scratch)
{
    const long count = piece.count;
    auto* counts = static_cast<std::int32_t*>(out);
    auto* isNew = static_cast<std::int32_t*>(scratch);
    for (long e = 0; e < count; ++e) {
        counts[e] = 1;
    }
    for (long i = 1; i < piece.n; ++i) {
        const Cell<T>* source = sourceOf<T>(piece, i);
        for (long e = 0; e < count; ++e) {
            isNew[e] = 1;
        }
        for (long j = 0; j < i; ++j) {
            const Cell<T>* before = sourceOf<T>(piece, j);
            for (long e = 0; e < count; ++e) {
                isNew[e] &= source[e].value != before[e].value;
            }
        }
        for (long e = 0; e < count; ++e) {
            counts[e] += isNew[e];
        }
    }
}

template <class T>
void density(void* out, const GroupPiece& piece, long, void*)
{
    const long count = piece.count;
    auto* counts = static_cast<std::int32_t*>(out);
    const Cell<T>* wanted = sourceOf<T>(piece, 0);
    for (long e = 0; e < count; ++e) {
        counts[e] = 1;
    }
    for (long i = 1; i < piece.n; ++i) {
        const Cell<T>* source = sourceOf<T>(piece, i);
        for (long e = 0; e < count; ++e) {
            counts[e] += source[e].value == wanted[e].value;
        }
    }
}

/* Counts for each source how often its value is there; a value that is met again has the same count, so that it takes no
 * place from the first. */
template <class T, bool most>
void commonest(void* out, const GroupPiece& piece, long, void* scratch)
{
    const long count = piece.count;
    auto* values = static_cast<Cell<T>*>(out);
    auto* best = static_cast<std::int32_t*>(scratch);
    auto* counts = best + kGroupPiece;
    for (long e = 0; e < count; ++e) {
        best[e] = most ? 0 : INT32_MAX;
    }
    for (long i = 0; i < piece.n; ++i) {
        const Cell<T>* source = sourceOf<T>(piece, i);
        for (long e = 0; e < count; ++e) {
            counts[e] = 1;
        }
        for (long j = 0; j < piece.n; ++j) {
            if (j == i) {
                continue; /* a NaN equals nothing, and is there once all the same */
            }
            const Cell<T>* other = sourceOf<T>(piece, j);
            for (long e = 0; e < count; ++e) {
                counts[e] += source[e].value == other[e].value;
            }
        }
        for (long e = 0; e < count; ++e) {
            const bool better = most ? counts[e] > best[e] : counts[e] < best[e];
            best[e] = better ? counts[e] : best[e];
            const T kept = values[e].value;
            const T candidate = source[e].value;
            values[e].value = better ? candidate : kept;
        }
    }
}

/* Carries the lowest, or the highest, of the values still in play to its place, pass by pass, from the nearer end. */
template <class T>
void position(void* out, const GroupPiece& piece, long place, void* scratch)
{
    const long count = piece.count;
    auto* rows = static_cast<T*>(scratch);
    for (long i = 0; i < piece.n; ++i) {
        std::memcpy(rows + i * kGroupPiece, piece.sources[i], static_cast<std::size_t>(count) * sizeof(T));
    }
    const bool fromBelow = place < piece.n / 2;
    const auto row = [&](long i) { return rows + (fromBelow ? i : piece.n - 1 - i) * kGroupPiece; };
    const long passes = (fromBelow ? place : piece.n - 1 - place) + 1;
    for (long pass = 0; pass < passes; ++pass) {
        for (long i = piece.n - 1; i > pass; --i) {
            T* outer = row(i - 1);
            T* inner = row(i);
#if !defined(__clang__)
#pragma GCC ivdep
#endif
            for (long e = 0; e < count; ++e) {
                const T a = outer[e];
                const T b = inner[e];
                const bool swaps = fromBelow ? b < a : a < b;
                outer[e] = swaps ? b : a;
                inner[e] = swaps ? a : b;
            }
        }
    }
    std::memcpy(out, row(passes - 1), static_cast<std::size_t>(count) * sizeof(T));
}

template <class T>
void rank(void* out, const GroupPiece& piece, long wanted, void*)
{
    const long count = piece.count;
    auto* ranks = static_cast<std::int32_t*>(out);
    const Cell<T>* one = sourceOf<T>(piece, wanted);
    for (long e = 0; e < count; ++e) {
        ranks[e] = 0;
    }
    for (long i = 0; i < piece.n; ++i) {
        const Cell<T>* source = sourceOf<T>(piece, i);
        for (long e = 0; e < count; ++e) {
            ranks[e] += source[e].value < one[e].value;
        }
    }
}

template <class T>
void indexOf(void* out, const GroupPiece& piece, long, void*)
{
    const long count = piece.count;
    auto* indices = static_cast<std::int32_t*>(out);
    const Cell<T>* wanted = sourceOf<T>(piece, 0);
    for (long e = 0; e < count; ++e) {
        indices[e] = 0;
    }
    for (long i = piece.n - 1; i > 0; --i) {
        const Cell<T>* source = sourceOf<T>(piece, i);
        const auto number = static_cast<std::int32_t>(i);
        for (long e = 0; e < count; ++e) {
            indices[e] = equal<T>(source[e].value, wanted[e].value) ? number : indices[e];
        }
    }
}

template <class T>
void nonZeroOf(void* out, const GroupPiece& piece, long, void*)
{
    const long count = piece.count;
    auto* marks = static_cast<std::uint8_t*>(out);
    const Cell<T>* source = sourceOf<T>(piece, 0);
    for (long e = 0; e < count; ++e) {
        marks[e] = !equal<T>(source[e].value, T{});
    }
}

/* Numbers cut to whole ones from 1 to `end` - 1; 0 for all others. */
inline void cutNumbers(std::int32_t* numbers, const double* values, long end, long count)
{
    const auto limit = static_cast<double>(end);
    for (long e = 0; e < count; ++e) {
        const bool isNumber = (values[e] >= 1) & (values[e] < limit);
        numbers[e] = static_cast<std::int32_t>(isNumber ? values[e] : 0);
    }
}

inline void markEqual(std::uint8_t* marks, const std::int32_t* numbers, std::int32_t wanted, long count)
{
    for (long e = 0; e < count; ++e) {
        marks[e] = numbers[e] == wanted;
    }
}

constexpr SelectorLoops kSelectorLoops{cutNumbers, markEqual};

template <class T>
constexpr GroupLoops kLoopsOf{meanOf<T>,       sdeviOf<T>,   diversity<T>, density<T>, commonest<T, true>,
                              commonest<T, false>, position<T>, rank<T>,      indexOf<T>, nonZeroOf<T>};

template <class T, class Part>
constexpr GroupLoops kComplexLoopsOf{byParts<Part, meanOf<Part>>,
                                     byParts<Part, sdeviOf<Part>>,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     indexOf<T>,
                                     nonZeroOf<T>};

constexpr GroupLoops kGroupLoops[] = {kLoopsOf<std::uint8_t>,
                                      kLoopsOf<std::uint8_t>,
                                      kLoopsOf<std::uint8_t>,
                                      kLoopsOf<std::uint8_t>,
                                      kLoopsOf<std::int8_t>,
                                      kLoopsOf<std::uint16_t>,
                                      kLoopsOf<std::int16_t>,
                                      kLoopsOf<std::uint32_t>,
                                      kLoopsOf<std::int32_t>,
                                      kLoopsOf<float>,
                                      kLoopsOf<double>,
                                      kComplexLoopsOf<Egda_Complex64, float>,
                                      kComplexLoopsOf<Egda_Complex128, double>};

}  // namespace emantle::EMANTLE_TARGET
