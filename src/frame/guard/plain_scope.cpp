#include "frame/guard/plain_scope.h"

#include "frame/eerr/report.h"

#include <cstdarg>

namespace emantle {

namespace {

/* Where memory is out for the new record, the caller at least gets what the callee told. */
void handUp(Eerr_ErrorReport* head, Eerr_ErrorReport** held, Eerr_ErrorReport** err) noexcept
{
    Eerr_ErrorReport* chain = head == nullptr ? *held : head;
    *held = nullptr;
    *(err == nullptr ? held : err) = chain;
}

}  // namespace

PlainScope::~PlainScope()
{
    if (held_ == nullptr) {
        return;
    }
    if (err_ != nullptr && *err_ == nullptr) {
        *err_ = held_;
        return;
    }
    eerr_PrintErrorReport(held_, EERR_PRINT_ALL);
    eerr_DeleteErrorReportEx(&held_);
}

void PlainScope::raiseText(Say text) noexcept
{
    handUp(createReport(function_, text.number, EERR_ERROR, held_, text.format), &held_, err_);
}

void PlainScope::raiseFormatted(long number, const char* format, ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    Eerr_ErrorReport* head = createReportV(function_, number, EERR_ERROR, held_, format, arguments);
    va_end(arguments);
    handUp(head, &held_, err_);
}

void PlainScope::tellAndForget(long line) noexcept
{
    if (held_ != nullptr) {
        emantle::tellAndForget(&held_, function_, line);
    }
}

}  // namespace emantle
