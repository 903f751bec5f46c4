#include "platform/mapping.h"

#include "platform/cpu.h"
#include "platform/errors.h"
#include "platform/faults.h"

#include <cerrno>
#include <sys/mman.h>
#include <utility>

namespace emantle::platform {

Mapping::Mapping(Mapping&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)),
      lead_(std::exchange(other.lead_, 0))
{}

Mapping& Mapping::operator=(Mapping&& other) noexcept
{
    if (this != &other) {
        unmap();
        data_ = std::exchange(other.data_, nullptr);
        size_ = std::exchange(other.size_, 0);
        lead_ = std::exchange(other.lead_, 0);
    }
    return *this;
}

Mapping::~Mapping()
{
    unmap();
}

int Mapping::map(const File& file, std::uint64_t offset, std::size_t length, Access access)
{
    unmap();
    const std::int64_t fileSize = file.size();
    if (fileSize < 0)
        return errno;
    const auto end = static_cast<std::uint64_t>(fileSize);
    if (length == 0 || offset > end || length > end - offset)
        return failWith(error::invalidArgument);
    if (const Interference fault = interference(Operation::map, file.name()); fault.error != 0)
        return failWith(fault.error);
    const auto lead = static_cast<std::size_t>(offset % pageSize());
    const int protection = access == Access::read ? PROT_READ : PROT_READ | PROT_WRITE;
    void* const pages =
        mmap(nullptr, length + lead, protection, MAP_SHARED, file.descriptor(), static_cast<off_t>(offset - lead));
    if (pages == MAP_FAILED)
        return systemError();
    data_ = static_cast<std::byte*>(pages) + lead;
    size_ = length;
    lead_ = lead;
    return 0;
}

int Mapping::unmap() noexcept
{
    if (data_ == nullptr)
        return 0;
    std::byte* const pages = std::exchange(data_, nullptr) - lead_;
    const std::size_t length = std::exchange(size_, 0) + std::exchange(lead_, 0);
    return munmap(pages, length) == 0 ? 0 : systemError();
}

void Mapping::adviseRandom() const noexcept
{
    const int kept = errno;
    if (data_ != nullptr)
        madvise(data_ - lead_, size_ + lead_, MADV_RANDOM);
    errno = kept;
}

int Mapping::sync() const noexcept
{
    if (data_ == nullptr)
        return 0;
    return msync(data_ - lead_, size_ + lead_, MS_SYNC) == 0 ? 0 : systemError();
}

} // namespace emantle::platform
