#ifndef EMANTLE_FILES_EFIO_TEXT_H
#define EMANTLE_FILES_EFIO_TEXT_H

#include <emantle/files/efio/handle.h>
#include <stdarg.h>
#include <stdio.h>

/* efio, text on the C library's streams: arguments and results are those of the standard function; null streams and texts
 * give its failure. What goes to stdout or stderr is a log message: it takes the route of EerrDispatcher, and the stream
 * itself where no log function is set (efio_SetLogFunction). */

EMANTLE_API size_t efio_Fread(void* buffer, size_t size, size_t count, FILE* stream);
EMANTLE_API size_t efio_Fwrite(const void* buffer, size_t size, size_t count, FILE* stream);
EMANTLE_API int efio_Fputc(int c, FILE* stream);
EMANTLE_API int efio_Fputs(const char* text, FILE* stream);
EMANTLE_API int efio_Puts(const char* text);
EMANTLE_API int efio_Printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
EMANTLE_API int efio_Fprintf(FILE* stream, const char* format, ...) __attribute__((format(printf, 2, 3)));
EMANTLE_API int efio_Vfprintf(FILE* stream, const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
EMANTLE_API int efio_Sprintf(char* buffer, const char* format, ...) __attribute__((format(printf, 2, 3)));
EMANTLE_API int efio_Fscanf(FILE* stream, const char* format, ...) __attribute__((format(scanf, 2, 3)));
EMANTLE_API int efio_Sscanf(const char* text, const char* format, ...) __attribute__((format(scanf, 2, 3)));
EMANTLE_API int efio_Vsscanf(const char* text, const char* format, va_list arguments) __attribute__((format(scanf, 2, 0)));
EMANTLE_API char* efio_ANSIfgets(char* buffer, int size, FILE* stream);
EMANTLE_API int efio_ANSIfscanf(FILE* stream, const char* format, ...) __attribute__((format(scanf, 2, 3)));
EMANTLE_API int efio_CompatibleFseek(FILE* stream, long offset, int whence);

/* By name, expanded: remove, chmod, rename; 0, or -1 with errno set. */
EMANTLE_API int efio_CompatibleRemove(const char* name);
EMANTLE_API int efio_Funlink(const char* name);
EMANTLE_API int efio_Fchmod(const char* name, int mode);
EMANTLE_API int efio_Frename(const char* from, const char* to);

/* Passes blanks, tabs and line ends, and gives the byte behind them, which stays to be read; -1 at the end of the file. */
EMANTLE_API long efio_SkipWhiteSpace(Efio_File* file, Eerr_ErrorReport** err);

/* Reads on to the next line whose first word is `tag`, and gives the rest of it without the blanks around it, a heap text;
 * null where there is none, which is no failure. */
EMANTLE_API char* efio_GetTaggedData(Efio_File* file, const char* tag, Eerr_ErrorReport** err);

#endif
