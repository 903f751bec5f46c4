#include "frame/guard/plain_scope.h"
#include "tables/esta/columns.h"
#include "tables/esta/store.h"

#include <algorithm>
#include <emantle/tables/edsc.h>
#include <limits>

namespace emantle::tables {

namespace {

constexpr const char* kColumn = "Histogram";

ColumnPtr openIfPresent(EerrException& scope, Edsc_TableInstance* table)
{
    return ColumnPtr(checked(scope, edsc_ColumnOpenIfPresent(table, kColumn, scope, nullptr),
                             "Histogram ColumnOpen fail"));
}

/* How many of the bins from `startBin` on are read. */
long binsToRead(EerrException& scope, const Edsc_TableInstance* table, const Esta_Histogram* histogram, long startBin,
                long numBins)
{
    require(table != nullptr && table->binFunction != nullptr, "Bad histogram table");
    require(startBin >= 0, "Invalid starting bin for histogram:  %ld", startBin);
    const long present = checked(scope, edsc_BinFunctionBinCount(table->binFunction, scope));
    const long available = present - startBin;
    const long bins = numBins == ESTA_ALL_BINS ? available : std::min(numBins, available);
    require(bins > 0, "Non-positive number of bins requested from histogram:  %d", static_cast<int>(bins));
    if (histogram == nullptr) {
        return bins;
    }
    require(histogram->datatype == EGDA_TYPE_F64, "Input histogram not an Esta_Histogram (wrong data type)");
    return std::min<long>(bins, histogram->numrows);
}

Esta_Histogram* read(EerrException& scope, Edsc_ColumnInstance& column, const Edsc_TableInstance& table,
                     Esta_Histogram* histogram, long startBin, long bins)
{
    require(bins > 0, "Non-positive number of bins requested from histogram:  %d", static_cast<int>(bins));
    BinFunctionPtr function(checked(scope, edsc_BinFunctionCopy(table.binFunction, nullptr, scope),
                                    "edsc_BinFunctionCopy fail"));
    checked(scope, edsc_BinFunctionBinCountModify(function.get(), static_cast<std::int32_t>(startBin),
                                                  static_cast<std::int32_t>(bins), scope));
    HistogramPtr made(checked(scope, esta_HistogramCreate(bins, function.get(), scope),
                                    "esta_HistogramCreate fail"));
    checked(scope,
            edsc_ColumnRead(&column, static_cast<std::int32_t>(startBin), static_cast<std::int32_t>(bins), made.get(),
                            scope),
            "Could not read histogram data from table");
    if (histogram == nullptr) {
        return made.release();
    }
    double* const end = std::copy_n(doublesOf(*made), bins, doublesOf(*histogram));
    std::fill(end, doublesOf(*histogram) + histogram->numrows, 0.0);
    BinFunctionPtr old(histogram->binfunction);
    histogram->binfunction = function.release();
    return histogram;
}

/* Whether a value between rows 0 and `bins` does not fit an integer column. */
bool hasTooLarge(const Esta_Histogram& histogram, long bins)
{
    return std::any_of(doublesOf(histogram), doublesOf(histogram) + std::min<long>(bins, histogram.numrows),
                       [](double count) { return count > 2147483647.0 || count < -2147483648.0; });
}

ColumnPtr columnToWrite(EerrException& scope, Edsc_TableInstance* table, const Esta_Histogram& histogram, long bins)
{
    ColumnPtr column = openIfPresent(scope, table);
    if (!column) {
        return ColumnPtr(checked(scope, edsc_ColumnCreate(table, kColumn, EDSC_COLUMN_REAL, scope, nullptr),
                                 "Could not create histogram column of table"));
    }
    require(column->dataType == EDSC_COLUMN_INTEGER || column->dataType == EDSC_COLUMN_REAL,
            "Histogram column, '%s', has the wrong data type!", kColumn);
    if (column->dataType == EDSC_COLUMN_INTEGER && hasTooLarge(histogram, bins)) {
        warn("esta_HistogramWrite", "Histogram column is integer instead of real; some data will be truncated");
    }
    return column;
}

/* Moves to the node of the column. */
void seekColumn(EerrException& scope, Edsc_TableInstance* table)
{
    require(table != nullptr && table->file != nullptr, "Bad histogram table");
    require(seekPath(scope, table->file, table->name), "Cannot find %s", table->name);
    require(seek(scope, table->file, EHFA_SEEK_CHILD_NAME, kColumn), "Cannot find histogram column");
}

}  // namespace

EMANTLE_API Esta_Histogram* esta_HistogramRead(Edsc_TableInstance* table, Esta_Histogram* histogram, long startBin,
                                               long numBins, Eerr_ErrorReport** err)
{
    return guarded<Esta_Histogram*>(err, "esta_HistogramRead", nullptr, [&](EerrException& scope) {
        const long bins = binsToRead(scope, table, histogram, startBin, numBins);
        const ColumnPtr column(checked(scope, edsc_ColumnOpen(table, kColumn, scope, nullptr),
                                       "Could not open histogram column of table"));
        return read(scope, *column, *table, histogram, startBin, bins);
    });
}

EMANTLE_API Esta_Histogram* esta_HistogramReadIfPresent(Edsc_TableInstance* table, Esta_Histogram* histogram,
                                                        long startBin, long numBins, Eerr_ErrorReport** err)
{
    return guarded<Esta_Histogram*>(err, "esta_HistogramReadIfPresent", nullptr, [&](EerrException& scope) {
        require(table != nullptr, "Invalid input table to read histogram from");
        require(startBin >= 0, "Invalid start bin - start bin must be greater than or equal to 0");
        require(numBins == ESTA_ALL_BINS || numBins > 0, "Number of bins to read should be greater than 0");
        if (!openIfPresent(scope, table)) {
            return static_cast<Esta_Histogram*>(nullptr);
        }
        return checked(scope, esta_HistogramRead(table, histogram, startBin, numBins, scope), "HistogramRead failed");
    });
}

EMANTLE_API Emsc_Boolean esta_HistogramWrite(Edsc_TableInstance* table, const Esta_Histogram* histogram, long startBin,
                                             long numBins, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_HistogramWrite", 0, [&](EerrException& scope) {
        require(table != nullptr && histogram != nullptr && histogram->datatype == EGDA_TYPE_F64, "Bad args");
        require(startBin >= 0 && startBin <= std::numeric_limits<std::int32_t>::max(),
                "Invalid starting bin for histogram:  %d", static_cast<int>(startBin));
        const long bins = numBins == ESTA_ALL_BINS ? table->numRows - startBin : numBins;
        require(bins > 0 && bins <= std::numeric_limits<std::int32_t>::max(), "Bad args");
        ColumnPtr column = columnToWrite(scope, table, *histogram, bins);
        checked(scope,
                edsc_ColumnWrite(column.get(), static_cast<std::int32_t>(startBin), static_cast<std::int32_t>(bins),
                                 histogram, scope),
                "Could not write histogram data to table");
        edsc_ColumnClose(column.release(), scope);
        check(scope, "Could not close histogram column of table");
        return 1;
    });
}

EMANTLE_API double esta_HistogramGetTimeStamp(Edsc_TableInstance* table, Eerr_ErrorReport** err)
{
    return guarded<double>(err, "esta_HistogramGetTimeStamp", 0.0, [&](EerrException& scope) {
        require(table != nullptr, "Bad histogram table");
        const ColumnPtr column = openIfPresent(scope, table);
        return column ? checked(scope, edsc_ColumnGetTimeStamp(column.get(), scope)) : 0.0;
    });
}

EMANTLE_API Egda_BaseData* esta_HistogramAreValuesExcluded(Edsc_TableInstance* table, Eerr_ErrorReport** err)
{
    return guarded<Egda_BaseData*>(err, "esta_HistogramAreValuesExcluded", nullptr, [&](EerrException& scope) {
        seekColumn(scope, table);
        return readExcludedValues(scope, table->file).release();
    });
}

EMANTLE_API Emsc_Boolean esta_HistogramWriteExcludedValues(Edsc_TableInstance* table, const Egda_BaseData* values,
                                                           Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_HistogramWriteExcludedValues", 0, [&](EerrException& scope) {
        seekColumn(scope, table);
        writeExcludedValues(scope, table->file, values);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean esta_HistogramWriteSkipFactors(Edsc_TableInstance* table, int32_t skipX, int32_t skipY,
                                                        Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_HistogramWriteSkipFactors", 0, [&](EerrException& scope) {
        seekColumn(scope, table);
        writeSkipFactors(scope, table->file, skipX, skipY);
        return 1;
    });
}

}  // namespace emantle::tables
