#ifndef EMANTLE_DATA_EGDA_ASCII_H
#define EMANTLE_DATA_EGDA_ASCII_H

#include <emantle/data/egda/stack.h>

/* egda, records as text.
 *  1. An ASCII file has a line for each row of the layers. A line holds the columns in order, and for each column the
 *     layers in order, with a blank between any two elements.
 *  2. Whole numbers are decimal, floating ones have 16 digits, complex ones stand as (real, imaginary); a string is the
 *     whole of its line, so that only a single column of a single layer of strings reads back.
 *  3. The element of row r and column c lies r elements and c pitches behind `data`, whatever the object: files of
 *     matrices and of single columns say what they mean, and any other file reads back into the record that wrote it.
 *     Where such a place is not the record's own memory the call fails; rasters and tables that are wider than they are
 *     high may have such places.
 *  4. The point is a point in every locale. */

/* Prints the fields and the elements, a line for each row, or column of a matrix, by efio_Fprintf. */
EMANTLE_API void egda_BaseDataPrint(const Egda_BaseData* base, Eerr_ErrorReport** err);

/* Prints the count of layers and each layer. */
EMANTLE_API void egda_BaseDataStackPrint(const Egda_BaseDataStack* stack, Eerr_ErrorReport** err);

/* Writes `stack` to a new or emptied file. Does nothing where `*err` already holds a report, which stays. Fails with 1
 * "Error opening file", and "Write error" with 2 for an element, 3 and 4 for what separates layers and columns, and 5 for
 * the end of a line or of the file, which then holds what was written before. */
EMANTLE_API void egda_BaseDataStackWriteAscii(const Egda_BaseDataStack* stack, const char* fileName,
                                              Eerr_ErrorReport** err);

/* A new stack, the caller's, from a file. `nRows` of 0 counts line feeds; `nColumns` of 0, `nLayers` of 0, or both (then
 * one layer) follow from the first line. Scalars and tables have one column. Numbers may be spread over lines in any way.
 * Whole numbers beyond the type are limited for types of up to 8 bits, and for wider ones taken modulo the type; those
 * beyond 64 bits and floating ones beyond the type fail.
 * Fails with 1 "Error opening file", "efio_Fgetc failed", "No Memory", "efio_Fgets failed", "ASCII file column count
 * mismatch" and "Unable to create base data stack", with 2 "Error reading ASCII record" for a first line that cannot be
 * counted and "Error reading ASCII file" for elements that are missing, are no numbers, or are out of proportion to the
 * size of the file. */
EMANTLE_API Egda_BaseDataStack* egda_CreateBaseDataStackFromAscii(long objectType, Egda_PixelType dataType, long nRows,
                                                                  long nColumns, long nLayers, const char* fileName,
                                                                  Eerr_ErrorReport** err);

/* Reads the elements of `stack`, whose shape the file must have. Does nothing where `*err` already holds a report, which
 * stays. Fails with 1 "Error opening file" and 2 "Error reading ASCII file", with the elements before the place read. */
EMANTLE_API void egda_BaseDataStackReadAscii(Egda_BaseDataStack* stack, const char* fileName, Eerr_ErrorReport** err);

#endif
