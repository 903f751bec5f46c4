#include "frame/memory/heap_ptr.h"
#include "tables/esta/columns.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace emantle::tables {

namespace {

constexpr const char* kColumn = "Class_Names";
constexpr ColumnTexts kTexts = {
    "Invalid starting bin for class names table:  %d", "Negative number of bins requested from class names table:  %d",
    "Class names table structure can store only %d bins, but %d bins were requested to be read"};

struct ClassNamesDeleter {
    void operator()(Esta_ClassNames* classNames) const noexcept { esta_ClassNamesDelete(classNames, nullptr); }
};
using ClassNamesPtr = std::unique_ptr<Esta_ClassNames, ClassNamesDeleter>;

ClassNamesPtr created(long count)
{
    ClassNamesPtr made(allocate<Esta_ClassNames>(1, "Out of memory").release());
    made->names = allocate<char*>(static_cast<std::size_t>(count), "Out of memory").release();
    made->numNames = static_cast<std::int32_t>(count);
    return made;
}

bool isUsable(const Esta_ClassNames* classNames) noexcept
{
    return classNames != nullptr && classNames->names != nullptr && classNames->numNames >= 0;
}

std::size_t lengthOf(const char* name) noexcept
{
    return name == nullptr ? 0 : std::strlen(name);
}

ColumnPtr columnToWrite(EerrException& scope, Edsc_TableInstance* table, const Esta_ClassNames& classNames,
                        std::int32_t count)
{
    ColumnPtr column(checked(scope, edsc_ColumnOpenIfPresent(table, kColumn, scope, nullptr)));
    if (!column) {
        std::size_t width = 1;
        for (std::int32_t at = 0; at < count; ++at) {
            width = std::max(width, lengthOf(classNames.names[at]));
        }
        require(width <= std::numeric_limits<std::int32_t>::max(), "Bad args");
        column.reset(checked(scope, edsc_ColumnCreate(table, kColumn, EDSC_COLUMN_STRING, scope,
                                                      static_cast<int>(width), nullptr)));
    }
    require(column->dataType == EDSC_COLUMN_STRING, "Class column, '%s', has the wrong data type!", kColumn);
    return column;
}

}  // namespace

EMANTLE_API Esta_ClassNames* esta_ClassNamesCreate(long numBins, Eerr_ErrorReport** err)
{
    return guarded<Esta_ClassNames*>(err, "esta_ClassNamesCreate", nullptr, [&] {
        require(numBins >= 0 && numBins <= std::numeric_limits<std::int32_t>::max(), "Bad args");
        return created(numBins).release();
    });
}

EMANTLE_API Esta_ClassNames* esta_ClassNamesCopy(const Esta_ClassNames* source, Esta_ClassNames* target,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Esta_ClassNames*>(err, "esta_ClassNamesCopy", nullptr, [&] {
        require(isUsable(source) && (target == nullptr || isUsable(target)), "Bad args");
        if (source == target) {
            return target;
        }
        ClassNamesPtr made = created(source->numNames);
        for (std::int32_t at = 0; at < source->numNames; ++at) {
            if (source->names[at] != nullptr) {
                made->names[at] = heapText(source->names[at], "Out of memory").release();
            }
        }
        if (target == nullptr) {
            return made.release();
        }
        std::swap(*target, *made);
        return target;
    });
}

EMANTLE_API void esta_ClassNamesDelete(Esta_ClassNames* classNames, Eerr_ErrorReport** err)
{
    guarded(err, "esta_ClassNamesDelete", [&] {
        if (classNames == nullptr) {
            return;
        }
        for (std::int32_t at = 0; classNames->names != nullptr && at < classNames->numNames; ++at) {
            emsc_HeapFree(classNames->names[at]);
        }
        emsc_HeapFree(classNames->names);
        emsc_HeapFree(classNames);
    });
}

EMANTLE_API Esta_ClassNames* esta_ClassNamesRead(Edsc_TableInstance* table, Esta_ClassNames* classNames, long startBin,
                                                 long numBins, Eerr_ErrorReport** err)
{
    return guarded<Esta_ClassNames*>(err, "esta_ClassNamesRead", nullptr, [&](EerrException& scope) {
        require(classNames == nullptr || isUsable(classNames), "Bad args");
        const Rows rows = rowsToRead(table, startBin, numBins, classNames == nullptr ? -1 : classNames->numNames,
                                     kTexts);
        const ColumnPtr column(checked(scope, edsc_ColumnOpen(table, kColumn, scope, nullptr)));
        require(column->dataType == EDSC_COLUMN_STRING, "Class column, '%s', has the wrong data type!", kColumn);
        ClassNamesPtr made(checked(scope,
                                   esta_ClassNamesCreate(classNames == nullptr ? rows.asked : classNames->numNames,
                                                         scope),
                                   "Error reported by function esta_ClassNamesCreate"));
        if (rows.present > 0) {
            const DataPtr texts(checked(scope, egda_TableCreate(rows.present, EGDA_TYPE_STRING, scope),
                                        "Error reported by function egda_TableCreate"));
            checked(scope, edsc_ColumnRead(column.get(), rows.first, rows.present, texts.get(), scope));
            std::swap_ranges(made->names, made->names + rows.present, static_cast<char**>(texts->data));
        }
        if (classNames == nullptr) {
            return made.release();
        }
        std::swap(*classNames, *made);
        return classNames;
    });
}

EMANTLE_API Emsc_Boolean esta_ClassNamesWrite(Edsc_TableInstance* table, const Esta_ClassNames* classNames,
                                              long startBin, long numBins, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_ClassNamesWrite", 0, [&](EerrException& scope) {
        require(isUsable(classNames), "Bad args");
        const Rows rows = rowsToWrite(table, startBin, numBins, classNames->numNames, kTexts);
        ColumnPtr column = columnToWrite(scope, table, *classNames, rows.asked);
        const DataPtr texts(checked(scope,
                                    egda_BaseDataCreate(rows.asked, 1, EGDA_TYPE_STRING, EGDA_TABLE_OBJECT,
                                                        classNames->names, scope)));
        checked(scope, edsc_ColumnWrite(column.get(), rows.first, rows.asked, texts.get(), scope));
        edsc_ColumnClose(column.release(), scope);
        check(scope);
        return 1;
    });
}

}  // namespace emantle::tables
