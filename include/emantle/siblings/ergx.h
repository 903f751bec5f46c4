#ifndef EMANTLE_SIBLINGS_ERGX_H
#define EMANTLE_SIBLINGS_ERGX_H

#include <emantle/frame/export.h>

/* ergx: regular expressions, in a time that is linear in the text whatever the pattern.
 *  1. Operators are ^ $ . * + ? | ( ) [ ] and \ in front of one of them. A point is one character of UTF-8; text that is
 *     not UTF-8 is taken byte by byte.
 *  2. One expression may be matched by several threads at once. */

typedef struct Ergx_RE Ergx_RE;

/* Compiles a pattern; the result goes back to ergx_REDestroy. Null for a pattern that is null or faulty; why goes to
 * `reason`, which may be null, cut to `reasonSize` bytes with the terminator. */
EMANTLE_API Ergx_RE* ergx_RECreate(const char* pattern, char* reason, long reasonSize);

/* Whether the expression fits somewhere in `text`; false for null. */
EMANTLE_API Emsc_Boolean ergx_REMatch(const Ergx_RE* expression, const char* text);

EMANTLE_API void ergx_REDestroy(Ergx_RE* expression);

#endif
