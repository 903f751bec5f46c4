#ifndef EMANTLE_FRAME_EERR_DISPATCHER_H
#define EMANTLE_FRAME_EERR_DISPATCHER_H

#include <emantle/frame/eerr.h>

#ifdef __cplusplus

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <cstdarg>

/* Owns one chain, so that the report signal can pass it by reference. */
class EMANTLE_CLASS EerrErrorReport {
public:
    EerrErrorReport() noexcept = default;
    explicit EerrErrorReport(Eerr_ErrorReport* report) noexcept : report_(report) {}
    ~EerrErrorReport() { eerr_DeleteErrorReportEx(&report_); }
    EerrErrorReport(const EerrErrorReport&) = delete;
    EerrErrorReport& operator=(const EerrErrorReport&) = delete;

    Eerr_ErrorReport* get() const noexcept { return report_; }
    Eerr_ErrorReport* Release() noexcept
    {
        Eerr_ErrorReport* report = report_;
        report_ = nullptr;
        return report;
    }

private:
    Eerr_ErrorReport* report_ = nullptr;
};

/* The routes of reports and log messages. Every connected slot gets every report. */
class EMANTLE_CLASS EerrDispatcher {
public:
    /* Disconnects its slot when the last shared pointer goes. */
    class ConnectionImpl;
    using Connection = boost::shared_ptr<ConnectionImpl>;
    using ReportSlot = boost::function<void(const EerrErrorReport&, Eerr_ErrorReportingMode)>;
    using LogSlot = boost::function<void(const char* format, va_list arguments)>;

    static Connection Connect(const ReportSlot& slot);
    static Connection Connect(const LogSlot& slot);
    static void Dispatch(const EerrErrorReport& report, Eerr_ErrorReportingMode mode);
    static void Dispatch(const char* format, va_list arguments);
};

#endif
#endif
