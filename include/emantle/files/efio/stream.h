#ifndef EMANTLE_FILES_EFIO_STREAM_H
#define EMANTLE_FILES_EFIO_STREAM_H

#include <emantle/files/efio/handle.h>

/* efio, the record behind the functions of a standard stream: arguments and results are those of the standard function of
 * the name; reports are printed and dropped. And 64-bit numbers by halves. */

EMANTLE_API Efio_File* efio_fopen(const char* name, const char* mode);

/* Closes what `file` holds and opens `name` (null: the same name) in its place. On failure null, and `file` is closed. */
EMANTLE_API Efio_File* efio_freopen(const char* name, const char* mode, Efio_File* file);
EMANTLE_API int efio_fclose(Efio_File* file);
EMANTLE_API int efio_fflush(Efio_File* file);
EMANTLE_API int efio_ftruncate(Efio_File* file, efio_off_t size);
EMANTLE_API int efio_feof(Efio_File* file);
EMANTLE_API efio_off_t efio_ftello(Efio_File* file);
/* A network name that is gone (error 64) ends this one at once, where efio_Seek opens the file again. */
EMANTLE_API int efio_fseeko(Efio_File* file, efio_off_t offset, int whence);
EMANTLE_API int efio_fgetpos(Efio_File* file, efio_off_t* position);
EMANTLE_API int efio_fsetpos(Efio_File* file, const efio_off_t* position);
EMANTLE_API size_t efio_fread(void* buffer, size_t size, size_t count, Efio_File* file);
EMANTLE_API size_t efio_fwrite(const void* buffer, size_t size, size_t count, Efio_File* file);
EMANTLE_API int efio_fprintf(Efio_File* file, const char* format, ...) __attribute__((format(printf, 2, 3)));

/* The upper and lower 32 bits of an offset; null is 0, and nothing to set. */
EMANTLE_API void efio_off_tHODWSet(efio_off_t* offset, uint32_t high);
EMANTLE_API uint32_t efio_off_tHODWGet(const efio_off_t* offset);
EMANTLE_API void efio_off_tLODWSet(efio_off_t* offset, uint32_t low);
EMANTLE_API uint32_t efio_off_tLODWGet(const efio_off_t* offset);

typedef struct Efio_UInt64 {
    uint32_t low;
    uint32_t high;
} Efio_UInt64;

/* a * b, whole; a + b and a - b modulo 2^64. */
EMANTLE_API Efio_UInt64 efio_UInt64MultiplyFromUInt32(uint32_t a, uint32_t b);
EMANTLE_API Efio_UInt64 efio_UInt64Add(Efio_UInt64 a, Efio_UInt64 b);
EMANTLE_API Efio_UInt64 efio_UInt64Sub(Efio_UInt64 a, Efio_UInt64 b);

#endif
