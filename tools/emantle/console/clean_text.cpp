#include "console/clean_text.h"

#include "console/failure.h"

#include <cstdint>

namespace tool {

namespace {

constexpr const char* kReplacement = "\xef\xbf\xbd";

bool continues(char c)
{
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

struct Sequence {
    std::size_t bytes; /* those that belong together, at least 1 */
    bool sound;
};

/* Overlong forms, surrogates, what lies beyond the last plane, the second control set and the two that are no characters
 * are not sound. */
Sequence sequenceAt(const std::string& text, std::size_t place)
{
    static constexpr std::uint32_t kLeast[] = {0, 0, 0xa0, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text[place]);
    const std::size_t wanted = lead < 0x80 ? 1 : lead < 0xc0 ? 0 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : lead < 0xf8 ? 4 : 0;
    if (wanted < 2) {
        return {1, wanted == 1};
    }
    std::uint32_t code = lead & (0x7fU >> wanted);
    std::size_t bytes = 1;
    for (; bytes < wanted; ++bytes) {
        if (place + bytes >= text.size() || !continues(text[place + bytes])) {
            return {bytes, false};
        }
        code = (code << 6) | (static_cast<unsigned char>(text[place + bytes]) & 0x3fU);
    }
    const bool surrogate = code >= 0xd800 && code < 0xe000;
    return {bytes, code >= kLeast[wanted] && code < 0x110000 && !surrogate && (code & 0xfffe) != 0xfffe};
}

}  // namespace

std::string cleanText(const std::string& text)
{
    const std::string line = oneLine(text);
    std::string clean;
    for (std::size_t i = 0; i < line.size();) {
        const Sequence sequence = sequenceAt(line, i);
        clean += sequence.sound ? line.substr(i, sequence.bytes) : kReplacement;
        i += sequence.bytes;
    }
    return clean;
}

std::string escapedText(const std::string& text)
{
    std::string escaped;
    for (const char c : cleanText(text)) {
        switch (c) {
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        case '&': escaped += "&amp;"; break;
        case '"': escaped += "&quot;"; break;
        case '\'': escaped += "&#39;"; break;
        default: escaped += c;
        }
    }
    return escaped;
}

std::size_t characterCount(const std::string& text)
{
    std::size_t count = 0;
    for (const char c : text) {
        count += continues(c) ? 0 : 1;
    }
    return count;
}

std::string shortened(const std::string& text, std::size_t most)
{
    const std::string clean = cleanText(text);
    if (characterCount(clean) <= most) {
        return clean;
    }
    std::size_t end = 0;
    for (std::size_t characters = 0; characters < most; ++characters) {
        for (++end; end < clean.size() && continues(clean[end]); ++end) {
        }
    }
    while (end > 0 && continues(clean[--end])) {
    }
    return clean.substr(0, end) + "\xe2\x80\xa6";
}

}  // namespace tool
