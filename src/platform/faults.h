#pragma once

#include "platform/errors.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The seam between this folder and the kernel. A test makes calls fail or records what is written; a program that does
// neither pays one relaxed load a call. Whatever is armed holds for the whole process until its object ends.
namespace emantle::platform {

// The calls that pass the seam, one a system call: a transfer that is continued passes it again.
// `release` counts what is given back, a block that a reallocation replaced included; it cannot fail.
enum class Operation {
    allocate,
    release,
    open,
    read,
    write,
    seek,
    truncate,
    sync,
    map,
    status,
    rename,
    unlink,
    makeDirectory,
    removeDirectory,
    list,
    load
};

// What a call that fails does: it moves at most `bytes` bytes (read and write only), then reports `error`. With an
// error of 0 it is a short transfer that fails nothing; a short transfer of no bytes reads as the end of the file. A
// transfer goes on after an interruption, so arm that one once, not from then on.
struct Outcome {
    int error = 0;
    std::size_t bytes = 0;

    static constexpr Outcome noMemory() { return {error::noMemory}; }
    static constexpr Outcome noSpace(std::size_t bytesBefore = 0) { return {error::noSpace, bytesBefore}; }
    static constexpr Outcome inputOutput(std::size_t bytesBefore = 0) { return {error::inputOutput, bytesBefore}; }
    static constexpr Outcome interrupted() { return {error::interrupted}; }
    static constexpr Outcome shortTransfer(std::size_t bytes) { return {0, bytes}; }
    static constexpr Outcome network(int number) { return {number}; }
};

enum class Repeat { once, fromThenOn };

// Makes the `nth` call (from 1) of a kind fail, of those whose file name contains `nameContains`. An `nth` of 0 fails
// nothing: such an object counts the calls, so that a test can then fail each of them in turn.
//
//     FaultInjection full(Operation::write, 3, Outcome::noSpace(), Repeat::fromThenOn, "scene.img");
class FaultInjection {
public:
    FaultInjection(Operation operation, std::uint64_t nth, Outcome outcome = {}, Repeat repeat = Repeat::once,
                   std::string nameContains = {});
    ~FaultInjection();
    FaultInjection(const FaultInjection&) = delete;
    FaultInjection& operator=(const FaultInjection&) = delete;

    std::uint64_t calls() const;
    bool fired() const;

private:
    friend struct Seam;
    const Operation operation_;
    const std::uint64_t nth_;
    const Outcome outcome_;
    const Repeat repeat_;
    const std::string nameContains_;
    std::uint64_t calls_ = 0;
    bool fired_ = false;
};

// One change of a file. A truncation has its new size as the offset and no bytes; a sync has neither.
struct RecordedWrite {
    enum class Kind { write, truncate, sync };
    Kind kind = Kind::write;
    std::string name;
    std::uint64_t offset = 0;
    std::vector<std::byte> bytes;
};

// Records, in order, what really reached the files whose name contains `nameContains`; a file emptied at its opening
// counts as truncated. Stores through a mapping are not seen.
class WriteRecorder {
public:
    explicit WriteRecorder(std::string nameContains = {});
    ~WriteRecorder();
    WriteRecorder(const WriteRecorder&) = delete;
    WriteRecorder& operator=(const WriteRecorder&) = delete;

    std::vector<RecordedWrite> writes() const;

private:
    friend struct Seam;
    const std::string nameContains_;
    std::vector<RecordedWrite> writes_;
};

// The bytes of a file that held `before` after the given writes, all of one file: a prefix of a recording is what a
// crash leaves.
std::vector<std::byte> afterWrites(std::vector<std::byte> before, std::span<const RecordedWrite> writes);

// The rest is for the sources of this folder.

// What the seam says of one call: `error` as in Outcome, and the most bytes that it may move.
struct Interference {
    int error = 0;
    std::size_t limit = std::numeric_limits<std::size_t>::max();
    bool active = false;
};

namespace detail {
extern std::atomic<int> armed;
Interference consult(Operation operation, std::string_view name) noexcept;
void record(RecordedWrite::Kind kind, std::string_view name, std::uint64_t offset, const void* bytes,
            std::size_t count);
} // namespace detail

inline bool seamIsIdle() noexcept
{
    return detail::armed.load(std::memory_order_relaxed) == 0;
}

inline Interference interference(Operation operation, std::string_view name = {}) noexcept
{
    if (seamIsIdle()) [[likely]]
        return {};
    return detail::consult(operation, name);
}

inline void recordWrite(RecordedWrite::Kind kind, std::string_view name, std::uint64_t offset = 0,
                        const void* bytes = nullptr, std::size_t count = 0)
{
    if (!seamIsIdle()) [[unlikely]]
        detail::record(kind, name, offset, bytes, count);
}

} // namespace emantle::platform
