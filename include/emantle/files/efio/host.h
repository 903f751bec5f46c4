#ifndef EMANTLE_FILES_EFIO_HOST_H
#define EMANTLE_FILES_EFIO_HOST_H

#include <emantle/frame/eerr.h>
#include <stdarg.h>

/* efio, the host: where log messages go and who answers questions.
 *  1. Both functions are called in the unsafe section, with `reserved` 0. A report left in `err` is dropped (log) or told
 *     (query).
 *  2. They are set at the start of a process; null takes them away. */

typedef struct _estr_StringList Estr_StringList;

/* Takes one log message in the form of vprintf. */
typedef void (*Efio_LogFunction)(long reserved, Eerr_ErrorReport** err, const char* format, va_list arguments);

/* Puts a question to the user. The answer is a heap text, taken over: one of `options`, or any text where there are none;
 * null means that the user refused. */
typedef char* (*Efio_QueryFunction)(long reserved, Eerr_ErrorReport** err, const char* text,
                                    const Estr_StringList* options);

EMANTLE_API void efio_SetLogFunction(Efio_LogFunction function);
EMANTLE_API Efio_LogFunction efio_GetLogFunction(void);
EMANTLE_API void efio_SetQueryFunction(Efio_QueryFunction function);

#ifdef __cplusplus

#include <string>
#include <vector>

namespace efio {

/* The user's answer; empty when the user refused and when no query function is set. Throws an EerrException with what the
 * host reports. */
EMANTLE_CLASS std::string ExecuteQuery(const std::string& text, const std::vector<std::string>& options);

}  // namespace efio

#endif
#endif
