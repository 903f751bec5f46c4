#pragma once

#include <emantle/frame/eerr.h>

#include <cstdarg>

namespace emantle {

/* eerr_CreateErrorReport with a text taken as it stands (null for none), and with an argument list. */
Eerr_ErrorReport* createReport(const char* function, long number, long type, Eerr_ErrorReport* next,
                               const char* text) noexcept;
Eerr_ErrorReport* createReportV(const char* function, long number, long type, Eerr_ErrorReport* next,
                                const char* format, va_list arguments) noexcept;

/* The record of a failure that memory was too short to tell: a failure always leaves a chain, so that a caller never takes the
 * failure's value for a result. There is one of it; it ends a chain and is not freed. */
Eerr_ErrorReport* lastResort() noexcept;

/* Prints a chain as something that `function` tells and goes on after: under a status record of `function`. The chain
 * is dropped and `*chain` becomes null. */
void tellAndForget(Eerr_ErrorReport** chain, const char* function, long line) noexcept;

}  // namespace emantle
