#ifndef EMANTLE_DATA_EGDA_TYPES_H
#define EMANTLE_DATA_EGDA_TYPES_H

#include <emantle/frame/export.h>

/* egda, the element types.
 *  1. There are 14 type codes, 0 to 13. U1, U2 and U4 take a whole byte for each element in memory and differ from U8
 *     only by the range that conversions clamp to.
 *  2. C64 is a real and an imaginary float, in that order; C128 the same in double.
 *  3. An element of EGDA_TYPE_STRING is a pointer to a heap string, null for none, that the record owns. It takes the
 *     size of a pointer, so the tables say 8 bytes and 64 bits where pointers have them.
 *  4. The tables are constant. Nothing here fails or hands over memory. */

/* A plain integer, since codes arrive from files and may hold anything. */
typedef int32_t Egda_PixelType;
enum {
    EGDA_TYPE_U1 = 0,
    EGDA_TYPE_U2 = 1,
    EGDA_TYPE_U4 = 2,
    EGDA_TYPE_U8 = 3,
    EGDA_TYPE_S8 = 4,
    EGDA_TYPE_U16 = 5,
    EGDA_TYPE_S16 = 6,
    EGDA_TYPE_U32 = 7,
    EGDA_TYPE_S32 = 8,
    EGDA_TYPE_F32 = 9,
    EGDA_TYPE_F64 = 10,
    EGDA_TYPE_C64 = 11,
    EGDA_TYPE_C128 = 12,
    EGDA_TYPE_STRING = 13
};
enum { EGDA_NUM_TYPES = 14, EGDA_NUM_INTEGER_TYPES = 9 };

typedef struct Egda_Complex64 {
    float real;
    float imaginary;
} Egda_Complex64;

typedef struct Egda_Complex128 {
    double real;
    double imaginary;
} Egda_Complex128;

/* What a record holds. A matrix lies column by column, everything else row by row. */
enum {
    EGDA_SCALAR_OBJECT = 0,
    EGDA_TABLE_OBJECT = 1,
    EGDA_MATRIX_OBJECT = 2,
    EGDA_RASTER_OBJECT = 3
};
enum { EGDA_NUM_OBJECTS = 4 };

/* The code of a name ("u8", "F32"), whatever its case; -1 when there is none. */
EMANTLE_API Egda_PixelType egda_PixelTypeFromName(const char* name);

/* The name of a code; null outside 0 to 13. */
EMANTLE_API const char* egda_PixelNameFromType(Egda_PixelType type);

/* Bytes of one element; `type` must be valid (0 is the answer otherwise). */
EMANTLE_API long egda_NumBytePerPixelFromType(Egda_PixelType type);

/* Tables of 14, by type code. The names have a null behind the last one. */
EMANTLE_API const int32_t* emsc_AddressOf_egda_NumBitsPerPixel(void);
EMANTLE_API const int32_t* emsc_AddressOf_egda_NumBytesPerPixel(void);
EMANTLE_API const char* const* emsc_AddressOf_egda_PixelTypeName(void);

/* Tables of 9, the limits of the integer types. */
EMANTLE_API const double* emsc_AddressOf_egda_IntegerMinValue(void);
EMANTLE_API const double* emsc_AddressOf_egda_IntegerMaxValue(void);

#endif
