#include "tables/esta/columns.h"

#include <algorithm>
#include <limits>

namespace emantle::tables {

namespace {

constexpr ColumnTexts kColorTexts = {
    "Invalid starting bin for color table:  %d", "Negative number of bins requested from color table:  %d",
    "Color table structure can store only %d bins, but %d bins were requested to be read"};
constexpr ColumnTexts kContrastTexts = {
    "Invalid starting bin for contrast table:  %d", "Negative number of bins requested from contrast table:  %d",
    "Contrast table structure can store only %d bins, but %d bins were requested to be read"};

constexpr const char* kComponents[ESTA_NUM_COLOR_COMPONENTS] = {"Red", "Green", "Blue", "Opacity"};
constexpr const char* kOverlay = "Overlay";
constexpr const char* kContrast = "Contrast";

using StackPtr = std::unique_ptr<Egda_BaseDataStack, decltype([](Egda_BaseDataStack* stack) {
                                     egda_BaseDataStackDelete(stack, nullptr);
                                 })>;

/* The name of the column that has a component, an "Overlay" for a missing "Opacity". */
const char* columnOf(EerrException& scope, Edsc_TableInstance* table, std::int32_t component)
{
    require(component >= 0 && component < ESTA_NUM_COLOR_COMPONENTS, "Bad args");
    if (component == ESTA_OPACITY && !checked(scope, edsc_ColumnExist(table, kComponents[component], scope)) &&
        checked(scope, edsc_ColumnExist(table, kOverlay, scope))) {
        return kOverlay;
    }
    return kComponents[component];
}

/* Reads rows into `target`, or a new table when that is null. */
Egda_BaseData* readNumbers(EerrException& scope, Edsc_TableInstance* table, const char* name, Egda_BaseData* target,
                           const Rows& rows, Say noTable)
{
    DataPtr made(checked(scope, egda_TableCreate(std::max(rows.asked, 1), EGDA_TYPE_F64, scope), noTable));
    const ColumnPtr column(checked(scope, edsc_ColumnOpen(table, name, scope, nullptr)));
    require(column->dataType != EDSC_COLUMN_STRING, "Column %s of table %s has no numbers", name, table->name);
    if (rows.present > 0) {
        checked(scope, edsc_ColumnRead(column.get(), rows.first, rows.present, made.get(), scope));
    }
    if (target == nullptr) {
        return made.release();
    }
    double* const end = std::copy_n(doublesOf(*made), rows.present, doublesOf(*target));
    std::fill(end, doublesOf(*target) + target->numrows, 0.0);
    return target;
}

void writeNumbers(EerrException& scope, Edsc_TableInstance* table, const char* name, const Egda_BaseData* source,
                  const Rows& rows)
{
    ColumnPtr column(checked(scope, edsc_ColumnOpenIfPresent(table, name, scope, nullptr)));
    if (!column) {
        column.reset(checked(scope, edsc_ColumnCreate(table, name, EDSC_COLUMN_REAL, scope, nullptr)));
    }
    require(column->dataType != EDSC_COLUMN_STRING, "Column %s of table %s has no numbers", name, table->name);
    checked(scope, edsc_ColumnWrite(column.get(), rows.first, rows.asked, source, scope));
    edsc_ColumnClose(column.release(), scope);
    check(scope);
}

bool isNumbers(const Egda_BaseData* record) noexcept
{
    return record != nullptr && record->datatype == EGDA_TYPE_F64 && record->numcolumns == 1;
}

Egda_BaseData* numbersCreate(long numBins, const char* function, Eerr_ErrorReport** err)
{
    return guarded<Egda_BaseData*>(err, function, nullptr, [&](EerrException& scope) {
        require(numBins > 0 && numBins <= std::numeric_limits<std::int32_t>::max(), "Bad args");
        return checked(scope, egda_TableCreate(numBins, EGDA_TYPE_F64, scope),
                       "Error reported by function egda_TableCreate");
    });
}

Egda_BaseData* numbersCopy(const Egda_BaseData* source, Egda_BaseData* target, const char* function,
                           Eerr_ErrorReport** err)
{
    return guarded<Egda_BaseData*>(err, function, nullptr, [&](EerrException& scope) {
        require(isNumbers(source) && (target == nullptr || isNumbers(target)), "Bad args");
        return checked(scope, egda_TableCopy(source, target, scope), "Error reported by function egda_TableCopy");
    });
}

void numbersDelete(Egda_BaseData* record, const char* function, Eerr_ErrorReport** err)
{
    guarded(err, function, [&](EerrException& scope) {
        egda_TableDelete(record, scope);
        check(scope, "Error reported by function egda_TableDelete");
    });
}

bool isColorStack(const Egda_BaseDataStack* stack) noexcept
{
    return stack != nullptr && stack->numlayers == ESTA_NUM_COLOR_COMPONENTS &&
           std::all_of(stack->datalayer, stack->datalayer + stack->numlayers, isNumbers);
}

bool hasOpacity(EerrException& scope, Edsc_TableInstance* table)
{
    const char* const name = columnOf(scope, table, ESTA_OPACITY);
    return checked(scope, edsc_ColumnExist(table, name, scope));
}

}  // namespace

Rows rowsToRead(const Edsc_TableInstance* table, long startBin, long numBins, long capacity, const ColumnTexts& texts)
{
    require(table != nullptr, "Bad args");
    require(startBin >= 0 && startBin <= std::numeric_limits<std::int32_t>::max(), Say(texts.badStart),
            static_cast<int>(startBin));
    const long present = std::max(table->numRows - startBin, 0L);
    const long asked = numBins == ESTA_ALL_BINS ? present : numBins;
    require(asked >= 0 && asked <= std::numeric_limits<std::int32_t>::max(), Say(texts.negative),
            static_cast<int>(asked));
    require(capacity < 0 || asked <= capacity, Say(texts.tooMany), static_cast<int>(capacity),
            static_cast<int>(asked));
    return {static_cast<std::int32_t>(startBin), static_cast<std::int32_t>(std::min(present, asked)),
            static_cast<std::int32_t>(asked)};
}

Rows rowsToWrite(const Edsc_TableInstance* table, long startBin, long numBins, long count, const ColumnTexts& texts)
{
    const Rows rows = rowsToRead(table, startBin, numBins, -1, texts);
    require(rows.asked > 0 && rows.asked <= count, "Bad args");
    return rows;
}

EMANTLE_API Esta_ColorTable* esta_ColorTableCreate(long numBins, Eerr_ErrorReport** err)
{
    return numbersCreate(numBins, "esta_ColorTableCreate", err);
}

EMANTLE_API Esta_ColorTable* esta_ColorTableCopy(const Esta_ColorTable* source, Esta_ColorTable* target,
                                                 Eerr_ErrorReport** err)
{
    return numbersCopy(source, target, "esta_ColorTableCopy", err);
}

EMANTLE_API void esta_ColorTableDelete(Esta_ColorTable* colorTable, Eerr_ErrorReport** err)
{
    numbersDelete(colorTable, "esta_ColorTableDelete", err);
}

EMANTLE_API Esta_ColorTable* esta_ColorTableRead(Edsc_TableInstance* table, int32_t component,
                                                 Esta_ColorTable* colorTable, long startBin, long numBins,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Esta_ColorTable*>(err, "esta_ColorTableRead", nullptr, [&](EerrException& scope) {
        require(colorTable == nullptr || isNumbers(colorTable), "Bad args");
        const Rows rows = rowsToRead(table, startBin, numBins, colorTable == nullptr ? -1 : colorTable->numrows,
                                     kColorTexts);
        return readNumbers(scope, table, columnOf(scope, table, component), colorTable, rows,
                           "Error reported by function esta_ColorTableCreate");
    });
}

EMANTLE_API Emsc_Boolean esta_ColorTableWrite(Edsc_TableInstance* table, int32_t component,
                                              const Esta_ColorTable* colorTable, long startBin, long numBins,
                                              Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_ColorTableWrite", 0, [&](EerrException& scope) {
        require(isNumbers(colorTable), "Bad args");
        const Rows rows = rowsToWrite(table, startBin, numBins, colorTable->numrows, kColorTexts);
        writeNumbers(scope, table, columnOf(scope, table, component), colorTable, rows);
        return 1;
    });
}

EMANTLE_API Esta_ColorTableStack* esta_ColorTableStackCreate(long numBins, Eerr_ErrorReport** err)
{
    return guarded<Esta_ColorTableStack*>(err, "esta_ColorTableStackCreate", nullptr, [&](EerrException& scope) {
        require(numBins > 0 && numBins <= std::numeric_limits<std::int32_t>::max(), "Bad args");
        return checked(scope, egda_BaseDataStackCreate(ESTA_NUM_COLOR_COMPONENTS, numBins, 1, EGDA_TYPE_F64,
                                                       EGDA_TABLE_OBJECT, scope));
    });
}

EMANTLE_API Esta_ColorTableStack* esta_ColorTableStackCopy(const Esta_ColorTableStack* source,
                                                           Esta_ColorTableStack* target, Eerr_ErrorReport** err)
{
    return guarded<Esta_ColorTableStack*>(err, "esta_ColorTableStackCopy", nullptr, [&](EerrException& scope) {
        require(isColorStack(source) && (target == nullptr || isColorStack(target)), "Bad args");
        return checked(scope, egda_BaseDataStackCopy(source, target, scope));
    });
}

EMANTLE_API void esta_ColorTableStackDelete(Esta_ColorTableStack* stack, Eerr_ErrorReport** err)
{
    guarded(err, "esta_ColorTableStackDelete", [&](EerrException& scope) {
        egda_BaseDataStackDelete(stack, scope);
        check(scope);
    });
}

EMANTLE_API Esta_ColorTableStack* esta_ColorTableStackRead(Edsc_TableInstance* table, Esta_ColorTableStack* stack,
                                                           long startBin, long numBins, Eerr_ErrorReport** err)
{
    return guarded<Esta_ColorTableStack*>(err, "esta_ColorTableStackRead", nullptr, [&](EerrException& scope) {
        require(stack == nullptr || isColorStack(stack), "Bad args");
        const Rows rows = rowsToRead(table, startBin, numBins, stack == nullptr ? -1 : stack->datalayer[0]->numrows,
                                     kColorTexts);
        StackPtr made(checked(scope, esta_ColorTableStackCreate(std::max(rows.asked, 1), scope)));
        for (std::int32_t component = 0; component < ESTA_NUM_COLOR_COMPONENTS; ++component) {
            Egda_BaseData* const layer = made->datalayer[component];
            if (component == ESTA_OPACITY && !hasOpacity(scope, table)) {
                std::fill_n(doublesOf(*layer), rows.present, 1.0);
            } else {
                checked(scope, esta_ColorTableRead(table, component, layer, startBin, rows.asked, scope));
            }
        }
        if (stack == nullptr) {
            return made.release();
        }
        for (std::int32_t component = 0; component < ESTA_NUM_COLOR_COMPONENTS; ++component) {
            Egda_BaseData& layer = *stack->datalayer[component];
            double* const end = std::copy_n(doublesOf(*made->datalayer[component]), rows.asked, doublesOf(layer));
            std::fill(end, doublesOf(layer) + layer.numrows, 0.0);
        }
        return stack;
    });
}

EMANTLE_API Emsc_Boolean esta_ColorTableStackWrite(Edsc_TableInstance* table, const Esta_ColorTableStack* stack,
                                                   long startBin, long numBins, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_ColorTableStackWrite", 0, [&](EerrException& scope) {
        require(isColorStack(stack), "Bad args");
        for (std::int32_t component = 0; component < ESTA_NUM_COLOR_COMPONENTS; ++component) {
            checked(scope, esta_ColorTableWrite(table, component, stack->datalayer[component], startBin, numBins,
                                                scope));
        }
        return 1;
    });
}

EMANTLE_API Esta_ContrastTable* esta_ContrastTableCreate(long numBins, Eerr_ErrorReport** err)
{
    return numbersCreate(numBins, "esta_ContrastTableCreate", err);
}

EMANTLE_API Esta_ContrastTable* esta_ContrastTableCopy(const Esta_ContrastTable* source, Esta_ContrastTable* target,
                                                       Eerr_ErrorReport** err)
{
    return numbersCopy(source, target, "esta_ContrastTableCopy", err);
}

EMANTLE_API void esta_ContrastTableDelete(Esta_ContrastTable* contrastTable, Eerr_ErrorReport** err)
{
    numbersDelete(contrastTable, "esta_ContrastTableDelete", err);
}

EMANTLE_API Esta_ContrastTable* esta_ContrastTableRead(Edsc_TableInstance* table, Esta_ContrastTable* contrastTable,
                                                       long startBin, long numBins, Eerr_ErrorReport** err)
{
    return guarded<Esta_ContrastTable*>(err, "esta_ContrastTableRead", nullptr, [&](EerrException& scope) {
        require(contrastTable == nullptr || isNumbers(contrastTable), "Bad args");
        const Rows rows = rowsToRead(table, startBin, numBins, contrastTable == nullptr ? -1 : contrastTable->numrows,
                                     kContrastTexts);
        return readNumbers(scope, table, kContrast, contrastTable, rows,
                           "Error reported by function esta_ContrastTableCreate");
    });
}

EMANTLE_API Emsc_Boolean esta_ContrastTableWrite(Edsc_TableInstance* table, const Esta_ContrastTable* contrastTable,
                                                 long startBin, long numBins, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "esta_ContrastTableWrite", 0, [&](EerrException& scope) {
        require(isNumbers(contrastTable), "Bad args");
        writeNumbers(scope, table, kContrast, contrastTable,
                     rowsToWrite(table, startBin, numBins, contrastTable->numrows, kContrastTexts));
        return 1;
    });
}

}  // namespace emantle::tables
