#pragma once

#include "store/mif/dictionary.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace emantle::mif {

/* Characters on their way into the decoder: a piece of memory that a subclass may refill. */
class Characters {
public:
    explicit Characters(std::string_view text) noexcept : at_(text.data()), end_(text.data() + text.size()), given_(text.size())
    {
    }
    virtual ~Characters() = default;
    Characters(const Characters&) = delete;
    Characters& operator=(const Characters&) = delete;

    /* Fails with "readFunc failed" at the end of the text. */
    char next(EerrException& scope)
    {
        if (at_ == end_) [[unlikely]] {
            more(scope);
        }
        return *at_++;
    }

    /* Characters read so far. */
    uint64_t consumed() const noexcept { return given_ - static_cast<uint64_t>(end_ - at_); }
    /* Whether more was asked for than there is. */
    bool isAtEnd() const noexcept { return isAtEnd_; }

protected:
    /* The next piece; empty at the end. It stays valid until the next call. */
    virtual std::string_view refill(EerrException&) { return {}; }

private:
    void more(EerrException& scope);

    const char* at_;
    const char* end_;
    uint64_t given_;
    bool isAtEnd_ = false;
};

/* Decodes designs up to the "." and adds them. Damage behind the first design ends the text there, with a printed report
 * of emif_DictionaryDecode. Fails with what the caller tells when the first is damaged, and when anything else than damage
 * keeps it from reading on: half a dictionary is never taken for the whole. */
void decode(EerrException& scope, Characters& characters, Emif_Dictionary& dictionary);

/* Decodes one design, whose references are looked up in `dictionary`, and does not add it. */
DesignPtr decodeOne(EerrException& scope, Characters& characters, Emif_Dictionary& dictionary);

/* Decodes all designs where the private dictionary does not exist yet: nothing overrides what the text says, and it names no
 * design of the private dictionary. All of the text must be sound. */
void decodeOnItsOwn(EerrException& scope, std::string_view text, Emif_Dictionary& dictionary);

}  // namespace emantle::mif
