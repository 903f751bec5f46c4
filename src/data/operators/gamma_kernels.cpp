#include "data/operators/complex_functions.h"
#include "data/operators/elements.h"

#include <cmath>

#define EMANTLE_LOOPS "data/operators/gamma_loops.h"
#include "platform/for_each_target.h"

#define EMANTLE_TABLE_OF_gamma(table, types) EMANTLE_ELEMENT_TABLE(table, types)
#include "data/operators/homes.h"
