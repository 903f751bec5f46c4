#ifndef EMANTLE_TABLES_ESTA_H
#define EMANTLE_TABLES_ESTA_H

/* esta: what is known about the values of raster layers.
 *  1. A record that a function returns is the caller's; give it back to the Delete of its kind, which accepts null.
 *  2. A null `target` of a copy or a read makes a new record; any other is filled and returned.
 *  3. On failure the result is null or 0, and what the call made is gone. Functions that answer with Emsc_Boolean and
 *     can fail give 1 when they succeeded.
 *  4. Masks are rasters of bytes of at least the data's size: a pixel counts where its mask is not 0.
 *  5. A complex pixel counts as its magnitude.
 *  6. An accumulator belongs to one scan and is not safe for two threads at once. */

#include <emantle/tables/esta/accumulate.h>
#include <emantle/tables/esta/columns.h>
#include <emantle/tables/esta/covariance.h>
#include <emantle/tables/esta/design.h>
#include <emantle/tables/esta/feature.h>
#include <emantle/tables/esta/histogram.h>
#include <emantle/tables/esta/measures.h>
#include <emantle/tables/esta/merge.h>
#include <emantle/tables/esta/statistics.h>

#endif
