#include "data/egda/matrix_elements.h"
#include "data/epxm/convert.h"
#include "data/operators/frame.h"
#include "data/operators/matrix_product.h"
#include "data/operators/row.h"

#include <emantle/data/egda/matrix.h>

#include <algorithm>
#include <bit>
#include <functional>
#include <memory>

/* Operators on whole matrices. Their elements are found by row and column. */

using namespace emantle;

namespace {

using Record = std::unique_ptr<Egda_BaseData, decltype([](Egda_BaseData* base) { egda_BaseDataDelete(base, nullptr); })>;
constexpr Say kOutOfMemory{"Out of memory", 5};

/* The elements of `to` become those of `from` where `mask` is not 0. */
void blendElements(void* to, const void* from, const std::uint8_t* mask, long count, long size)
{
    maskLoops(platform::fastestInstructionSet()).blend[std::countr_zero(static_cast<unsigned long>(size))](to, from,
                                                                                                           mask, count);
}

const ProductRoutines& productsOf(Egda_PixelType type)
{
    static const ProductRoutines* const table = productTable(platform::fastestInstructionSet());
    return table[type];
}

/* Whether the elements of two records share memory. */
bool overlap(const Egda_BaseData& a, const Egda_BaseData& b)
{
    const auto span = [](const Egda_BaseData& base) {
        const bool byColumns = base.objecttype == EGDA_MATRIX_OBJECT;
        const long lines = byColumns ? base.numcolumns : base.numrows;
        const long run = (byColumns ? base.numrows : base.numcolumns) * static_cast<long>(base.numbytes);
        const char* first = static_cast<const char*>(base.data);
        return std::pair(first, first + (lines - 1) * static_cast<long>(base.pitch) + run);
    };
    const auto [firstA, endA] = span(a);
    const auto [firstB, endB] = span(b);
    return std::less<>()(firstA, endB) && std::less<>()(firstB, endA);
}

/* Where a result is computed: the destination, or a record of the same shape where a mask decides or a source is there.
 * The lines of both are the same. */
class Result {
public:
    Result(Egda_BaseData& dest, const Egda_BaseData* mask, bool apart, PlainScope& scope)
        : dest_(dest), mask_(mask), isApart_(apart || mask != nullptr)
    {
        if (isApart_) {
            apart_.reset(egda_BaseDataCreate(dest.numrows, dest.numcolumns, dest.datatype, dest.objecttype, nullptr,
                                             scope));
        }
    }

    explicit operator bool() const { return !isApart_ || apart_ != nullptr; }
    Egda_BaseData& record() const { return isApart_ ? *apart_ : dest_; }

    /* Puts the elements that the mask shows into the destination. */
    void finish() const
    {
        if (!isApart_) {
            return;
        }
        const bool byColumns = dest_.objecttype == EGDA_MATRIX_OBJECT;
        const long run = byColumns ? dest_.numrows : dest_.numcolumns;
        for (long line = 0; line < (byColumns ? dest_.numcolumns : dest_.numrows); ++line) {
            char* to = static_cast<char*>(dest_.data) + line * dest_.pitch;
            const char* from = static_cast<const char*>(apart_->data) + line * apart_->pitch;
            if (mask_ == nullptr) {
                std::memcpy(to, from, static_cast<std::size_t>(run * dest_.numbytes));
            } else {
                blendElements(to, from, static_cast<const std::uint8_t*>(mask_->firstelement) + line * mask_->pitch,
                              run, dest_.numbytes);
            }
        }
    }

private:
    Egda_BaseData& dest_;
    const Egda_BaseData* mask_;
    const bool isApart_;
    Record apart_;
};

using Compute = bool (*)(const Egda_BaseData& a, const Egda_BaseData& b, Egda_BaseData& dest, PlainScope& scope);

/* Runs `compute` for each layer; `one` operand is given twice. What `compute` could not do is a report in the scope, or
 * that memory is out. */
void runLayers(const char* name, bool one, bool ownsItsResult, Compute compute, Egda_BaseDataStack* dest,
               const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    PlainScope scope(name, err);
    for (long k = 0; k < dest->numlayers; ++k) {
        const Egda_BaseData* a = layerFor(*sources->stacks[0], k);
        const Egda_BaseData* b = layerFor(*sources->stacks[one ? 0 : 1], k);
        if (a == nullptr || b == nullptr) {
            return scope.raise({"A source has no layer %ld", 1}, k);
        }
        Egda_BaseData& to = *dest->datalayer[k];
        const Result result(to, sources->mask, !ownsItsResult && (overlap(to, *a) || overlap(to, *b)), scope);
        if (!result) {
            return scope.raise(kOutOfMemory);
        }
        if (!compute(*a, *b, result.record(), scope)) {
            return scope.failed() ? scope.raise({nullptr, 6}) : scope.raise(kOutOfMemory);
        }
        result.finish();
    }
}

ProductSide sideOf(const Egda_BaseData& base)
{
    const MatrixElements elements(base);
    return {elements.first, elements.rowStep, elements.columnStep};
}

bool multiply(const Egda_BaseData& a, const Egda_BaseData& b, Egda_BaseData& dest, PlainScope&)
{
    return productsOf(dest.datatype)
        .multiply({sideOf(dest), sideOf(a), sideOf(b), std::min(dest.numrows, a.numrows),
                   std::min(a.numcolumns, b.numrows), std::min(dest.numcolumns, b.numcolumns)});
}

/* Element by element between two records of any object types. */
void convert(const Egda_BaseData& from, const Egda_BaseData& to)
{
    const MatrixElements source(from);
    const MatrixElements dest(to);
    const long rows = std::min(from.numrows, to.numrows);
    for (long column = 0; column < std::min(from.numcolumns, to.numcolumns); ++column) {
        if (source.rowStep == from.numbytes && dest.rowStep == to.numbytes) {
            convertRoutine(from.datatype, to.datatype)(source.at(0, column), dest.at(0, column), rows);
        } else {
            convertIncTable()[from.datatype][to.datatype](source.at(0, column), dest.at(0, column), rows,
                                                          source.rowStep, dest.rowStep);
        }
    }
}

Record matrixOf(long rows, long columns, PlainScope& scope)
{
    return Record(egda_MatrixCreate(rows, columns, EGDA_TYPE_F32, scope));
}

Record inFloat(const Egda_BaseData& base, PlainScope& scope)
{
    Record matrix = matrixOf(base.numrows, base.numcolumns, scope);
    if (matrix != nullptr) {
        convert(base, *matrix);
    }
    return matrix;
}

bool divide(const Egda_BaseData& a, const Egda_BaseData& b, Egda_BaseData& dest, PlainScope& scope)
{
    const Record left = inFloat(a, scope);
    const Record right = left == nullptr ? nullptr : inFloat(b, scope);
    const Record solution = right == nullptr ? nullptr : matrixOf(dest.numrows, dest.numcolumns, scope);
    if (solution == nullptr) {
        return scope.forget(), false;
    }
    egda_MatrixDivide(left.get(), solution.get(), right.get(), scope);
    if (scope.failed()) {
        return false;
    }
    convert(*solution, dest);
    return true;
}

bool invert(const Egda_BaseData& a, const Egda_BaseData&, Egda_BaseData& dest, PlainScope& scope)
{
    const Record matrix = inFloat(a, scope);
    const Record inverse = matrix == nullptr ? nullptr : matrixOf(dest.numrows, dest.numcolumns, scope);
    if (inverse == nullptr) {
        return scope.forget(), false;
    }
    egda_MatrixInvert(matrix.get(), inverse.get(), scope);
    if (scope.failed()) {
        return false;
    }
    convert(*inverse, dest);
    return true;
}

/* By squares, so that what is read by columns and what is written by rows stays in the cache. */
bool transpose(const Egda_BaseData& a, const Egda_BaseData&, Egda_BaseData& dest, PlainScope&)
{
    constexpr long square = 32;
    const MatrixElements from(a);
    const MatrixElements to(dest);
    const long rows = std::min(a.numrows, dest.numcolumns);
    const long columns = std::min(a.numcolumns, dest.numrows);
    for (long column = 0; column < columns; column += square) {
        for (long row = 0; row < rows; row += square) {
            const long thereRows = std::min(square, rows - row);
            for (long i = column; i < std::min(columns, column + square); ++i) {
                copyElements(to.at(i, row), to.columnStep, from.at(row, i), from.rowStep, thereRows, dest.numbytes);
            }
        }
    }
    return true;
}

/* Layer `k` as the sum of the layers of `layers` by the weights of row `k`, in runs that stay in the cache. */
void sumLayers(const MatrixElements& weights, const Egda_BaseDataStack& layers, long k, Egda_BaseData& to,
               const Egda_BaseData* mask)
{
    constexpr long piece = 4096;
    alignas(64) char sums[piece];
    const ProductRoutines& products = productsOf(to.datatype);
    const long size = to.numbytes;
    const Walk walk = walkOf(to);
    const auto at = [&](const Egda_BaseData& base, long line, long first) {
        const bool isScalar = base.objecttype == EGDA_SCALAR_OBJECT;
        return static_cast<char*>(base.data) + line * lineStride(base, size) + (isScalar ? 0 : first * size);
    };
    for (long line = 0; line < walk.lines; ++line) {
        for (long first = 0; first < walk.run; first += piece / size) {
            const long count = std::min(piece / size, walk.run - first);
            for (long i = 0; i < layers.numlayers; ++i) {
                (i == 0 ? products.weigh : products.addWeighted)(sums, at(*layers.datalayer[i], line, first),
                                                                 weights.at(k, i), count);
            }
            if (mask == nullptr) {
                std::memcpy(at(to, line, first), sums, static_cast<std::size_t>(count * size));
            } else {
                blendElements(at(to, line, first), sums,
                              static_cast<const std::uint8_t*>(mask->firstelement) + line * mask->pitch + first, count,
                              size);
            }
        }
    }
}

void transformRaster(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_MaoMatrixTrRaster", err);
    const Egda_BaseDataStack& layers = *sources->stacks[1];
    for (long k = 0; k < dest->numlayers; ++k) {
        const Egda_BaseData* weights = layerFor(*sources->stacks[0], k);
        if (weights == nullptr || weights->numrows <= k || weights->numcolumns < layers.numlayers) {
            return scope.raise({"The matrix has no weights for layer %ld", 1}, k);
        }
        sumLayers(MatrixElements(*weights), layers, k, *dest->datalayer[k], sources->mask);
    }
}

/* A family whose routine finds the type in the records. */
template <auto body>
struct OneForAll {
    template <Egda_PixelType>
    static consteval Egda_OperatorRoutine routine()
    {
        return body;
    }
};

/* `name` is a string literal's array, so that each family has a routine of its own. */
template <auto& name, bool one, bool ownsItsResult, Compute compute>
void run(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    runLayers(name, one, ownsItsResult, compute, dest, sources, err);
}

constexpr char kMul[] = "egda_MaoMatrixMul";
constexpr char kDiv[] = "egda_MaoMatrixDiv";
constexpr char kInv[] = "egda_SaoMatrixInv";
constexpr char kTranspose[] = "egda_SaoMatrixTranspose";

namespace family {

using egda_MaoMatrixMul = OneForAll<run<kMul, false, false, multiply>>;
using egda_MaoMatrixDiv = OneForAll<run<kDiv, false, true, divide>>;
using egda_SaoMatrixInv = OneForAll<run<kInv, true, true, invert>>;
using egda_SaoMatrixTranspose = OneForAll<run<kTranspose, true, false, transpose>>;
using egda_MaoMatrixTrRaster = OneForAll<transformRaster>;

}  // namespace family

/* Scalars and rasters reach the sum of layers alone. */
template <class Family>
constexpr bool servesRasters = std::is_same_v<Family, family::egda_MaoMatrixTrRaster>;

template <class Family, std::uint16_t types>
constexpr Egda_OperatorTable tableOf()
{
    using Table = TableOf<Family, types>;
    return servesRasters<Family> ? Table::rows.data() : Table::rowsOfMatrices.data();
}

}  // namespace

#define EMANTLE_TABLE_OF_matrix(table, types)                     \
    EMANTLE_API Egda_OperatorTable emsc_AddressOf_##table(void)   \
    {                                                             \
        return tableOf<family::table, type_sets::types.bits>();   \
    }
#include "data/operators/homes.h"
