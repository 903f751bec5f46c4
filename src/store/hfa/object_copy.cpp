#include "frame/guard/plain_scope.h"
#include "store/hfa/activity.h"
#include "store/hfa/host_record.h"
#include "store/hfa/object.h"

#include <cstdarg>
#include <string>

namespace emantle::hfa {

namespace {

/* The choices of a copy. Each family of options counts once; only the choices made here at first are supported. */
struct CopyChoices {
    bool withChildren = false;
    int existing = 1;
};

CopyChoices choicesFrom(va_list words)
{
    CopyChoices choices;
    bool childrenChosen = false;
    bool existingChosen = false;
    for (int code = va_arg(words, int); code != 0; code = va_arg(words, int)) {
        if (code == 1) {
            if (childrenChosen) {
                warn("ehfa_ObjectCopy", "An earlier specified option concerning node children will be ignored");
            }
            choices.withChildren = childrenChosen = true;
        } else if (code >= 3 && code <= 5) {
            if (existingChosen) {
                warn("ehfa_ObjectCopy", "An earlier specified option concerning existing nodes will be ignored");
            }
            choices.existing = code - 3;
            existingChosen = true;
        } else {
            warn("ehfa_ObjectCopy", "Unrecognized copy option %d - ignored.", code);
        }
    }
    return choices;
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Emsc_Boolean ehfa_ObjectCopy(Ehfa_File* file, const char* source, const char* sourceName, long seekMethod,
                                         const char* destination, long writeMethod, Eerr_ErrorReport** err, ...)
{
    va_list words;
    va_start(words, err);
    const Emsc_Boolean done = guarded<Emsc_Boolean>(err, "ehfa_ObjectCopy", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        const CopyChoices choices = choicesFrom(words);
        require(!choices.withChildren && choices.existing == 1, "ehfa_ObjectCopy does not yet support options");
        Activity activity(handle, scope);
        require(goToObject(handle, source, sourceName, seekMethod, scope), "Source object not found!");
        const std::string name = handle.currentEntry.name;
        const std::string type = handle.currentEntry.type;
        const Emif_Design* design = checked(scope, emif_FindDesignByName(handle.dictionary, type.c_str(), scope),
                                            "emif_FindDesignByName failure!");
        require(design != nullptr, "emif_FindDesignByName failure!");
        const HostRecord record(handle, design, scope);
        if (handle.currentEntry.dataSize != 0) {
            requireData(handle);
            checked(scope,
                    ehfa_FileHostDataRead(file, handle.currentEntry.data, design, handle.currentEntry.dataSize,
                                          record.get(), scope),
                    "ehfa_FileHostDataRead failed");
        }
        asFunction(scope, "ehfa_ObjectWrite", "ehfa_ObjectWrite failed", [&] {
            writeObject(handle, destination, name.c_str(), type.c_str(), writeMethod, record.get(), design, scope);
        });
        return 1;
    });
    va_end(words);
    return done;
}
