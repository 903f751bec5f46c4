#ifndef EMANTLE_DATA_BIN_OPERATORS_H
#define EMANTLE_DATA_BIN_OPERATORS_H

#include <emantle/data/egda/operations.h>
#include <emantle/tables/edsc/binfunction.h>

/* egda, operators that go through tables and bin functions. Those with an operator table stand in operations.def:
 *
 *    SaoConvertToBinValue           the bins of the values of source 0, by that source's bin function
 *    SaoBinToDataValue              the lower limits of the bins in source 0, by that source's bin function
 *    SaoLUTtransformation           source 0 looked up in source 1; where that has a bin function, by the bins of the values
 *    SaoCopyTableStackThroughLUT    the same, layer by layer; its reports name egda_SaoCpTableStackThrLUT
 *    MaoStackBaseData               the layers of all sources, in order, in the layers of the destination; a scalar fills
 *
 *  1. They take masks, and sources that are scalar objects, as all operators do. Results convert to the type of the
 *     destination as epxm_Convert does.
 *  2. They fail with 1 and the cause behind it. */

/* Looks each element of `source`, a whole number, up in the elements of `table`. Elements where the byte record `mask`, which
 * may be null, is 0 are not looked at. Fails with 1 at the first element that is no index of the table; those before it are
 * written. */
typedef void (*Egda_LookUpRoutine)(const Egda_BaseData* table, const Egda_BaseData* source, Egda_BaseData* dest,
                                   const Egda_BaseData* mask, Eerr_ErrorReport** err);

/* Puts the bins of the values in `source`, or the lower limits of the bins in it, into `dest`. What is below the first bin
 * is bin -1, what is above the last one the count of bins. Fail as egda_ToBinVGeneric. */
typedef void (*Egda_BinRoutine)(const Edsc_BinFunction* binFunction, const Egda_BaseData* source, Egda_BaseData* dest,
                                const Egda_BaseData* mask, Eerr_ErrorReport** err);

/* 14 cells each, by the type of the source. Those of types that are not served fail as egda_NoOperation. */
EMANTLE_API const Egda_LookUpRoutine* emsc_AddressOf_egda_SaoLookUpValue(void);
EMANTLE_API const Egda_BinRoutine* emsc_AddressOf_egda_SaoApplyBinFunc(void);
EMANTLE_API const Egda_BinRoutine* emsc_AddressOf_egda_SaoFromBinToDataFunc(void);

#endif
