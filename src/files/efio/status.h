#pragma once

#include "platform/paths.h"

#include <emantle/files/efio/status.h>

namespace emantle::files {

Efio_Status statusOf(const platform::FileStatus& from) noexcept;

}  // namespace emantle::files
