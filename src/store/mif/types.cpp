#include "store/mif/types.h"

namespace emantle::mif {

const Emif_Type kValueTypes[EGDA_TYPE_C128 + 1] = {
    EMIF_TYPE_U1,    EMIF_TYPE_U2,   EMIF_TYPE_U4,    EMIF_TYPE_UCHAR, EMIF_TYPE_CHAR,    EMIF_TYPE_USHORT,  EMIF_TYPE_SHORT,
    EMIF_TYPE_ULONG, EMIF_TYPE_LONG, EMIF_TYPE_FLOAT, EMIF_TYPE_DOUBLE, EMIF_TYPE_COMPLEX, EMIF_TYPE_DCOMPLEX,
};

}  // namespace emantle::mif

EMANTLE_API const Emif_Type* emsc_AddressOf_emif_Type(void)
{
    return emantle::mif::kValueTypes;
}
