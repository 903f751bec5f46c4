#pragma once

#include <emantle/files/efio/handle.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

class EerrException;

namespace emantle::hfa {

/* The bytes of an open store as its handle sees them: those of the file, read in pages on demand and kept, and over them
 * what was changed and is not in the file yet.
 *  1. A changed page stays until `settle`; others go when there are too many.
 *  2. Between two calls of `beginStep` every change can be undone, without memory being asked for.
 *  3. What lies behind the end of the file is 0. */
class Pages {
public:
    static constexpr uint32_t kPage = 4096;

    /* Bytes of the file that exist on the disk. */
    uint64_t onDisk() const { return onDisk_; }
    void setOnDisk(uint64_t size) { onDisk_ = size; }

    void read(Efio_File* file, uint64_t position, void* bytes, std::size_t size, EerrException& scope);
    void write(Efio_File* file, uint64_t position, const void* bytes, std::size_t size, EerrException& scope)
    {
        /* Most changes lie beside one that this session has made already. */
        const auto offset = static_cast<uint32_t>(position % kChunk);
        const uint32_t page = offset / kPage;
        const uint32_t inPage = offset % kPage;
        Chunk* chunk = findChunk(position);
        /* No bytes at all are beyond a page here, too. */
        if (chunk == nullptr || size - 1 >= kPage - inPage || (chunk->changed & bit(page)) == 0) [[unlikely]] {
            writeAnywhere(file, position, bytes, size, scope);
            return;
        }
        if (position < freshFrom_) {
            keepForUndo(*chunk, position, static_cast<uint32_t>(size), true);
        }
        std::memcpy(chunk->bytes + offset, bytes, size);
        chunk->marks[page].set(inPage / kGranule, (inPage + static_cast<uint32_t>(size) - 1) / kGranule);
    }
    /* Bytes that are zeros, whatever the file holds. */
    void hide(uint64_t start, uint64_t end) noexcept;

    /* Bytes that have reached the file on another way. */
    void noteWritten(uint64_t position, const void* bytes, std::size_t size);

    /* A piece of memory that holds `size` bytes of the file, until the next call; null where they lie in two pages. */
    const unsigned char* at(Efio_File* file, uint64_t position, std::size_t size, EerrException& scope)
    {
        const auto offset = static_cast<uint32_t>(position % kChunk);
        if (offset % kPage + size > kPage) {
            return nullptr;
        }
        Chunk* chunk = findChunk(position);
        if (chunk != nullptr && (chunk->valid & bit(offset / kPage)) != 0) [[likely]] {
            chunk->used = ++tick_;
            return chunk->bytes + offset;
        }
        return atLoaded(file, position, scope);
    }

    uint64_t changedBytes() const { return uint64_t{changedPages_} * kPage; }

    /* What is changed, in order of position, in pieces that may hold unchanged bytes as well. */
    struct Piece {
        uint64_t start;
        uint64_t size;
        const unsigned char* bytes;
    };
    void changed(std::vector<Piece>& pieces, uint64_t end);
    /* Gives what is changed within such a piece to `take`, in pieces that hold little else. */
    template <class Take>
    void changedIn(uint64_t start, uint64_t end, Take&& take) const
    {
        constexpr uint64_t kLeastGap = 2 * kGranule; /* fewer unchanged bytes are not worth a piece more */
        Piece open{start, 0, nullptr};
        for (uint64_t pageStart = start / kPage * kPage; pageStart < end; pageStart += kPage) {
            const Chunk& chunk = *findChunk(pageStart);
            const Marks& marks = chunk.marks[pageStart % kChunk / kPage];
            for (uint32_t first = marks.next(0), last = 0; first < kGranulesOfPage; first = marks.next(last)) {
                last = marks.endOfRun(first);
                const uint64_t from = std::max(start, pageStart + uint64_t{first} * kGranule);
                const uint64_t to = std::min(end, pageStart + uint64_t{last} * kGranule);
                const unsigned char* bytes = chunk.bytes + from % kChunk;
                if (from >= to) {
                    continue;
                }
                if (open.size > 0 && (from - open.start - open.size >= kLeastGap || bytes != open.bytes + (from - open.start))) {
                    take(std::as_const(open));
                    open.size = 0;
                }
                open = open.size > 0 ? Piece{open.start, to - open.start, open.bytes} : Piece{from, to - from, bytes};
            }
        }
        if (open.size > 0) {
            take(std::as_const(open));
        }
    }
    /* All that is changed is in the file. */
    void settle() noexcept;
    /* Nothing is known of the file any more; changes are dropped. */
    void forget() noexcept;

    /* All bytes from `end` on are zeros that nobody has written to. */
    void beginStep(uint64_t end = UINT64_MAX - kGranule) noexcept
    {
        undo_.clear();
        undoBytes_.clear();
        freshFrom_ = (end + kGranule - 1) / kGranule * kGranule;
    }
    void undoStep() noexcept;

private:
    static constexpr uint32_t kPagesOfChunk = 64;
    static constexpr uint32_t kChunk = kPage * kPagesOfChunk;
    static constexpr uint32_t kGranule = 8; /* a change is noted in these units */
    static constexpr uint32_t kFewBytes = 8; /* a link, or the head of a free block */
    static constexpr uint32_t kGranulesOfPage = kPage / kGranule;
    static constexpr uint32_t kMostPages = 4096;
    static constexpr std::size_t kBulk = std::size_t{1} << 17; /* a read past the pages pays from here on */

    static constexpr uint64_t bit(uint32_t index) { return uint64_t{1} << index; }
    /* The bits `first` to `last`. */
    static constexpr uint64_t bits(uint32_t first, uint32_t last) { return (~uint64_t{0} >> (63 - (last - first))) << first; }

    /* The granules of a page that are changed. */
    class Marks {
    public:
        void set(uint32_t first, uint32_t last)
        {
            for (uint32_t word = first / 64; word <= last / 64; ++word) {
                words_[word] |= bits(std::max(first, 64 * word) % 64, std::min(last, 64 * word + 63) % 64);
            }
        }
        void clear() { words_ = {}; }
        void clearFrom(uint32_t first);
        /* The first marked one, and the first unmarked one, from `from` on; kGranulesOfPage where there is none. */
        uint32_t next(uint32_t from) const { return find(from, 0); }
        uint32_t endOfRun(uint32_t from) const { return find(from, ~uint64_t{0}); }
        /* Behind the last marked one; 0 for none. */
        uint32_t end() const;

    private:
        uint32_t find(uint32_t from, uint64_t flipped) const
        {
            uint32_t word = from / 64;
            if (word == words_.size()) {
                return kGranulesOfPage;
            }
            uint64_t left = (words_[word] ^ flipped) >> from % 64 << from % 64;
            while (left == 0 && ++word < words_.size()) {
                left = words_[word] ^ flipped;
            }
            return left != 0 ? 64 * word + static_cast<uint32_t>(std::countr_zero(left)) : kGranulesOfPage;
        }

        std::array<uint64_t, kGranulesOfPage / 64> words_{};
    };

    struct Chunk {
        uint32_t number;
        uint64_t used;
        uint64_t valid;   /* a bit a page */
        uint64_t changed; /* a bit a page */
        Marks marks[kPagesOfChunk];
        unsigned char* bytes;
    };
    /* The memory of chunks: single ones first, then blocks that the kernel backs with large pages. */
    class Slabs {
    public:
        unsigned char* take();
        void clear() noexcept;

    private:
        static constexpr std::size_t kLarge = std::size_t{1} << 21;
        struct Release {
            std::size_t size;
            void operator()(unsigned char* slab) const noexcept;
        };
        std::vector<std::unique_ptr<unsigned char, Release>> slabs_;
        unsigned char* next_ = nullptr;
        std::size_t left_ = 0; /* chunks of the last slab */
    };
    struct Undo {
        uint32_t position;
        uint32_t size : 30; /* within a page */
        uint32_t wasValid : 1;
        uint32_t wasChanged : 1;     /* the page, by anything before this */
        unsigned char few[kFewBytes]; /* what was there, where it is no more; else it lies in `undoBytes_` */
    };

    Chunk& chunkOf(uint64_t position);
    Chunk* findChunk(uint64_t position) const noexcept
    {
        const uint64_t number = position / kChunk;
        return number < chunks_.size() ? chunks_[number].get() : nullptr;
    }
    const unsigned char* atLoaded(Efio_File* file, uint64_t position, EerrException& scope);
    void writeAnywhere(Efio_File* file, uint64_t position, const void* bytes, std::size_t size, EerrException& scope);
    void clearFrom(uint64_t position) noexcept;
    void makeRoom() noexcept;
    void load(Efio_File* file, Chunk& chunk, uint32_t first, uint32_t last, EerrException& scope);
    std::size_t readUpTo(Efio_File* file, uint64_t position, void* bytes, std::size_t size, EerrException& scope);
    void readPages(Efio_File* file, Chunk& chunk, uint32_t first, uint32_t last, uint32_t wanted, EerrException& scope);
    void readBulk(Efio_File* file, uint64_t position, unsigned char* bytes, std::size_t size, EerrException& scope);
    void keepForUndo(const Chunk& chunk, uint64_t position, uint32_t size, bool wasValid)
    {
        if (undo_.size() == undo_.capacity()) [[unlikely]] {
            undo_.reserve(2 * undo_.size() + 64); /* first: bytes that no undo knows of would belong to another one */
        }
        const auto offset = static_cast<uint32_t>(position % kChunk);
        Undo undo{static_cast<uint32_t>(position), size, wasValid, (chunk.changed & bit(offset / kPage)) != 0, {}};
        if (size <= kFewBytes) {
            std::memcpy(undo.few, chunk.bytes + offset, size);
        } else if (wasValid) {
            undoBytes_.insert(undoBytes_.end(), chunk.bytes + offset, chunk.bytes + offset + size);
        }
        undo_.push_back(undo);
    }
    void forgetChange(Chunk& chunk, uint32_t page) noexcept;

    Slabs slabs_;
    std::vector<std::unique_ptr<Chunk>> chunks_; /* by number */
    std::vector<Chunk*> live_;
    std::vector<uint32_t> changedChunks_;
    std::vector<std::unique_ptr<Chunk>> spares_;
    Chunk* last_ = nullptr;
    uint64_t tick_ = 0;
    uint64_t onDisk_ = 0;
    uint32_t validPages_ = 0;
    uint32_t changedPages_ = 0;
    uint64_t hiddenStart_ = 0;
    uint64_t hiddenEnd_ = 0;
    uint64_t expected_ = 0; /* where a read goes on that sweeps through the file */
    uint32_t window_ = 0;   /* pages to read at once there */
    uint64_t freshFrom_ = UINT64_MAX; /* from here on the step needs no undo: the bytes were zeros */
    std::vector<Undo> undo_;
    std::vector<unsigned char> undoBytes_;
};

}  // namespace emantle::hfa
