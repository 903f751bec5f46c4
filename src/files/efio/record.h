#pragma once

#include "platform/file.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <emantle/files/efio/handle.h>
#include <memory>

namespace emantle::files {

/* Gathered bytes are many times a system call's cost and still fit the cache. */
inline constexpr std::int32_t gatherSize = 65536;

/* What stands behind a caller's Efio_File. */
struct OpenFile : Efio_File {
    platform::File system;
    bool readOnly;
    bool writeThrough; /* another computer holds the file: nothing is gathered */
    bool ended;        /* a read has met the end */

    /* Bytes written that the system does not have yet. They and the read buffer never hold anything at the same time.
     */
    std::unique_ptr<unsigned char[]> gather;
    std::int64_t gatherStart;
    std::int32_t gatherFill;

    std::int64_t gatherEnd() const noexcept { return gatherStart + gatherFill; }
    bool bufferHolds(std::int64_t offset) const noexcept
    {
        return bufferFlag >= 0 && offset >= bufferStart && offset < bufferStart + bufferValid;
    }
    void emptyBuffer() noexcept;
    void forgetPushedBack() noexcept { ungetCount = ungetMark = 0; }
};

inline OpenFile* opened(Efio_File* file) noexcept
{
    return static_cast<OpenFile*>(file);
}

/* A number for a report's "%d"; what does not fit stands at the limit. */
inline int shown(std::int64_t value) noexcept
{
    return static_cast<int>(std::clamp<std::int64_t>(value, INT_MIN, INT_MAX));
}

/* How the low-level move answers error 64. */
enum class NameGone { reopens, isFinal };

/* Below, a false result leaves a chain in `err`, which is not null.
 * Moves the system pointer. */
bool moveSystem(OpenFile& file, std::int64_t offset, Eerr_ErrorReport** err, NameGone nameGone = NameGone::reopens);

/* Moves bytes between memory and `offset` of the file, past the buffers, opening the file again when the network went
 * away. `done` counts what moved; a read that meets the end is no failure. */
bool readSystem(OpenFile& file, void* bytes, std::int64_t size, std::int64_t offset, std::int64_t& done,
                Eerr_ErrorReport** err);
bool writeSystem(OpenFile& file, const void* bytes, std::int64_t size, std::int64_t offset, std::int64_t& done,
                 Eerr_ErrorReport** err);

/* Hands gathered bytes to the system; what it refuses stays gathered. */
bool flushGathered(OpenFile& file, Eerr_ErrorReport** err);

/* Moves the caller's position. */
bool seekTo(OpenFile& file, std::int64_t offset, std::int64_t whence, Eerr_ErrorReport** err,
            NameGone nameGone = NameGone::reopens);

/* Reads up to the end of the file; `done` counts. */
bool readUpTo(OpenFile& file, void* bytes, std::int64_t size, std::int64_t& done, Eerr_ErrorReport** err);

bool writeAll(OpenFile& file, const void* bytes, std::int64_t size, Eerr_ErrorReport** err);

/* Fills the read buffer at the position; false at the end of the file, and with a chain in `err` on failure. */
bool fillBuffer(OpenFile& file, Eerr_ErrorReport** err);

/* The size of the file with what is gathered; -1 with errno set. */
std::int64_t sizeOf(const OpenFile& file);

/* Opens the file again in place of the handle; see efio_Win32Reopen. */
bool reopen(OpenFile& file, Eerr_ErrorReport** err);

}  // namespace emantle::files
