#include "store/mif/source.h"

#include "store/mif/scratch.h"

#include <algorithm>
#include <cstring>
#include <emantle/files/efio/handle.h>
#include <limits>

namespace emantle::mif {

Source::Source(EerrException& scope, Bytes bytes) noexcept
    : scope_(scope), at_(bytes.data()), window_(bytes.size()), left_(bytes.size())
{
}

Source::Source(EerrException& scope, const void* bytes) noexcept
    : scope_(scope), at_(static_cast<const uint8_t*>(bytes)), window_(std::numeric_limits<std::size_t>::max()),
      left_(std::numeric_limits<int64_t>::max())
{
}

Source::Source(EerrException& scope, Efio_File* file, void* copy)
    : scope_(scope), file_(file), buffer_(scratch()), copy_(static_cast<uint8_t*>(copy))
{
    const int64_t position = checked(scope, efio_Tell(file, scope));
    const int64_t size = checked(scope, efio_FileSizeGetByHandle(file, scope));
    left_ = static_cast<uint64_t>(std::max<int64_t>(size - position, 0));
    at_ = buffer_;
}

Source::Source(EerrException& scope, Supply& supply) noexcept
    : scope_(scope), left_(supply.left()), supply_(&supply), buffer_(scratch())
{
    at_ = buffer_;
}

void Source::promise(uint64_t bytes)
{
    require(bytes <= left_, "%lu bytes are needed, %lu are left", static_cast<unsigned long>(bytes),
            static_cast<unsigned long>(left_));
    left_ -= bytes;
    promised_ += bytes;
}

const uint8_t* Source::take(std::size_t count)
{
    if (count > window_) {
        fill(count);
    }
    const uint8_t* bytes = at_;
    at_ += count;
    window_ -= count;
    promised_ -= count;
    consumed_ += count;
    copyOut(bytes, count);
    return bytes;
}

void Source::read(void* target, std::size_t count)
{
    auto* to = static_cast<uint8_t*>(target);
    if (buffer_ == nullptr || count <= kScratchSize / 4) {
        std::memcpy(to, take(count), count);
        return;
    }
    const std::size_t held = std::min(count, window_);
    std::memcpy(to, take(held), held);
    readFile(to + held, count - held);
    promised_ -= count - held;
    consumed_ += count - held;
    copyOut(to + held, count - held);
}

/* Brings the window of a file to `count` bytes or more, as far as promises go. */
void Source::fill(std::size_t count)
{
    std::memmove(buffer_, at_, window_);
    at_ = buffer_;
    const auto size = static_cast<std::size_t>(std::min<uint64_t>(promised_, kScratchSize));
    readFile(buffer_ + window_, std::max(size, count) - window_);
    window_ = std::max(size, count);
}

void Source::readFile(void* target, std::size_t count)
{
    if (supply_ != nullptr) {
        supply_->take(target, count, scope_);
        return;
    }
    efio_ReadSeq(file_, target, static_cast<long>(count), scope_);
    check(scope_, "Error reported by function efio_ReadSeq");
}

void Source::copyOut(const void* bytes, std::size_t count) noexcept
{
    if (copy_ != nullptr && count > 0) {
        std::memcpy(copy_, bytes, count);
        copy_ += count;
    }
}

}  // namespace emantle::mif
