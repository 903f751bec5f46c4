#ifndef EMANTLE_DATA_EGDA_MATRIX_H
#define EMANTLE_DATA_EGDA_MATRIX_H

#include <emantle/data/egda/basedata.h>

/* egda, systems of linear equations.
 *  1. Matrices are of type F32, F64, C64 or C128, all of one type in a call, and computed in it. Element (r, c) is in row
 *     r and column c whatever the object type.
 *  2. The factors come from Gauss' elimination with the largest element of each row as the pivot, its column moved to
 *     the diagonal: a with its columns in a new order = lower * upper, `lower` with ones on its diagonal. The order of
 *     every sum is fixed, so that results are the same on every processor.
 *  3. A matrix counts as singular where a pivot is exactly 0. The routine for the type then fails with 1 and no text, under
 *     the function's name with the type's behind it: egda_MatrixLUDecompositionF32.
 *  4. On failure results may hold anything. */

/* Factors the square matrix `a` of n rows. Column k of the product lower * upper is column colIndex[k] of `a`; the rows
 * stay, and rowIndex is 0 to n - 1. The index arrays have n elements. Fails with 1 when `a` is not square, 2 to 5 when the
 * rows and columns of `lower`, then of `upper` are not n, 6 for the types, 7 for a singular matrix. */
EMANTLE_API void egda_MatrixLUDecomposition(const Egda_BaseData* a, long* rowIndex, Egda_BaseData* lower,
                                            Egda_BaseData* upper, long* colIndex, Eerr_ErrorReport** err);

/* Solves a x = b for each column of `b`; `x` may be `b` or `a`. Fails with 1 when `a` is not square, 2 and 3 when `x` and
 * `b` have not as many rows, 4 when they differ in columns, 5 for the types, 6 for a singular matrix and when memory is
 * out. */
EMANTLE_API void egda_MatrixDivide(const Egda_BaseData* a, Egda_BaseData* x, const Egda_BaseData* b,
                                   Eerr_ErrorReport** err);

/* The inverse of `a`, in `inverse`, or in a new matrix, the caller's, where that is null. Fails, with a null result, with
 * 1 when `a` is not square, 2 and 3 when `inverse` differs in rows and columns, 4 when memory is out, 6 when there is no
 * inverse or the types are not those of a system. */
EMANTLE_API Egda_BaseData* egda_MatrixInvert(const Egda_BaseData* a, Egda_BaseData* inverse, Eerr_ErrorReport** err);

#endif
