#include "data/epxm/convert.h"
#include "data/epxm/element_types.h"

#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/estr/build.h>

namespace emantle {

namespace {

/* A source without text leaves the element without one. When memory is out the element keeps what it had. */
void assign(Cell<char*>& element, const char* source)
{
    if (element.value == source) {
        return;
    }
    if (source == nullptr) {
        emsc_HeapFree(element.value);
        element.value = nullptr;
    } else if (char* copy = estr_StringCopy(element.value, source)) {
        element.value = copy;
    }
}

}  // namespace

void convertStringsInc(const void* source, void* dest, long count, long sourceStep, long destStep)
{
    for (long i = 0; i < count; ++i) {
        assign(*reinterpret_cast<Cell<char*>*>(static_cast<char*>(dest) + i * destStep),
               reinterpret_cast<const Cell<const char*>*>(static_cast<const char*>(source) + i * sourceStep)->value);
    }
}

void convertStrings(const void* source, void* dest, long count)
{
    convertStringsInc(source, dest, count, sizeof(char*), sizeof(char*));
}

void fillStringsInc(void* dest, const void* value, long count, long step)
{
    convertStringsInc(value, dest, count, 0, step);
}

void fillStrings(void* dest, const void* value, long count)
{
    fillStringsInc(dest, value, count, sizeof(char*));
}

}  // namespace emantle
