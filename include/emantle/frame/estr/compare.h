#ifndef EMANTLE_FRAME_ESTR_COMPARE_H
#define EMANTLE_FRAME_ESTR_COMPARE_H

#include <emantle/frame/eerr.h>

/* estr: comparison and search.
 *  1. Letter case is that of the 26 letters of ASCII; other bytes compare as they are.
 *  2. Null is accepted for every text. Nothing is allocated. */

/* Equal ignoring case. Two nulls are equal, one is not. */
EMANTLE_API Emsc_Boolean estr_Eqic(const char* a, const char* b);
/* Equal in the first `n` bytes ignoring case; false for `n` below 1. */
EMANTLE_API Emsc_Boolean estr_Eqnic(const char* a, const char* b, long n);

/* Below, at or above 0 by unsigned bytes; null comes before every text. */
EMANTLE_API int estr_CompareString(const char* a, const char* b);

/* Change the case of the whole text in place and return it. */
EMANTLE_API char* estr_LowerCase(char* s);
EMANTLE_API char* estr_UpperCase(char* s);
EMANTLE_API char* estr_ToUpper(char* s);

/* Whether the characters of `abbrev` occur in order in `full`, with nothing passed over but lower-case vowels, blanks,
 * "_" and "-", and what follows the last one is empty or begins with "[", "]" or a blank. */
EMANTLE_API Emsc_Boolean estr_AbbrevCompare(const char* abbrev, const char* full);

/* Equal ignoring blanks and case. */
EMANTLE_API Emsc_Boolean estr_LooseMatch(const char* a, const char* b);

/* Whether `b` begins with `a`, ignoring case. */
EMANTLE_API Emsc_Boolean estr_MatchSequence(const char* a, const char* b);

/* The first occurrence of `sub` in `s`, the second form ignoring case. Null for none, and for a null or empty `sub`. */
EMANTLE_API char* estr_SubString(const char* s, const char* sub);
EMANTLE_API char* estr_SubStringic(const char* s, const char* sub);

/* Whether any character of `set` occurs in `s`. */
EMANTLE_API Emsc_Boolean estr_IsCharPresent(const char* s, const char* set);

/* The place, from 1, of `s` among the texts that follow `err`, which a null pointer ends. 0 for none, and when `*err` is
 * set already: `err` is not cleared. */
EMANTLE_API long estr_StringEnum(const char* s, Eerr_ErrorReport** err, ...) __attribute__((sentinel));

#endif
