#include "store/mif/sink.h"

#include "store/mif/scratch.h"
#include "store/mif/types.h"

#include <cstring>
#include <emantle/files/efio/handle.h>
#include <limits>

namespace emantle::mif {

Sink::Sink(EerrException& scope, void* bytes) noexcept
    : scope_(scope), kind_(Kind::memory), at_(static_cast<uint8_t*>(bytes)), left_(std::numeric_limits<std::size_t>::max())
{
}

Sink::Sink(EerrException& scope, std::span<uint8_t> bytes) noexcept
    : scope_(scope), kind_(Kind::memory), at_(bytes.data()), left_(bytes.size())
{
}

Sink::Sink(EerrException& scope, Efio_File* file)
    : scope_(scope), kind_(Kind::file), file_(file), buffer_(scratch()),
      start_(static_cast<uint64_t>(checked(scope, efio_Tell(file, scope))))
{
}

Sink::Sink(EerrException& scope, std::string& text, uint64_t position) noexcept
    : scope_(scope), kind_(Kind::text), text_(&text), start_(position)
{
}

uint8_t* Sink::room(std::size_t count)
{
    total_ += count;
    switch (kind_) {
    case Kind::nowhere:
        return nullptr;
    case Kind::memory: {
        require(count <= left_, "%lu bytes are needed, %lu are left", static_cast<unsigned long>(count),
                static_cast<unsigned long>(left_));
        uint8_t* room = at_;
        at_ += count;
        left_ -= count;
        return room;
    }
    case Kind::file:
        gather(count);
        gathered_ += count;
        return buffer_ + gathered_ - count;
    case Kind::text:
        break;
    }
    text_->resize(text_->size() + count);
    return reinterpret_cast<uint8_t*>(text_->data()) + text_->size() - count;
}

void Sink::put(const void* bytes, std::size_t count)
{
    if (kind_ == Kind::file && count > kScratchSize / 4) {
        finish();
        write(bytes, count);
        total_ += count;
    } else if (uint8_t* to = room(count); to != nullptr && count > 0) {
        std::memcpy(to, bytes, count);
    }
}

void Sink::skip(std::size_t count)
{
    uint8_t* to = room(count);
    if (kind_ == Kind::file) {
        std::memset(to, 0, count);
    }
}

uint32_t Sink::positionBehindHead() const noexcept
{
    const bool isInFile = kind_ == Kind::file || kind_ == Kind::text;
    return isInFile ? static_cast<uint32_t>(start_ + total_ + kHeadBytes) : kHeadBytes;
}

void Sink::finish()
{
    if (gathered_ > 0) {
        write(buffer_, gathered_);
        gathered_ = 0;
    }
}

/* Makes place for `count` bytes behind what is gathered. */
void Sink::gather(std::size_t count)
{
    if (count > kScratchSize - gathered_) {
        finish();
    }
}

void Sink::write(const void* bytes, std::size_t count)
{
    efio_FileWriteSequential(file_, bytes, static_cast<long>(count), scope_);
    check(scope_, "Error reported by function efio_FileWriteSequential");
}

}  // namespace emantle::mif
