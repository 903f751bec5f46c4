#include "frame/eint.h"

#include <emantle/files/efio/handle.h>
#include <utility>

namespace emantle {

namespace {

/* Zero until the first use; closes the null device at unload. */
class EintNullDevice {
public:
    ~EintNullDevice()
    {
        EthrMutexLock lock(toolkitMutex);
        Eerr_ErrorReport* failed = nullptr;
        efio_Close(stream_, &failed);
        eerr_DeleteErrorReportEx(&failed);
        stream_ = nullptr;
    }

    Efio_File** get_Address();

private:
    Efio_File* stream_;
};

EintNullDevice nullDevice;

/* The stream is opened outside the lock, because a report of its failure would take the lock again; of several that are
 * opened at once, the first one stored stays. */
Efio_File** EintNullDevice::get_Address()
{
    {
        EthrMutexLock lock(toolkitMutex);
        if (stream_ != nullptr) {
            return &stream_;
        }
    }
    Efio_File* made = efio_Open("nul", "w", nullptr);
    {
        EthrMutexLock lock(toolkitMutex);
        if (stream_ == nullptr) {
            std::swap(stream_, made);
        }
    }
    efio_Close(made, nullptr);
    return &stream_;
}

}  // namespace

}  // namespace emantle

EMANTLE_API Efio_File** emsc_AddressOf_EINT_NULLDEVICE(void)
{
    return emantle::nullDevice.get_Address();
}
