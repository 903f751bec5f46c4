#pragma once

#include "data/data_support.h"

#include <emantle/data/egda/operations.h>
#include <emantle/data/epxm/convert.h>

#include <complex>
#include <cstring>

/* Elements as numbers, one at a time, and operators on single records. */

inline char* elementOf(const Egda_BaseData& base, long row, long column)
{
    const bool byColumns = base.objecttype == EGDA_MATRIX_OBJECT;
    return static_cast<char*>(base.data) + (byColumns ? column : row) * base.pitch +
           (byColumns ? row : column) * base.numbytes;
}

inline std::complex<double> complexAt(const Egda_BaseData& base, long row, long column)
{
    std::complex<double> value;
    emsc_AddressOf_epxm_Convert()[base.datatype][EGDA_TYPE_C128](elementOf(base, row, column), &value, 1);
    return value;
}

inline double numberAt(const Egda_BaseData& base, long row, long column)
{
    return complexAt(base, row, column).real();
}

inline void setAt(const Egda_BaseData& base, long row, long column, std::complex<double> value)
{
    const bool isComplex = base.datatype == EGDA_TYPE_C64 || base.datatype == EGDA_TYPE_C128;
    const double real = value.real();
    const auto* convert = emsc_AddressOf_epxm_Convert();
    isComplex ? convert[EGDA_TYPE_C128][base.datatype](&value, elementOf(base, row, column), 1)
              : convert[EGDA_TYPE_F64][base.datatype](&real, elementOf(base, row, column), 1);
}

/* A record of numbers, row by row. */
inline Base recordOf(long rows, long columns, Egda_PixelType type, const std::vector<double>& values = {},
                     long object = EGDA_RASTER_OBJECT)
{
    Base base = makeBase(rows, columns, type, object);
    for (std::size_t i = 0; i < values.size(); ++i) {
        setAt(*base, static_cast<long>(i) / columns, static_cast<long>(i) % columns, values[i]);
    }
    return base;
}

inline Base scalarOf(Egda_PixelType type, double value)
{
    return recordOf(1, 1, type, {value}, EGDA_SCALAR_OBJECT);
}

inline std::vector<double> numbersOf(const Egda_BaseData& base)
{
    std::vector<double> values;
    for (long row = 0; row < base.numrows; ++row) {
        for (long column = 0; column < base.numcolumns; ++column) {
            values.push_back(numberAt(base, row, column));
        }
    }
    return values;
}

/* Runs an operator table on single records, unchecked, and gives what it reports. */
inline std::string apply(Egda_OperatorTable table, Egda_BaseData* dest, std::vector<Egda_BaseData*> sources,
                         Egda_BaseData* mask = nullptr)
{
    std::vector<Egda_BaseDataStack> stacks;
    for (Egda_BaseData*& source : sources) {
        stacks.push_back({1, 1, &source, 0});
    }
    std::vector<Egda_BaseDataStack*> list;
    for (Egda_BaseDataStack& stack : stacks) {
        list.push_back(&stack);
    }
    const Egda_BaseDataStackArray array{static_cast<int32_t>(list.size()), list.data(), mask};
    Egda_BaseDataStack to{1, 1, &dest, 0};
    Report report;
    egda_BaseDataStackFunction(table, &to, &array, report);
    return report.text();
}
