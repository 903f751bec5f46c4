#ifndef EMANTLE_FRAME_EERR_H
#define EMANTLE_FRAME_EERR_H

#include <emantle/frame/export.h>

/* eerr: error reports.
 *  1. A failure travels as a chain of records: the head is the newest, the last one the root cause. Whoever holds the
 *     head owns the chain, and gives it back to eerr_DeleteErrorReportEx.
 *  2. A function that can fail takes `Eerr_ErrorReport** err` last. It clears `*err` on entry and leaves the chain there
 *     when it fails; with a null `err` it prints its own failure.
 *  3. `number` is a source line or a small number of the function's own. Callers decide by the call's result, never by
 *     the number. */

/* Severities, the `type` of a record. EERR_PLAIN prints without header. */
enum { EERR_PLAIN = -1, EERR_STATUS = 0, EERR_WARNING = 1, EERR_ERROR = 2 };

/* How a chain prints: every record, or the root cause and the status messages only. */
typedef int32_t Eerr_ErrorReportingMode;
enum { EERR_PRINT_ALL = 0, EERR_PRINT_TERSE = 1 };

typedef struct _Eerr_ErrorReportA {
    struct _Eerr_ErrorReportA* next; /* the record that this one wraps; null at the root cause */
    char* function;                  /* heap text or null */
    int32_t number;
    int32_t type;
    char* message; /* heap text; null says that the function below failed */
} _Eerr_ErrorReportA;

/* The same record with wide text, used only where character widths meet. */
typedef struct _Eerr_ErrorReportU {
    struct _Eerr_ErrorReportU* next;
    Etxt_TextU* function;
    int32_t number;
    int32_t type;
    Etxt_TextU* message;
} _Eerr_ErrorReportU;

typedef _Eerr_ErrorReportA Eerr_ErrorReport;

typedef void (*Eerr_AltErrorFunction)(void* data, Eerr_ErrorReport* report, Eerr_ErrorReportingMode mode,
                                      Eerr_ErrorReport** err);
typedef void (*Eerr_ErrorHandler)(long code, void* data);

/* Sets `*err` to null and returns `err`. */
EMANTLE_API Eerr_ErrorReport** eerr_Init(Eerr_ErrorReport** err);

/* Makes a record in front of `next`, which it takes over. `function` is copied and may be null; so may `format`, which
 * takes the arguments of printf. Null when memory is out; `next` then stays with the caller. */
EMANTLE_API Eerr_ErrorReport* eerr_CreateErrorReport(const char* function, long number, long type,
                                                     Eerr_ErrorReport* next, const char* format, ...)
    __attribute__((format(printf, 5, 6)));

/* Frees the whole chain and sets `*err` to null. Accepts null, and a null chain. */
EMANTLE_API void eerr_DeleteErrorReportEx(Eerr_ErrorReport** err);

/* A deep copy of a chain; null for null, and when memory is out. */
EMANTLE_API Eerr_ErrorReport* eerr_ErrorReportDuplicate(Eerr_ErrorReport* report);

/* Sends a chain to every slot of the report signal (see EerrDispatcher), of which the first prints it or hands it to
 * the alternative error function. At exit, when the signal is gone, it prints as eerr_PrintErrorReportNoEML does. The
 * chain stays the caller's. */
EMANTLE_API void eerr_PrintErrorReport(Eerr_ErrorReport* report, Eerr_ErrorReportingMode mode);

/* Prints a chain to standard error:
 *    ***ERROR NUMBER 12 IN FUNCTION efio_Open***
 *    >>>text<<<
 * A record without text prints as the failure of the function below it. One empty line ends the print, also of a null
 * chain. The chain stays the caller's. */
EMANTLE_API void eerr_PrintErrorReportNoEML(Eerr_ErrorReport* report, Eerr_ErrorReportingMode mode);

/* Prints one message of severity `type` in the terse mode. */
EMANTLE_API void eerr_MessageLog(long type, const char* format, ...) __attribute__((format(printf, 2, 3)));

/* The function that takes reports in place of the print; null goes back to the print. It is called in the unsafe
 * section. A function that leaves a chain in its `err` has failed: that chain is printed, and the chain that was
 * dispatched is deleted, so its owner's pointer dangles. A host's function must not fail while a caller still needs the
 * chain. */
EMANTLE_API void eerr_SetAltErrorFunction(Eerr_AltErrorFunction function, void* data);
EMANTLE_API void eerr_GetAltErrorFunction(Eerr_AltErrorFunction* function, void** data);

/* Registers a handler and returns its handle; null for a null function and when memory is out. The handle belongs to
 * the list. Handlers must not register or remove handlers. */
EMANTLE_API void* eerr_ErrorHandlerRegister(Eerr_ErrorHandler function, void* data);

/* Removes a handler; an unknown handle does nothing. */
EMANTLE_API void eerr_ErrorHandlerRemove(void* handle);

/* Calls every handler with `code`, newest first, each in the unsafe section. */
EMANTLE_API void eerr_ErrorOccurred(long code);

#ifdef __cplusplus
#include <emantle/frame/eerr/dispatcher.h>
#include <emantle/frame/eerr/exception.h>
#endif
#endif
