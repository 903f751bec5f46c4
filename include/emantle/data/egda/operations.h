#ifndef EMANTLE_DATA_EGDA_OPERATIONS_H
#define EMANTLE_DATA_EGDA_OPERATIONS_H

#include <emantle/data/egda/stack.h>

/* egda, the operations: arithmetic, logic, conversion and group functions by table.
 *  1. operations.def lists them all. An operation's number selects its check and its operator table; the destination's
 *     object type selects a row of the table, the type of the last source a cell of the row.
 *  2. Nothing promotes: an operation works in the type of its source, and the check says what the destination must be.
 *     The cells of U1, U2, U4 and U8 hold one routine; a cell without a computation holds egda_NoOperation.
 *  3. For layer k of the destination a source stack of one layer contributes that layer, any other its layer k.
 *  4. A source that is a scalar object stands for its first element everywhere. Elements are walked from `data`, line
 *     by line of the destination; conversions walk the source.
 *  5. A mask (`sources->mask`, bytes, walked from its `firstelement`) leaves elements as they are where it is 0, and
 *     nothing is reported for them.
 *  6. A destination may be one of the sources, or overlap one in any way: the elements come out as if computed one
 *     after the other.
 *  7. Numbers, object types and data types are not tested here: a record that this library made has valid ones. A
 *     failure stops at once; what was written stays.
 *  8. Operations on different destinations may run at once. */

/* What stands in a cell: an operator, or a check. */
typedef void (*Egda_OperatorRoutine)(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                     Eerr_ErrorReport** err);

typedef struct Egda_OperatorCell {
    Egda_OperatorRoutine routine;
    intptr_t reserved[2]; /* 0 */
} Egda_OperatorCell;

/* A row has a cell for each data type; an operator table is 4 rows, by object type, null where there is none. */
typedef const Egda_OperatorCell* Egda_OperatorRow;
typedef const Egda_OperatorRow* Egda_OperatorTable;

/* The numbers: EGDA_OP_ADD is 0, and so on down the list. */
enum {
#define EGDA_OPERATION(number, symbol, table, check, types, home) EGDA_OP_##symbol = (number),
#define EGDA_TABLE(table, types, home)
#include <emantle/data/egda/operations.def>
    EGDA_NUM_OPERATIONS = 116
};

/* The operator tables: Egda_OperatorTable emsc_AddressOf_egda_MaoAdd(void), and so on down the list. */
#define EGDA_OPERATION(number, symbol, table, check, types, home) EGDA_TABLE(table, types, home)
#define EGDA_TABLE(table, types, home) EMANTLE_API Egda_OperatorTable emsc_AddressOf_##table(void);
#include <emantle/data/egda/operations.def>

/* The 116 operator tables by number. */
EMANTLE_API const Egda_OperatorTable* emsc_AddressOf_egda_BaseDataOP(void);

/* The 116 checks by number: rows of 4 cells, by object type. */
EMANTLE_API const Egda_OperatorRow* emsc_AddressOf_egda_CheckInitialCheck(void);

/* Checks and computes one layer from `nSources` records. Without sources (null and 0) the type is the destination's.
 * Fails with 1 when memory is out, 2 when the check fails, 3 when the operator does. */
EMANTLE_API void egda_BaseDataOperation(long op, Egda_BaseData* dest, Egda_BaseData* const* sources, long nSources,
                                        Eerr_ErrorReport** err);

/* The same for stacks. The object type is that of the first layer of `dest`, or of the first source where there is
 * none. Fails with 1 when the check fails, 2 when the operator does. */
EMANTLE_API void egda_BaseDataStackOperation(long op, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                             Eerr_ErrorReport** err);

/* The same for any operator table, with no check. Fails with 1 when an argument is null, 2 when the operator does. */
EMANTLE_API void egda_BaseDataStackFunction(Egda_OperatorTable table, Egda_BaseDataStack* dest,
                                            const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err);

/* The operator that always fails, with 1. */
EMANTLE_API void egda_NoOperation(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                  Eerr_ErrorReport** err);

/* The checks. They fail with 1 for the number of sources, 2 for the object type, 3 for the data type, 4 for the size,
 * in this order, and 5 when memory is out. Scalar objects have any size unless it says otherwise.
 *   two sources or more, one of the destination's object type, all of its data type and size */
EMANTLE_API void egda_BinaryOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                    Eerr_ErrorReport** err);
/*   two sources of one type; the destination F64 for real ones, C128 for complex ones */
EMANTLE_API void egda_TwoItofOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                     Eerr_ErrorReport** err);
/*   two sources of one type; the destination S32 for floating ones, else of their type */
EMANTLE_API void egda_TwoFtoiOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                     Eerr_ErrorReport** err);
/*   two sources of one type; the destination U8 */
EMANTLE_API void egda_BinaryLogicOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                         Eerr_ErrorReport** err);
/*   six sources, the last three alike and of the destination's size, scalars too; the destination F64 */
EMANTLE_API void egda_ThrICtofOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                      Eerr_ErrorReport** err);
/*   the first source of the destination's type and size; the reports name egda_SingleCtofOpCheck */
EMANTLE_API void egda_SingleOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                    Eerr_ErrorReport** err);
/*   the destination F64 for a complex source, else of its type */
EMANTLE_API void egda_SingleCtofOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                        Eerr_ErrorReport** err);
/*   the destination F64 for a real source, C128 for a complex one */
EMANTLE_API void egda_SingleItofOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                        Eerr_ErrorReport** err);
/*   the destination U8 */
EMANTLE_API void egda_SingleLogicOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                         Eerr_ErrorReport** err);
/*   the destination S32 for a floating source, else of its type */
EMANTLE_API void egda_SingleFtoiOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                        Eerr_ErrorReport** err);
/*   the destination no smaller than the first source */
EMANTLE_API void egda_ConvertOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                     Eerr_ErrorReport** err);
/*   the destination of the first source's type */
EMANTLE_API void egda_FillOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                  Eerr_ErrorReport** err);
/*   two sources of the destination's type whose product has its shape */
EMANTLE_API void egda_MatrixMulOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                       Eerr_ErrorReport** err);
/*   two sources of the destination's type: weights, a column for each of its layers, and layers of its shape */
EMANTLE_API void MatrixTrRasterOpCheck(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
                                       Eerr_ErrorReport** err);

/* The logarithm of the gamma function by a series of six terms, good to 2e-10; for the complex one `out` receives two
 * doubles, the real part first. */
EMANTLE_API void egda_Dgamma(double* out, double x);
EMANTLE_API void egda_Cgamma(double* out, double re, double im);

#endif
