#pragma once

#include <emantle/frame/eerr.h>

#include <cstdarg>

namespace emantle {

/* The host's log function, which the file layer sets and the default slot of the log signal calls. */
using LogFunction = void (*)(long reserved, Eerr_ErrorReport** err, const char* format, va_list arguments);

void setLogFunction(LogFunction function) noexcept;
LogFunction getLogFunction() noexcept;

}  // namespace emantle
