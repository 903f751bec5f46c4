#include "store/hfa/activity.h"

#include "store/hfa/header.h"
#include "store/hfa/open_files.h"
#include "store/hfa/tree.h"

#include <emantle/files/efio.h>
#include <emantle/siblings/ethr.h>

namespace emantle::hfa {

namespace {

struct ChangeListener {
    Ehfa_FileChangedCallback function = nullptr;
    bool everyHandle = false;
};

thread_local ChangeListener listener;

void tellOfChange(Handle& handle)
{
    if (listener.function != nullptr && (listener.everyHandle || handle.thread == ethr_ThreadSelf())) {
        const EthrMTUnsafeCode section;
        listener.function(&handle);
    }
    if (!handle.readOnly) {
        markStale(handle.context, handle.name, true);
    }
}

/* Reads again what the handle knows of its file. */
void bringUpToDate(Handle& handle, EerrException& scope)
{
    /* What this thread's other handle has gathered is not in the file yet. */
    if (Handle* writer = findOpenFile(handle.context, handle.name, false); writer != nullptr && writer != &handle) {
        efio_Flush(writer->file, scope);
        check(scope, "Error re-reading header");
    }
    efio_BufferFlush(handle.file, scope);
    check(scope, "Error re-reading header");
    asFunction(scope, "ehfa_HeaderRead", "Error re-reading header", [&] { readHeader(handle, scope); });
    asFunction(scope, "ehfa_EntryPathInit", "Error re-initializing cache", [&] { startTree(handle, scope); });
}

}  // namespace

Activity::Activity(Handle& handle, EerrException& scope) : handle_(handle), outermost_(handle.activity <= 0)
{
    /* A rename that failed half-way leaves a handle without its file. */
    require(handle.file != nullptr, "Bad file");
    if (!outermost_) {
        return;
    }
    const bool stale = handle.activity == -1;
    handle.activity = 1;
    if (stale) {
        try {
            bringUpToDate(handle, scope);
        } catch (...) {
            handle.activity = -1;
            throw;
        }
    }
}

Activity::~Activity()
{
    if (!outermost_) {
        return;
    }
    if (handle_.activity == 2) {
        tellOfChange(handle_);
    }
    if (handle_.activity != -1) {
        handle_.activity = 0;
    }
}

}  // namespace emantle::hfa

EMANTLE_API void ehfa_SetFileChangedCallback(Ehfa_FileChangedCallback callback, Emsc_Boolean everyHandle)
{
    emantle::hfa::listener = {callback, everyHandle != 0};
}
