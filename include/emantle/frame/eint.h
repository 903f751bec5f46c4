#ifndef EMANTLE_FRAME_EINT_H
#define EMANTLE_FRAME_EINT_H

#include <emantle/frame/eerr.h>

/* eint: the toolkit's own record.
 *  1. There is one record in the process, opaque, made on first use and freed when the library is unloaded. It is the
 *     context that stores and statistics ask for.
 *  2. Any thread may call any of these at any time. */

typedef struct Eint_InitToolkitData Eint_InitToolkitData;

/* The record; a second call returns the same one. Null only when memory is out: "emsc_New failed". */
EMANTLE_API Eint_InitToolkitData* eint_InitToolkit(Eerr_ErrorReport** err);

/* The same without an error argument: a failure is printed. */
EMANTLE_API Eint_InitToolkitData* eint_GetInit(void);

/* Does nothing; the record stays valid. */
EMANTLE_API void eint_DeInit(void);

#endif
