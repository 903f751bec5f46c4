#pragma once

#include <cstdint>

namespace emantle::platform {

// Since 1970-01-01 UTC.
double secondsSinceEpoch() noexcept;
std::int64_t wholeSecondsSinceEpoch() noexcept;

// From an unknown start, never backwards, with the resolution of the machine.
double monotonicSeconds() noexcept;

// The processor time of the process.
double processorSeconds() noexcept;

} // namespace emantle::platform
