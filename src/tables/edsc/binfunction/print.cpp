#include "frame/guard/guard.h"
#include "tables/edsc/binfunction/record.h"

#include <cstdint>
#include <cstdio>
#include <emantle/data/egda/basedata.h>

using namespace emantle;
using namespace emantle::tables;

namespace {

void printOldPart(const Edsc_BinFunction& record)
{
    std::printf("Old Bin Function:\n");
    std::printf("\tnumBins:\t%ld\n", static_cast<long>(record.numBins));
    std::printf("\ttype:\t\t%d\n", record.binFunctionType);
    std::printf("\tminLimit:\t%g\n", record.minLimit);
    std::printf("\tmaxLimit:\t%g\n", record.maxLimit);
    if (record.binLimits == nullptr || record.binLimits->data == nullptr) {
        return;
    }
    std::printf("\tbinlimits:\n");
    if (record.binLimits->datatype == EGDA_TYPE_F64) {
        for (std::int32_t row = 0; row < record.binLimits->numrows; ++row) {
            std::printf("\t\t%.17g\n", static_cast<const double*>(record.binLimits->data)[row]);
        }
    }
}

void printNewPart(EerrException& scope, const Edsc_BinFunction& record)
{
    std::printf("New Bin Function:\n");
    std::printf("\tfunctions:\t0x%lx\n", reinterpret_cast<unsigned long>(record.functions));
    std::printf("\ttitle:\t\t%s\n", record.title);
    std::printf("\tbinFunction:\t0x%lx\n", reinterpret_cast<unsigned long>(record.binFunction));
    std::printf("\torigBinCount:\t%ld\n", static_cast<long>(record.origBinCount));
    std::printf("\tstartBin:\t%ld\n", static_cast<long>(record.startBin));
    std::printf("\tbinCount:\t%ld\n", static_cast<long>(record.binCount));
    if (record.functions->BinFunctionPrint != nullptr) {
        std::printf("\tinternals:\n");
        record.functions->BinFunctionPrint(record.internals, scope);
        check(scope, "BinFunctionPrint failed");
    }
}

}  // namespace

EMANTLE_API void edsc_BinFunctionPrint(const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_BinFunctionPrint", [&](EerrException& scope) {
        const UsableBinFunction record(scope, binFunction);
        printOldPart(*record);
        printNewPart(scope, *record);
        std::printf("Binning:\n");
        for (std::uint32_t bin = 0; bin < record->binCount; ++bin) {
            double lower = 0;
            double upper = 0;
            checked(scope, edsc_BinFunctionApplyInverse(&*record, static_cast<std::int32_t>(bin), &lower, &upper,
                                                        scope));
            std::printf("%ld:\t%25.17g <= k < %25.17g\n", static_cast<long>(bin), lower, upper);
        }
    });
}
