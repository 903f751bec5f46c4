#include "tables/edsc/binfunction/internals.h"
#include "tables/edsc/table.h"
#include "tables/edsc/types.h"

#include <algorithm>
#include <cstring>
#include <emantle/data/egda/basedata.h>
#include <emantle/data/epxm/convert.h>
#include <emantle/frame/estr/compare.h>

namespace emantle::tables {

namespace {

/* Which old row each new row takes over; null when none does. */
using RowMap = HeapPtr<std::int32_t>;

/* The elements of a column before and after. Texts move from the old rows to the new ones. */
struct Change {
    const Egda_BaseData& old;
    Egda_BaseData& fresh;
};

void fillWithLowerLimits(EerrException& scope, const Edsc_BinFunction& binFunction, Egda_BaseData& rows)
{
    const Epxm_ConvertRoutine convert = emsc_AddressOf_epxm_Convert()[EGDA_TYPE_F64][rows.datatype];
    for (std::int32_t bin = 0; bin < rows.numrows; ++bin) {
        double lower = 0;
        checked(scope, edsc_BinFunctionApplyInverse(&binFunction, bin, &lower, nullptr, scope));
        convert(&lower, static_cast<char*>(rows.data) + std::ptrdiff_t{bin} * rows.numbytes, 1);
    }
}

void moveRows(const Change& change, const RowMap& map)
{
    const auto bytes = static_cast<std::size_t>(change.fresh.numbytes);
    for (std::int32_t row = 0; map != nullptr && row < change.fresh.numrows; ++row) {
        const std::int32_t from = map.get()[row];
        if (from < 0 || from >= change.old.numrows) {
            continue;
        }
        char* const target = static_cast<char*>(change.fresh.data) + static_cast<std::size_t>(row) * bytes;
        char* const source = static_cast<char*>(change.old.data) + static_cast<std::size_t>(from) * bytes;
        if (change.fresh.datatype == EGDA_TYPE_STRING) {
            /* Two new bins never take the same old one, so a text has one owner. */
            std::swap(*reinterpret_cast<char**>(target), *reinterpret_cast<char**>(source));
        } else {
            std::memcpy(target, source, bytes);
        }
    }
}

/* What the table had before: its rows, and which of them the new rows take over. */
struct Before {
    std::int32_t rows;
    RowMap map;
};

void adjustColumn(EerrException& scope, Edsc_TableInstance& table, const char* name,
                  const Edsc_BinFunction& binFunction, std::int32_t dataType, const Before& before)
{
    const ColumnPtr column(edsc_ColumnOpen(&table, name, scope, nullptr));
    check(scope, "edsc_ColumnOpen failed");
    const auto rows = static_cast<std::int32_t>(binFunction.binCount);
    const Egda_PixelType type = dataTypeOfColumn(column->dataType);
    const BaseDataPtr old(checked(scope, egda_TableCreate(std::max(before.rows, 1), type, scope)));
    const BaseDataPtr fresh(checked(scope, egda_TableCreate(rows, type, scope)));
    checked(scope, edsc_ColumnRead(column.get(), 0, before.rows, old.get(), scope));

    /* Rows beyond the old bins have no value to compare with: a column that has any is moved like the others. */
    const bool isValue =
        estr_Eqic(name, "Value") && edsc_ColumnDataMatchesBinFunction(old.get(), table.binFunction, dataType);
    if (isValue) {
        fillWithLowerLimits(scope, binFunction, *fresh);
    } else {
        moveRows({*old, *fresh}, before.map);
    }
    checked(scope, edsc_ColumnWrite(column.get(), 0, rows, fresh.get(), scope));
}

}  // namespace

void adjustRows(EerrException& scope, Edsc_TableInstance& table, const Edsc_BinFunction& binFunction,
                std::int32_t dataType)
{
    checked(scope, guarded<Emsc_Boolean>(scope, "defaultTableRowsAdjustToBinFunction", 0, [&](EerrException& inner) {
        const auto rows = static_cast<std::int32_t>(binFunction.binCount);
        Before before{table.numRows, nullptr};
        if (rows > table.numRows) {
            checked(inner, edsc_TableRowCountSet(&table, rows, inner));
        }
        EstrStringList names(checked(inner, edsc_TableListColumns(&table, inner)));
        before.map.reset(
            checked(inner, edsc_BinFunctionTranslate(rows, &binFunction, table.binFunction, dataType, inner)));
        for (long i = 0; i < estr_StringListCount(names); ++i) {
            /* A column that fails is told; the others go on. */
            guarded(nullptr, "defaultTableRowsAdjustToBinFunction", [&](EerrException& told) {
                adjustColumn(told, table, names->strings[i], binFunction, dataType, before);
            });
        }
        if (rows < table.numRows) {
            checked(inner, edsc_TableRowCountSet(&table, rows, inner));
        }
        return 1;
    }));
}

}  // namespace emantle::tables
