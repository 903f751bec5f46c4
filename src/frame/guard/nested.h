#pragma once

#include "frame/guard/guard.h"

namespace emantle {

/* Inside a handler: makes what was thrown the record of `function`, in front of the chain that `scope` holds. */
void recordThrown(EerrException& scope, const char* function, long line) noexcept;

/* Runs a step that stands as a function of its own in a chain of reports. What the body throws becomes the record of
 * `function`; then this throws for the caller "<function> failed", or the text given. Costs nothing where all goes well. */
template <class Body>
decltype(auto) asFunction(EerrException& scope, const char* function, Body&& body, long line = __builtin_LINE())
{
    try {
        return body();
    } catch (...) {
        recordThrown(scope, function, line);
    }
    throw Failure(FailureOf::callee, line);
}

/* Arguments behind the body belong to the text. */
template <class Body, class... Arguments>
decltype(auto) asFunction(EerrException& scope, const char* function, Say callerSays, Body&& body,
                          Arguments... arguments)
{
    try {
        return body();
    } catch (...) {
        recordThrown(scope, function, callerSays.number);
    }
    fail(callerSays, arguments...);
}

}  // namespace emantle
