#pragma once

#include "platform/file.h"

#include <cstddef>
#include <cstdint>

namespace emantle::platform {

// A window of a file in memory. The file may be closed while the window lives; it must not shrink below the window's
// end, because the kernel ends a process that touches a page beyond it.
class Mapping {
public:
    Mapping() = default;
    Mapping(Mapping&& other) noexcept;
    Mapping& operator=(Mapping&& other) noexcept;
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping();

    // Gives up the present window and maps `length` bytes from `offset`, which need not lie on a page. A window of no
    // bytes or one that reaches beyond the end of the file is refused with 22. Access::write maps as Access::readWrite
    // does.
    int map(const File& file, std::uint64_t offset, std::size_t length, Access access);
    int unmap() noexcept;

    explicit operator bool() const noexcept { return data_ != nullptr; }
    std::byte* data() const noexcept { return data_; }
    std::size_t size() const noexcept { return size_; }

    // A store is read here and there: without this the kernel reads megabytes ahead at each cold page.
    void adviseRandom() const noexcept;
    // Writes changed pages to the file.
    int sync() const noexcept;

private:
    std::byte* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t lead_ = 0; // bytes between the page that the kernel mapped and `data_`
};

} // namespace emantle::platform
