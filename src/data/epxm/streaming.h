#pragma once

#include <emantle/data/epxm/convert.h>

/* Conversion into blocks that no cache holds: fetching a line of memory only to overwrite it costs as much again as
 * writing it. */

namespace emantle {

/* Below this no one need ask. */
inline constexpr long kNeverStreamed = 1L << 20;

/* So many bytes of the destination are computed at once: few enough that reading and writing take turns quickly. */
inline constexpr long kStreamedPiece = 1024;

/* Whether a destination of so many bytes is better written past the caches. */
bool isStreamed(long bytes) noexcept;

/* Copies `bytes` past the caches. `dest` is aligned to a line of the cache; `bytes` is a multiple of one. Readers see the
 * bytes in order only behind finishWritingPast. */
void writePast(void* dest, const void* block, long bytes) noexcept;
void finishWritingPast() noexcept;

/* memmove for large blocks. */
void copyStreaming(const void* source, void* dest, long bytes) noexcept;

/* What `routine` would do, in small pieces that pass through a buffer. The sizes are those of an element. */
void convertStreaming(Epxm_ConvertRoutine routine, const void* source, long sourceSize, void* dest, long destSize,
                      long count);

}  // namespace emantle
