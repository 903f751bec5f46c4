#ifndef EMANTLE_FRAME_ESTR_WIDE_H
#define EMANTLE_FRAME_ESTR_WIDE_H

#include <emantle/frame/estr/list.h>

/* estr: wide text, 16 bits a unit.
 *  1. Results in new memory are the caller's; null means a null source or no memory.
 *  2. Lengths are units. Null texts are empty. */

typedef struct _estr_StringListU {
    int32_t count;
    Etxt_TextU** strings;
    int32_t allocated;
} Estr_StringListU;

EMANTLE_API Etxt_TextU* estr_DuplicateU(const Etxt_TextU* s);
EMANTLE_API Etxt_TextU* estr_UnicodeStrDup(const Etxt_TextU* s);
EMANTLE_API long estr_UnicodeStrLen(const Etxt_TextU* s);

/* Appends `src` to `dst`, which has the room, and returns `dst`. */
EMANTLE_API Etxt_TextU* estr_UnicodeStrCat(Etxt_TextU* dst, const Etxt_TextU* src);

/* Copies at most `n` units, and fills up to `n` with zeros; a text of `n` units and more is not terminated. Returns
 * `dst`. */
EMANTLE_API Etxt_TextU* estr_UnicodeStrNCopy(Etxt_TextU* dst, const Etxt_TextU* src, long n);

/* Conversion to a new text in the other width. */
EMANTLE_API char* estr_Unicode2Ascii(const Etxt_TextU* src);
EMANTLE_API Etxt_TextU* estr_Ascii2Unicode(const char* src);

/* Wide text in printable ASCII and back: a unit outside it is \uXXXX, with four hexadecimal digits, and a backslash is
 * two. A backslash before anything else stands for itself. */
EMANTLE_API char* estr_EncodeUnicode(const Etxt_TextU* src);
EMANTLE_API Etxt_TextU* estr_DecodeUnicode(const char* src);

/* A new list in the other width, null items staying null. */
EMANTLE_API Estr_StringList* estr_StringListU2A(const Estr_StringListU* list, Eerr_ErrorReport** err);
EMANTLE_API Estr_StringListU* estr_StringListA2U(const Estr_StringList* list, Eerr_ErrorReport** err);

#endif
