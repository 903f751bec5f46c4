#pragma once

#include <emantle/files/efio/handle.h>
#include <cstdint>
#include <utility>

namespace emantle::hfa {

/* The right of this process to write a file, shared by its handles of that file and given back with the last of them. The
 * system takes it back from a process that dies. */
class WriterLock {
public:
    WriterLock() = default;
    ~WriterLock() { release(); }
    WriterLock(WriterLock&& other) noexcept : key_(std::exchange(other.key_, nullptr)), seen_(other.seen_) {}
    WriterLock& operator=(WriterLock&& other) noexcept
    {
        std::swap(key_, other.key_);
        std::swap(seen_, other.seen_);
        return *this;
    }

    /* Fails where another process holds it. */
    void acquire(const Efio_File* file, const char* name);
    void release() noexcept;

    /* Handles of one file, each in a thread of its own, take turns: one call after the other. */
    void beginTurn() const;
    void endTurn() const noexcept;
    /* Whether another handle has changed the file since this one's last `noteSeen`. */
    bool hasNews() const noexcept;
    void noteSeen() noexcept;
    /* This handle has changed the file. */
    void noteChanged() noexcept;

private:
    void* key_ = nullptr;
    uint64_t seen_ = 0;
};

}  // namespace emantle::hfa
