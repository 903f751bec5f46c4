#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Open files by descriptor.
//  1. In a name each `\` counts as `/`. The name "nul", in any case, is the null device.
//  2. Offsets and sizes are 64-bit. Interrupted and short transfers are continued until all is done, the end of the
//  file is
//     reached, or a call fails.
//  3. An int result is 0 or the error's number, which errno holds too (errors.h).
//  4. An object belongs to one thread at a time, but readAt and writeAt on one file may run in several.
namespace emantle::platform {

enum class Disposition { openExisting, createAlways, openAlways };
enum class Access { read, write, readWrite };
enum class Origin { start, current, end };
enum class Advice { normal, sequential, random, willNeed, dontNeed };

// What a transfer did. `error` is 0 when nothing failed; then fewer bytes than asked for mean the end of the file.
struct Transfer {
    std::size_t bytes = 0;
    int error = 0;
};

class File {
public:
    File() = default;
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File();

    // Closes what is open and opens `name`. A directory is refused with 13. With `writeThrough` each write returns only
    // after the data is on the medium or the server.
    int open(std::string_view name, Disposition disposition, Access access, bool writeThrough = false);
    int close() noexcept;

    explicit operator bool() const noexcept { return descriptor_ >= 0; }
    int descriptor() const noexcept { return descriptor_; }
    // Gives the descriptor up to the caller.
    int detach() noexcept;
    // The name in the kernel's form.
    const std::string& name() const noexcept { return name_; }

    Transfer readAt(void* bytes, std::size_t count, std::uint64_t offset) const;
    Transfer writeAt(const void* bytes, std::size_t count, std::uint64_t offset);

    // At the descriptor's own position, which moves on by the bytes done.
    Transfer read(void* bytes, std::size_t count);
    Transfer write(const void* bytes, std::size_t count);
    // The new position, or -1.
    std::int64_t seek(std::int64_t distance, Origin origin);

    // -1 on failure.
    std::int64_t size() const;
    // Shortens, or lengthens with zeros.
    int truncate(std::uint64_t size);
    // Takes the file for this opening of it, until it is closed or its process ends: 11 where another opening has it. It
    // keeps nobody from reading or writing who does not ask for it as well. 0 also where the file system knows no locks.
    int lock();
    // Returns when data and size are on the medium.
    int sync();
    // A hint; a file that cannot take it is no failure.
    void advise(Advice advice, std::uint64_t offset = 0, std::uint64_t length = 0) const noexcept;

private:
    int descriptor_ = -1;
    std::string name_;
};

} // namespace emantle::platform
