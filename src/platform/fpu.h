#pragma once

namespace emantle::platform {

// Rounding to nearest, no trap, no flag raised, subnormal numbers kept: the state that a program starts with.
void resetFloatingPoint() noexcept;

} // namespace emantle::platform
