#include "tables/edsc/binfunction/record.h"

#include "frame/guard/guard.h"
#include "tables/edsc/binfunction/internals.h"

#include <cstdarg>
#include <utility>

using namespace emantle;
using namespace emantle::tables;

namespace emantle::tables {

namespace {

Edsc_BinFunctionPre840 oldPart(const Edsc_BinFunction& record) noexcept
{
    return {record.numBins,  record.binFunctionType, record.minLimit,
            record.maxLimit, record.binLimits,       record.limitsType};
}

void setOldPart(Edsc_BinFunction& record, const Edsc_BinFunctionPre840& old) noexcept
{
    record.numBins = old.numBins;
    record.binFunctionType = old.binFunctionType;
    record.minLimit = old.minLimit;
    record.maxLimit = old.maxLimit;
    record.binLimits = old.binLimits;
    record.limitsType = old.limitsType;
}

/* Owns a kind's state until a record does. */
class InternalsOwner {
public:
    InternalsOwner(const Edsc_BinFunctionMethods* methods, void* internals) noexcept
        : methods_(methods), internals_(internals)
    {
    }
    ~InternalsOwner()
    {
        if (internals_ != nullptr) {
            guarded(nullptr, "BinFunctionDestroy", [&](EerrException& scope) {
                methods_->BinFunctionDestroy(internals_, scope);
                check(scope);
            });
        }
    }
    InternalsOwner(const InternalsOwner&) = delete;
    InternalsOwner& operator=(const InternalsOwner&) = delete;

    void* release() noexcept { return std::exchange(internals_, nullptr); }

private:
    const Edsc_BinFunctionMethods* methods_;
    void* internals_;
};

/* Frees what a new record owns; the old part lets go first, through its kind. */
void clearNew(EerrException& scope, Edsc_BinFunction& record)
{
    const MethodsPtr methods(std::exchange(record.functions, nullptr));
    const HeapPtr<char> title(std::exchange(record.title, nullptr));
    InternalsOwner internals(methods.get(), std::exchange(record.internals, nullptr));
    record.binFunction = nullptr;
    if (methods != nullptr) {
        if (methods->BinFunctionBCSyncOld != nullptr) {
            Edsc_BinFunctionPre840 old = oldPart(record);
            methods->BinFunctionBCSyncOld(nullptr, &old, scope);
            record.binLimits = nullptr;
        }
        if (void* state = internals.release(); state != nullptr) {
            /* The chain of the first failure stays. */
            methods->BinFunctionDestroy(state, scope ? nullptr : static_cast<Eerr_ErrorReport**>(scope));
        }
    }
    check(scope);
}

}  // namespace

void syncOld(EerrException& scope, Edsc_BinFunction& record)
{
    if (record.functions->BinFunctionBCSyncOld == nullptr) {
        return;
    }
    Edsc_BinFunctionPre840 old = oldPart(record);
    record.functions->BinFunctionBCSyncOld(record.internals, &old, scope);
    check(scope, "BinFunctionBCSyncOld failed");
    setOldPart(record, old);
}

BinFunctionPtr makeRecord(EerrException& scope, BinFunctionParts parts)
{
    InternalsOwner internals(parts.methods.get(), parts.internals);
    HeapPtr<char> title = heapText(parts.title, parts.noMemory);
    BinFunctionPtr record(allocate<Edsc_BinFunction>(1, parts.noMemory).release());
    record->binFunction = record.get();
    record->binFunctionType = EDSC_BIN_NO_OLD_FORM;
    record->title = title.release();
    record->functions = parts.methods.release();
    record->internals = internals.release();
    record->startBin = parts.startBin;
    record->binCount = parts.binCount;
    record->origBinCount = parts.origBinCount;
    syncOld(scope, *record);
    return record;
}

UsableBinFunction::UsableBinFunction(EerrException& scope, const Edsc_BinFunction* binFunction)
{
    require(binFunction != nullptr, "NULL bin function");
    Edsc_BinFunction* temporary = nullptr;
    record_ = edsc_BinFunctionBCCheck(binFunction, &temporary, scope);
    temporary_.reset(temporary);
    check(scope);
}

}  // namespace emantle::tables

EMANTLE_API const Edsc_BinFunction* edsc_BinFunctionBCCheck(const Edsc_BinFunction* binFunction,
                                                            Edsc_BinFunction** temporary, Eerr_ErrorReport** err)
{
    return guarded<const Edsc_BinFunction*>(err, "edsc_BinFunctionBCCheck", nullptr,
                                            [&](EerrException& scope) -> const Edsc_BinFunction* {
        require(temporary != nullptr, "Args");
        *temporary = nullptr;
        require(binFunction != nullptr, "NULL bin function");
        if (isNewForm(*binFunction)) {
            return binFunction;
        }
        const Emif_Design* design = checked(scope, edsc_HFABinFunctionDesignFetch(scope));
        checked(scope, edsc_BinFunctionConvertFromMIFable(temporary, binFunction, design, scope));
        return *temporary;
    });
}

EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateFromTitleInternal(const char* title, uint32_t numBins,
                                                                      va_list arguments, Eerr_ErrorReport** err)
{
    return guarded<Edsc_BinFunction*>(err, "edsc_BinFunctionCreateFromTitleInternal", nullptr,
                                      [&](EerrException& scope) {
        require(title != nullptr && *title != '\0', "Args");
        require(numBins > 0 && numBins <= kMostBins, "The number of bins must be a positive integer");
        MethodsPtr methods(openMethods(scope, title));
        require(methods->BinFunctionCreate, "Title %s does not support BinFunctionCreate", title);
        void* internals = methods->BinFunctionCreate(numBins, arguments, scope);
        check(scope, "BinFunctionCreate failed");
        require(internals, "BinFunctionCreate failed");
        return makeRecord(scope, {title, std::move(methods), internals, 0, numBins, numBins}).release();
    });
}

EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateFromTitle(const char* title, uint32_t numBins,
                                                              Eerr_ErrorReport** err, ...)
{
    va_list arguments;
    va_start(arguments, err);
    Edsc_BinFunction* result =
        guarded<Edsc_BinFunction*>(err, "edsc_BinFunctionCreateFromTitle", nullptr, [&](EerrException& scope) {
            return checked(scope, edsc_BinFunctionCreateFromTitleInternal(title, numBins, arguments, scope));
        });
    va_end(arguments);
    return result;
}

EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateDirect(double minimum, uint32_t numBins, Eerr_ErrorReport** err)
{
    return guarded<Edsc_BinFunction*>(err, "edsc_BinFunctionCreateDirect", nullptr, [&](EerrException& scope) {
        return checked(scope, edsc_BinFunctionCreateFromTitle(EDSC_TITLE_DIRECT, numBins, scope, minimum));
    });
}

EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateLinear(double minimum, double maximum, uint32_t numBins,
                                                           Eerr_ErrorReport** err)
{
    return guarded<Edsc_BinFunction*>(err, "edsc_BinFunctionCreateLinear", nullptr, [&](EerrException& scope) {
        return checked(scope, edsc_BinFunctionCreateFromTitle(EDSC_TITLE_LINEAR, numBins, scope, minimum, maximum));
    });
}

EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateLogarithm(double minimum, double maximum, uint32_t numBins,
                                                              Eerr_ErrorReport** err)
{
    return guarded<Edsc_BinFunction*>(err, "edsc_BinFunctionCreateLogarithm", nullptr, [&](EerrException& scope) {
        return checked(scope,
                       edsc_BinFunctionCreateFromTitle(EDSC_TITLE_LOGARITHMIC, numBins, scope, minimum, maximum));
    });
}

EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateExplicit(const Egda_BaseData* limits, uint32_t numBins,
                                                             Eerr_ErrorReport** err)
{
    return guarded<Edsc_BinFunction*>(err, "edsc_BinFunctionCreateExplicit", nullptr, [&](EerrException& scope) {
        return checked(scope, edsc_BinFunctionCreateFromTitle(EDSC_TITLE_EXPLICIT, numBins, scope, limits));
    });
}

EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCopy(const Edsc_BinFunction* binFunction, Edsc_BinFunction* target,
                                                   Eerr_ErrorReport** err)
{
    return guarded<Edsc_BinFunction*>(err, "edsc_BinFunctionCopy", nullptr, [&](EerrException& scope) {
        require(binFunction != nullptr, "Source bin function is NULL");
        const UsableBinFunction source(scope, binFunction);
        const bool hasOldForm = source->functions->BinFunctionBCSyncOld != nullptr;
        require(target == nullptr || isNewForm(*target) || hasOldForm, "Rogue destination bin function");

        MethodsPtr methods(shareMethods(scope, source->functions));
        void* internals = methods->BinFunctionCopy(source->internals, scope);
        check(scope, "BinFunctionCopy failed");
        require(internals, "BinFunctionCopy failed");
        BinFunctionPtr copy = makeRecord(scope, {source->title, std::move(methods), internals, source->startBin,
                                                 source->binCount, source->origBinCount,
                                                 "Insfufficient memory"});
        if (target == nullptr || target == binFunction) {
            return target == nullptr ? copy.release() : target;
        }
        /* The contents change places, and what the target held goes with the copy's shell. */
        std::swap(*copy, *target);
        target->binFunction = target;
        copy->binFunction = copy->binFunction == target ? copy.get() : nullptr;
        return target;
    });
}

EMANTLE_API void edsc_BinFunctionDelete(Edsc_BinFunction* binFunction, Eerr_ErrorReport** err)
{
    guarded(err, "edsc_BinFunctionDelete", [&](EerrException& scope) {
        const HeapPtr<Edsc_BinFunction> record(binFunction);
        if (record == nullptr) {
            return;
        }
        if (isNewForm(*record)) {
            clearNew(scope, *record);
            return;
        }
        egda_BaseDataDelete(record->binLimits, scope);
        check(scope);
    });
}
