#include "frame/eerr/report.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/frame/eerr.h>
#include <emantle/frame/etxt.h>

#include <string>

namespace emantle {

namespace {

/* A narrow copy of a wide chain; it ends where memory does. */
Eerr_ErrorReport* narrowChain(const _Eerr_ErrorReportU* wide) noexcept
{
    Eerr_ErrorReport* head = nullptr;
    for (Eerr_ErrorReport** end = &head; wide != nullptr; wide = wide->next, end = &(*end)->next) {
        EtxtTextA function(etxt_Text_Unicode2Ascii(nullptr, wide->function, 0));
        EtxtTextA message(etxt_Text_Unicode2Ascii(nullptr, wide->message, 0));
        *end = createReport(function, wide->number, wide->type, nullptr, message);
        if (*end == nullptr) {
            break;
        }
    }
    return head;
}

void deleteWideChain(_Eerr_ErrorReportU** chain) noexcept
{
    while (*chain != nullptr) {
        _Eerr_ErrorReportU* next = (*chain)->next;
        emsc_HeapFree((*chain)->function);
        emsc_HeapFree((*chain)->message);
        emsc_HeapFree(*chain);
        *chain = next;
    }
}

_Eerr_ErrorReportU* widenChain(const Eerr_ErrorReport* narrow) noexcept
{
    _Eerr_ErrorReportU* head = nullptr;
    for (_Eerr_ErrorReportU** end = &head; narrow != nullptr; narrow = narrow->next, end = &(*end)->next) {
        *end = static_cast<_Eerr_ErrorReportU*>(emsc_HeapMalloc(sizeof(_Eerr_ErrorReportU)));
        if (*end == nullptr) {
            break;
        }
        **end = {nullptr, etxt_Text_Ascii2Unicode(nullptr, narrow->function, 0), narrow->number, narrow->type,
                 etxt_Text_Ascii2Unicode(nullptr, narrow->message, 0)};
    }
    return head;
}

std::string failedText(const char* function)
{
    return std::string(function == nullptr ? "Unknown function" : function) + " failed";
}

}  // namespace

}  // namespace emantle

using namespace emantle;

EerrException::EerrException() = default;

EerrException::EerrException(const char* file) : OrvikLog::Message(file, nullptr) {}

EerrException::EerrException(const char* file, const char* function) : OrvikLog::Message(file, function) {}

EerrException::EerrException(const char* file, const char* function, _Eerr_ErrorReportA* chain)
    : OrvikLog::Message(file, function), report(chain)
{
}

EerrException::EerrException(OrvikLog::Literal function) noexcept : OrvikLog::Message(function) {}

EerrException::EerrException(const EerrException& other)
    : OrvikLog::Message(other), OrvikLog::UnthrownException(other), report(eerr_ErrorReportDuplicate(other.report))
{
}

EerrException::~EerrException()
{
    if (report != nullptr) {
        EerrException::Log();
        EerrException::Clear();
    }
    deleteWideChain(&reportU);
}

EerrException& EerrException::operator=(const EerrException& other)
{
    if (this != &other) {
        Clear();
        OrvikLog::UnthrownException::operator=(other);
        report = eerr_ErrorReportDuplicate(other.report);
    }
    return *this;
}

/* Puts a record of this scope in front of the chain; where memory is out the chain stays as it is. */
void EerrException::setFront(long line, const char* message) noexcept
{
    Eerr_ErrorReport* head = createReport(get_FuncName(), line, EERR_ERROR, report, message);
    if (head != nullptr) {
        report = head;
    }
}

void EerrException::Check(long line, bool throwIt)
{
    if (report != nullptr) {
        const std::string message = failedText(report->function);
        setLine(line);
        setFront(line, message.c_str());
        if (throwIt) {
            Throw();
        }
        Log();
        Clear();
    }
}

void EerrException::Log()
{
    if (report != nullptr) {
        eerr_PrintErrorReport(report, EERR_PRINT_ALL);
    }
}

EerrException::EerrException(EerrException& scope, Move) : OrvikLog::Message(scope), report(scope.Release()) {}

void EerrException::Throw()
{
    throw EerrException(*this, Move());
}

void EerrException::Throw(long line, const char* message)
{
    setFront(line, message == nullptr ? "" : message);
    EerrException::Throw();
}

void EerrException::Throw(long, unsigned) {}

EerrException::operator _Eerr_ErrorReportA**()
{
    if (report != nullptr) {
        Log(1276, "Avoiding Eerr_ErrorReport leak");
        Log();
        Clear();
    }
    return &report;
}

EerrException::operator _Eerr_ErrorReportA*()
{
    return report;
}

EerrException::operator bool()
{
    return report != nullptr;
}

bool EerrException::operator!()
{
    return report == nullptr;
}

_Eerr_ErrorReportA* EerrException::Release()
{
    Eerr_ErrorReport* chain = report;
    report = nullptr;
    return chain;
}

void EerrException::Absorb(_Eerr_ErrorReportA** chain)
{
    Clear();
    if (chain != nullptr) {
        report = *chain;
        *chain = nullptr;
    }
}

void EerrException::Absorb(_Eerr_ErrorReportU** chain)
{
    Clear();
    if (chain != nullptr) {
        report = narrowChain(*chain);
        deleteWideChain(chain);
    }
}

void EerrException::Assign(_Eerr_ErrorReportA** out)
{
    if (out != nullptr) {
        *out = Release();
    }
}

void EerrException::Assign(_Eerr_ErrorReportU** out)
{
    if (out != nullptr) {
        *out = widenChain(report);
    }
    Clear();
}

void EerrException::Log(long line, OrvikLog::Exception& caught)
{
    Eerr_ErrorReport* chain = nullptr;
    try {
        EerrException narrow("eerr", "dynamic_cast<EerrException*>");
        auto* scope = dynamic_cast<EerrException*>(&caught);
        if (scope != nullptr && scope->report == nullptr && scope->reportU != nullptr) {
            narrow.Absorb(&scope->reportU);
            scope = &narrow;
        }
        if (scope != nullptr && scope->report != nullptr) {
            chain = scope->Release();
        } else {
            const char* what = caught.get_What();
            chain = createReport(caught.get_FuncName(), caught.get_LineNum(), EERR_ERROR, nullptr,
                                 what == nullptr ? "" : what);
        }
        const std::string message = failedText(caught.get_FuncName());
        Eerr_ErrorReport* head = createReport(get_FuncName(), line, EERR_ERROR, chain, message.c_str());
        chain = head == nullptr ? chain : head;
        setLine(line);
        Check(1114, false);
        Clear();
        report = chain;
    } catch (...) {
        eerr_DeleteErrorReportEx(&chain);
    }
}

void EerrException::Log(long line, const char* message)
{
    try {
        EerrErrorReport made(
            createReport(get_FuncName(), line, EERR_ERROR, nullptr, message == nullptr ? "" : message));
        setLine(line);
        Check(1139, false);
        Clear();
        report = made.Release();
    } catch (...) {
        return;
    }
}

void EerrException::Log(long line)
{
    try {
        const char* function = report == nullptr ? nullptr : report->function;
        const std::string message =
            std::string(function == nullptr ? "Unknown function" : function) + ":  unknown exception thrown";
        setFront(line, message.c_str());
    } catch (...) {
        return;
    }
}

const char* EerrException::get_What()
{
    if (report == nullptr) {
        return nullptr;
    }
    std::string messages;
    for (const Eerr_ErrorReport* record = report; record != nullptr; record = record->next) {
        if (record->message != nullptr) {
            messages += record->message;
            messages += '\n';
        }
    }
    text = heapText(messages).release();
    return text;
}

void EerrException::Clear()
{
    eerr_DeleteErrorReportEx(&report);
}

EerrExceptionASCII::~EerrExceptionASCII()
{
    if (scope_.report != nullptr) {
        scope_.Absorb(&scope_.report);
    }
}
