#include "data/operators/elements.h"

#define EMANTLE_LOOPS "data/operators/steps_loops.h"
#include "platform/for_each_target.h"

#define EMANTLE_TABLE_OF_steps(table, types) EMANTLE_ELEMENT_TABLE(table, types)
#include "data/operators/homes.h"
