#pragma once

#include "frame/guard/nested.h"

#include <cstddef>
#include <cstdint>
#include <emantle/store/emif/dictionary.h>
#include <span>
#include <string>

namespace emantle::mif {

/* Bytes of the stream form on their way out. */
class Sink {
public:
    /* Counts and keeps nothing. */
    explicit Sink(EerrException& scope) noexcept : scope_(scope), kind_(Kind::nowhere) {}
    /* Memory with room enough, or with a known end. */
    Sink(EerrException& scope, void* bytes) noexcept;
    Sink(EerrException& scope, std::span<uint8_t> bytes) noexcept;
    /* A file from its position on: small pieces are gathered, and `finish` writes what is left of them. */
    Sink(EerrException& scope, Efio_File* file);
    /* A text, as if it lay in a file at `position`. */
    Sink(EerrException& scope, std::string& text, uint64_t position) noexcept;

    void put(const void* bytes, std::size_t count);

    /* Room for the next `count` bytes, at most kScratchSize, all to be filled; null where nothing is kept. */
    uint8_t* room(std::size_t count);

    /* Counts bytes that nobody fills: 0 in a file, untouched in memory. */
    void skip(std::size_t count);

    /* What the head of a pointer item says about where its data are: a place in the file, or 8. */
    uint32_t positionBehindHead() const noexcept;

    void finish();

    uint64_t total() const noexcept { return total_; }

private:
    enum class Kind { nowhere, memory, file, text };

    void gather(std::size_t count);
    void write(const void* bytes, std::size_t count);

    EerrException& scope_;
    Kind kind_;
    uint8_t* at_ = nullptr;
    std::size_t left_ = 0;
    Efio_File* file_ = nullptr;
    uint8_t* buffer_ = nullptr;
    std::size_t gathered_ = 0;
    std::string* text_ = nullptr;
    uint64_t start_ = 0;
    uint64_t total_ = 0;
};

}  // namespace emantle::mif
