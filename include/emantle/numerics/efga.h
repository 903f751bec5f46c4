#ifndef EMANTLE_NUMERICS_EFGA_H
#define EMANTLE_NUMERICS_EFGA_H

/* efga: geometric analysis on small matrices and vectors. */

#include <emantle/numerics/efga/clip.h>
#include <emantle/numerics/efga/create.h>

#endif
