#ifndef EMANTLE_FRAME_ESTR_FORMAT_H
#define EMANTLE_FRAME_ESTR_FORMAT_H

#include <emantle/frame/estr/list.h>

/* estr, number formats of the kind that spreadsheets use.
 *  1. A format is one to four sections between ";": of one, all numbers go by it; of two, the second is for negative
 *     numbers; of three, the third is for zero. A fourth, or a last one with "@", is for text: numbers never reach it,
 *     unless it is the only one, and then "@" is what General is. An empty format is General; an empty section prints
 *     nothing. The sign of the number itself, before rounding, chooses.
 *  2. In a section:
 *       0 # ?         a digit; where the number has none, "0", nothing, and a blank. The first of the whole digits
 *                     prints also those for which there is no place. Right of a "0" every whole digit prints.
 *       .             the decimal point, printed always; one a section
 *       ,             between whole digits: thousands are separated; right behind the last digit: the number is divided
 *                     by a thousand, for each
 *       %             itself; the number is multiplied by a hundred, for each
 *       E+ E- e+ e-   an exponent, whose digits follow: a multiple of the number of places for whole digits. With "+"
 *                     it has its sign always, with "-" only where it is negative.
 *       General       at most 15 significant digits; with an exponent below 0.0001 and from 1E+15 on. Not beside places
 *                     for digits.
 *       "text" \x     the text, the character
 *       _x *x         a blank; nothing
 *       [$text-407]   the text: a currency. Any other brackets (colours, conditions) are skipped.
 *       blank $ + - ( ) : ! ^ & ' ~ { } < > = |   and every character beyond ASCII: themselves
 *     Anything else must stand in quotes. What a format prints is the same in every locale.
 *  3. A number is the shortest decimal that reads back as it; that is rounded, halves away from zero, so that 1.005
 *     with two places is 1.01. Digits beyond those 17 are zeros.
 *  4. A negative number has a "-" in front of all, unless a section for negative ones prints it, or what is printed of
 *     it is zero. Infinities and NaN are "inf", "-inf" and "nan" by every format.
 *  5. A handle is read-only: threads may share it. */

typedef struct _estr_XLFormat Estr_XLFormat;

/* A handle, the caller's, for estr_XLFormatFree. Fails with "Args" for null, for a format of more than
 * 4096 bytes, and with the position, from 1, and what is wrong there. */
EMANTLE_API Estr_XLFormat* estr_XLFormatCreate(const char* format, Eerr_ErrorReport** err);
EMANTLE_API void estr_XLFormatFree(Estr_XLFormat* format);

/* The number as text: with a null `buffer` a heap text, the caller's; else in `buffer`, `size` bytes large, which is
 * returned. Fails with "Args" for a null format; with the sizes where `buffer` is too small, which then stays as it was. */
EMANTLE_API char* estr_XLFormatPrintNumber(const Estr_XLFormat* format, double number, char* buffer, long size,
                                           Eerr_ErrorReport** err);

/* A new list, the caller's, of `count` such texts; empty for a count of 0. Fails with "Args" for a null format, a
 * negative count, or null numbers with a count above 0. */
EMANTLE_API Estr_StringList* estr_XLFormatPrintNumberGroup(const Estr_XLFormat* format, long count,
                                                           const double* numbers, Eerr_ErrorReport** err);

#endif
