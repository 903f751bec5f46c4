#ifndef EMANTLE_DATA_EGDA_WINDOW_H
#define EMANTLE_DATA_EGDA_WINDOW_H

#include <emantle/frame/eerr.h>

/* egda, windows: four numbers kept for the caller, who also owns what Create and Copy return. */

typedef struct Egda_Window {
    int32_t rowOffset;
    int32_t columnOffset;
    int32_t numrows;
    int32_t numcolumns;
} Egda_Window;

/* Fails when memory is out. */
EMANTLE_API Egda_Window* egda_WindowCreate(int32_t rowOffset, int32_t columnOffset, int32_t numrows,
                                           int32_t numcolumns, Eerr_ErrorReport** err);

/* Copies into `dest`, or into a new window when it is null. Fails when `src` is null or memory is out. */
EMANTLE_API Egda_Window* egda_WindowCopy(const Egda_Window* src, Egda_Window* dest, Eerr_ErrorReport** err);

/* Accepts null. */
EMANTLE_API void egda_WindowDelete(Egda_Window* window, Eerr_ErrorReport** err);

#endif
