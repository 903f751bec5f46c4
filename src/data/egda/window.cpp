#include "frame/guard/plain_scope.h"

#include <emantle/data/egda/window.h>
#include <emantle/frame/emsc/heap.h>

using namespace emantle;

EMANTLE_API Egda_Window* egda_WindowCreate(int32_t rowOffset, int32_t columnOffset, int32_t numrows,
                                           int32_t numcolumns, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_WindowCreate", err);
    auto* window = static_cast<Egda_Window*>(emsc_HeapMalloc(sizeof(Egda_Window)));
    if (window == nullptr) {
        return scope.raise("No memory"), nullptr;
    }
    *window = {rowOffset, columnOffset, numrows, numcolumns};
    return window;
}

EMANTLE_API Egda_Window* egda_WindowCopy(const Egda_Window* src, Egda_Window* dest, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_WindowCopy", err);
    if (src == nullptr) {
        return scope.raise("The source window is NULL"), nullptr;
    }
    if (dest == nullptr) {
        dest = egda_WindowCreate(0, 0, 0, 0, scope);
        if (dest == nullptr) {
            return scope.raise("egda_WindowCreate failed"), nullptr;
        }
    }
    *dest = *src;
    return dest;
}

EMANTLE_API void egda_WindowDelete(Egda_Window* window, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_WindowDelete", err);
    emsc_HeapFree(window);
}
