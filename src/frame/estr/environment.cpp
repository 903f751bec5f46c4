#include "frame/estr/environment.h"

#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"
#include "platform/environment.h"

#include <emantle/frame/estr/build.h>
#include <emantle/frame/estr/compare.h>
#include <emantle/frame/estr/environment.h>


namespace emantle {

namespace {

constexpr std::size_t kLongestDomain = 260;

} // namespace

bool environmentValue(const char* name, std::string& value)
{
    if (name == nullptr) {
        return false;
    }
    std::string domain;
    if (estr_Eqnic(name, "QEL", 3) != 0 && platform::getEnvironment("APPDOMAIN", domain) &&
        domain.size() <= kLongestDomain) {
        return platform::getEnvironment(domain + "_" + name, value);
    }
    return platform::getEnvironment(name, value);
}

} // namespace emantle

using namespace emantle;

EMANTLE_API char* estr_GetEnv(const char* name)
{
    return guarded<char*>(nullptr, "estr_GetEnv", nullptr, [&]() -> char* {
        std::string value;
        return environmentValue(name, value) ? heapText(value).release() : nullptr;
    });
}

EMANTLE_API Emsc_Boolean estr_CheckEnv(const char* name)
{
    return guarded<Emsc_Boolean>(nullptr, "estr_CheckEnv", 0, [&] {
        std::string value;
        return environmentValue(name, value);
    });
}

EMANTLE_API int estr_PutEnv(const char* name, const char* value)
{
    return guarded<int>(nullptr, "estr_PutEnv", -1, [&] {
        return name != nullptr && platform::setEnvironment(name, value == nullptr ? "" : value) == 0 ? 0 : -1;
    });
}
