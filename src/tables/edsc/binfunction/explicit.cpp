#include "tables/edsc/binfunction/kind_support.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <emantle/data/epxm/convert.h>
#include <emantle/data/egda/types.h>

/* The kinds that keep a table: limits (explicit) or single values (unique). */

using namespace emantle;
using namespace emantle::tables;

namespace {

/* A sorted F64 copy of all rows of `limits`, of which the first `needed` differ. */
BaseDataPtr checkedTable(EerrException& scope, const Egda_BaseData* limits, std::uint64_t needed)
{
    require(limits != nullptr, "NULL bin limits given");
    require(limits->numrows > 0 && static_cast<std::uint64_t>(limits->numrows) >= needed,
            "Not enough data in bin limit table");
    require(limits->data != nullptr && limits->numcolumns > 0, "NULL bin limit data");
    require(limits->datatype >= 0 && limits->datatype < EGDA_TYPE_STRING,
            "Bin limits of data type %d are no numbers", limits->datatype);

    BaseDataPtr table(checked(scope, egda_TableCreate(limits->numrows, EGDA_TYPE_F64, scope)));
    double* const rows = static_cast<double*>(table->data);
    const Epxm_ConvertRoutine convert = emsc_AddressOf_epxm_Convert()[limits->datatype][EGDA_TYPE_F64];
    convert(limits->data, rows, limits->numrows);

    double* const end = rows + limits->numrows;
    require(std::none_of(rows, end, [](double limit) { return std::isnan(limit); }), "Non-increasing bin limit data");
    std::sort(rows, end);
    double* const lastNeeded = rows + needed;
    const auto notAbove = [](double previous, double next) { return !(next > previous); };
    require(std::adjacent_find(rows, lastNeeded, notAbove) == lastNeeded, "Non-increasing bin limit data");
    return table;
}

HeapPtr<TableBins> makeTable(std::uint32_t numBins, BaseDataPtr table)
{
    HeapPtr<TableBins> bins = allocate<TableBins>(1, "Insufficient Memory");
    bins->numBins = numBins;
    bins->table = table.release();
    return bins;
}

HeapPtr<TableBins> makeExplicit(EerrException& scope, std::uint32_t numBins, const Egda_BaseData* limits)
{
    requireBinCount(numBins);
    return makeTable(numBins, BaseDataPtr(checked(scope, edsc_BFExplicitBinLimitTableCheck(limits, numBins, scope))));
}

HeapPtr<TableBins> makeUnique(EerrException& scope, std::uint32_t numBins, const Egda_BaseData* values)
{
    requireBinCount(numBins);
    return makeTable(numBins, BaseDataPtr(checked(scope, edsc_BFUniqueBinLimitTableCheck(values, numBins, scope))));
}

void* copyTable(const char* function, const void* internals, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, function, nullptr, [&](EerrException& scope) {
        const TableBins* bins = required<TableBins>(internals);
        BaseDataPtr table(checked(scope, egda_TableCopy(bins->table, nullptr, scope), "egda_BaseDataCopy failed"));
        return makeTable(bins->numBins, std::move(table)).release();
    });
}

void destroyTable(const char* function, void* internals, Eerr_ErrorReport** err)
{
    guarded(err, function, [&](EerrException& scope) {
        const HeapPtr<TableBins> bins(static_cast<TableBins*>(internals));
        if (bins != nullptr) {
            egda_TableDelete(bins->table, scope);
            check(scope);
        }
    });
}

Emsc_Boolean sameTables(const char* function, const void* a, const void* b, std::uint64_t extra, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, function, 0, [&] {
        const TableBins* one = required<TableBins>(a);
        const TableBins* other = required<TableBins>(b);
        return one->numBins == other->numBins &&
               std::equal(one->rows(), one->rows() + one->numBins + extra, other->rows());
    });
}

void printTable(const char* function, const void* internals, std::uint64_t extra, Eerr_ErrorReport** err)
{
    guarded(err, function, [&] {
        const TableBins* bins = required<TableBins>(internals);
        std::printf("\tnumBins:\t%lu\n\tbinlimits:\n", static_cast<unsigned long>(bins->numBins));
        std::for_each_n(bins->rows(), bins->numBins + extra, [](double limit) { std::printf("\t\t%.17g\n", limit); });
    });
}

}  // namespace

EMANTLE_API Egda_BaseData* edsc_BFExplicitBinLimitTableCheck(const Egda_BaseData* limits, uint32_t numBins,
                                                             Eerr_ErrorReport** err)
{
    return guarded<Egda_BaseData*>(err, "edsc_BFExplicitBinLimitTableCheck", nullptr, [&](EerrException& scope) {
        return checkedTable(scope, limits, std::uint64_t{numBins} + 1).release();
    });
}

EMANTLE_API Egda_BaseData* edsc_BFUniqueBinLimitTableCheck(const Egda_BaseData* limits, uint32_t numBins,
                                                           Eerr_ErrorReport** err)
{
    return guarded<Egda_BaseData*>(err, "edsc_BFUniqueBinLimitTableCheck", nullptr, [&](EerrException& scope) {
        return checkedTable(scope, limits, numBins).release();
    });
}

EMANTLE_API void* edsc_BFExplicitBinFunctionCreate(uint32_t numBins, va_list arguments, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edsc_BFExplicitBinFunctionCreate", nullptr, [&](EerrException& scope) {
        return makeExplicit(scope, numBins, va_arg(arguments, const Egda_BaseData*)).release();
    });
}

EMANTLE_API void edsc_BFExplicitBinFunctionBCSyncOld(const void* internals, Edsc_BinFunctionPre840* old,
                                                     Eerr_ErrorReport** err)
{
    guarded(err, "edsc_BFExplicitBinFunctionBCSyncOld", [&](EerrException& scope) {
        require(old != nullptr, "Args");
        const TableBins* bins = static_cast<const TableBins*>(internals);
        BaseDataPtr limits;
        if (bins != nullptr) {
            limits.reset(checked(scope, egda_TableCopy(bins->table, nullptr, scope), "egda_BaseDataCopy failed"));
        }
        egda_BaseDataDelete(old->binLimits, nullptr);
        old->binLimits = limits.release();
        if (bins != nullptr) {
            *old = {bins->numBins, EDSC_BIN_EXPLICIT, bins->rows()[0], bins->rows()[bins->numBins], old->binLimits, 0};
        }
    });
}

EMANTLE_API long edsc_BFExplicitBinFunctionConvertToMIF(const void* internals, unsigned char** object,
                                                        char** dictionary, char** designName, Eerr_ErrorReport** err)
{
    return convertOldFormToMIF("edsc_BFExplicitBinFunctionConvertToMIF", edsc_BFExplicitBinFunctionBCSyncOld, internals,
                               object, dictionary, designName, err);
}

EMANTLE_API Emsc_Boolean edsc_BFExplicitBinFunctionConvertFromMIF(const unsigned char* object, const char* dictionary,
                                                                  const char* designName, void** result,
                                                                  Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_BFExplicitBinFunctionConvertFromMIF", 0, [&](EerrException& scope) {
        const OldForm old(scope, EDSC_BIN_EXPLICIT, object, dictionary, designName);
        *result = newState(scope, "edsc_BFExplicitBinFunctionBCSyncNew", [&](EerrException& inner) {
            return makeExplicit(inner, old->numBins, old->binLimits);
        });
        return 1;
    });
}

EMANTLE_API void* edsc_BFExplicitBinFunctionCopy(const void* internals, Eerr_ErrorReport** err)
{
    return copyTable("edsc_BFExplicitBinFunctionCopy", internals, err);
}

EMANTLE_API void edsc_BFExplicitBinFunctionPrint(const void* internals, Eerr_ErrorReport** err)
{
    printTable("edsc_BFExplicitBinFunctionPrint", internals, 1, err);
}

EMANTLE_API void edsc_BFExplicitBinFunctionDestroy(void* internals, Eerr_ErrorReport** err)
{
    destroyTable("edsc_BFExplicitBinFunctionDestroy", internals, err);
}

EMANTLE_API Emsc_Boolean edsc_BFExplicitBinFunctionIsSame(const void* a, const void* b, Eerr_ErrorReport** err)
{
    return sameTables("edsc_BFExplicitBinFunctionIsSame", a, b, 1, err);
}

EMANTLE_API int32_t edsc_BFExplicitBinFunctionApply(const void* internals, double value, Eerr_ErrorReport** err)
{
    return applyTo<TableBins>("edsc_BFExplicitBinFunctionApply", internals, err, [&](const TableBins& bins) {
        return single::binOf(single::Explicit{bins.numBins, bins.rows()}, value);
    });
}

EMANTLE_API Emsc_Boolean edsc_BFExplicitBinFunctionApplyInverse(const void* internals, int32_t bin, double* lower,
                                                                double* upper, Eerr_ErrorReport** err)
{
    return limitsOf<TableBins>(
        "edsc_BFExplicitBinFunctionApplyInverse", internals, bin, lower, upper, err,
        [](const TableBins& bins, double number, bool) { return bins.rows()[static_cast<std::uint32_t>(number)]; });
}

EMANTLE_API void* edsc_BFUniqueBinFunctionCreate(uint32_t numBins, va_list arguments, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edsc_BFUniqueBinFunctionCreate", nullptr, [&](EerrException& scope) {
        return makeUnique(scope, numBins, va_arg(arguments, const Egda_BaseData*)).release();
    });
}

EMANTLE_API long edsc_BFUniqueBinFunctionConvertToMIF(const void* internals, unsigned char** object, char** dictionary,
                                                      char** designName, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "edsc_BFUniqueBinFunctionConvertToMIF", -1, [&](EerrException& scope) {
        const TableBins* bins = required<TableBins>(internals);
        const UniqueObject record{bins->numBins, bins->table};
        void* bytes = nullptr;
        const long size = checked(scope, emif_MIFableObjectConvertToMIF(&record, uniqueDesign().fetch(scope), &bytes,
                                                                       dictionary, designName, scope));
        *object = static_cast<unsigned char*>(bytes);
        return size;
    });
}

EMANTLE_API Emsc_Boolean edsc_BFUniqueBinFunctionConvertFromMIF(const unsigned char* object, const char* dictionary,
                                                                const char* designName, void** result,
                                                                Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_BFUniqueBinFunctionConvertFromMIF", 0, [&](EerrException& scope) {
        const ObjectOwner record(unpackAs(scope, uniqueDesign(), object, dictionary, designName),
                                 uniqueDesign().fetch(scope));
        const UniqueObject* unpacked = record.as<UniqueObject>();
        *result = makeUnique(scope, unpacked->numBins, unpacked->binLimits).release();
        return 1;
    });
}

EMANTLE_API void* edsc_BFUniqueBinFunctionCopy(const void* internals, Eerr_ErrorReport** err)
{
    return copyTable("edsc_BFUniqueBinFunctionCopy", internals, err);
}

EMANTLE_API void edsc_BFUniqueBinFunctionPrint(const void* internals, Eerr_ErrorReport** err)
{
    printTable("edsc_BFUniqueBinFunctionPrint", internals, 0, err);
}

EMANTLE_API void edsc_BFUniqueBinFunctionDestroy(void* internals, Eerr_ErrorReport** err)
{
    destroyTable("edsc_BFUniqueBinFunctionDestroy", internals, err);
}

EMANTLE_API Emsc_Boolean edsc_BFUniqueBinFunctionIsSame(const void* a, const void* b, Eerr_ErrorReport** err)
{
    return sameTables("edsc_BFUniqueBinFunctionIsSame", a, b, 0, err);
}

EMANTLE_API int32_t edsc_BFUniqueBinFunctionApply(const void* internals, double value, Eerr_ErrorReport** err)
{
    return applyTo<TableBins>("edsc_BFUniqueBinFunctionApply", internals, err, [&](const TableBins& bins) {
        return single::binOf(single::Unique{bins.numBins, bins.rows()}, value);
    });
}

EMANTLE_API Emsc_Boolean edsc_BFUniqueBinFunctionApplyInverse(const void* internals, int32_t bin, double* lower,
                                                              double* upper, Eerr_ErrorReport** err)
{
    return limitsOf<TableBins>("edsc_BFUniqueBinFunctionApplyInverse", internals, bin, lower, upper, err,
                               [](const TableBins& bins, double number, bool isUpper) {
                                   return isUpper ? upperBoundOf(bins.rows()[static_cast<std::uint32_t>(number) - 1])
                                                  : bins.rows()[static_cast<std::uint32_t>(number)];
                               });
}
