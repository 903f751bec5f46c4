#include "frame/eerr/alt_function.h"

#include <emantle/frame/eint.h>
#include <emantle/siblings/ethr.h>

namespace emantle {

namespace {

struct AltFunction {
    Eerr_AltErrorFunction function;
    void* data;
    bool threadSafe;
};

AltFunction altFunction;
Ethr_Mutex altFunctionMutex;

/* Makes sure of the toolkit record before a print. Where the record itself fails for want of memory that failure is printed
 * by way of this very slot, which then does not ask again. */
void makeSureOfTheToolkit() noexcept
{
    static thread_local bool asking;
    if (!asking) {
        asking = true;
        eint_GetInit();
        asking = false;
    }
}

}  // namespace

void defaultReportSlot(const EerrErrorReport& report, Eerr_ErrorReportingMode mode)
{
    const AltFunction alternative = altFunction;
    if (alternative.function == nullptr) {
        makeSureOfTheToolkit();
        eerr_PrintErrorReportNoEML(report.get(), mode);
        return;
    }
    Eerr_ErrorReport* failed = nullptr;
    if (alternative.threadSafe) {
        alternative.function(alternative.data, report.get(), mode, &failed);
    } else {
        EthrMTUnsafeCode unsafe;
        alternative.function(alternative.data, report.get(), mode, &failed);
    }
    if (failed != nullptr) {
        eerr_PrintErrorReportNoEML(failed, mode);
        Eerr_ErrorReport* dispatched = report.get();
        eerr_DeleteErrorReportEx(&dispatched);
    }
}

}  // namespace emantle

using namespace emantle;

EMANTLE_API void eerr_SetAltErrorFunction(Eerr_AltErrorFunction function, void* data)
{
    {
        EthrMutexLock lock(altFunctionMutex);
        altFunction = {function, data, false};
    }
    /* The connection goes with its handle, which nobody keeps: the default slot stays connected once. */
    try {
        EerrDispatcher::Connect(EerrDispatcher::ReportSlot(defaultReportSlot));
    } catch (...) {
        return;
    }
}

EMANTLE_API void eerr_GetAltErrorFunction(Eerr_AltErrorFunction* function, void** data)
{
    EthrMutexLock lock(altFunctionMutex);
    if (function != nullptr) {
        *function = altFunction.function;
    }
    if (data != nullptr) {
        *data = altFunction.data;
    }
}
