#include "frame/guard/guard.h"

#include <emantle/files/efnp/file_name.h>
#include <emantle/files/efnp/node_list.h>
#include <emantle/frame/estr/list.h>

using namespace emantle;

namespace {

long indexOf(const char* name, const Estr_StringList* list)
{
    for (long i = 0; i < estr_StringListCount(list); ++i) {
        if (efnp_FileNameEquals(list->strings[i], name)) {
            return i;
        }
    }
    return -1;
}

}  // namespace

EMANTLE_API Estr_StringList* efnp_FileNameListCreate(long count, Eerr_ErrorReport** err)
{
    return estr_StringListCreate(count, err);
}

EMANTLE_API Estr_StringList* efnp_FileNameListAppend(Estr_StringList* list, const char* name, Eerr_ErrorReport** err)
{
    return estr_StringListAppend(list, name, err);
}

EMANTLE_API Estr_StringList* efnp_FileNameListAppendUniq(Estr_StringList* list, const char* name,
                                                         Eerr_ErrorReport** err)
{
    if (indexOf(name, list) >= 0) {
        detail::clear(err);
        return list;
    }
    return estr_StringListAppend(list, name, err);
}

EMANTLE_API Estr_StringList* efnp_FileNameListCopy(const Estr_StringList* source, Estr_StringList* target,
                                                   Eerr_ErrorReport** err)
{
    return estr_StringListCopy(source, target, err);
}

EMANTLE_API long efnp_FileNameListCount(const Estr_StringList* list)
{
    return estr_StringListCount(list);
}

EMANTLE_API void efnp_FileNameListDelete(Estr_StringList* list, Eerr_ErrorReport** err)
{
    estr_StringListDelete(list, err);
}

EMANTLE_API long efnp_FindOnFileNameList(const char* name, const Estr_StringList* list, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efnp_FindOnFileNameList", -1, [&] {
        require(list != nullptr, "NULL string list");
        require(name != nullptr, "NULL string");
        return indexOf(name, list);
    });
}
