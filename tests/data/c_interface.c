/* The headers as a C program sees them. */

#include "data/c_interface.h"

#include <emantle/data/egda.h>
#include <emantle/data/epxm.h>
#include <emantle/numerics/efga.h>

double sumFromC(void)
{
    Eerr_ErrorReport* report = NULL;
    Egda_BaseData* vector = efga_VectorCreate(3, EGDA_TYPE_F64, &report);
    Egda_BaseData* matrix = efga_MatrixCreate(2, 2, EGDA_TYPE_F32, &report);
    egda_BaseDataSetScalar(vector, 2.5, EGDA_SET_ALL, 0, &report);
    egda_BaseDataSetZero(matrix, &report);
    const double* values = vector->data;
    const double sum = values[0] + values[1] + values[2] + (report == NULL ? 0 : 1000) + matrix->pitch;
    efga_VectorDelete(vector, &report);
    efga_MatrixDelete(matrix, &report);
    return sum;
}
