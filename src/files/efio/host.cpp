#include "files/efio/host.h"

#include "frame/eerr/log_route.h"
#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/files/efio/host.h>
#include <emantle/frame/estr/list.h>
#include <emantle/siblings/ethr.h>

namespace {

Efio_QueryFunction queryFunction;

}  // namespace

bool emantle::files::hasQueryFunction() noexcept
{
    const EthrMTUnsafeCode unsafe;
    return queryFunction != nullptr;
}

EMANTLE_API void efio_SetLogFunction(Efio_LogFunction function)
{
    const EthrMTUnsafeCode unsafe;
    emantle::setLogFunction(function);
}

EMANTLE_API Efio_LogFunction efio_GetLogFunction(void)
{
    return emantle::getLogFunction();
}

EMANTLE_API void efio_SetQueryFunction(Efio_QueryFunction function)
{
    const EthrMTUnsafeCode unsafe;
    queryFunction = function;
}

std::string efio::ExecuteQuery(const std::string& text, const std::vector<std::string>& options)
{
    const EthrMTUnsafeCode unsafe;
    if (queryFunction == nullptr) {
        return {};
    }
    EerrException scope(OrvikLog::Literal{"efio::ExecuteQuery"});
    EstrStringList list;
    for (const std::string& option : options) {
        list = estr_StringListAppend(list.Release(), option.c_str(), scope);
        scope.Check(__LINE__);
    }
    const emantle::HeapPtr<char> answer(queryFunction(0, scope, text.c_str(), list));
    scope.Check(__LINE__);
    return answer == nullptr ? std::string() : std::string(answer.get());
}
