#include "data/egda/ascii_element.h"
#include "data/egda/basedata_shape.h"
#include "frame/guard/plain_scope.h"

#include <emantle/data/egda/ascii.h>
#include <emantle/files/efio/text.h>

using namespace emantle;

namespace {

void printElement(Egda_PixelType type, const void* element)
{
    switch (asciiKind(type)) {
    case AsciiKind::whole:
        efio_Fprintf(stdout, "%d ", asciiWhole(type, element));
        return;
    case AsciiKind::real:
        efio_Fprintf(stdout, "%e ", asciiNumber(type, element).real);
        return;
    case AsciiKind::complex: {
        const Egda_Complex128 value = asciiNumber(type, element);
        efio_Fprintf(stdout, "(%e, %e)", value.real, value.imaginary);
        return;
    }
    case AsciiKind::string:
        efio_Fprintf(stdout, "%s ", asciiString(element));
        return;
    }
}

}  // namespace

EMANTLE_API void egda_BaseDataPrint(const Egda_BaseData* base, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataPrint", err);
    if (base == nullptr) {
        return scope.raise({"source BaseData is NULL !", 1});
    }
    efio_Fprintf(stdout, "            ==============  BaseData ===============\n\n");
    efio_Fprintf(stdout, "     numelements = %ld  \n", static_cast<long>(base->numelements));
    efio_Fprintf(stdout, "     numrows     = %ld  \n", static_cast<long>(base->numrows));
    efio_Fprintf(stdout, "     numcolumns  = %ld  \n", static_cast<long>(base->numcolumns));
    efio_Fprintf(stdout, "     numbytes    = %ld  \n", static_cast<long>(base->numbytes));
    efio_Fprintf(stdout, "     datatype    = %d  \n", base->datatype);
    efio_Fprintf(stdout, "     objecttype  = %d  \n", base->objecttype);
    efio_Fprintf(stdout, "     derivedFlag  = %d  \n\n", base->derivedFlag);
    const Extent extent = extentOf(*base);
    const long stride = base->numbytes == 0 ? 0 : base->pitch / base->numbytes;
    for (long line = 0; line < extent.lines; ++line) {
        const char* element = static_cast<const char*>(base->data) + line * stride * base->numbytes;
        for (long i = 0; i < extent.run; ++i, element += base->numbytes) {
            printElement(base->datatype, element);
        }
        efio_Fprintf(stdout, "\n");
    }
    efio_Fprintf(stdout, "\n");
}

EMANTLE_API void egda_BaseDataStackPrint(const Egda_BaseDataStack* stack, Eerr_ErrorReport** err)
{
    PlainScope scope("egda_BaseDataStackPrint", err);
    if (stack == nullptr) {
        return scope.raise({"source BaseDataStack is NULL !", 1});
    }
    efio_Fprintf(stdout, " ----------------- BaseDataStack ------------------- \n");
    efio_Fprintf(stdout, "                    NUMLAYERS   =   %ld\n", static_cast<long>(stack->numlayers));
    for (long i = 0; i < stack->numlayers; ++i) {
        efio_Fprintf(stdout, "   No. %ld   Layers \n", i);
        egda_BaseDataPrint(stack->datalayer[i], scope);
        if (scope.failed()) {
            return scope.raise({nullptr, 2});
        }
    }
}
