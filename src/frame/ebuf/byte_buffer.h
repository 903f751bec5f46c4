#pragma once

/* A buffer of bytes between two cursors: writing appends at `write`, reading takes from `read`.
 *  1. A zero record is an empty buffer without a block; FreeBuffer and ShrinkBuffer may leave one.
 *  2. The block is emsc_HeapMalloc's and moves when the buffer grows.
 *  3. A buffer with a `limit` does not grow. */

namespace emantle {

struct ByteBuffer {
    char* start;
    char* read;
    char* write;
    long size;
    long limit;
};

/* A buffer with room for `size` bytes; one without a block where that is below 1 or memory is out. */
ByteBuffer NewBuffer(long size, long limit) noexcept;
void FreeBuffer(ByteBuffer& buffer) noexcept;

/* Keeps the first `n` bytes written, and of the read cursor what lies among them. */
void TruncateBuffer(ByteBuffer& buffer, long n) noexcept;

/* Makes room for `n` more bytes. 0; -1 where memory is out or the buffer has a limit, and it is then as it was. */
int ChkBuffer(ByteBuffer& buffer, long n) noexcept;

/* The distance from the read cursor to the first such byte not read yet; -1 for none. */
long SearchBuffer(const ByteBuffer& buffer, char byte) noexcept;

/* Cuts the block to the bytes written; with nothing left to read frees it all. */
void ShrinkBuffer(ByteBuffer& buffer) noexcept;

/* Appends `n` bytes; with a null `source` the write cursor only moves over them. Returns how many; 0 without room. */
long CopyToBuffer(const void* source, ByteBuffer& buffer, long n) noexcept;

/* Reads up to `n` bytes; with a null `target` the read cursor only moves. Returns how many. */
long CopyFromBuffer(ByteBuffer& buffer, void* target, long n) noexcept;

/* Moves up to `n` bytes from one buffer to the other. Returns how many. */
long TransferBuffer(ByteBuffer& from, ByteBuffer& to, long n) noexcept;

} // namespace emantle
