#include "frame/guard/plain_scope.h"

#include "frame/eerr/report.h"

#include <cstdarg>

namespace emantle {

namespace {

void printAndDelete(Eerr_ErrorReport* report) noexcept
{
    eerr_PrintErrorReport(report, EERR_PRINT_ALL);
    eerr_DeleteErrorReportEx(&report);
}

}  // namespace

void PlainScope::finish() noexcept
{
    if (held_ != nullptr) {
        if (*out_ == nullptr) {
            *out_ = held_;
        } else {
            printAndDelete(held_);
        }
    }
    if (untold_ != nullptr) {
        printAndDelete(untold_);
    }
}

/* What the next record wraps: the callee's chain, else what this function has raised already. */
Eerr_ErrorReport* PlainScope::below() const noexcept
{
    return held_ == nullptr ? *out_ : held_;
}

/* Where memory is out for the new record, the caller at least gets what is below it. */
void PlainScope::handUp(Eerr_ErrorReport* head) noexcept
{
    if (held_ != nullptr && *out_ != nullptr) {
        printAndDelete(*out_);
    }
    if (head == nullptr) {
        head = below() == nullptr ? lastResort() : below();
    }
    *out_ = head;
    held_ = nullptr;
}

void PlainScope::raise(Say text) noexcept
{
    handUp(createReport(function_, text.number, EERR_ERROR, below(), text.format));
}

void PlainScope::raiseFormatted(long number, const char* format, ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    Eerr_ErrorReport* head = createReportV(function_, number, EERR_ERROR, below(), format, arguments);
    va_end(arguments);
    handUp(head);
}

void PlainScope::tellAndForget(long line) noexcept
{
    if (held_ != nullptr) {
        emantle::tellAndForget(&held_, function_, line);
    }
}

void warn(const char* function, Say text) noexcept
{
    printAndDelete(createReport(function, text.number, EERR_WARNING, nullptr, text.format));
}

void warnFormatted(const char* function, long number, const char* format, ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    Eerr_ErrorReport* report = createReportV(function, number, EERR_WARNING, nullptr, format, arguments);
    va_end(arguments);
    printAndDelete(report);
}

}  // namespace emantle
