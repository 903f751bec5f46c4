#ifndef EMANTLE_FRAME_EXPORT_H
#define EMANTLE_FRAME_EXPORT_H

/* The types and marks that every family's header starts from. */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define EMANTLE_API extern "C" __attribute__((visibility("default")))
#define EMANTLE_CLASS __attribute__((visibility("default")))
#else
#include <uchar.h>
#define EMANTLE_API extern __attribute__((visibility("default")))
#endif

/* Boolean of the plain functions: 0 is false, anything else true. */
typedef int32_t Emsc_Boolean;

/* Narrow text is UTF-8; wide heap text has 16 bits a unit on every platform. */
typedef char Etxt_Text;
typedef char Etxt_TextA;
typedef char16_t Etxt_TextU;

#endif
