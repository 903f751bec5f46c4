#pragma once

#include "store/hfa/pages.h"

#include <array>
#include <memory>

namespace emantle::hfa {

struct Handle;

/* Where a new file keeps the redo record's address: behind the tag, in bytes that no reader looks at. */
inline constexpr uint32_t kGapPosition = 20;
inline constexpr uint32_t kGapSize = 44;

/* What makes the changes of a handle reach its file wholly or not at all; docs/store.md has the bytes.
 *  1. New bytes go to places that no structure of the file leads to, changes of old bytes into a redo record, its address
 *     into the gap: that is the moment at which the changes are made. Then they are put in place, and the gap is emptied.
 *  2. A file with a sound record in its gap is read as if its changes were in place. Opening for writing puts them there.
 *  3. What fails before that moment changed nothing that a reader sees. What fails after it is told, stays made, and is
 *     put in place at the next chance. */
class Journal {
public:
    /* Takes up what the file has, with the end of the file; where a record is pending it is applied, or laid over the
     * pages of a read-only handle. */
    void start(Handle& handle, EerrException& scope);

    /* The length of the file as its structures have it. */
    uint64_t committedEnd() const { return committedEnd_; }

    /* A new block at the end of the file, all zeros. */
    void noteAllocated(uint64_t start, uint64_t size);
    /* These bytes are written, or free again. */
    void noteUsed(uint64_t start, uint64_t end)
    {
        if (!virgin_.empty()) {
            useVirgin(start, end);
        }
    }

    /* Writes bytes at once where no structure of the file leads to them, or to zeros that nobody has written to; false
     * elsewhere. */
    bool writeAtOnce(Handle& handle, uint64_t position, const void* bytes, std::size_t size, EerrException& scope)
    {
        if (size >= kAtOnce) {
            return writeMuchAtOnce(handle, position, bytes, size, scope);
        }
        noteUsed(position, position + size);
        return false;
    }

    /* Whether a commit has nothing to do. */
    bool isIdle(const Handle& handle) const;
    /* Makes every change of the handle one of the file. */
    void commit(Handle& handle, EerrException& scope);
    /* Whether the last commit that failed did so behind the moment at which its changes were made. */
    bool wasMade() const { return wasMade_; }
    void beginStep() { wasMade_ = false; }

    /* Makes zeros again of what was written over zeros by a change that was not made. */
    void undoFill(Handle& handle, EerrException& scope);

    /* Gives back what a change that was not made left behind the end of the file. */
    void trim(Handle& handle, EerrException& scope);
    /* Sees to it that the file grows by zeros: what a failure left behind its end, because even that could not be given
     * back, goes first. */
    void clearBehindEnd(Handle& handle, EerrException& scope);

private:
    /* From this size on bytes do not pass through the pages on their way to new space. */
    static constexpr std::size_t kAtOnce = std::size_t{1} << 17;
    static constexpr uint32_t kFillSize = 16; /* of the part of the gap that leads to bytes being filled */
    static constexpr uint32_t kRedoSize = 24; /* of the part behind it, which leads to a record */
    using Gap = std::array<unsigned char, kGapSize>;
    struct Span {
        uint64_t start = 0;
        uint64_t end = 0;
    };
    struct Change {
        uint32_t position;
        uint32_t size;
        const unsigned char* bytes;
    };
    /* A run of bytes that are written once, each by whoever asked for the run. */
    class Bytes {
    public:
        Bytes() = default;
        explicit Bytes(std::size_t size) : bytes_(std::make_unique_for_overwrite<unsigned char[]>(size)), size_(size) {}
        unsigned char* data() { return bytes_.get(); }
        const unsigned char* data() const { return bytes_.get(); }
        std::size_t size() const { return size_; }
        bool empty() const { return size_ == 0; }

    private:
        std::unique_ptr<unsigned char[]> bytes_;
        std::size_t size_ = 0;
    };
    struct Record {
        uint32_t position = 0;
        uint32_t end = 0; /* of the file, once the record is applied */
        Bytes bytes;
    };

    static std::array<unsigned char, kRedoSize> redoPart(const Record& record);
    static bool readFill(const unsigned char* gap, uint64_t size, Span& fill);
    void useVirgin(uint64_t start, uint64_t end);
    bool writeMuchAtOnce(Handle& handle, uint64_t position, const void* bytes, std::size_t size, EerrException& scope);
    const Span* virginAround(uint64_t start, uint64_t end) const;
    bool beginFill(Handle& handle, uint64_t start, uint64_t end, EerrException& scope);
    static bool readRecord(Handle& handle, Record& record, EerrException& scope);
    static bool parse(const Record& record, std::vector<Change>& changes);
    void split(Handle& handle, std::vector<Change>& fresh, std::vector<Change>& inPlace);
    void writeFresh(Handle& handle, const std::vector<Change>& fresh, EerrException& scope);
    void write(Handle& handle, uint64_t position, const unsigned char* bytes, std::size_t size, EerrException& scope);
    void truncate(Handle& handle, uint64_t end, EerrException& scope);
    void emptyGap(Handle& handle, EerrException& scope);
    void finishPending(Handle& handle, const std::vector<Change>& changes, EerrException& scope);
    /* Finishes what a failure left. */
    void tidy(Handle& handle, EerrException& scope);
    void giveUp(Handle& handle) noexcept;
    void writeRecord(Handle& handle, std::vector<Change>& fresh, const std::vector<Change>& inPlace, EerrException& scope);
    void writeUnguarded(Handle& handle, const std::vector<Change>& inPlace, EerrException& scope);

    uint64_t committedEnd_ = 0;
    Record pending_;         /* made, but not yet all in place; no bytes for none */
    bool gapIsDirty_ = false; /* a write to the gap failed: nobody knows what it holds */
    std::vector<Span> virgin_; /* large blocks of zeros that nobody has written to yet */
    Span fill_;                /* what the gap tells to be zeros until the call has been made; empty for none */
    bool fillIsStale_ = false; /* the call was not made, and the zeros are not back yet */
    bool hasGap_ = false;
    bool wasMade_ = false;
};

}  // namespace emantle::hfa
