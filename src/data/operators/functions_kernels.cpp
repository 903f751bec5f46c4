#include "data/operators/complex_functions.h"
#include "data/operators/elements.h"
#include "data/operators/function_tables.h"

#include <cmath>
#include <immintrin.h>

#define EMANTLE_LOOPS "data/operators/functions_loops.h"
#include "platform/for_each_target.h"

#define EMANTLE_TABLE_OF_functions(table, types) EMANTLE_ELEMENT_TABLE(table, types)
#include "data/operators/homes.h"
