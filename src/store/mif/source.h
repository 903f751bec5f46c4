#pragma once

#include "frame/guard/nested.h"
#include "store/mif/stream.h"

namespace emantle::mif {

/* Bytes of the stream form on their way in, from memory or from a file.
 *  1. Before bytes are taken they are promised: `promise` holds their number against what is left, and so is where a
 *     count that lies is found out, before memory is taken for it.
 *  2. What is promised is certain to belong to the record: a file gives it in large pieces, and never a byte beyond. */
class Source {
public:
    Source(EerrException& scope, Bytes bytes) noexcept;
    /* Bytes without a known end: nothing that they say is held against anything. */
    Source(EerrException& scope, const void* bytes) noexcept;
    /* A file from its position on. Where `copy` is not null it receives each byte. */
    Source(EerrException& scope, Efio_File* file, void* copy);

    Source(EerrException& scope, Supply& supply) noexcept;

    void promise(uint64_t bytes);

    /* The next `count` bytes, at most kScratchSize, valid until the next call. */
    const uint8_t* take(std::size_t count);

    void read(void* target, std::size_t count);

    /* Bytes taken so far. */
    uint64_t consumed() const noexcept { return consumed_; }

private:
    void fill(std::size_t count);
    void readFile(void* target, std::size_t count);
    void copyOut(const void* bytes, std::size_t count) noexcept;

    EerrException& scope_;
    const uint8_t* at_ = nullptr;  /* the window: all bytes in memory, or a part of a file */
    std::size_t window_ = 0;
    uint64_t promised_ = 0;        /* not yet taken, those in a file's window included */
    uint64_t left_ = 0;            /* not yet promised */
    uint64_t consumed_ = 0;
    Efio_File* file_ = nullptr;
    Supply* supply_ = nullptr;
    uint8_t* buffer_ = nullptr;
    uint8_t* copy_ = nullptr;
};

}  // namespace emantle::mif
