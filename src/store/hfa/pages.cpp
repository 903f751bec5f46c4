#include "store/hfa/pages.h"

#include "files/efio/record.h"
#include "frame/guard/nested.h"
#include "platform/heap.h"
#include "platform/threads.h"

#include <emantle/files/efio.h>
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <mutex>
#include <utility>

namespace emantle::hfa {

namespace {

/* Slabs of one size of handles that were closed, for the next one: memory that the kernel need not clear anew. */
class IdleSlabs {
public:
    unsigned char* take() noexcept
    {
        const std::lock_guard guard(mutex_);
        return count_ > 0 ? slabs_[--count_] : nullptr;
    }
    bool put(unsigned char* slab) noexcept
    {
        const std::lock_guard guard(mutex_);
        if (count_ == slabs_.size()) {
            return false;
        }
        slabs_[count_++] = slab;
        return true;
    }

private:
    platform::Mutex mutex_;
    std::array<unsigned char*, 10> slabs_{};
    std::size_t count_ = 0;
};

IdleSlabs& idleSlabs(bool areLarge)
{
    static auto* const slabs = new IdleSlabs[2]; /* handles may be closed while the process ends */
    return slabs[areLarge ? 1 : 0];
}

}  // namespace

uint32_t Pages::Marks::end() const
{
    for (std::size_t word = words_.size(); word-- > 0;) {
        if (words_[word] != 0) {
            return static_cast<uint32_t>(64 * (word + 1)) - static_cast<uint32_t>(std::countl_zero(words_[word]));
        }
    }
    return 0;
}

void Pages::Marks::clearFrom(uint32_t first)
{
    for (uint32_t word = first / 64; word < words_.size(); ++word) {
        words_[word] &= word == first / 64 && first % 64 != 0 ? bits(0, first % 64 - 1) : 0;
    }
}

void Pages::Slabs::Release::operator()(unsigned char* slab) const noexcept
{
    if (!idleSlabs(size == kLarge).put(slab)) {
        ::operator delete(slab, std::align_val_t{size < kLarge ? std::size_t{kPage} : kLarge});
    }
}

unsigned char* Pages::Slabs::take()
{
    constexpr std::size_t kSingle = 4;
    if (left_ == 0) {
        const Release release{slabs_.size() < kSingle ? std::size_t{kChunk} : kLarge};
        slabs_.reserve(slabs_.size() + 1);
        unsigned char* slab = idleSlabs(release.size == kLarge).take();
        if (slab == nullptr) {
            const auto alignment = release.size == kLarge ? kLarge : std::size_t{kPage};
            slab = static_cast<unsigned char*>(::operator new(release.size, std::align_val_t{alignment}));
            platform::preferLargePages(slab, release.size);
        }
        slabs_.emplace_back(slab, release);
        next_ = slab;
        left_ = release.size / kChunk;
    }
    --left_;
    return std::exchange(next_, next_ + kChunk);
}

void Pages::Slabs::clear() noexcept
{
    slabs_.clear();
    left_ = 0;
}

/* Reads what the file has of `size` bytes. */
std::size_t Pages::readUpTo(Efio_File* file, uint64_t position, void* bytes, std::size_t size, EerrException& scope)
{
    int64_t done = 0;
    files::readSystem(*files::opened(file), bytes, static_cast<int64_t>(size), static_cast<int64_t>(position), done, scope);
    check(scope, "efio_ReadSeq failed");
    const uint64_t from = std::max(position, hiddenStart_);
    const uint64_t to = std::min(position + static_cast<uint64_t>(done), hiddenEnd_);
    if (from < to) {
        std::memset(static_cast<unsigned char*>(bytes) + (from - position), 0, to - from);
    }
    return static_cast<std::size_t>(done);
}

void Pages::hide(uint64_t start, uint64_t end) noexcept
{
    hiddenStart_ = start;
    hiddenEnd_ = end;
    for (Chunk* chunk : live_) {
        const uint64_t base = uint64_t{chunk->number} * kChunk;
        const uint64_t from = std::max(base, start);
        const uint64_t to = std::min(base + kChunk, end);
        if (from < to) {
            std::memset(chunk->bytes + (from - base), 0, to - from);
        }
    }
}

Pages::Chunk& Pages::chunkOf(uint64_t position)
{
    const uint64_t number = position / kChunk;
    if (last_ != nullptr && last_->number == number) {
        return *last_;
    }
    if (number >= chunks_.size()) {
        chunks_.resize(number + number / 4 + 1);
    }
    if (chunks_[number] == nullptr) {
        makeRoom();
        if (live_.size() == live_.capacity()) {
            live_.reserve(2 * live_.size() + 16);
            spares_.reserve(live_.capacity());
        }
        std::unique_ptr<Chunk> chunk;
        if (!spares_.empty()) {
            chunk = std::move(spares_.back());
            spares_.pop_back();
        } else {
            chunk = std::make_unique<Chunk>();
            chunk->bytes = slabs_.take();
        }
        chunk->number = static_cast<uint32_t>(number);
        chunk->valid = chunk->changed = 0;
        live_.push_back(chunk.get());
        chunks_[number] = std::move(chunk);
    }
    last_ = chunks_[number].get();
    last_->used = ++tick_;
    return *last_;
}

/* Drops the chunk that was not used for the longest time, if there are too many. */
void Pages::makeRoom() noexcept
{
    while (validPages_ > kMostPages + changedPages_) {
        Chunk** oldest = nullptr;
        for (Chunk*& chunk : live_) {
            if (chunk->changed == 0 && (oldest == nullptr || chunk->used < (*oldest)->used)) {
                oldest = &chunk;
            }
        }
        if (oldest == nullptr) {
            return;
        }
        Chunk* gone = *oldest;
        *oldest = live_.back();
        live_.pop_back();
        validPages_ -= static_cast<uint32_t>(std::popcount(gone->valid));
        last_ = last_ == gone ? nullptr : last_;
        spares_.push_back(std::move(chunks_[gone->number]));
    }
}

/* Reads the pages `first` to `last`; up to `wanted` they must be there, behind it they are read ahead. */
void Pages::readPages(Efio_File* file, Chunk& chunk, uint32_t first, uint32_t last, uint32_t wanted, EerrException& scope)
{
    const uint64_t start = uint64_t{chunk.number} * kChunk + uint64_t{first} * kPage;
    const auto room = static_cast<std::size_t>(last - first + 1) * kPage;
    const auto size = static_cast<std::size_t>(std::min<uint64_t>(room, onDisk_ > start ? onDisk_ - start : 0));
    unsigned char* to = chunk.bytes + std::size_t{first} * kPage;
    const std::size_t done = size > 0 ? readUpTo(file, start, to, size, scope) : 0;
    if (done == size) {
        std::memset(to + size, 0, room - size);
    } else {
        last = first + static_cast<uint32_t>(done / kPage) - 1; /* the file was cut short behind our back */
        require(done >= kPage && last >= wanted, "efio_ReadSeq failed");
    }
    const uint64_t fresh = bits(first, last) & ~chunk.valid;
    chunk.valid |= fresh;
    validPages_ += static_cast<uint32_t>(std::popcount(fresh));
}

void Pages::load(Efio_File* file, Chunk& chunk, uint32_t first, uint32_t last, EerrException& scope)
{
    /* The head of a file is read for itself; elsewhere a walk along siblings begins. */
    constexpr uint32_t kHeadWindow = 4;
    constexpr uint32_t kFirstWindow = 16;
    while (const uint64_t missing = ~chunk.valid & bits(first, last)) {
        const auto from = static_cast<uint32_t>(std::countr_zero(missing));
        const uint64_t start = uint64_t{chunk.number} * kChunk + uint64_t{from} * kPage;
        const uint32_t least = start == 0 ? kHeadWindow : kFirstWindow;
        window_ = start == expected_ ? std::clamp(2 * window_, least, kPagesOfChunk) : least;
        /* Up to the next page that is held, and not behind the end of the file without need. */
        const uint64_t held = chunk.valid & bits(from, kPagesOfChunk - 1);
        const uint32_t bound = held == 0 ? kPagesOfChunk : static_cast<uint32_t>(std::countr_zero(held));
        const uint64_t pagesLeft = onDisk_ > start ? (onDisk_ - start + kPage - 1) / kPage : 0;
        const uint32_t need = std::min(last + 1, bound) - from;
        const auto count =
            std::min<uint32_t>(bound - from, std::max<uint32_t>(need, static_cast<uint32_t>(std::min<uint64_t>(window_, pagesLeft))));
        readPages(file, chunk, from, from + count - 1, from + need - 1, scope);
        expected_ = start + uint64_t{count} * kPage;
    }
}

const unsigned char* Pages::atLoaded(Efio_File* file, uint64_t position, EerrException& scope)
{
    const auto offset = static_cast<uint32_t>(position % kChunk);
    Chunk& chunk = chunkOf(position);
    load(file, chunk, offset / kPage, offset / kPage, scope);
    return chunk.bytes + offset;
}

void Pages::readBulk(Efio_File* file, uint64_t position, unsigned char* bytes, std::size_t size, EerrException& scope)
{
    const auto there = static_cast<std::size_t>(std::min<uint64_t>(size, onDisk_ > position ? onDisk_ - position : 0));
    require(readUpTo(file, position, bytes, there, scope) == there, "efio_ReadSeq failed");
    std::memset(bytes + there, 0, size - there);
    for (const uint32_t number : changedChunks_) {
        const Chunk& chunk = *chunks_[number];
        const uint64_t base = uint64_t{number} * kChunk;
        for (uint64_t left = chunk.changed; left != 0; left &= left - 1) {
            const uint64_t start = base + uint64_t(std::countr_zero(left)) * kPage;
            const uint64_t from = std::max(start, position);
            const uint64_t to = std::min(start + kPage, position + size);
            if (from < to) {
                std::memcpy(bytes + (from - position), chunk.bytes + (from - base), to - from);
            }
        }
    }
}

void Pages::read(Efio_File* file, uint64_t position, void* bytes, std::size_t size, EerrException& scope)
{
    auto* to = static_cast<unsigned char*>(bytes);
    if (size >= kBulk) {
        readBulk(file, position, to, size, scope);
        return;
    }
    while (size > 0) {
        const auto offset = static_cast<uint32_t>(position % kChunk);
        const std::size_t step = std::min<std::size_t>(size, kChunk - offset);
        Chunk& chunk = chunkOf(position);
        const uint32_t first = offset / kPage;
        const auto last = static_cast<uint32_t>((offset + step - 1) / kPage);
        if ((~chunk.valid & bits(first, last)) != 0) {
            load(file, chunk, first, last, scope);
        }
        std::memcpy(to, chunk.bytes + offset, step);
        to += step;
        position += step;
        size -= step;
    }
}

void Pages::forgetChange(Chunk& chunk, uint32_t page) noexcept
{
    if ((chunk.changed & bit(page)) != 0) {
        chunk.marks[page].clear();
        chunk.changed ^= bit(page);
        --changedPages_;
    }
}

void Pages::writeAnywhere(Efio_File* file, uint64_t position, const void* bytes, std::size_t size, EerrException& scope)
{
    const auto* from = static_cast<const unsigned char*>(bytes);
    while (size > 0) {
        const auto offset = static_cast<uint32_t>(position % kChunk);
        const uint32_t page = offset / kPage;
        const auto step = static_cast<uint32_t>(std::min<std::size_t>(size, kPage - offset % kPage));
        Chunk& chunk = chunkOf(position);
        if ((chunk.valid & bit(page)) == 0 && step < kPage) {
            load(file, chunk, page, page, scope);
        }
        const bool wasValid = (chunk.valid & bit(page)) != 0;
        if (chunk.changed == 0 && std::ranges::find(changedChunks_, chunk.number) == changedChunks_.end()) {
            changedChunks_.push_back(chunk.number);
        }
        if (position < freshFrom_) {
            keepForUndo(chunk, position, step, wasValid);
        }
        std::memcpy(chunk.bytes + offset, from, step);
        const uint32_t inPage = offset % kPage;
        chunk.marks[page].set(inPage / kGranule, (inPage + step - 1) / kGranule);
        if ((chunk.changed & bit(page)) == 0) {
            chunk.changed |= bit(page);
            ++changedPages_;
        }
        if (!wasValid) {
            chunk.valid |= bit(page);
            ++validPages_;
        }
        from += step;
        position += step;
        size -= step;
    }
}

void Pages::noteWritten(uint64_t position, const void* bytes, std::size_t size)
{
    onDisk_ = std::max<uint64_t>(onDisk_, position + size);
    const auto* from = static_cast<const unsigned char*>(bytes);
    while (size > 0) {
        const auto offset = static_cast<uint32_t>(position % kChunk);
        const auto step = static_cast<uint32_t>(std::min<std::size_t>(size, kPage - offset % kPage));
        if (Chunk* chunk = findChunk(position); chunk != nullptr && (chunk->valid & bit(offset / kPage)) != 0) {
            std::memcpy(chunk->bytes + offset, from, step);
        }
        from += step;
        position += step;
        size -= step;
    }
}

void Pages::changed(std::vector<Piece>& pieces, uint64_t end)
{
    std::ranges::sort(changedChunks_);
    for (const uint32_t number : changedChunks_) {
        const Chunk& chunk = *chunks_[number];
        for (uint64_t left = chunk.changed; left != 0; left &= left - 1) {
            const auto page = static_cast<uint32_t>(std::countr_zero(left));
            const Marks& marks = chunk.marks[page];
            const uint64_t base = uint64_t{number} * kChunk + uint64_t{page} * kPage;
            const uint64_t start = base + uint64_t{marks.next(0)} * kGranule;
            const uint64_t stop = std::min(end, base + uint64_t{marks.end()} * kGranule);
            if (start >= stop) {
                continue;
            }
            /* Neighbouring pages go in one piece, whatever of them is changed: a write more costs more than the bytes. */
            const bool goesOn = !pieces.empty() && base % kChunk != 0 && pieces.back().start + pieces.back().size > base - kPage;
            if (goesOn) {
                pieces.back().size = stop - pieces.back().start;
            } else {
                pieces.push_back({start, stop - start, chunk.bytes + start % kChunk});
            }
        }
    }
}

void Pages::settle() noexcept
{
    for (const uint32_t number : changedChunks_) {
        Chunk& chunk = *chunks_[number];
        for (uint64_t left = chunk.changed; left != 0; left &= left - 1) {
            chunk.marks[std::countr_zero(left)].clear();
        }
        chunk.changed = 0;
    }
    changedChunks_.clear();
    changedPages_ = 0;
}

void Pages::forget() noexcept
{
    for (Chunk* chunk : live_) {
        chunks_[chunk->number].reset();
    }
    live_.clear();
    spares_.clear();
    slabs_.clear();
    changedChunks_.clear();
    undo_.clear();
    undoBytes_.clear();
    last_ = nullptr;
    validPages_ = changedPages_ = 0;
    hiddenStart_ = hiddenEnd_ = 0;
    expected_ = 0;
}

/* Makes zeros of what is held from a position on, and forgets that it was changed. */
void Pages::clearFrom(uint64_t position) noexcept
{
    for (Chunk* chunk : live_) {
        const uint64_t base = uint64_t{chunk->number} * kChunk;
        for (uint64_t left = base + kChunk > position ? chunk->valid : 0; left != 0; left &= left - 1) {
            const auto page = static_cast<uint32_t>(std::countr_zero(left));
            const uint64_t start = base + uint64_t{page} * kPage;
            const uint64_t from = std::max(start, position);
            if (from < start + kPage) {
                std::memset(chunk->bytes + (from - base), 0, start + kPage - from);
                chunk->marks[page].clearFrom(static_cast<uint32_t>((from - start) / kGranule));
                if (chunk->marks[page].end() == 0) {
                    forgetChange(*chunk, page);
                }
            }
        }
    }
}

void Pages::undoStep() noexcept
{
    while (!undo_.empty()) {
        const Undo undo = undo_.back();
        undo_.pop_back();
        const auto offset = static_cast<uint32_t>(undo.position % kChunk);
        const uint32_t page = offset / kPage;
        Chunk& chunk = *chunks_[undo.position / kChunk];
        if (undo.wasValid && undo.size <= kFewBytes) {
            std::memcpy(chunk.bytes + offset, undo.few, undo.size);
        } else if (undo.wasValid) {
            std::memcpy(chunk.bytes + offset, undoBytes_.data() + undoBytes_.size() - undo.size, undo.size);
            undoBytes_.erase(undoBytes_.end() - undo.size, undoBytes_.end());
        } else {
            chunk.valid &= ~bit(page);
            --validPages_;
        }
        if (!undo.wasChanged) {
            forgetChange(chunk, page);
        }
    }
    clearFrom(freshFrom_);
    std::erase_if(changedChunks_, [&](uint32_t number) { return chunks_[number]->changed == 0; });
}

}  // namespace emantle::hfa
