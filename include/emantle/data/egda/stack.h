#ifndef EMANTLE_DATA_EGDA_STACK_H
#define EMANTLE_DATA_EGDA_STACK_H

#include <emantle/data/egda/basedata.h>

/* egda, stacks of layers and arrays of stacks.
 *  1. Functions that return a stack or an array give it to the caller, who gives it back to the family's Delete, which
 *     accepts null. With a `dest` that is not null they fill and return that one.
 *  2. Deleting a stack deletes its layers unless its derivedFlag is 1; deleting an array deletes its stacks, and never
 *     its mask.
 *  3. Sizes are in elements, block sizes in bytes. On failure the result is null, or 0, and nothing that was made
 *     stays. */

typedef struct Egda_BaseDataStack {
    int32_t numlayers;
    int32_t derivedFlag; /* 1: the layers are borrowed */
    Egda_BaseData** datalayer;
    intptr_t reserved; /* 0 */
} Egda_BaseDataStack;

typedef struct Egda_BaseDataStackArray {
    int32_t numstacks;
    Egda_BaseDataStack** stacks;
    Egda_BaseData* mask; /* bytes, read by the operators; borrowed, null for none */
} Egda_BaseDataStackArray;

/* A stack of new records of one shape. Fails with 1 when memory is out, 2 when a layer cannot be made. */
EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackCreate(long nLayers, long nRows, long nColumns,
                                                         Egda_PixelType dataType, long objectType,
                                                         Eerr_ErrorReport** err);

/* A stack whose layers lie in one block, one behind the other, each aligned to 8 bytes. A null `data` allocates the
 * block, which then belongs to layer 0; any other is borrowed and holds egda_BaseDataStackDataSize bytes. Fails when a
 * size is below 1 or a code unknown. */
EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackCreateContiguous(long nLayers, long nRows, long nColumns,
                                                                   Egda_PixelType dataType, long objectType,
                                                                   void* data, Eerr_ErrorReport** err);

/* 1 when all layers have one shape and lie at one distance from each other, as a single layer does; else 0. Accepts
 * null. */
EMANTLE_API Emsc_Boolean egda_BaseDataStackIsContiguous(const Egda_BaseDataStack* stack);

/* How many elements each of `nLayers` layers can have in a block of `maxBytes` bytes. Fails for a count below 1, a
 * negative size or an unknown code. */
EMANTLE_API long egda_BaseDataStackMaxElements(long maxBytes, long nLayers, Egda_PixelType dataType, long objectType,
                                               Eerr_ErrorReport** err);

/* Bytes of a contiguous stack. Fails when a size is below 1, a code is unknown or the shape is beyond what a record
 * counts. */
EMANTLE_API long egda_BaseDataStackDataSize(long nLayers, long nRows, long nColumns, Egda_PixelType dataType,
                                            long objectType, Eerr_ErrorReport** err);

/* A stack of views on the same rectangle of each layer of `src`. Fails with 1 when `src` is null, 2 when memory is out,
 * 3 when a layer does not hold the rectangle. */
EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackDerived(const Egda_BaseDataStack* src, long rOffset, long cOffset,
                                                          long nRows, long nColumns, Eerr_ErrorReport** err);

/* A stack of `nLayers` null layers, which the caller fills and the stack then owns. Fails with 1 when memory is out. */
EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackPtrCreate(long nLayers, Eerr_ErrorReport** err);

/* The same for layers that stay the caller's. */
EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackDerivedFromDataLayer(long nLayers, Eerr_ErrorReport** err);

EMANTLE_API void egda_BaseDataStackDelete(Egda_BaseDataStack* stack, Eerr_ErrorReport** err);

/* egda_BaseDataCopy for each layer of `dest`; a null `dest` is made with the layers of `src`, all in the shape of the
 * first. Fails with 1 when `src` is null, 2 when the new stack cannot be made, 3 when `src` has fewer layers than
 * `dest`, 4 when a layer cannot be copied. */
EMANTLE_API Egda_BaseDataStack* egda_BaseDataStackCopy(const Egda_BaseDataStack* src, Egda_BaseDataStack* dest,
                                                       Eerr_ErrorReport** err);

/* egda_BaseDataSetScalar on each layer. */
EMANTLE_API void egda_BaseDataStackSetScalar(Egda_BaseDataStack* stack, double value, long mode, long index,
                                             Eerr_ErrorReport** err);

/* Sets every element of every layer to 0. */
EMANTLE_API void egda_BaseDataStackSetZero(Egda_BaseDataStack* stack, Eerr_ErrorReport** err);

/* `nStacks` stacks as egda_BaseDataStackCreate makes them, without a mask. */
EMANTLE_API Egda_BaseDataStackArray* egda_BaseDataStackArrayCreate(long nStacks, long nLayers, long nRows,
                                                                   long nColumns, Egda_PixelType dataType,
                                                                   long objectType, Eerr_ErrorReport** err);

EMANTLE_API void egda_BaseDataStackArrayDelete(Egda_BaseDataStackArray* array, Eerr_ErrorReport** err);

/* egda_BaseDataStackCopy for each stack of `src`, and the mask's address; `dest` is required. Fails with 1 when `src`
 * is null, 3 when `dest` is null or has fewer stacks, 4 when a stack cannot be copied. */
EMANTLE_API Egda_BaseDataStackArray* egda_BaseDataStackArrayCopy(const Egda_BaseDataStackArray* src,
                                                                 Egda_BaseDataStackArray* dest,
                                                                 Eerr_ErrorReport** err);

/* egda_BaseDataStackSetScalar on each stack. */
EMANTLE_API void egda_BaseDataStackArraySetScalar(Egda_BaseDataStackArray* array, double value, long mode, long index,
                                                  Eerr_ErrorReport** err);

/* Always fails: with 1 when `src` is null, else with 2. Callers derive stack by stack. */
EMANTLE_API Egda_BaseDataStackArray* egda_BaseDataStackArrayDerived(const Egda_BaseDataStackArray* src, long rOffset,
                                                                    long cOffset, long nRows, long nColumns,
                                                                    Eerr_ErrorReport** err);

/* The stacks behind `err`, up to a null, as an array without a mask: the sources of an operator. The stacks stay the
 * caller's; give the list to egda_ArgumentListDelete, never to egda_BaseDataStackArrayDelete. */
EMANTLE_API Egda_BaseDataStackArray* egda_ArgumentListCreate(Eerr_ErrorReport** err, ...) __attribute__((sentinel));
EMANTLE_API void egda_ArgumentListDelete(Egda_BaseDataStackArray* list, Eerr_ErrorReport** err);

#endif
