#ifndef EMANTLE_FILES_EFIO_HANDLE_H
#define EMANTLE_FILES_EFIO_HANDLE_H

#include <emantle/frame/eerr.h>

/* efio, the open file.
 *  1. A record reads ahead into its buffer and gathers small writes. Gathered bytes reach the system before a read, before
 *     a seek that leaves them, at a flush and at the close; until then they belong to the record alone. Files on another
 *     computer are not gathered for: each write is with the server when it returns.
 *  2. A transfer or seek that fails because the network went away opens the file again and goes on; `reopenCount` tells
 *     how often.
 *  3. Bytes that a write reported as written and that then fail to reach the system stay gathered: the report names the
 *     file, and a later flush tries again.
 *  4. Functions that give a count of bytes give -1 when they fail, those that give a status 0 or -1. */

enum { EFIO_BUFFER_SIZE = 16384, EFIO_SMALLEST_READ = 2048 };

/* Origins of efio_Seek, with the values of <stdio.h>. */
enum { EFIO_SEEK_SET = 0, EFIO_SEEK_CUR = 1, EFIO_SEEK_END = 2 };

typedef int64_t efio_off_t;

/* To be read, not written: the functions below keep the fields. */
typedef struct Efio_File {
    intptr_t handle;      /* the system's handle, twice: a record where they differ is stale and efio_Close leaves it */
    intptr_t handleCheck;
    int32_t ungetCount;   /* 1 while a byte is pushed back, and the byte; a seek forgets it */
    int32_t ungetMark;
    char* name;           /* expanded, as opened */
    char* mode;           /* as given */
    int32_t reopenCount;
    int64_t position;       /* the caller's */
    int64_t systemPosition; /* the system pointer's */
    unsigned char buffer[EFIO_BUFFER_SIZE];
    int32_t bufferIndex; /* cursor; -1 when the buffer is empty */
    int32_t bufferFlag;  /* -1 when the buffer is empty, else 0 */
    int64_t bufferStart; /* offset of the buffer in the file; -1 when it is empty */
    int32_t bufferValid; /* bytes */
    int32_t readSize;    /* read-ahead, EFIO_SMALLEST_READ to EFIO_BUFFER_SIZE */
    int32_t seekCount;
    int32_t sequentialCount;
} Efio_File;

/* Opens a file for bytes. `mode`, in any case:
 *    "w" "wb" "w+" "w+b" "wb+"   empties or creates; reads and writes
 *    "a" "ab" "a+" "a+b" "ab+"   creates where it is missing, and stands at the end; reads and writes
 *    "r+" "r+b" "rb+"            an existing file; reads and writes
 *    anything else, also null    an existing file; reads
 * The name "nul" is the null device. The record is the caller's, for efio_Close; null on failure, with the error's
 * number in errno. Arguments after `err` are accepted and not looked at. */
EMANTLE_API Efio_File* efio_Open(const char* name, const char* mode, Eerr_ErrorReport** err, ...);

/* efio_Open with "w+b", then the permissions (the low nine bits of a mode word; 0 leaves the system's default). */
EMANTLE_API Efio_File* efio_Create(const char* name, long permissions, Eerr_ErrorReport** err);

/* Flushes, closes and frees; null and a stale record do nothing. Gathered bytes that the system refuses are lost with the
 * record: that report is printed, and the close goes on. Flush first where the caller must know. */
EMANTLE_API void efio_Close(Efio_File* file, Eerr_ErrorReport** err);

/* Moves to `offset` from `whence`. Positions beyond the end are legal; negative ones fail with the position kept. */
EMANTLE_API long efio_Seek(Efio_File* file, long offset, long whence, Eerr_ErrorReport** err);

/* The caller's position. */
EMANTLE_API long efio_Tell(Efio_File* file, Eerr_ErrorReport** err);

/* Reads `size` bytes at the position, or at `offset`, and moves behind them. Fewer bytes than asked for are a failure,
 * "Read %d bytes from %s, %d were requested."; the result is still the count read, and `buffer` holds them. */
EMANTLE_API long efio_ReadSeq(Efio_File* file, void* buffer, long size, Eerr_ErrorReport** err);
EMANTLE_API long efio_ReadDirect(Efio_File* file, long offset, void* buffer, long size, Eerr_ErrorReport** err);

/* Writes `size` bytes at the position, or at `offset`, and moves behind them. The result is `size`, or -1 where fewer
 * bytes were taken; the position then stands behind the last byte taken. */
EMANTLE_API long efio_WriteSeq(Efio_File* file, const void* buffer, long size, Eerr_ErrorReport** err);
EMANTLE_API long efio_WriteDirect(Efio_File* file, long offset, const void* buffer, long size, Eerr_ErrorReport** err);

/* The same two. */
EMANTLE_API long efio_FileWriteSequential(Efio_File* file, const void* buffer, long size, Eerr_ErrorReport** err);
EMANTLE_API long efio_FileWriteDirect(Efio_File* file, long offset, const void* buffer, long size,
                                      Eerr_ErrorReport** err);

/* Writes a text made as printf does, of any length, without its terminator. Gives its bytes. */
EMANTLE_API long efio_FileWriteFormatted(Efio_File* file, const char* format, Eerr_ErrorReport** err, ...)
    __attribute__((format(printf, 2, 4)));

/* Hand the gathered bytes to the system. efio_BufferFlush also drops what was read ahead, so that the next read sees what
 * others have written. */
EMANTLE_API long efio_Flush(Efio_File* file, Eerr_ErrorReport** err);
EMANTLE_API long efio_FileFlush(Efio_File* file, Eerr_ErrorReport** err);
EMANTLE_API long efio_BufferFlush(Efio_File* file, Eerr_ErrorReport** err);

/* Reads a line into `buffer`: up to and with its line feed, at most `size` - 1 bytes, terminated. Gives `buffer`, or null
 * at the end of the file, which is no failure, and on failure. */
EMANTLE_API char* efio_Fgets(char* buffer, long size, Efio_File* file, Eerr_ErrorReport** err);

/* The next byte, 0 to 255; -1 at the end of the file, which is no failure, and on failure. */
EMANTLE_API long efio_Fgetc(Efio_File* file, Eerr_ErrorReport** err);

/* Pushes one byte back in front of the position, and gives it. -1 when one is pushed back already, at the start of the
 * file, and for a `byte` below 0. */
EMANTLE_API long efio_Ungetc(long byte, Efio_File* file, Eerr_ErrorReport** err);

/* True once a read has met the end of the file; a seek and efio_Ungetc take it back. */
EMANTLE_API Emsc_Boolean efio_Feof(Efio_File* file);

/* Opens the file of the record again, never emptying it, and goes on at the caller's position. Read-ahead is dropped,
 * gathered bytes stay. False on failure, with the record as it was. */
EMANTLE_API Emsc_Boolean efio_Win32Reopen(Efio_File* file, Eerr_ErrorReport** err);

/* A heap copy of the name, the caller's. */
EMANTLE_API char* efio_FileNameGetByHandle(Efio_File* file, Eerr_ErrorReport** err);

/* The size with what is gathered, in bytes. */
EMANTLE_API efio_off_t efio_FileSizeGetByHandle(Efio_File* file, Eerr_ErrorReport** err);

/* The address of the cell that holds the null device, an `Efio_File*` open for writing that takes everything; the cell is
 * filled on first use, and closed when the library is unloaded. */
EMANTLE_API Efio_File** emsc_AddressOf_EINT_NULLDEVICE(void);

#endif
