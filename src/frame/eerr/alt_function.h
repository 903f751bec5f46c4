#pragma once

#include <emantle/frame/eerr.h>

namespace emantle {

/* The slot that the dispatcher connects to the report signal when it is built: the alternative error function where
 * one is set, else the print. */
void defaultReportSlot(const EerrErrorReport& report, Eerr_ErrorReportingMode mode);

/* Whether the dispatcher was destroyed at exit. What static objects report after that has no slots to go to. */
bool dispatcherIsGone() noexcept;

}  // namespace emantle
