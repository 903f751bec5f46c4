#include "data/egda/matrix_elements.h"
#include "data/egda/matrix_solve.h"
#include "frame/guard/guard.h"
#include "frame/guard/nested.h"

#include <emantle/data/egda/matrix.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

using namespace emantle;

namespace {

bool isSolved(Egda_PixelType type) noexcept
{
    return type >= EGDA_TYPE_F32 && type <= EGDA_TYPE_C128;
}

/* What the routine for a type is called in reports. */
struct SolverNames {
    const char* factor;
    const char* divide;
};
constexpr SolverNames kNames[] = {{"egda_MatrixLUDecompositionF32", "egda_MatrixDivideF32"},
                                  {"egda_MatrixLUDecompositionF64", "egda_MatrixDivideF64"},
                                  {"egda_MatrixLUDecompositionC64", "egda_MatrixDivideC64"},
                                  {"egda_MatrixLUDecompositionC128", "egda_MatrixDivideC128"}};

const SolverNames& namesOf(Egda_PixelType type) noexcept
{
    return kNames[type - EGDA_TYPE_F32];
}

/* A column, in bytes, with the padding of its block, and a row of a panel. */
long columnBytes(Egda_PixelType type, long n) noexcept
{
    switch (type) {
    case EGDA_TYPE_F32: return paddedRows<float>(n) * static_cast<long>(sizeof(float));
    case EGDA_TYPE_F64: return paddedRows<double>(n) * static_cast<long>(sizeof(double));
    case EGDA_TYPE_C64: return paddedRows<Egda_Complex64>(n) * static_cast<long>(sizeof(Egda_Complex64));
    default: return paddedRows<Egda_Complex128>(n) * static_cast<long>(sizeof(Egda_Complex128));
    }
}
constexpr long kPanelRow = 128;
static_assert(solveLanes<float> * sizeof(float) == kPanelRow && solveLanes<Egda_Complex128> * 16 == kPanelRow);

/* The blocks of one system, all in one piece of memory: on the stack where the system is small. */
class System {
public:
    System(const Egda_BaseData& a, Say noMemory)
        : type_(a.datatype), n_(a.numrows), size_(a.numbytes), column_(columnBytes(type_, n_))
    {
        static const SolveKernels* const kernels = solveKernels(platform::fastestInstructionSet());
        kernels_ = kernels + (type_ - EGDA_TYPE_F32);
        const long block = n_ * column_;
        const long bytes = 2 * block + n_ * (kPanelRow + static_cast<long>(sizeof(long)));
        std::byte* memory = small_;
        if (bytes > static_cast<long>(sizeof small_)) {
            large_.reset(new (std::align_val_t{kAlignment}, std::nothrow) std::byte[static_cast<std::size_t>(bytes)]);
            require(large_, noMemory);
            memory = large_.get();
        }
        upper_ = memory;
        lower_ = memory + block;
        panel_ = reinterpret_cast<char*>(memory + 2 * block);
        columns_ = reinterpret_cast<long*>(memory + 2 * block + n_ * kPanelRow);
        load(a);
    }

    long n() const { return n_; }
    const long* columns() const { return columns_; }

    /* Factors the matrix; fails as the routine for the type does. */
    void factor(EerrException& scope, Say callerSays)
    {
        asFunction(scope, namesOf(type_).factor, callerSays,
                   [&] { require(kernels_->factor(upper_, lower_, n_, columns_), {nullptr, 1}); });
    }

    void storeFactors(const Egda_BaseData& lower, const Egda_BaseData& upper) const
    {
        store(lower, lower_);
        store(upper, upper_);
    }

    /* Solves for `count` right sides that `load(panel, first, lanes)` puts into a panel, a part at a time. */
    template <class Load>
    void solve(const Egda_BaseData& x, long count, Load loadRightSides) const
    {
        const MatrixElements to(x);
        const long lanes = kPanelRow / size_;
        for (long first = 0; first < count; first += lanes) {
            const long part = std::min(lanes, count - first);
            std::memset(panel_, 0, static_cast<std::size_t>(n_ * kPanelRow));
            loadRightSides(panel_, first, part);
            kernels_->solve(upper_, lower_, panel_, n_);
            for (long step = 0; step < n_; ++step) {
                copyElements(to.at(columns_[step], first), to.columnStep, panel_ + step * kPanelRow, size_, part, size_);
            }
        }
    }

private:
    static constexpr std::size_t kAlignment = 64;
    struct Free {
        void operator()(std::byte* memory) const noexcept { ::operator delete[](memory, std::align_val_t{kAlignment}); }
    };

    void load(const Egda_BaseData& a)
    {
        const MatrixElements from(a);
        auto* to = reinterpret_cast<char*>(upper_);
        for (long column = 0; column < n_; ++column, to += column_) {
            copyElements(to, size_, from.at(0, column), from.rowStep, n_, size_);
            std::memset(to + n_ * size_, 0, static_cast<std::size_t>(column_ - n_ * size_));
            columns_[column] = column;
        }
    }

    void store(const Egda_BaseData& base, const std::byte* block) const
    {
        const MatrixElements to(base);
        for (long column = 0; column < n_; ++column) {
            copyElements(to.at(0, column), to.rowStep, reinterpret_cast<const char*>(block) + column * column_, size_,
                         n_, size_);
        }
    }

    const Egda_PixelType type_;
    const long n_;
    const long size_;
    const long column_;
    const SolveKernels* kernels_;
    std::byte* upper_;
    std::byte* lower_;
    char* panel_;
    long* columns_;
    std::unique_ptr<std::byte[], Free> large_;
    alignas(kAlignment) std::byte small_[8192];
};

/* The steps that stand between a division and its factors in a chain of reports. */
void factorToDivide(EerrException& scope, System& system, Egda_PixelType type, Say callerSays)
{
    asFunction(scope, namesOf(type).divide, callerSays, [&] {
        asFunction(scope, "egda_MatrixLUDecomposition", {nullptr, 3}, [&] { system.factor(scope, {nullptr, 7}); });
    });
}

void loadRightSides(char* panel, long n, const Egda_BaseData& b, long first, long count)
{
    const MatrixElements from(b);
    for (long row = 0; row < n; ++row) {
        copyElements(panel + row * kPanelRow, b.numbytes, from.at(row, first), from.columnStep, count, b.numbytes);
    }
}

void loadIdentity(char* panel, Egda_PixelType type, long size, long first, long count)
{
    const Egda_Complex128 one{1, 0};
    const Egda_Complex64 narrowOne{1, 0};
    const bool narrow = type == EGDA_TYPE_F32 || type == EGDA_TYPE_C64;
    const void* const element = narrow ? static_cast<const void*>(&narrowOne) : &one;
    for (long i = 0; i < count; ++i) {
        std::memcpy(panel + (first + i) * kPanelRow + i * size, element, static_cast<std::size_t>(size));
    }
}

/* A new matrix of the caller's that goes again where the call fails. */
using Matrix = std::unique_ptr<Egda_BaseData, decltype([](Egda_BaseData* base) { egda_BaseDataDelete(base, nullptr); })>;

}  // namespace

EMANTLE_API void egda_MatrixLUDecomposition(const Egda_BaseData* a, long* rowIndex, Egda_BaseData* lower,
                                            Egda_BaseData* upper, long* colIndex, Eerr_ErrorReport** err)
{
    guarded(err, "egda_MatrixLUDecomposition", [&](EerrException& scope) {
        const long n = a->numrows;
        require(a->numcolumns == n, {nullptr, 1});
        require(lower->numrows == n, {nullptr, 2});
        require(lower->numcolumns == n, {nullptr, 3});
        require(upper->numrows == n, {nullptr, 4});
        require(upper->numcolumns == n, {nullptr, 5});
        require(isSolved(a->datatype) && lower->datatype == a->datatype && upper->datatype == a->datatype,
                {nullptr, 6});
        System system(*a, {"Out of memory", 7});
        system.factor(scope, {nullptr, 7});
        system.storeFactors(*lower, *upper);
        std::copy_n(system.columns(), n, colIndex);
        for (long i = 0; i < n; ++i) {
            rowIndex[i] = i;
        }
    });
}

EMANTLE_API void egda_MatrixDivide(const Egda_BaseData* a, Egda_BaseData* x, const Egda_BaseData* b,
                                   Eerr_ErrorReport** err)
{
    guarded(err, "egda_MatrixDivide", [&](EerrException& scope) {
        const long n = a->numrows;
        require(a->numcolumns == n, {nullptr, 1});
        require(x->numrows == n, {nullptr, 2});
        require(b->numrows == n, {nullptr, 3});
        require(x->numcolumns == b->numcolumns, {nullptr, 4});
        require(isSolved(a->datatype) && x->datatype == a->datatype && b->datatype == a->datatype, {nullptr, 5});
        System system(*a, {"Out of memory", 6});
        factorToDivide(scope, system, a->datatype, {nullptr, 6});
        system.solve(*x, b->numcolumns,
                     [&](char* panel, long first, long count) { loadRightSides(panel, n, *b, first, count); });
    });
}

EMANTLE_API Egda_BaseData* egda_MatrixInvert(const Egda_BaseData* a, Egda_BaseData* inverse, Eerr_ErrorReport** err)
{
    return guarded<Egda_BaseData*>(err, "egda_MatrixInvert", nullptr, [&](EerrException& scope) {
        const long n = a->numrows;
        require(a->numcolumns == n, {nullptr, 1});
        require(inverse == nullptr || inverse->numrows == n, {nullptr, 2});
        require(inverse == nullptr || inverse->numcolumns == n, {nullptr, 3});
        Matrix made;
        if (inverse == nullptr) {
            made.reset(checked(scope, egda_MatrixCreate(n, n, a->datatype, scope), {nullptr, 4}));
        }
        Egda_BaseData* to = inverse == nullptr ? made.get() : inverse;
        if (!isSolved(a->datatype) || to->datatype != a->datatype) {
            asFunction(scope, "egda_MatrixDivide", {nullptr, 6}, [] { fail({nullptr, 5}); });
        }
        System system(*a, {"Out of memory", 4});
        asFunction(scope, "egda_MatrixDivide", {nullptr, 6},
                   [&] { factorToDivide(scope, system, a->datatype, {nullptr, 6}); });
        system.solve(*to, n, [&](char* panel, long first, long count) {
            loadIdentity(panel, a->datatype, a->numbytes, first, count);
        });
        made.release();
        return to;
    });
}
