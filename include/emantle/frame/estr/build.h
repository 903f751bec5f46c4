#ifndef EMANTLE_FRAME_ESTR_BUILD_H
#define EMANTLE_FRAME_ESTR_BUILD_H

#include <emantle/frame/eerr.h>
#include <stdarg.h>

/* estr: copies, pieces and joins of narrow text.
 *  1. Results in new memory are the caller's. Lengths and positions are bytes.
 *  2. Null is accepted for every text and buffer. A null result without more said means a null source or no memory. */

EMANTLE_API char* estr_Duplicate(const char* s);

/* Resizes `dst`, a heap text or null, to hold `src`, and copies. With a null `src` the result is null and `dst` stays;
 * so it is when memory is out. */
EMANTLE_API char* estr_StringCopy(char* dst, const char* src);

/* Resizes `dst` to hold `a` followed by `b`, of which either may be `dst` itself; null texts count as empty. Null when
 * memory is out, and `dst` stays. */
EMANTLE_API char* estr_StringCat(char* dst, const char* a, const char* b);

/* printf. With a null `dst` into a new text of at most 15999 bytes: "The text is longer than 15999 bytes" and null
 * beyond. With `dst` set it writes there, without a bound, and returns it. A null format is "Args". */
EMANTLE_API char* estr_Sprintf(char* dst, const char* format, Eerr_ErrorReport** err, ...)
    __attribute__((format(printf, 2, 4)));
EMANTLE_API char* estr_Vsprintf(char* dst, const char* format, Eerr_ErrorReport** err, va_list arguments)
    __attribute__((format(printf, 2, 0)));

/* A copy in double quotes. */
EMANTLE_API char* estr_QuotedDuplicate(const char* s);

/* A copy in double quotes (true) or single ones, with a backslash before each such quote inside. Fails with "Invalid
 * argument!" for a null or empty text, and with "Not enough memory!". */
EMANTLE_API char* estr_QuoteString(const char* s, Emsc_Boolean doubleQuotes, Eerr_ErrorReport** err);

/* A copy in which each line feed has a carriage return before it and no other carriage return is left. A null or empty
 * text gives null without a report. */
EMANTLE_API char* estr_AddCR(const char* s, Eerr_ErrorReport** err);

/* A copy of `length` bytes from `start` on, fewer where the text ends first. Fails with "Args" for a null text, a
 * negative `start` or `length`, or a `start` behind the text's end. */
EMANTLE_API char* estr_GetSubString(const char* s, long start, long length, Eerr_ErrorReport** err);

/* Copies `length` bytes from `start` on to `dst`, fewer where the text ends first, and terminates. With a null `dst` to
 * a new text. A null `s` returns `dst`; a negative `length` or `start` copies nothing. */
EMANTLE_API char* estr_StringToA(const char* s, long start, long length, char* dst);

/* The bounded copies. `n` is the capacity of `dst` in bytes; they return the length of `src`, or -1 for a null `src`.
 * estr_StringNCopy copies at most `maxCopy` bytes, adds no terminator, and returns -1 for a negative `n`.
 * estr_StringNCopyWithNull copies at most `maxCopy` bytes, the terminator counted, the last of which is a zero.
 * estr_StringCopyEx is the same without a further limit; estr_StringCatEx appends, and `n` is the size of the whole. */
EMANTLE_API long estr_StringNCopy(char* dst, const char* src, long n, long maxCopy);
EMANTLE_API long estr_StringNCopyWithNull(char* dst, const char* src, long n, long maxCopy);
EMANTLE_API long estr_StringCopyEx(char* dst, const char* src, long n);
EMANTLE_API long estr_StringCatEx(char* dst, const char* src, long n);

/* Removes every occurrence of `sub`, whatever its letter case, from `s` in place, and returns `s`. */
EMANTLE_API char* estr_RemoveChars(char* s, const char* sub);

#endif
