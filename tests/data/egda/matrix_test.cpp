#include "data/egda/number_records.h"
#include "data/operators/matrix_product.h"

#include <emantle/data/egda/matrix.h>

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace {

using Complex = std::complex<double>;

Base matrix(long rows, long columns, Egda_PixelType type, const std::vector<double>& values = {},
            long object = EGDA_MATRIX_OBJECT)
{
    return recordOf(rows, columns, type, values, object);
}

/* Any bits for whole numbers, numbers of a few digits else. */
void fillAtRandom(const Egda_BaseData& base, std::mt19937& random)
{
    std::uniform_real_distribution<double> real(-9, 9);
    for (long row = 0; row < base.numrows; ++row) {
        for (long column = 0; column < base.numcolumns; ++column) {
            if (base.datatype < EGDA_NUM_INTEGER_TYPES) {
                const auto bits = static_cast<std::uint32_t>(random());
                std::memcpy(elementOf(base, row, column), &bits, static_cast<std::size_t>(base.numbytes));
            } else {
                setAt(base, row, column, {real(random), real(random)});
            }
        }
    }
}

/* The sum as its definition has it, in the element's type. */
template <class T>
T sumOfProducts(const Egda_BaseData& a, const Egda_BaseData& b, long row, long column)
{
    T sum{};
    for (long k = 0; k < a.numcolumns; ++k) {
        T left;
        T right;
        std::memcpy(&left, elementOf(a, row, k), sizeof left);
        std::memcpy(&right, elementOf(b, k, column), sizeof right);
        if constexpr (std::is_integral_v<T>) {
            sum = static_cast<T>(static_cast<std::uint64_t>(sum) +
                                 static_cast<std::uint64_t>(left) * static_cast<std::uint64_t>(right));
        } else if constexpr (std::is_floating_point_v<T>) {
            const T product = left * right;
            sum = sum + product;
        } else {
            const T product{left.real() * right.real() - left.imag() * right.imag(),
                            left.imag() * right.real() + left.real() * right.imag()};
            sum = {sum.real() + product.real(), sum.imag() + product.imag()};
        }
    }
    return sum;
}

template <class T>
void expectProduct(Egda_PixelType type, const Egda_BaseData& a, const Egda_BaseData& b, const Egda_BaseData& dest)
{
    for (long row = 0; row < dest.numrows; ++row) {
        for (long column = 0; column < dest.numcolumns; ++column) {
            const T expected = sumOfProducts<T>(a, b, row, column);
            ASSERT_EQ(std::memcmp(&expected, elementOf(dest, row, column), sizeof expected), 0)
                << egda_PixelNameFromType(type) << ' ' << row << ' ' << column << " of " << dest.numrows << 'x'
                << a.numcolumns << 'x' << dest.numcolumns;
        }
    }
}

void expectProductOf(Egda_PixelType type, const Egda_BaseData& a, const Egda_BaseData& b, const Egda_BaseData& dest)
{
    switch (type) {
    case EGDA_TYPE_S8: return expectProduct<std::int8_t>(type, a, b, dest);
    case EGDA_TYPE_U16: return expectProduct<std::uint16_t>(type, a, b, dest);
    case EGDA_TYPE_S16: return expectProduct<std::int16_t>(type, a, b, dest);
    case EGDA_TYPE_U32: return expectProduct<std::uint32_t>(type, a, b, dest);
    case EGDA_TYPE_S32: return expectProduct<std::int32_t>(type, a, b, dest);
    case EGDA_TYPE_F32: return expectProduct<float>(type, a, b, dest);
    case EGDA_TYPE_F64: return expectProduct<double>(type, a, b, dest);
    case EGDA_TYPE_C64: return expectProduct<std::complex<float>>(type, a, b, dest);
    case EGDA_TYPE_C128: return expectProduct<Complex>(type, a, b, dest);
    default: return expectProduct<std::uint8_t>(type, a, b, dest);
    }
}

TEST(MatrixMul, IsTheSumInOrderForEveryTypeShapeAndLayout)
{
    std::mt19937 random(7);
    const long shapes[][3] = {{1, 1, 1}, {2, 3, 4}, {7, 1, 5}, {33, 17, 29}, {64, 300, 13}, {3, 9, 70}};
    for (int type = 0; type < EGDA_TYPE_STRING; ++type) {
        int layout = type;
        for (const auto& [rows, inner, columns] : shapes) {
            const auto object = [&](int bit) { return layout >> bit & 1 ? EGDA_MATRIX_OBJECT : EGDA_TABLE_OBJECT; };
            const Base wideA = makeBase(rows + 2, inner + 3, type, object(0));
            const Base a(egda_BaseDataDerived(wideA.get(), 1, 2, rows, inner, nullptr));
            const Base b = makeBase(inner, columns, type, object(1));
            const Base dest = makeBase(rows, columns, type, object(2));
            fillAtRandom(*wideA, random);
            fillAtRandom(*b, random);
            fillAtRandom(*dest, random);
            ASSERT_EQ(apply(emsc_AddressOf_egda_MaoMatrixMul(), dest.get(), {a.get(), b.get()}), "");
            expectProductOf(type, *a, *b, *dest);
            ++layout;
        }
    }
}

TEST(MatrixMul, EveryInstructionSetFormsTheSameSums)
{
    std::mt19937 random(8);
    for (int type = 0; type < EGDA_TYPE_STRING; ++type) {
        for (const auto set : instructionSets()) {
            for (const long size : {5L, 40L}) {
                const Base a = makeBase(size, 270, type, EGDA_MATRIX_OBJECT);
                const Base b = makeBase(270, size + 1, type, EGDA_MATRIX_OBJECT);
                const Base dest = makeBase(size, size + 1, type, EGDA_MATRIX_OBJECT);
                fillAtRandom(*a, random);
                fillAtRandom(*b, random);
                const auto side = [](const Base& base) {
                    return emantle::ProductSide{static_cast<char*>(base->data), base->numbytes, base->pitch};
                };
                ASSERT_TRUE(emantle::productTable(set)[type].multiply(
                    {side(dest), side(a), side(b), size, 270, size + 1}));
                expectProductOf(type, *a, *b, *dest);
            }
        }
    }
}

TEST(MatrixMul, TakesAMaskAndASourceAsItsDestination)
{
    const Base a = matrix(2, 2, EGDA_TYPE_S32, {1, 2, 3, 4});
    const Base b = matrix(2, 2, EGDA_TYPE_S32, {5, 6, 7, 8});
    const Base mask = matrix(2, 2, EGDA_TYPE_U8, {1, 0, 0, 9});
    const Base dest = matrix(2, 2, EGDA_TYPE_S32, {-1, -2, -3, -4});
    EXPECT_EQ(apply(emsc_AddressOf_egda_MaoMatrixMul(), dest.get(), {a.get(), b.get()}, mask.get()), "");
    EXPECT_EQ(numbersOf(*dest), (std::vector<double>{19, -2, -3, 50}));
    EXPECT_EQ(apply(emsc_AddressOf_egda_MaoMatrixMul(), a.get(), {a.get(), b.get()}), "");
    EXPECT_EQ(numbersOf(*a), (std::vector<double>{19, 22, 43, 50}));
    for (const auto table : {emsc_AddressOf_egda_MaoMatrixMul(), emsc_AddressOf_egda_MaoMatrixDiv(),
                             emsc_AddressOf_egda_SaoMatrixInv(), emsc_AddressOf_egda_SaoMatrixTranspose()}) {
        EXPECT_EQ(table[EGDA_SCALAR_OBJECT], nullptr);
        EXPECT_EQ(table[EGDA_RASTER_OBJECT], nullptr);
        EXPECT_EQ(table[EGDA_TABLE_OBJECT], table[EGDA_MATRIX_OBJECT]);
    }
}

/* The elimination one element at a time. */
template <class T>
struct PlainFactors {
    long n;
    std::vector<T> upper, lower; /* row by row */
    std::vector<long> columns;
    bool singular = false;

    explicit PlainFactors(const Egda_BaseData& a) : n(a.numrows), lower(static_cast<std::size_t>(n * n))
    {
        for (long row = 0; row < n; ++row) {
            columns.push_back(row);
            for (long column = 0; column < n; ++column) {
                T value;
                std::memcpy(&value, elementOf(a, row, column), sizeof value);
                upper.push_back(value);
            }
        }
        for (long step = 0; step < n && !singular; ++step) {
            eliminate(step);
        }
    }

    T& u(long row, long column) { return upper[static_cast<std::size_t>(row * n + column)]; }
    T& l(long row, long column) { return lower[static_cast<std::size_t>(row * n + column)]; }

    void eliminate(long step)
    {
        long pivot = step;
        for (long column = step; column < n; ++column) {
            pivot = std::abs(u(step, column)) > std::abs(u(step, pivot)) ? column : pivot;
        }
        singular = !(std::abs(u(step, pivot)) > 0);
        for (long row = 0; row < n; ++row) {
            std::swap(u(row, step), u(row, pivot));
        }
        std::swap(columns[static_cast<std::size_t>(step)], columns[static_cast<std::size_t>(pivot)]);
        l(step, step) = 1;
        for (long row = step + 1; row < n; ++row) {
            const T factor = u(row, step) / u(step, step);
            l(row, step) = factor;
            u(row, step) = 0;
            for (long column = step + 1; column < n; ++column) {
                const T product = factor * u(step, column);
                u(row, column) = u(row, column) - product;
            }
        }
    }
};

template <class T>
void expectFactors(Egda_PixelType type, std::mt19937& random)
{
    for (const long n : {1L, 2L, 5L, 16L, 17L, 40L, 70L}) {
        const auto size = static_cast<std::size_t>(n);
        const Base a = makeBase(n, n, type, n % 2 ? EGDA_MATRIX_OBJECT : EGDA_TABLE_OBJECT);
        const Base lower = makeBase(n, n, type, EGDA_MATRIX_OBJECT);
        const Base upper = makeBase(n, n, type, n % 3 ? EGDA_MATRIX_OBJECT : EGDA_RASTER_OBJECT);
        fillAtRandom(*a, random);
        std::vector<long> rows(size), columns(size);
        Report report;
        egda_MatrixLUDecomposition(a.get(), rows.data(), lower.get(), upper.get(), columns.data(), report);
        ASSERT_EQ(report.text(), "");
        PlainFactors<T> plain(*a);
        EXPECT_EQ(columns, plain.columns);
        for (long row = 0; row < n; ++row) {
            EXPECT_EQ(rows[static_cast<std::size_t>(row)], row);
            for (long column = 0; column < n; ++column) {
                ASSERT_EQ(complexAt(*upper, row, column), Complex(plain.u(row, column))) << n << ' ' << row << ' ' << column;
                ASSERT_EQ(complexAt(*lower, row, column), Complex(plain.l(row, column))) << n << ' ' << row << ' ' << column;
            }
        }
    }
}

TEST(MatrixLUDecomposition, FactorsStepByStepAsTheDefinitionDoes)
{
    std::mt19937 random(9);
    expectFactors<float>(EGDA_TYPE_F32, random);
    expectFactors<double>(EGDA_TYPE_F64, random);
}

TEST(MatrixLUDecomposition, TheFactorsMakeTheMatrixAgain)
{
    std::mt19937 random(10);
    for (const int type : {EGDA_TYPE_C64, EGDA_TYPE_C128}) {
        constexpr long n = 11;
        const Base a = makeBase(n, n, type, EGDA_MATRIX_OBJECT);
        const Base lower = makeBase(n, n, type, EGDA_MATRIX_OBJECT);
        const Base upper = makeBase(n, n, type, EGDA_MATRIX_OBJECT);
        fillAtRandom(*a, random);
        long rows[n], columns[n];
        egda_MatrixLUDecomposition(a.get(), rows, lower.get(), upper.get(), columns, nullptr);
        for (long row = 0; row < n; ++row) {
            for (long column = 0; column < n; ++column) {
                Complex sum = 0;
                for (long k = 0; k < n; ++k) {
                    EXPECT_TRUE(k <= row || complexAt(*lower, row, k) == 0.0);
                    EXPECT_TRUE(k >= row || complexAt(*upper, row, k) == 0.0);
                    sum += complexAt(*lower, row, k) * complexAt(*upper, k, column);
                }
                EXPECT_LT(std::abs(sum - complexAt(*a, row, columns[column])), type == EGDA_TYPE_C64 ? 1e-4 : 1e-12);
            }
        }
    }
}

TEST(MatrixDivide, SolvesKnownSystemsOfEveryType)
{
    const std::vector<double> coefficients{0, 2, 1, 4, -6, 0, -2, 7, 3};
    const std::vector<double> solutions{1, -2, 3, 0, 5, 4};
    const std::vector<double> right{11, 4, -14, -8, 34, 16}; /* coefficients times solutions */
    for (int type = EGDA_TYPE_F32; type <= EGDA_TYPE_C128; ++type) {
        const Base a = matrix(3, 3, type, coefficients);
        const Base b = matrix(3, 2, type, right, EGDA_TABLE_OBJECT);
        const Base x = matrix(3, 2, type);
        Report report;
        egda_MatrixDivide(a.get(), x.get(), b.get(), report);
        egda_MatrixDivide(a.get(), b.get(), b.get(), report); /* in place */
        EXPECT_EQ(report.text(), "");
        for (long i = 0; i < 6; ++i) {
            EXPECT_LT(std::abs(complexAt(*x, i / 2, i % 2) - solutions[static_cast<std::size_t>(i)]), 1e-5);
            EXPECT_EQ(complexAt(*x, i / 2, i % 2), complexAt(*b, i / 2, i % 2));
        }
    }
}

TEST(MatrixInvert, TimesTheMatrixIsTheIdentity)
{
    std::mt19937 random(11);
    for (int type = EGDA_TYPE_F32; type <= EGDA_TYPE_C128; ++type) {
        for (const long n : {1L, 4L, 20L, 65L}) {
            const Base a = makeBase(n, n, type, EGDA_MATRIX_OBJECT);
            fillAtRandom(*a, random);
            for (long i = 0; i < n; ++i) {
                setAt(*a, i, n - 1 - i, 100.0); /* far from singular */
            }
            Report report;
            const Base inverse(egda_MatrixInvert(a.get(), nullptr, report));
            ASSERT_NE(inverse, nullptr) << report.text();
            const Base given = makeBase(n, n, type, EGDA_MATRIX_OBJECT);
            EXPECT_EQ(egda_MatrixInvert(a.get(), given.get(), report), given.get());
            EXPECT_EQ(std::memcmp(given->data, inverse->data, static_cast<std::size_t>(n * n * a->numbytes)), 0);
            const Base product = makeBase(n, n, type, EGDA_MATRIX_OBJECT);
            apply(emsc_AddressOf_egda_MaoMatrixMul(), product.get(), {a.get(), inverse.get()});
            for (long i = 0; i < n * n; ++i) {
                EXPECT_LT(std::abs(complexAt(*product, i / n, i % n) - Complex(i / n == i % n ? 1 : 0)),
                          a->numbytes == 4 || type == EGDA_TYPE_C64 ? 1e-4 : 1e-12);
            }
        }
    }
}

TEST(MatrixFailures, SingularMatricesAreToldThroughEveryStep)
{
    const std::vector<std::vector<double>> singular{
        {1, 0, 2, 3, 0, 4, 5, 0, 6}, {1, 2, 3, 0, 0, 0, 4, 5, 6}, {1, 2, 3, 2, 4, 6, 1, 1, 1}, std::vector<double>(9, 0)};
    const char* const suffix[] = {"F32", "F64", "C64", "C128"};
    for (int type = EGDA_TYPE_F32; type <= EGDA_TYPE_C128; ++type) {
        const std::string name = suffix[type - EGDA_TYPE_F32];
        const std::string factor = "egda_MatrixLUDecomposition 7 - | egda_MatrixLUDecomposition" + name + " 1 -";
        for (const auto& values : singular) {
            const Base a = matrix(3, 3, type, values);
            const Base x = matrix(3, 3, type);
            long rows[3], columns[3];
            Report report;
            egda_MatrixLUDecomposition(a.get(), rows, x.get(), x.get(), columns, report);
            EXPECT_EQ(report.text(), factor);
            egda_MatrixDivide(a.get(), x.get(), x.get(), report);
            const std::string text = report.text();
            EXPECT_EQ(text, "egda_MatrixDivide 6 - | egda_MatrixDivide" + name + " 3 - | " + factor);
            EXPECT_EQ(egda_MatrixInvert(a.get(), nullptr, report), nullptr);
            EXPECT_EQ(report.text().substr(0, 46), "egda_MatrixInvert 6 - | egda_MatrixDivide 6 - ");
        }
    }
}

TEST(MatrixFailures, SizesAndTypesAreTestedInOrder)
{
    const auto f64 = [](long rows, long columns) { return makeBase(rows, columns, EGDA_TYPE_F64, EGDA_MATRIX_OBJECT); };
    const Base two = f64(2, 2), threeByTwo = f64(3, 2), twoByThree = f64(2, 3);
    const Base single = makeBase(2, 2, EGDA_TYPE_F32, EGDA_MATRIX_OBJECT);
    const Base whole = makeBase(2, 2, EGDA_TYPE_S32, EGDA_MATRIX_OBJECT);
    long index[3];
    Report report;
    const auto divide = [&](const Base& a, const Base& x, const Base& b) {
        egda_MatrixDivide(a.get(), x.get(), b.get(), report);
        return report.get() == nullptr ? 0 : report.get()->number;
    };
    EXPECT_EQ(divide(threeByTwo, threeByTwo, threeByTwo), 1);
    EXPECT_EQ(divide(two, threeByTwo, threeByTwo), 2);
    EXPECT_EQ(divide(two, two, threeByTwo), 3);
    EXPECT_EQ(divide(two, twoByThree, two), 4);
    EXPECT_EQ(divide(two, two, single), 5);
    EXPECT_EQ(divide(whole, whole, whole), 5);
    const auto factor = [&](const Base& a, const Base& lower, const Base& upper) {
        egda_MatrixLUDecomposition(a.get(), index, lower.get(), upper.get(), index, report);
        return report.get() == nullptr ? 0 : report.get()->number;
    };
    EXPECT_EQ(factor(twoByThree, threeByTwo, threeByTwo), 1);
    EXPECT_EQ(factor(two, threeByTwo, threeByTwo), 2);
    EXPECT_EQ(factor(two, twoByThree, threeByTwo), 3);
    EXPECT_EQ(factor(two, two, threeByTwo), 4);
    EXPECT_EQ(factor(two, two, twoByThree), 5);
    EXPECT_EQ(factor(two, single, two), 6);
    const auto invert = [&](const Base& a, const Base& inverse) {
        EXPECT_EQ(egda_MatrixInvert(a.get(), inverse.get(), report), nullptr);
        return report.get() == nullptr ? 0 : report.get()->number;
    };
    EXPECT_EQ(invert(twoByThree, two), 1);
    EXPECT_EQ(invert(two, threeByTwo), 2);
    EXPECT_EQ(invert(two, twoByThree), 3);
    EXPECT_EQ(invert(two, single), 6);
    EXPECT_EQ(report.text(), "egda_MatrixInvert 6 - | egda_MatrixDivide 5 -");
}

TEST(MatrixOperators, DivideAndInvertInFloatWhateverTheType)
{
    for (int type = EGDA_TYPE_U8; type < EGDA_TYPE_STRING; ++type) {
        const Base a = matrix(2, 2, type, {2, 0, 0, 4});
        const Base b = matrix(2, 1, type, {10, 12});
        const Base x = matrix(2, 1, type);
        EXPECT_EQ(apply(emsc_AddressOf_egda_MaoMatrixDiv(), x.get(), {a.get(), b.get()}), "");
        EXPECT_EQ(numbersOf(*x), (std::vector<double>{5, 3})) << egda_PixelNameFromType(type);
    }
    const Base complex = matrix(1, 1, EGDA_TYPE_C128);
    setAt(*complex, 0, 0, {3, 4});
    EXPECT_EQ(apply(emsc_AddressOf_egda_SaoMatrixInv(), complex.get(), {complex.get()}), "");
    EXPECT_EQ(complexAt(*complex, 0, 0), Complex(0.2f));
    const Base zero = matrix(2, 2, EGDA_TYPE_F64);
    EXPECT_EQ(apply(emsc_AddressOf_egda_SaoMatrixInv(), zero.get(), {zero.get()}),
              "egda_BaseDataStackFunction 2 - | egda_SaoMatrixInv 6 - | egda_MatrixInvert 6 - | egda_MatrixDivide 6 - | "
              "egda_MatrixDivideF32 3 - | egda_MatrixLUDecomposition 7 - | egda_MatrixLUDecompositionF32 1 -");
}

TEST(MatrixOperators, TransposeSwapsRowsAndColumnsOfEveryType)
{
    std::mt19937 random(12);
    for (int type = 0; type < EGDA_TYPE_STRING; ++type) {
        for (const int object : {EGDA_MATRIX_OBJECT, EGDA_TABLE_OBJECT}) {
            const Base a = makeBase(37, 66, type, EGDA_MATRIX_OBJECT);
            const Base dest = makeBase(66, 37, type, object);
            fillAtRandom(*a, random);
            EXPECT_EQ(apply(emsc_AddressOf_egda_SaoMatrixTranspose(), dest.get(), {a.get()}), "");
            for (long i = 0; i < 37 * 66; ++i) {
                ASSERT_EQ(std::memcmp(elementOf(*a, i % 37, i / 37), elementOf(*dest, i / 37, i % 37),
                                      static_cast<std::size_t>(a->numbytes)), 0);
            }
        }
    }
    const Base square = matrix(2, 2, EGDA_TYPE_F32, {1, 2, 3, 4});
    EXPECT_EQ(apply(emsc_AddressOf_egda_SaoMatrixTranspose(), square.get(), {square.get()}), "");
    EXPECT_EQ(numbersOf(*square), (std::vector<double>{1, 3, 2, 4}));
}

/* The weighted sum of a pixel is the product of a row of the matrix and the column of its layers. */
TEST(MatrixTrRaster, WeighsTheLayersByTheRowsOfTheMatrixWhereTheMaskShows)
{
    constexpr long rows = 2, columns = 1030, count = 3;
    std::mt19937 random(13);
    for (int type = 0; type < EGDA_TYPE_STRING; ++type) {
        const Base weights = makeBase(count, count, type, EGDA_MATRIX_OBJECT);
        const Stack layers(egda_BaseDataStackCreate(count, rows, columns, type, EGDA_RASTER_OBJECT, nullptr));
        const Stack dest(egda_BaseDataStackCreate(count, rows, columns, type, EGDA_RASTER_OBJECT, nullptr));
        const Base mask = numbered(rows, columns);
        const Base pixels = makeBase(count, rows * columns, type, EGDA_MATRIX_OBJECT);
        const Base results = makeBase(count, rows * columns, type, EGDA_MATRIX_OBJECT);
        fillAtRandom(*weights, random);
        for (int k = 0; k < count; ++k) {
            fillAtRandom(*layers->datalayer[k], random);
            for (long i = 0; i < rows * columns; ++i) {
                std::memcpy(elementOf(*pixels, k, i), elementOf(*layers->datalayer[k], i / columns, i % columns),
                            static_cast<std::size_t>(pixels->numbytes));
            }
        }
        Egda_BaseData* weightLayer = weights.get();
        Egda_BaseDataStack weightStack{1, 1, &weightLayer, 0};
        Egda_BaseDataStack* list[] = {&weightStack, layers.get()};
        const Egda_BaseDataStackArray array{2, list, mask.get()};
        Report report;
        egda_BaseDataStackOperation(EGDA_OP_MATRIX_TR_RASTER, dest.get(), &array, report);
        ASSERT_EQ(report.text(), "");
        for (long i = 0; i < rows * columns; ++i) {
            for (int k = 0; k < count; ++k) {
                const char* result = elementOf(*dest->datalayer[k], i / columns, i % columns);
                const bool isShown = i % 256 != 0;
                const std::string bytes(result, static_cast<std::size_t>(pixels->numbytes));
                EXPECT_TRUE(isShown || bytes == std::string(bytes.size(), '\0'));
                std::memcpy(elementOf(*results, k, i), result, bytes.size());
                if (!isShown) {
                    std::memset(elementOf(*pixels, k, i), 0, bytes.size());
                }
            }
        }
        expectProductOf(type, *weights, *pixels, *results);
    }
}

TEST(MatrixTrRaster, NeedsAWeightForEveryLayer)
{
    const Base weights = makeBase(1, 2, EGDA_TYPE_U8, EGDA_MATRIX_OBJECT);
    const Stack layers(egda_BaseDataStackCreate(2, 1, 1, EGDA_TYPE_U8, EGDA_RASTER_OBJECT, nullptr));
    Egda_BaseData* weightLayer = weights.get();
    Egda_BaseDataStack weightStack{1, 1, &weightLayer, 0};
    Egda_BaseDataStack* list[] = {&weightStack, layers.get()};
    const Egda_BaseDataStackArray array{2, list, nullptr};
    Report report;
    egda_BaseDataStackOperation(EGDA_OP_MATRIX_TR_RASTER, layers.get(), &array, report);
    EXPECT_EQ(report.text(), "egda_BaseDataStackOperation 2 - | "
                             "egda_MaoMatrixTrRaster 1 The matrix has no weights for layer 1");
}

}  // namespace
