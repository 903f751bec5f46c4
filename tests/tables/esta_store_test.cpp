#include "store/hfa/store_fixture.h"
#include "support/captured_stderr.h"
#include "tables/esta_support.h"

#include <emantle/tables/edsc.h>

namespace {

struct CloseTable {
    void operator()(Edsc_TableInstance* table) const { edsc_TableClose(table, nullptr); }
};
using Table = std::unique_ptr<Edsc_TableInstance, CloseTable>;

class EstaStore : public StoreTest {
protected:
    EstaStore()
    {
        create();
        write(EHFA_WRITE_LAST_CHILD, "Band", "Eimg_Layer");
        write(EHFA_WRITE_LAST_CHILD, "Part", "Eimg_Layer");
    }

    void reopen()
    {
        close();
        open();
    }

    /* The bytes of the object `name` below `node`. */
    Bytes object(const char* node, const char* name, const char** type = nullptr)
    {
        void* data = nullptr;
        int32_t size = 0;
        const char* found =
            ehfa_ObjectDataReadIfPresent(file_, node, name, EHFA_SEEK_CHILD_NAME, &data, &size, nullptr, expected());
        if (type != nullptr) {
            *type = found;
        }
        const auto* first = static_cast<const unsigned char*>(data);
        const Bytes bytes(first, first + size);
        emsc_HeapFree(data);
        return bytes;
    }

    Table table(int32_t rows, const Edsc_BinFunction* function)
    {
        return Table(edsc_TableCreate(file_, ":Band:", "Descriptor_Table", EHFA_WRITE_FIRST_CHILD, rows, function,
                                      expected(), nullptr));
    }

    static constexpr Esta_Statistics kStatistics{1, 250, 100.5, 99, 7, -2};
};

TEST_F(EstaStore, StatisticsAreSixDoublesUnderTheirLayer)
{
    ASSERT_TRUE(esta_StatisticsWrite(file_, ":Band:", &kStatistics, expected()));
    reopen();
    const char* type = nullptr;
    const Bytes expectedBytes{
        0, 0, 0, 0, 0, 0,    0xf0, 0x3f,  // 1
        0, 0, 0, 0, 0, 0x40, 0x6f, 0x40,  // 250
        0, 0, 0, 0, 0, 0x20, 0x59, 0x40,  // 100.5
        0, 0, 0, 0, 0, 0xc0, 0x58, 0x40,  // 99
        0, 0, 0, 0, 0, 0,    0x1c, 0x40,  // 7
        0, 0, 0, 0, 0, 0,    0x00, 0xc0,  // -2
    };
    EXPECT_EQ(object(":Band:", "Statistics", &type), expectedBytes);
    EXPECT_STREQ(type, "Esta_Statistics");
    Esta_Statistics read{};
    ASSERT_EQ(esta_StatisticsRead(file_, ":Band:", &read, 0, expected()), &read);
    EXPECT_EQ(std::memcmp(&read, &kStatistics, sizeof read), 0);
    EXPECT_GT(esta_StatisticsGetTimeStamp(file_, ":Band:", 0, expected()), 1e9);

    /* Written again, the node is the same one. */
    const Esta_Statistics other{9, 9, 9, 9, 9, 9};
    ASSERT_TRUE(esta_StatisticsWrite(file_, ":Band:", &other, expected()));
    EXPECT_EQ(paths(":", nullptr, "Esta_Statistics"), std::vector<std::string>{":Band:Statistics:"});
    ASSERT_NE(esta_StatisticsRead(file_, ":Band:", &read, 0, expected()), nullptr);
    EXPECT_EQ(read.minimum, 9);
}

TEST_F(EstaStore, StatisticsOfANodeAboveAreFoundOnlyWhenAskedFor)
{
    EXPECT_EQ(esta_StatisticsRead(file_, ":Band:Part:", nullptr, 1, expected()), nullptr);
    EXPECT_EQ(esta_StatisticsRead(file_, ":Nowhere:", nullptr, 1, expected()), nullptr);
    ASSERT_TRUE(esta_StatisticsWrite(file_, ":Band:", &kStatistics, expected()));
    ASSERT_TRUE(esta_StatisticsWriteExcludedValues(file_, ":Band:", doubles({0, 255}).get(), expected()));
    EXPECT_EQ(esta_StatisticsRead(file_, ":Band:Part:", nullptr, 0, expected()), nullptr);
    EXPECT_EQ(esta_StatisticsGetTimeStamp(file_, ":Band:Part:", 0, expected()), 0);
    Esta_Statistics* found = esta_StatisticsRead(file_, ":Band:Part:", nullptr, 1, expected());
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->mean, 100.5);
    esta_StatisticsDelete(found, nullptr);
    EXPECT_GT(esta_StatisticsGetTimeStamp(file_, ":Band:Part:", 1, expected()), 0);
    const BaseData values(esta_StatisticsAreValuesExcluded(file_, ":Band:Part:", 1, expected()));
    ASSERT_NE(values, nullptr);
    EXPECT_EQ(rowsOf(values.get()), (std::vector<double>{0, 255}));
}

TEST_F(EstaStore, ExcludedValuesAreAbsentRatherThanEmpty)
{
    ASSERT_TRUE(esta_StatisticsWrite(file_, ":Band:", &kStatistics, expected()));
    ASSERT_TRUE(esta_StatisticsWriteSkipFactors(file_, ":Band:", 2, 3, expected()));
    ASSERT_TRUE(esta_StatisticsWriteExcludedValues(file_, ":Band:", doubles({7}).get(), expected()));
    ASSERT_TRUE(esta_StatisticsWriteExcludedValues(file_, ":Band:", doubles({8}).get(), expected()));
    ASSERT_TRUE(esta_StatisticsWriteSkipFactors(file_, ":Band:", 4, 5, expected()));
    reopen();
    EXPECT_EQ(paths(":Band:Statistics:", "Excluded_Values").size(), 1U);
    EXPECT_EQ(paths(":Band:Statistics:", "Skip_Factors").size(), 1U);
    EXPECT_EQ(object(":Band:Statistics:", "Skip_Factors"), (Bytes{4, 0, 0, 0, 5, 0, 0, 0}));
    int32_t skipX = 0;
    int32_t skipY = 0;
    EXPECT_TRUE(esta_StatisticsGetSkipFactors(file_, ":Band:", &skipX, &skipY, expected()));
    EXPECT_EQ(skipX * 10 + skipY, 45);
    EXPECT_EQ(rowsOf(BaseData(esta_StatisticsAreValuesExcluded(file_, ":Band:", 0, expected())).get()),
              (std::vector<double>{8}));
    ASSERT_TRUE(esta_StatisticsWriteExcludedValues(file_, ":Band:", nullptr, expected()));
    EXPECT_TRUE(paths(":Band:Statistics:", "Excluded_Values").empty());
    EXPECT_EQ(esta_StatisticsAreValuesExcluded(file_, ":Band:", 0, expected()), nullptr);
    EXPECT_FALSE(esta_StatisticsGetSkipFactors(file_, ":Band:Part:", &skipX, nullptr, expected()));
    EXPECT_EQ(skipX, 1);
    Report report;
    EXPECT_FALSE(esta_StatisticsWriteSkipFactors(file_, ":Band:Part:", 1, 1, report));
    EXPECT_EQ(rootCause(report), "Could not find statistics information");
    Report absent;
    EXPECT_FALSE(esta_StatisticsWrite(file_, ":Nowhere:", &kStatistics, absent));
    EXPECT_EQ(rootCause(absent), "Cannot find :Nowhere:");
}

TEST_F(EstaStore, ACovarianceIsAMatrixOfDoubles)
{
    const BaseData matrix(esta_CovarianceCreate(2, nullptr));
    const double values[] = {4, 1, 1, 2};
    std::copy_n(values, 4, static_cast<double*>(matrix->data));
    ASSERT_TRUE(esta_CovarianceWrite(file_, ":Band:", matrix.get(), expected()));
    ASSERT_TRUE(esta_CovarianceWriteExcludedValues(file_, ":Band:", doubles({3}).get(), expected()));
    ASSERT_TRUE(esta_CovarianceWriteSkipFactors(file_, ":Band:", 2, 2, expected()));
    reopen();
    const Bytes expectedBytes{
        2, 0, 0, 0, 2, 0, 0, 0,   // rows and columns
        10, 0, 2, 0,              // F64, a matrix
        0, 0, 0, 0, 0, 0, 0x10, 0x40, 0, 0, 0, 0, 0, 0, 0xf0, 0x3f,
        0, 0, 0, 0, 0, 0, 0xf0, 0x3f, 0, 0, 0, 0, 0, 0, 0x00, 0x40,
    };
    EXPECT_EQ(object(":Band:", "Covariance"), expectedBytes);
    const BaseData read(esta_CovarianceRead(file_, ":Band:", nullptr, expected()));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(rowsOf(read.get()), rowsOf(matrix.get()));
    EXPECT_EQ(rowsOf(BaseData(esta_CovarianceAreValuesExcluded(file_, ":Band:", expected())).get()),
              (std::vector<double>{3}));
    EXPECT_GT(esta_CovarianceGetTimeStamp(file_, ":Band:", expected()), 0);
    EXPECT_EQ(esta_CovarianceRead(file_, ":Band:Part:", nullptr, expected()), nullptr);
    Report report;
    EXPECT_EQ(esta_CovarianceRead(file_, ":Nowhere:", nullptr, report), nullptr);
    EXPECT_EQ(rootCause(report), "Path :Nowhere: does not exist");
    /* What another program wrote is no covariance when it is not square. */
    const BaseData oblong(egda_MatrixCreate(2, 3, EGDA_TYPE_F64, nullptr));
    ASSERT_TRUE(esta_CovarianceWrite(file_, ":Band:", oblong.get(), expected()));
    Report shape;
    EXPECT_EQ(esta_CovarianceRead(file_, ":Band:", nullptr, shape), nullptr);
    EXPECT_EQ(rootCause(shape), "The stored covariance is no square matrix of F64: 2 by 3 of type 10");
}

TEST_F(EstaStore, AHistogramReadsTheBinsAskedFor)
{
    const BinFunction function = linear(0, 10, 5);
    const Table made = table(5, function.get());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(esta_HistogramReadIfPresent(made.get(), nullptr, 0, ESTA_ALL_BINS, expected()), nullptr);
    EXPECT_EQ(esta_HistogramGetTimeStamp(made.get(), expected()), 0);
    const Histogram histogram(esta_HistogramCreate(5, function.get(), nullptr));
    for (int bin = 0; bin < 5; ++bin) {
        static_cast<double*>(histogram->data)[bin] = 10.5 * bin;
    }
    ASSERT_TRUE(esta_HistogramWrite(made.get(), histogram.get(), 0, ESTA_ALL_BINS, expected()));
    const Histogram all(esta_HistogramRead(made.get(), nullptr, 0, ESTA_ALL_BINS, expected()));
    EXPECT_EQ(rowsOf(all.get()), rowsOf(histogram.get()));
    EXPECT_TRUE(edsc_BinFunctionIsSame(all->binfunction, function.get(), nullptr));
    const Histogram some(esta_HistogramReadIfPresent(made.get(), nullptr, 3, 100, expected()));
    EXPECT_EQ(rowsOf(some.get()), (std::vector<double>{31.5, 42}));
    EXPECT_NEAR(edsc_BinFunctionMinLimit(some->binfunction, nullptr), 6, 1e-12);
    /* A given record keeps its rows: those past the bins become 0. */
    const Histogram given(esta_HistogramCreate(4, nullptr, nullptr));
    static_cast<double*>(given->data)[3] = 5;
    ASSERT_EQ(esta_HistogramRead(made.get(), given.get(), 1, 2, expected()), given.get());
    EXPECT_EQ(rowsOf(given.get()), (std::vector<double>{10.5, 21, 0, 0}));

    Report start;
    EXPECT_EQ(esta_HistogramRead(made.get(), nullptr, -1, 1, start), nullptr);
    EXPECT_EQ(rootCause(start), "Invalid starting bin for histogram:  -1");
    Report none;
    EXPECT_EQ(esta_HistogramRead(made.get(), nullptr, 5, ESTA_ALL_BINS, none), nullptr);
    EXPECT_EQ(rootCause(none), "Non-positive number of bins requested from histogram:  0");
    Report type;
    EXPECT_EQ(esta_HistogramRead(made.get(), tableOf<float>(EGDA_TYPE_F32, {1}).get(), 0, 1, type), nullptr);
    EXPECT_EQ(rootCause(type), "Input histogram not an Esta_Histogram (wrong data type)");

    ASSERT_TRUE(esta_HistogramWriteExcludedValues(made.get(), doubles({2}).get(), expected()));
    ASSERT_TRUE(esta_HistogramWriteSkipFactors(made.get(), 3, 1, expected()));
    const BaseData values(esta_HistogramAreValuesExcluded(made.get(), expected()));
    EXPECT_EQ(rowsOf(values.get()), (std::vector<double>{2}));
    EXPECT_EQ(paths(":Band:Descriptor_Table:Histogram:", "Skip_Factors").size(), 1U);
}

TEST_F(EstaStore, AnIntegerColumnStaysAndAStringOneIsRefused)
{
    const Table made = table(2, direct(0, 2).get());
    edsc_ColumnClose(edsc_ColumnCreate(made.get(), "Histogram", EDSC_COLUMN_INTEGER, expected(), nullptr), expected());
    const Histogram histogram(esta_HistogramCreate(2, nullptr, nullptr));
    double* const counts = static_cast<double*>(histogram->data);
    counts[0] = 7;
    counts[1] = 3e9;
    const std::string printed = stderrOf([&] {
        ASSERT_TRUE(esta_HistogramWrite(made.get(), histogram.get(), 0, ESTA_ALL_BINS, expected()));
    });
    EXPECT_NE(printed.find("Histogram column is integer instead of real; some data will be truncated"),
              std::string::npos);
    EXPECT_EQ(rowsOf(Histogram(esta_HistogramRead(made.get(), nullptr, 0, ESTA_ALL_BINS, expected())).get()),
              (std::vector<double>{7, 2147483647}));
    ASSERT_TRUE(edsc_ColumnRemove(made.get(), "Histogram", expected()));
    edsc_ColumnClose(edsc_ColumnCreate(made.get(), "Histogram", EDSC_COLUMN_STRING, expected(), 5, nullptr),
                     expected());
    Report report;
    EXPECT_FALSE(esta_HistogramWrite(made.get(), histogram.get(), 0, ESTA_ALL_BINS, report));
    EXPECT_EQ(rootCause(report), "Histogram column, 'Histogram', has the wrong data type!");
}

TEST(EstaDesigns, AreCopiesOfTheCallers)
{
    const struct {
        Emif_Design* (*fetch)(Eerr_ErrorReport**);
        const char* name;
    } kDesigns[] = {{esta_StatisticsDesignFetch, "Esta_Statistics"},
                    {esta_CovarianceDesignFetch, "Esta_Covariance"},
                    {esta_ExcludedValuesDesignFetch, "Esta_ExcludedValues"},
                    {esta_SkipFactorsDesignFetch, "Esta_SkipFactors"}};
    for (const auto& [fetch, name] : kDesigns) {
        Report report;
        const EmifDesignT<Etxt_TextA> design(fetch(report));
        ASSERT_NE(static_cast<Emif_Design*>(design), nullptr) << rootCause(report);
        EXPECT_STREQ(design->name, name);
    }
    Report report;
    EXPECT_FALSE(esta_Init(nullptr, report));
    EXPECT_EQ(rootCause(report), "Toolkit has not been initialized");
    EXPECT_TRUE(esta_Init(eint_GetInit(), nullptr));
}

}  // namespace
