#include "data/operators/elements.h"

#include <emantle/frame/etxt/text.h>

#define EMANTLE_LOOPS "data/operators/comparison_loops.h"
#include "platform/for_each_target.h"

#define EMANTLE_TABLE_OF_comparison(table, types) EMANTLE_ELEMENT_TABLE(table, types)
#include "data/operators/homes.h"
