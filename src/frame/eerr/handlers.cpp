#include <emantle/frame/eerr.h>
#include <emantle/frame/emsc/heap.h>
#include <emantle/siblings/ethr.h>

namespace emantle {

namespace {

struct Handler {
    Eerr_ErrorHandler function;
    bool threadSafe;
    void* data;
    Handler* next;
    Handler* previous;
};

Handler* newest;
Ethr_Mutex handlersMutex;

}  // namespace

}  // namespace emantle

using namespace emantle;

EMANTLE_API void* eerr_ErrorHandlerRegister(Eerr_ErrorHandler function, void* data)
{
    if (function == nullptr) {
        return nullptr;
    }
    auto* handler = static_cast<Handler*>(emsc_HeapMalloc(sizeof(Handler)));
    if (handler == nullptr) {
        return nullptr;
    }
    EthrMutexLock lock(handlersMutex);
    *handler = {function, false, data, newest, nullptr};
    if (newest != nullptr) {
        newest->previous = handler;
    }
    newest = handler;
    return handler;
}

EMANTLE_API void eerr_ErrorHandlerRemove(void* handle)
{
    EthrMutexLock lock(handlersMutex);
    Handler* handler = newest;
    while (handler != nullptr && handler != handle) {
        handler = handler->next;
    }
    if (handler == nullptr) {
        return;
    }
    (handler->previous == nullptr ? newest : handler->previous->next) = handler->next;
    if (handler->next != nullptr) {
        handler->next->previous = handler->previous;
    }
    emsc_HeapFree(handler);
}

EMANTLE_API void eerr_ErrorOccurred(long code)
{
    EthrMutexLock lock(handlersMutex);
    for (Handler* handler = newest; handler != nullptr; handler = handler->next) {
        EthrMTUnsafeCode unsafe;
        try {
            handler->function(code, handler->data);
        } catch (...) {
            /* The next handler has its turn all the same. */
        }
    }
}
