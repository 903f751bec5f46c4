#include "frame/eerr/report.h"

#include <emantle/frame/emsc/heap.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace emantle {

namespace {

char* heapCopy(const char* text) noexcept
{
    const std::size_t size = std::strlen(text) + 1;
    auto* copy = static_cast<char*>(emsc_HeapMalloc(static_cast<long>(size)));
    if (copy != nullptr) {
        std::memcpy(copy, text, size);
    }
    return copy;
}

char* heapFormat(const char* format, va_list arguments) noexcept
{
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) {
        return nullptr;
    }
    auto* text = static_cast<char*>(emsc_HeapMalloc(length + 1L));
    if (text != nullptr) {
        std::vsnprintf(text, static_cast<std::size_t>(length) + 1, format, arguments);
    }
    return text;
}

char lastFunction[] = "emsc_HeapMalloc";
char lastMessage[] = "emsc_New failed";
Eerr_ErrorReport lastRecord{nullptr, lastFunction, 0, EERR_ERROR, lastMessage};

void deleteRecord(Eerr_ErrorReport* record) noexcept
{
    if (record == &lastRecord) {
        return;
    }
    emsc_HeapFree(record->function);
    emsc_HeapFree(record->message);
    emsc_HeapFree(record);
}

/* A record that owns `message`; null, and `message` freed, when memory is out. */
Eerr_ErrorReport* makeRecord(const char* function, long number, long type, Eerr_ErrorReport* next,
                             char* message) noexcept
{
    auto* record = static_cast<Eerr_ErrorReport*>(emsc_HeapMalloc(sizeof(Eerr_ErrorReport)));
    char* name = function == nullptr ? nullptr : heapCopy(function);
    if (record == nullptr || (function != nullptr && name == nullptr)) {
        emsc_HeapFree(name);
        emsc_HeapFree(record);
        emsc_HeapFree(message);
        return nullptr;
    }
    *record = {next, name, static_cast<int32_t>(number), static_cast<int32_t>(type), message};
    return record;
}

}  // namespace

Eerr_ErrorReport* lastResort() noexcept
{
    return &lastRecord;
}

Eerr_ErrorReport* createReport(const char* function, long number, long type, Eerr_ErrorReport* next,
                               const char* text) noexcept
{
    char* message = text == nullptr ? nullptr : heapCopy(text);
    return text != nullptr && message == nullptr ? nullptr : makeRecord(function, number, type, next, message);
}

Eerr_ErrorReport* createReportV(const char* function, long number, long type, Eerr_ErrorReport* next,
                                const char* format, va_list arguments) noexcept
{
    char* message = format == nullptr ? nullptr : heapFormat(format, arguments);
    return format != nullptr && message == nullptr ? nullptr : makeRecord(function, number, type, next, message);
}

}  // namespace emantle

using namespace emantle;

EMANTLE_API Eerr_ErrorReport** eerr_Init(Eerr_ErrorReport** err)
{
    if (err != nullptr) {
        *err = nullptr;
    }
    return err;
}

EMANTLE_API Eerr_ErrorReport* eerr_CreateErrorReport(const char* function, long number, long type,
                                                     Eerr_ErrorReport* next, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Eerr_ErrorReport* report = createReportV(function, number, type, next, format, arguments);
    va_end(arguments);
    return report;
}

EMANTLE_API void eerr_DeleteErrorReportEx(Eerr_ErrorReport** err)
{
    if (err == nullptr) {
        return;
    }
    for (Eerr_ErrorReport* record = *err; record != nullptr;) {
        Eerr_ErrorReport* next = record->next;
        deleteRecord(record);
        record = next;
    }
    *err = nullptr;
}

EMANTLE_API Eerr_ErrorReport* eerr_ErrorReportDuplicate(Eerr_ErrorReport* report)
{
    Eerr_ErrorReport* head = nullptr;
    Eerr_ErrorReport** end = &head;
    for (; report != nullptr; report = report->next) {
        *end = createReport(report->function, report->number, report->type, nullptr, report->message);
        if (*end == nullptr) {
            eerr_DeleteErrorReportEx(&head);
            return nullptr;
        }
        end = &(*end)->next;
    }
    return head;
}
