#ifndef EMANTLE_FRAME_ETXT_TEXT_H
#define EMANTLE_FRAME_ETXT_TEXT_H

#include <emantle/frame/export.h>
#include <stdarg.h>

/* etxt: the run-time library's text functions, for the narrow text of the library.
 *  1. Each is the function of the C library whose name it bears, except where something is said.
 *  2. Characters are passed as int; the classes are those of the current locale, and a character outside 0 to 255 is in
 *     none of them and has no other case. */

/* The length; 0 for null. */
EMANTLE_API long etxt_Text_strlen(const char* s);
EMANTLE_API long etxt_Text_strlenA(const char* s);
EMANTLE_API long etxt_Text_strlenU(const Etxt_TextU* s);

/* Appends what fits: `size` is the capacity of `dst` with its terminator. Null texts count as empty. Returns `dst`. */
EMANTLE_API char* etxt_Text_strcat(char* dst, long size, const char* src);
/* Appends all: the room is the caller's care. */
EMANTLE_API char* etxt_Text_strcat_unchecked(char* dst, const char* src);
/* Appends at most `n` characters and terminates. Nothing to do for null texts and `n` below 1. */
EMANTLE_API char* etxt_Text_strncat(char* dst, const char* src, long n);

/* strncpy; null for null texts and a negative `n`. */
EMANTLE_API char* etxt_Text_strncpy(char* dst, const char* src, long n);
EMANTLE_API char* etxt_Text_strncpyA(char* dst, const char* src, long n);
EMANTLE_API Etxt_TextU* etxt_Text_strncpyU(Etxt_TextU* dst, const Etxt_TextU* src, long n);
EMANTLE_API char* etxt_Text_strcpy(char* dst, const char* src);

EMANTLE_API char* etxt_Text_strchr(const char* s, int c);
EMANTLE_API char* etxt_Text_strrchr(const char* s, int c);
EMANTLE_API char* etxt_Text_strpbrk(const char* s, const char* set);
EMANTLE_API char* etxt_Text_strstr(const char* s, const char* sub);
EMANTLE_API long etxt_Text_strcspn(const char* s, const char* set);
EMANTLE_API long etxt_Text_strspn(const char* s, const char* set);
/* The first keeps its place for each thread. */
EMANTLE_API char* etxt_Text_strtok(char* s, const char* delimiters);
EMANTLE_API char* etxt_Text_strtok_r(char* s, const char* delimiters, char** place);

EMANTLE_API int etxt_Text_strcmp(const char* a, const char* b);
EMANTLE_API int etxt_Text_strncmp(const char* a, const char* b, long n);
/* Compare ignoring the case of ASCII letters; 2147483647 where a text is null. */
EMANTLE_API int etxt_Text__stricmp(const char* a, const char* b);
EMANTLE_API int etxt_Text__strnicmp(const char* a, const char* b, long n);

EMANTLE_API int etxt_Text_isalpha(int c);
EMANTLE_API int etxt_Text_isupper(int c);
EMANTLE_API int etxt_Text_islower(int c);
EMANTLE_API int etxt_Text_isspace(int c);
EMANTLE_API int etxt_Text_isprint(int c);
EMANTLE_API int etxt_Text_tolower(int c);
EMANTLE_API int etxt_Text_toupper(int c);

EMANTLE_API int etxt_Text_atoi(const char* s);
EMANTLE_API long etxt_Text_atol(const char* s);
EMANTLE_API double etxt_Text_atof(const char* s);
EMANTLE_API double etxt_Text_strtod(const char* s, char** end);
EMANTLE_API long etxt_Text_strtol(const char* s, char** end, int base);
EMANTLE_API unsigned long etxt_Text_strtoul(const char* s, char** end, int base);

EMANTLE_API int etxt_Text_sprintf(char* dst, const char* format, ...) __attribute__((format(printf, 2, 3)));
EMANTLE_API int etxt_Text_vsprintf(char* dst, const char* format, va_list arguments)
    __attribute__((format(printf, 2, 0)));
/* Writes at most `size` characters with the terminator; where that is too few `dst` is empty and the result -1. */
EMANTLE_API int etxt_Text_vsprintf_s(char* dst, long size, const char* format, va_list arguments)
    __attribute__((format(printf, 3, 0)));
EMANTLE_API int etxt_Text_sscanf(const char* s, const char* format, ...) __attribute__((format(scanf, 2, 3)));

#endif
