#include "platform/environment.h"

#include "platform/errors.h"

#include <algorithm>
#include <cstdlib>

namespace emantle::platform {
namespace {

// The one variable that the rest of the system, the shells and the loader, reads as a list too.
bool isSharedList(std::string_view name)
{
    return name == "PATH";
}

} // namespace

bool getEnvironment(std::string_view name, std::string& value)
{
    const char* const found = std::getenv(std::string(name).c_str());
    if (found == nullptr || *found == '\0')
        return false;
    value = found;
    if (isSharedList(name))
        std::replace(value.begin(), value.end(), ':', ';');
    return true;
}

int setEnvironment(std::string_view name, std::string_view value)
{
    if (name.find('\0') != name.npos || value.find('\0') != value.npos)
        return failWith(error::invalidArgument);
    const std::string key(name);
    std::string text(value);
    if (isSharedList(name))
        std::replace(text.begin(), text.end(), ';', ':');
    const int result = text.empty() ? unsetenv(key.c_str()) : setenv(key.c_str(), text.c_str(), 1);
    return result == 0 ? 0 : systemError();
}

} // namespace emantle::platform
