#include "frame/memory/heap_ptr.h"
#include "store/hfa/handle.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/open_files.h"

#include <emantle/files/efio.h>

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Ehfa_File* ehfa_SearchListFileOpen(const char* name, const Efio_SearchList* searchList, const char* mode,
                                               Eint_InitToolkitData* context, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_File*>(err, "ehfa_SearchListFileOpen", nullptr, [&](EerrException& scope) -> Ehfa_File* {
        require(name != nullptr && searchList != nullptr, "Args");
        const HeapPtr<char> found(
            checked(scope, efio_Which(searchList, name, scope), "Error returned from efio_Which"));
        if (found == nullptr) {
            return nullptr;
        }
        return checked(scope, ehfa_FileOpen(found.get(), mode, context, scope), "Error returned from ehfa_FileOpen");
    });
}

EMANTLE_API void ehfa_PackageDisable(Emsc_Boolean disabled)
{
    refuseNewHandles(disabled != 0);
}

EMANTLE_API Emsc_Boolean ehfa_HeaderReWrite(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_HeaderReWrite", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        asFunction(scope, "ehfa_FileHostDataWrite", "ehfa_FileHostDataWrite failed",
                   [&] { writeHeader(handle); });
        return 1;
    });
}
