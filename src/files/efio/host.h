#pragma once

namespace emantle::files {

/* Whether the host answers questions. */
bool hasQueryFunction() noexcept;

}  // namespace emantle::files
