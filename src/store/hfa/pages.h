#pragma once

#include <emantle/files/efio/handle.h>

#include <array>
#include <cstdint>
#include <cstddef>
#include <memory>
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
    void write(Efio_File* file, uint64_t position, const void* bytes, std::size_t size, EerrException& scope);
    /* Bytes that are zeros, whatever the file holds. */
    void hide(uint64_t start, uint64_t end) noexcept;

    /* Bytes that have reached the file on another way. */
    void noteWritten(uint64_t position, const void* bytes, std::size_t size);

    /* A piece of memory that holds `size` bytes of the file, until the next call; null where they lie in two pages. */
    const unsigned char* at(Efio_File* file, uint64_t position, std::size_t size, EerrException& scope);

    uint64_t changedBytes() const { return uint64_t{changedPages_} * kPage; }

    /* What is changed, in order of position, in pieces that may hold unchanged bytes as well. */
    struct Piece {
        uint64_t start;
        uint64_t size;
        const unsigned char* bytes;
    };
    void changed(std::vector<Piece>& pieces, uint64_t end);
    /* The same of a part of one such piece, in pieces that hold little else. */
    void changedIn(uint64_t start, uint64_t end, std::vector<Piece>& pieces) const;
    /* All that is changed is in the file. */
    void settle() noexcept;
    /* Nothing is known of the file any more; changes are dropped. */
    void forget() noexcept;

    void beginStep() noexcept;
    void undoStep() noexcept;

private:
    static constexpr uint32_t kPagesOfChunk = 64;
    static constexpr uint32_t kChunk = kPage * kPagesOfChunk;
    static constexpr uint32_t kGranule = 64; /* a change is noted in these units */
    static constexpr uint32_t kMostPages = 4096;
    static constexpr std::size_t kBulk = std::size_t{1} << 17; /* a read past the pages pays from here on */

    struct Chunk {
        uint32_t number;
        uint64_t used;
        uint64_t valid;   /* a bit a page */
        uint64_t changed; /* a bit a page */
        uint64_t granules[kPagesOfChunk];
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
        uint64_t position;
        uint32_t size;
        bool wasValid;
        uint64_t granules;
    };

    Chunk& chunkOf(uint64_t position);
    Chunk* findChunk(uint64_t position) const noexcept;
    void makeRoom() noexcept;
    void load(Efio_File* file, Chunk& chunk, uint32_t first, uint32_t last, EerrException& scope);
    std::size_t readUpTo(Efio_File* file, uint64_t position, void* bytes, std::size_t size, EerrException& scope);
    void readPages(Efio_File* file, Chunk& chunk, uint32_t first, uint32_t last, uint32_t wanted, EerrException& scope);
    void readBulk(Efio_File* file, uint64_t position, unsigned char* bytes, std::size_t size, EerrException& scope);
    void keepForUndo(const Chunk& chunk, uint64_t position, uint32_t size, bool wasValid);
    void setGranules(Chunk& chunk, uint32_t page, uint64_t granules) noexcept;

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
    std::vector<Undo> undo_;
    std::vector<unsigned char> undoBytes_;
};

}  // namespace emantle::hfa
