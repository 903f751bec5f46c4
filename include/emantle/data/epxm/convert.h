#ifndef EMANTLE_DATA_EPXM_CONVERT_H
#define EMANTLE_DATA_EPXM_CONVERT_H

#include <emantle/data/egda/types.h>
#include <emantle/frame/eerr.h>

/* epxm, conversion and filling of runs of elements.
 *  1. Counts are in elements, steps in bytes and of either sign. A count of 0 or below does nothing. Addresses are
 *     aligned to their element.
 *  2. To an integer type: a value is clamped to the limits of the type, as egda_IntegerMinValue and
 *     egda_IntegerMaxValue have them; a floating value is clamped in double and then rounded half away from zero, and
 *     NaN becomes the lower limit. To a complex type: imaginary part 0.
 *  3. From a complex type to any other: the modulus, computed in double, converts. Complex to complex goes part by
 *     part.
 *  4. Floating types convert as the machine does.
 *  5. Strings convert to strings only: each destination becomes a heap copy of its source, in place of what it was. The
 *     other cells of the string's row and column are null.
 *  6. Source and destination are the same elements, of types of one size, or do not overlap; between equal types they
 *     may overlap in any way, and with steps they are taken in order.
 *  7. Results are the same on every processor. */

typedef void (*Epxm_ConvertRoutine)(const void* source, void* dest, long count);
typedef void (*Epxm_ConvertIncRoutine)(const void* source, void* dest, long count, long sourceStep, long destStep);

/* `value` points to one element of the type. */
typedef void (*Epxm_FillRoutine)(void* dest, const void* value, long count);
typedef void (*Epxm_FillIncRoutine)(void* dest, const void* value, long count, long step);

typedef Epxm_ConvertRoutine Epxm_ConvertRow[EGDA_NUM_TYPES];
typedef Epxm_ConvertIncRoutine Epxm_ConvertIncRow[EGDA_NUM_TYPES];

/* 14 rows, by source type; a cell by destination type. */
EMANTLE_API const Epxm_ConvertRow* emsc_AddressOf_epxm_Convert(void);
EMANTLE_API const Epxm_ConvertIncRow* emsc_AddressOf_epxm_ConvertInc(void);

/* 14 cells, by type. */
EMANTLE_API const Epxm_FillRoutine* emsc_AddressOf_epxm_Fill(void);
EMANTLE_API const Epxm_FillIncRoutine* emsc_AddressOf_epxm_FillInc(void);

/* Converts `count` elements; 1, or 0 when it fails. Fails with 1 and 2 for a null source and destination, 3 and 4 for
 * an unknown type of either, and 4 between strings and numbers. Does nothing and gives 0 without an `err`. */
EMANTLE_API Emsc_Boolean epxm_ConvertPixels(void* dest, Egda_PixelType destType, const void* src,
                                            Egda_PixelType srcType, long count, Eerr_ErrorReport** err);

/* Sets `count` elements to the one at `value`; 1, or 0 when it fails. Fails with 1 and 3 for a null destination and
 * value, 2 for an unknown type, 4 for a negative count. */
EMANTLE_API Emsc_Boolean epxm_FillPixels(void* dest, Egda_PixelType type, const void* value, long count,
                                         Eerr_ErrorReport** err);

/* The code of a name in its exact spelling ("u8"). Fails with 1, and -1, when there is none. */
EMANTLE_API Egda_PixelType epxm_StringToType(const char* name, Eerr_ErrorReport** err);

#endif
