#include "data/operators/elements.h"

#define EMANTLE_LOOPS "data/operators/form_loops.h"
#include "platform/for_each_target.h"

EMANTLE_ELEMENT_OPERATOR(formC64, real, "egda_MaoFormComplex")
EMANTLE_ELEMENT_OPERATOR(formC128, real, "egda_MaoFormComplex")

namespace {

/* The destination has either complex type; no check looks at it. */
struct FormFamily {
    template <Egda_PixelType type>
    static void run(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
    {
        const bool isNarrow = dest->numlayers > 0 && dest->datalayer[0]->datatype == EGDA_TYPE_C64;
        emantle::runOperator(isNarrow ? emantle::formC64Operator : emantle::formC128Operator, type, dest, sources, err,
                             emantle::platform::fastestInstructionSet());
    }
    template <Egda_PixelType type>
    static consteval Egda_OperatorRoutine routine()
    {
        return run<type>;
    }
};

}  // namespace

#define EMANTLE_TABLE_OF_form(table, types) EMANTLE_TABLE_ACCESSOR(table, types, FormFamily)
#include "data/operators/homes.h"
