/* Products of matrices, by Goto and van de Geijn's blocks: a panel of the second factor stays in the first cache, a block
 * of the first in the second, both packed in the order in which the innermost loop reads them, and that loop keeps a tile
 * of sums in registers. A product and its sum are rounded one by one, so that every machine forms the same sums.
 * Compiled once for each instruction set. */

namespace emantle::EMANTLE_TARGET {

/* What sums of a type are formed in. Whole numbers wrap, so that the lower bits of a wider sum are the sum. */
template <class Stored>
struct Summed {
    using Part = Stored;
    static constexpr int parts = 1;
};
template <> struct Summed<std::uint8_t> { using Part = std::uint16_t; static constexpr int parts = 1; };
template <> struct Summed<std::int8_t> { using Part = std::uint16_t; static constexpr int parts = 1; };
template <> struct Summed<std::int16_t> { using Part = std::uint16_t; static constexpr int parts = 1; };
template <> struct Summed<std::int32_t> { using Part = std::uint32_t; static constexpr int parts = 1; };
template <> struct Summed<Egda_Complex64> { using Part = float; static constexpr int parts = 2; };
template <> struct Summed<Egda_Complex128> { using Part = double; static constexpr int parts = 2; };

/* Sizes of tiles and blocks, in elements. A complex tile has its parts in registers of their own. */
template <class Stored>
struct Shape {
    using Part = typename Summed<Stored>::Part;
    static constexpr int parts = Summed<Stored>::parts;
    typedef Part Vector __attribute__((vector_size(kRegister)));
    static constexpr long lanes = kRegister / static_cast<long>(sizeof(Part));
    static constexpr long vectors = parts == 1 ? 2 : 1;
    static constexpr long rows = vectors * lanes;
    static constexpr long columns = parts == 1 ? kTileColumns : kTileColumns / 2;
    static constexpr long depth = 256;
    static constexpr long blockRows = (128 * 8 / static_cast<long>(sizeof(Part)) + rows - 1) / rows * rows;
    static constexpr long blockColumns = 256 / columns * columns;
};

/* Packs `count` rows of `depth` elements into panels of `width` rows: for each place the elements of all rows together,
 * with zeros for rows that are not there. Parts stand behind each other. */
template <class Stored, long width>
void pack(typename Summed<Stored>::Part* to, const char* from, long rowStep, long placeStep, long count, long depth)
{
    using Part = typename Summed<Stored>::Part;
    constexpr int parts = Summed<Stored>::parts;
    for (long first = 0; first < count; first += width) {
        const long there = count - first < width ? count - first : width;
        for (long place = 0; place < depth; ++place, to += parts * width) {
            const char* at = from + first * rowStep + place * placeStep;
            if (there < width) {
                std::memset(static_cast<void*>(to), 0, static_cast<std::size_t>(parts * width) * sizeof(Part));
            }
            if constexpr (parts == 2) {
                for (long i = 0; i < there; ++i) {
                    const auto value = reinterpret_cast<const Cell<Stored>*>(at + i * rowStep)->value;
                    to[i] = value.real;
                    to[width + i] = value.imaginary;
                }
            } else if (rowStep == static_cast<long>(sizeof(Stored))) {
                const auto* run = reinterpret_cast<const Cell<Stored>*>(at);
                for (long i = 0; i < there; ++i) {
                    to[i] = static_cast<Part>(run[i].value);
                }
            } else {
                for (long i = 0; i < there; ++i) {
                    to[i] = static_cast<Part>(reinterpret_cast<const Cell<Stored>*>(at + i * rowStep)->value);
                }
            }
        }
    }
}

template <class Vector>
inline Vector loaded(const void* from)
{
    Vector value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

/* Adds to the sums of a tile, whose columns are `stride` parts apart, or starts them. */
template <class Stored>
void sumTile(typename Summed<Stored>::Part* sums, long stride, const typename Summed<Stored>::Part* a,
             const typename Summed<Stored>::Part* b, long depth, bool isFirst)
{
    using Tile = Shape<Stored>;
    using Vector = typename Tile::Vector;
    Vector sum[Tile::columns][2]; /* touched by value alone, so that it lives in registers */
    for (long j = 0; j < Tile::columns; ++j) {
        for (long i = 0; i < 2; ++i) {
            sum[j][i] = isFirst ? Vector{} : loaded<Vector>(sums + j * stride + i * Tile::lanes);
        }
    }
    for (long place = 0; place < depth; ++place) {
        const Vector left[2] = {loaded<Vector>(a), loaded<Vector>(a + Tile::lanes)};
        for (long j = 0; j < Tile::columns; ++j) {
            if constexpr (Tile::parts == 2) {
                sum[j][0] += left[0] * b[j] - left[1] * b[Tile::columns + j];
                sum[j][1] += left[1] * b[j] + left[0] * b[Tile::columns + j];
            } else {
                sum[j][0] += left[0] * b[j];
                sum[j][1] += left[1] * b[j];
            }
        }
        a += 2 * Tile::lanes;
        b += Tile::parts * Tile::columns;
    }
    for (long j = 0; j < Tile::columns; ++j) {
        for (long i = 0; i < 2; ++i) {
            const Vector value = sum[j][i];
            std::memcpy(sums + j * stride + i * Tile::lanes, &value, sizeof value);
        }
    }
}

/* A part of a tile at the edges of the product, or of a type that is not stored as it is summed. */
template <class Stored>
void sumPartOfTile(const ProductSide& dest, long rows, long columns, const typename Summed<Stored>::Part* a,
                   const typename Summed<Stored>::Part* b, long depth, bool isFirst)
{
    using Tile = Shape<Stored>;
    constexpr long stride = 2 * Tile::lanes;
    typename Tile::Part sums[Tile::columns * stride] = {};
    const auto cell = [&](long row, long column) {
        return reinterpret_cast<Cell<Stored>*>(dest.first + row * dest.rowStep + column * dest.columnStep);
    };
    for (long j = 0; j < columns && !isFirst; ++j) {
        for (long i = 0; i < rows; ++i) {
            if constexpr (Tile::parts == 2) {
                sums[j * stride + i] = cell(i, j)->value.real;
                sums[j * stride + Tile::lanes + i] = cell(i, j)->value.imaginary;
            } else {
                sums[j * stride + i] = static_cast<typename Tile::Part>(cell(i, j)->value);
            }
        }
    }
    sumTile<Stored>(sums, stride, a, b, depth, isFirst);
    for (long j = 0; j < columns; ++j) {
        for (long i = 0; i < rows; ++i) {
            if constexpr (Tile::parts == 2) {
                cell(i, j)->value = {sums[j * stride + i], sums[j * stride + Tile::lanes + i]};
            } else {
                cell(i, j)->value = static_cast<Stored>(sums[j * stride + i]);
            }
        }
    }
}

/* All tiles of a packed block. */
template <class Stored>
void sumBlock(const ProductSide& dest, long rows, long columns, const typename Summed<Stored>::Part* a,
              const typename Summed<Stored>::Part* b, long depth, bool isFirst)
{
    using Tile = Shape<Stored>;
    constexpr long size = sizeof(Stored);
    const bool direct = std::is_same_v<Stored, typename Tile::Part> && dest.rowStep == size;
    for (long column = 0; column < columns; column += Tile::columns) {
        for (long row = 0; row < rows; row += Tile::rows) {
            const ProductSide tile{dest.first + row * dest.rowStep + column * dest.columnStep, dest.rowStep,
                                   dest.columnStep};
            const auto* left = a + row * depth * Tile::parts;
            const auto* right = b + column * depth * Tile::parts;
            const long thereRows = rows - row < Tile::rows ? rows - row : Tile::rows;
            const long thereColumns = columns - column < Tile::columns ? columns - column : Tile::columns;
            if (direct && thereRows == Tile::rows && thereColumns == Tile::columns &&
                dest.columnStep % size == 0 && reinterpret_cast<std::uintptr_t>(tile.first) % size == 0) {
                sumTile<Stored>(reinterpret_cast<typename Tile::Part*>(tile.first), dest.columnStep / size, left, right,
                                depth, isFirst);
            } else {
                sumPartOfTile<Stored>(tile, thereRows, thereColumns, left, right, depth, isFirst);
            }
        }
    }
}

inline ProductSide transposed(const ProductSide& side)
{
    return {side.first, side.columnStep, side.rowStep};
}

inline long least(long a, long b)
{
    return a < b ? a : b;
}

inline long upTo(long count, long multiple)
{
    return (count + multiple - 1) / multiple * multiple;
}

template <class Stored>
void fillZero(const Product& product)
{
    for (long column = 0; column < product.columns; ++column) {
        for (long row = 0; row < product.rows; ++row) {
            reinterpret_cast<Cell<Stored>*>(product.dest.first + row * product.dest.rowStep +
                                            column * product.dest.columnStep)
                ->value = Stored{};
        }
    }
}

/* Tiles lie along the columns of the destination; where that lies by rows, the transposed product is formed. */
template <class Stored>
bool multiply(const Product& asked)
{
    using Tile = Shape<Stored>;
    using Part = typename Tile::Part;
    constexpr long partSize = Tile::parts * static_cast<long>(sizeof(Part));
    Product product = asked;
    if (asked.dest.rowStep != static_cast<long>(sizeof(Stored))) {
        product = {transposed(asked.dest), transposed(asked.b), transposed(asked.a), asked.columns, asked.inner,
                   asked.rows};
    }
    if (product.inner < 1) {
        fillZero<Stored>(product);
        return true;
    }
    const long depth = least(Tile::depth, product.inner);
    const long rows = least(Tile::blockRows, upTo(product.rows, Tile::rows));
    const long columns = least(Tile::blockColumns, upTo(product.columns, Tile::columns));
    const long leftBytes = upTo(rows * depth * partSize, static_cast<long>(kAlignment));
    const Packed packed = makePacked(leftBytes + columns * depth * partSize);
    if (!packed) {
        return false;
    }
    auto* left = reinterpret_cast<Part*>(packed.get());
    auto* right = reinterpret_cast<Part*>(packed.get() + leftBytes);
    for (long column = 0; column < product.columns; column += columns) {
        const long thereColumns = least(columns, product.columns - column);
        for (long place = 0; place < product.inner; place += depth) {
            const long thereDepth = least(depth, product.inner - place);
            pack<Stored, Tile::columns>(
                right, product.b.first + place * product.b.rowStep + column * product.b.columnStep,
                product.b.columnStep, product.b.rowStep, thereColumns, thereDepth);
            for (long row = 0; row < product.rows; row += rows) {
                const long thereRows = least(rows, product.rows - row);
                pack<Stored, Tile::rows>(left,
                                         product.a.first + row * product.a.rowStep + place * product.a.columnStep,
                                         product.a.rowStep, product.a.columnStep, thereRows, thereDepth);
                const ProductSide block{product.dest.first + row * product.dest.rowStep +
                                            column * product.dest.columnStep,
                                        product.dest.rowStep, product.dest.columnStep};
                sumBlock<Stored>(block, thereRows, thereColumns, left, right, thereDepth, place == 0);
            }
        }
    }
    return true;
}

/* A whole number's product and sum, in unsigned numbers that wrap. */
template <class Stored>
inline Stored weighted(Stored sum, Stored layer, Stored weight)
{
    if constexpr (std::is_integral_v<Stored>) {
        return static_cast<Stored>(static_cast<std::uint32_t>(sum) +
                                   static_cast<std::uint32_t>(layer) * static_cast<std::uint32_t>(weight));
    } else {
        return sum + layer * weight;
    }
}

/* The parts of complex numbers are formed in loops of their own: side by side the compiler makes one instruction of the
 * products and the alternating signs, which rounds once where two roundings are asked for. */
template <class Stored, bool add>
void weighComplex(Cell<Stored>* out, const Cell<Stored>* in, Stored weight, long count)
{
    using Part = typename Summed<Stored>::Part;
    constexpr long piece = 64;
    Part real[piece];
    Part imaginary[piece];
    for (long first = 0; first < count; first += piece, in += piece, out += piece) {
        const long there = least(piece, count - first);
        for (long i = 0; i < there; ++i) {
            real[i] = in[i].value.real * weight.real - in[i].value.imaginary * weight.imaginary;
        }
        for (long i = 0; i < there; ++i) {
            imaginary[i] = in[i].value.imaginary * weight.real + in[i].value.real * weight.imaginary;
        }
        for (long i = 0; i < there; ++i) {
            const Stored sum = add ? out[i].value : Stored{};
            out[i].value = add ? Stored{sum.real + real[i], sum.imaginary + imaginary[i]}
                               : Stored{real[i], imaginary[i]};
        }
    }
}

template <class Stored, bool add>
void weigh(void* sum, const void* layer, const void* weight, long count)
{
    auto* out = static_cast<Cell<Stored>*>(sum);
    const auto* in = static_cast<const Cell<Stored>*>(layer);
    const Stored factor = static_cast<const Cell<Stored>*>(weight)->value;
    if constexpr (isComplexValue<Stored>) {
        weighComplex<Stored, add>(out, in, factor, count);
    } else {
#if !defined(__clang__)
#pragma GCC ivdep
#endif
        for (long i = 0; i < count; ++i) {
            if constexpr (add || std::is_integral_v<Stored>) {
                out[i].value = weighted<Stored>(add ? out[i].value : Stored{}, in[i].value, factor);
            } else {
                out[i].value = in[i].value * factor;
            }
        }
    }
}

template <class Stored>
constexpr ProductRoutines kProductOf{multiply<Stored>, weigh<Stored, false>, weigh<Stored, true>};

constexpr ProductRoutines kProducts[] = {
    kProductOf<std::uint8_t>,  kProductOf<std::uint8_t>,   kProductOf<std::uint8_t>,  kProductOf<std::uint8_t>,
    kProductOf<std::int8_t>,   kProductOf<std::uint16_t>,  kProductOf<std::int16_t>,  kProductOf<std::uint32_t>,
    kProductOf<std::int32_t>,  kProductOf<float>,          kProductOf<double>,        kProductOf<Egda_Complex64>,
    kProductOf<Egda_Complex128>};

}  // namespace emantle::EMANTLE_TARGET
