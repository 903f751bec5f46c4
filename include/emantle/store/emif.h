#ifndef EMANTLE_STORE_EMIF_H
#define EMANTLE_STORE_EMIF_H

/* emif: the self-describing encoding of records. A design says how a record lies in memory and in a stream of bytes, a
 * dictionary is a named set of designs with a textual form, and the conversions move records between the two. */

#include <emantle/store/emif/data.h>
#include <emantle/store/emif/design.h>
#include <emantle/store/emif/dictionary.h>
#include <emantle/store/emif/object.h>
#include <emantle/store/emif/property_map.h>

#endif
