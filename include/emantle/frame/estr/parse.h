#ifndef EMANTLE_FRAME_ESTR_PARSE_H
#define EMANTLE_FRAME_ESTR_PARSE_H

#include <emantle/frame/estr/list.h>

/* estr: numbers, expressions, characters, lines, quoted runs and arguments out of text.
 *  1. Null is accepted for every text and buffer; what is read of it is nothing. */

/* True for exactly "yes", "Yes", "YES", "true", "True", "TRUE", "on", "On", "ON" and "1". */
EMANTLE_API Emsc_Boolean estr_StringToBoolean(const char* s);

/* The number in the `length` bytes from `start` on, as atol and atof read it, with each "D" read as "E". Where there is
 * no such slice, 0 and NaN. */
EMANTLE_API long estr_StringToL(const char* s, long start, long length);
EMANTLE_API double estr_StringToD(const char* s, long start, long length);

/* The value of an arithmetic expression, in double, as IEEE 754 has it (1/0 is infinite, sqrt(-1) NaN). Its parts, from
 * the loosest: + and -; * and /; signs; ^, which groups from the right, so that -2^2 is -4 and 2^3^2 is 512; numbers,
 * with exponents in E or D; parentheses; pi; and functions, in either letter case, with angles in radians:
 *   abs acos asin atan ceil cos cosh exp floor log log10 round sin sinh sqrt tan tanh trunc, of one value;
 *   atan2 max min mod pow, of two; mod has the sign of the first, as fmod.
 * The locale does not matter. Fails, with NaN, for null ("Args"), with the position, from 1, what is expected and what
 * stands there, for a number out of range, and for more than 200 parentheses, functions and powers in each other. */
EMANTLE_API double estr_EvaluateString(const char* text, Eerr_ErrorReport** err);

/* The character that `s` names: itself, where it is one character, or the control character whose name, as in "<TAB>",
 * it begins with. 0 for none. */
EMANTLE_API char estr_StringToChar(const char* s);

/* Copies `src` with each name of a control character, as above, replaced by that character. `dst` needs the room of
 * `src`, and may be `src`. Returns `dst`. */
EMANTLE_API char* estr_MetaStringToString(char* dst, const char* src);

/* The numbers of a list such as "1,3:5", where a range a:b stands for all from a to b, in a new heap array, the
 * caller's; `delimiters` lie between items. Returns how many (of 0 the array is null); -1 with "List parse error" for an
 * item that is 0 or no number, or "Memory allocation error". At most 16777216 numbers; a list of more is a parse error. */
EMANTLE_API long estr_StringToIntList(const char* s, const char* delimiters, int32_t** list, Eerr_ErrorReport** err);

/* Copies the next line to `buf`, `size` bytes large, without its end and its carriage returns; what does not fit is
 * dropped. Returns the position behind the line feed, or the end of the text. Null at the end of the text, and for a
 * null text or a size below 1, with `buf` made empty: it must have room for one character. */
EMANTLE_API const char* estr_GetLine(const char* s, char* buf, long size);

/* Copies what stands between the next two double quotes to `buf`, cut to `size`, and returns the position behind the
 * second. Null, with `buf` empty, where there is none. */
EMANTLE_API const char* estr_GetQuotedString(const char* s, char* buf, long size);

/* The arguments of a command line, between blanks, in a new list, the caller's. What stands in double or single quotes
 * is one argument with what touches it, and "" is an empty one. A backslash protects a quote (between quotes, only that
 * kind) and a backslash, and outside of quotes a blank; before anything else it is itself, as in C:\data. What
 * estr_QuoteString made of a text reads back, unless the text has a backslash before a quote, another or its end.
 * Fails with "Args" for null, and with the position, from 1, of a quote that is not closed. */
EMANTLE_API Estr_StringList* estr_ArgsGet(const char* line, Eerr_ErrorReport** err);

#endif
