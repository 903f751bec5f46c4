#include "platform/fpu.h"

#include <cfenv>

namespace emantle::platform {

void resetFloatingPoint() noexcept
{
    std::fesetenv(FE_DFL_ENV);
}

} // namespace emantle::platform
