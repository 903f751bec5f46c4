#include "frame/guard/guard.h"

#include "frame/eerr/report.h"
#include "platform/fpu.h"

namespace emantle {

namespace {

void putInFront(EerrException& scope, long number, const char* text) noexcept
{
    Eerr_ErrorReport* chain = scope.Release();
    Eerr_ErrorReport* head = createReport(scope.get_FuncName(), number, EERR_ERROR, chain, text);
    chain = head == nullptr ? chain : head;
    scope.Absorb(&chain);
}

void takeFailure(EerrException& scope, const Failure& failure)
{
    if (failure.whose() == FailureOf::callee) {
        const Eerr_ErrorReport* chain = scope;
        const char* callee = chain == nullptr ? nullptr : chain->function;
        putInFront(scope, failure.number(), (std::string(callee == nullptr ? "Unknown function" : callee) + " failed").c_str());
    } else {
        putInFront(scope, failure.number(), failure.text());
    }
}

}  // namespace

void takeThrown(EerrException& scope, long line) noexcept
{
    platform::resetFloatingPoint();
    try {
        try {
            throw;
        } catch (const Failure& failure) {
            takeFailure(scope, failure);
        } catch (OrvikLog::Exception& exception) {
            scope.Log(line, exception);
        } catch (const std::exception& exception) {
            scope.Log(line, exception.what());
        } catch (...) {
            scope.Log(line);
        }
    } catch (...) {
        /* Memory ran out while the failure was put into words: what the scope holds by now is all there is. */
    }
    if (!scope) {
        Eerr_ErrorReport* chain = lastResort();
        scope.Absorb(&chain);
    }
}

void tellAndForget(EerrException& scope, const char* function, long line) noexcept
{
    Eerr_ErrorReport* chain = scope.Release();
    tellAndForget(&chain, function, line);
}

}  // namespace emantle
