#include "data/operators/elements.h"

#include <immintrin.h>

#define EMANTLE_LOOPS "data/operators/division_loops.h"
#include "platform/for_each_target.h"

#define EMANTLE_TABLE_OF_division(table, types) EMANTLE_ELEMENT_TABLE(table, types)
#include "data/operators/homes.h"
