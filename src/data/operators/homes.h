/* Reads operations.def for one home: define EMANTLE_TABLE_OF_<home>(table, types), and each table of that home expands
 * it. The tables of the other homes expand to nothing. No guard. */

#ifndef EMANTLE_TABLE_OF_arithmetic
#define EMANTLE_TABLE_OF_arithmetic(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_division
#define EMANTLE_TABLE_OF_division(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_bits
#define EMANTLE_TABLE_OF_bits(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_logic
#define EMANTLE_TABLE_OF_logic(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_comparison
#define EMANTLE_TABLE_OF_comparison(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_functions
#define EMANTLE_TABLE_OF_functions(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_rounding
#define EMANTLE_TABLE_OF_rounding(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_gamma
#define EMANTLE_TABLE_OF_gamma(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_parts
#define EMANTLE_TABLE_OF_parts(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_steps
#define EMANTLE_TABLE_OF_steps(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_copy
#define EMANTLE_TABLE_OF_copy(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_conversion
#define EMANTLE_TABLE_OF_conversion(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_form
#define EMANTLE_TABLE_OF_form(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_search
#define EMANTLE_TABLE_OF_search(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_group
#define EMANTLE_TABLE_OF_group(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_matrix
#define EMANTLE_TABLE_OF_matrix(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_bins
#define EMANTLE_TABLE_OF_bins(table, types)
#endif
#ifndef EMANTLE_TABLE_OF_eigen
#define EMANTLE_TABLE_OF_eigen(table, types)
#endif

#define EGDA_OPERATION(number, symbol, table, check, types, home) EMANTLE_TABLE_OF_##home(table, types)
#define EGDA_TABLE(table, types, home) EMANTLE_TABLE_OF_##home(table, types)
#include <emantle/data/egda/operations.def>
