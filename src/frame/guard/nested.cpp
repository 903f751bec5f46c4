#include "frame/guard/nested.h"

namespace emantle {

void recordThrown(EerrException& scope, const char* function, long line) noexcept
{
    EerrException step(OrvikLog::Literal{function});
    Eerr_ErrorReport* chain = scope.Release();
    step.Absorb(&chain);
    takeThrown(step, line);
    chain = step.Release();
    scope.Absorb(&chain);
}

}  // namespace emantle
