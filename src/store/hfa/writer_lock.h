#pragma once

#include <emantle/files/efio/handle.h>
#include <utility>


namespace emantle::hfa {

/* The right of this process to write a file, shared by its handles of that file and given back with the last of them. The
 * system takes it back from a process that dies. */
class WriterLock {
public:
    WriterLock() = default;
    ~WriterLock() { release(); }
    WriterLock(WriterLock&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
    WriterLock& operator=(WriterLock&& other) noexcept
    {
        std::swap(key_, other.key_);
        return *this;
    }

    /* Fails where another process holds it. */
    void acquire(const Efio_File* file, const char* name);
    void release() noexcept;

private:
    void* key_ = nullptr;
};

}  // namespace emantle::hfa
