#include "frame/eint.h"

#include "frame/guard/guard.h"

#include <emantle/frame/emsc/heap.h>
#include <emantle/siblings/ethr.h>

namespace emantle {

Ethr_Mutex toolkitMutex;

namespace {

/* Owns the toolkit record. It has no state before its first use and frees the record at unload. */
class EintOrvInit {
public:
    ~EintOrvInit()
    {
        EthrMutexLock lock(toolkitMutex);
        emsc_HeapFreeEx(reinterpret_cast<void**>(&record_));
    }

    Eint_InitToolkitData* get_InitToolkitData();

private:
    Eint_InitToolkitData* current()
    {
        EthrMutexLock lock(toolkitMutex);
        return record_;
    }

    Eint_InitToolkitData* record_;
};

EintOrvInit orvInit;

/* The record is allocated outside the lock, so that concurrent first calls may make several: the first one stored
 * stays, and the others are freed. */
Eint_InitToolkitData* EintOrvInit::get_InitToolkitData()
{
    if (Eint_InitToolkitData* present = current()) {
        return present;
    }
    void* made = emsc_HeapMalloc(sizeof(Eint_InitToolkitData));
    if (made == nullptr) {
        EerrException("eint", "EintOrvInit::get_InitToolkitData").Throw(187, "emsc_New failed");
    }
    ethr_RegisterThreadSafeModeCallbacks(emsc_HeapInitThreadSafeMode, emsc_HeapEndThreadSafeMode);
    {
        EthrMutexLock lock(toolkitMutex);
        if (record_ == nullptr) {
            record_ = static_cast<Eint_InitToolkitData*>(made);
            made = nullptr;
        }
    }
    emsc_HeapFree(made);
    return current();
}

}  // namespace

}  // namespace emantle

using namespace emantle;

EMANTLE_API Eint_InitToolkitData* eint_InitToolkit(Eerr_ErrorReport** err)
{
    return guarded<Eint_InitToolkitData*>(err, "eint_InitToolkit", nullptr,
                                          [] { return orvInit.get_InitToolkitData(); });
}

EMANTLE_API Eint_InitToolkitData* eint_GetInit(void)
{
    return guarded<Eint_InitToolkitData*>(nullptr, "eint_GetInit", nullptr,
                                          [] { return orvInit.get_InitToolkitData(); });
}

EMANTLE_API void eint_DeInit(void) {}
