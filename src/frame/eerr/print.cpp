#include "frame/eerr/alt_function.h"
#include "frame/eerr/report.h"

#include <emantle/frame/eerr.h>
#include <emantle/frame/eint.h>

#include <cstdio>

namespace emantle {

namespace {

void printHeader(const Eerr_ErrorReport& record)
{
    const char* severity = record.type == EERR_STATUS    ? "STATUS MESSAGE"
                           : record.type == EERR_WARNING ? "WARNING"
                                                         : "ERROR";
    std::fprintf(stderr, " ***%s NUMBER %ld IN FUNCTION %s***\n", severity, static_cast<long>(record.number),
                 record.function == nullptr ? "" : record.function);
}

void printBody(const Eerr_ErrorReport& record)
{
    if (record.message != nullptr) {
        std::fprintf(stderr, " >>>%s<<<\n", record.message);
    } else if (record.next != nullptr && record.next->function != nullptr) {
        std::fprintf(stderr, " >>>%s failed.<<<\n", record.next->function);
    }
}

}  // namespace

void tellAndForget(Eerr_ErrorReport** chain, const char* function, long line) noexcept
{
    Eerr_ErrorReport* copy = eerr_ErrorReportDuplicate(*chain);
    Eerr_ErrorReport* told = createReport(function, line, EERR_STATUS, copy, nullptr);
    eerr_PrintErrorReport(told == nullptr ? copy : told, EERR_PRINT_ALL);
    eerr_DeleteErrorReportEx(told == nullptr ? &copy : &told);
    eerr_DeleteErrorReportEx(chain);
}

}  // namespace emantle

using namespace emantle;

EMANTLE_API void eerr_PrintErrorReportNoEML(Eerr_ErrorReport* report, Eerr_ErrorReportingMode mode)
{
    for (; report != nullptr; report = report->next) {
        const bool bare = report->type == EERR_PLAIN || report->type == EERR_STATUS;
        if (!bare && mode != EERR_PRINT_ALL && report->next != nullptr) {
            continue;
        }
        if (!bare) {
            printHeader(*report);
        }
        printBody(*report);
    }
    std::fputs("\n", stderr);
}

EMANTLE_API void eerr_PrintErrorReport(Eerr_ErrorReport* report, Eerr_ErrorReportingMode mode)
{
    if (dispatcherIsGone()) {
        return eerr_PrintErrorReportNoEML(report, mode);
    }
    EerrErrorReport holder(report);
    try {
        EerrDispatcher::Dispatch(holder, mode);
    } catch (...) {
        /* A slot that throws has had its chance; the chain goes back to the caller all the same. */
    }
    holder.Release();
}

EMANTLE_API void eerr_MessageLog(long type, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Eerr_ErrorReport* report = createReportV(nullptr, 0, type, nullptr, format, arguments);
    va_end(arguments);
    eint_GetInit();
    eerr_PrintErrorReport(report, EERR_PRINT_TERSE);
    eerr_DeleteErrorReportEx(&report);
}
