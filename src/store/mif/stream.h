#pragma once

#include "frame/guard/guard.h"

#include <cstddef>
#include <cstdint>
#include <emantle/store/emif/data.h>
#include <span>
#include <string>
#include <string_view>

/* The store's way to the encoding: the same walks as the plain functions, on bytes whose end is known. All of them throw
 * what guard.h says; `scope` then holds the chain of the callee that failed. */

namespace emantle::mif {

using Bytes = std::span<const std::uint8_t>;

/* Adds the designs of the text that `bytes` begin with to `dictionary`. Returns the length of the text, its "." included.
 * Damage behind the first design ends the text where it stands, with a printed report. */
std::size_t decodeDictionary(EerrException& scope, std::string_view bytes, Emif_Dictionary& dictionary);

/* The text of a dictionary. `changed` stays as it was. */
std::string encodeDictionary(EerrException& scope, const Emif_Dictionary& dictionary);

/* Fills a host record from `bytes`, under the rules of emif_ConvertToHost; every count is held against their end. Returns
 * the bytes consumed. */
std::size_t convertToHost(EerrException& scope, Bytes bytes, const Emif_Design& design, void* object);

/* Bytes that are read as they are needed: each `take` is for the next ones, of at most `left` in all. */
class Supply {
public:
    explicit Supply(std::uint64_t left) noexcept : left_(left) {}
    virtual ~Supply() = default;
    std::uint64_t left() const noexcept { return left_; }
    virtual void take(void* target, std::size_t count, EerrException& scope) = 0;

private:
    std::uint64_t left_;
};
std::size_t convertToHost(EerrException& scope, Supply& supply, const Emif_Design* design, void* object);

/* Writes the stream form to `bytes`, and fails where it does not fit. Returns the bytes written. */
std::size_t convertToMIF(EerrException& scope, const void* object, const Emif_Design& design,
                         std::span<std::uint8_t> bytes);

/* The stream form with position words as they stand in a file: `position` is where the record will lie there. */
std::string encodeRecord(EerrException& scope, const void* object, const Emif_Design& design, std::uint64_t position);

/* The least number of stream bytes that a record of this design takes; exact when it has no pointers and no values. */
std::uint64_t leastStreamBytes(const Emif_Design& design) noexcept;

}  // namespace emantle::mif
