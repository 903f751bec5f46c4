#include "frame/eerr/alt_function.h"
#include "frame/eerr/log_route.h"

#include <emantle/frame/eerr.h>
#include <emantle/siblings/ethr.h>

#include <boost/make_shared.hpp>
#include <boost/signals2.hpp>
#include <cstdlib>
#include <stdexcept>

namespace emantle {

namespace {

LogFunction logFunction;

void defaultLogSlot(const char* format, va_list arguments)
{
    if (logFunction != nullptr) {
        Eerr_ErrorReport* failed = nullptr;
        va_list own;
        va_copy(own, arguments);
        logFunction(0, &failed, format, own);
        va_end(own);
        eerr_DeleteErrorReportEx(&failed);
    }
}

}  // namespace

void setLogFunction(LogFunction function) noexcept
{
    logFunction = function;
}

LogFunction getLogFunction() noexcept
{
    return logFunction;
}

namespace {

using ReportSignal = boost::signals2::signal<void(const EerrErrorReport&, Eerr_ErrorReportingMode)>;
using LogSignal = boost::signals2::signal<void(const char*, va_list)>;

/* Built on first use, destroyed at exit; a later use is refused. */
class Dispatcher {
public:
    static Dispatcher& instance();
    static bool isGone() noexcept
    {
        EthrMutexLock lock(mutex);
        return destroyed;
    }

    ReportSignal reports;
    LogSignal log;

private:
    Dispatcher()
    {
        reports.connect(defaultReportSlot);
        log.connect(defaultLogSlot);
    }

    static Dispatcher* pointer;
    static bool destroyed;
    static Ethr_Mutex mutex;
};

Dispatcher* Dispatcher::pointer;
bool Dispatcher::destroyed;
Ethr_Mutex Dispatcher::mutex;

Dispatcher& Dispatcher::instance()
{
    EthrMutexLock lock(mutex);
    if (destroyed) {
        throw std::logic_error("Dead Reference Detected");
    }
    if (pointer == nullptr) {
        pointer = new Dispatcher;
        std::atexit([] {
            EthrMutexLock atExit(mutex);
            delete pointer;
            pointer = nullptr;
            destroyed = true;
        });
    }
    return *pointer;
}

}  // namespace

bool dispatcherIsGone() noexcept
{
    return Dispatcher::isGone();
}

}  // namespace emantle

class EerrDispatcher::ConnectionImpl {
public:
    explicit ConnectionImpl(const boost::signals2::connection& connection) : connection_(connection) {}

private:
    boost::signals2::scoped_connection connection_;
};

EerrDispatcher::Connection EerrDispatcher::Connect(const ReportSlot& slot)
{
    return boost::make_shared<ConnectionImpl>(emantle::Dispatcher::instance().reports.connect(slot));
}

/* Every slot reads an argument list of its own: one that has been read is spent. */
EerrDispatcher::Connection EerrDispatcher::Connect(const LogSlot& slot)
{
    return boost::make_shared<ConnectionImpl>(
        emantle::Dispatcher::instance().log.connect([slot](const char* format, va_list arguments) {
            va_list own;
            va_copy(own, arguments);
            slot(format, own);
            va_end(own);
        }));
}

void EerrDispatcher::Dispatch(const EerrErrorReport& report, Eerr_ErrorReportingMode mode)
{
    emantle::Dispatcher::instance().reports(report, mode);
}

void EerrDispatcher::Dispatch(const char* format, va_list arguments)
{
    emantle::Dispatcher::instance().log(format, arguments);
}
