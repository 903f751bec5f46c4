#pragma once

#include "frame/guard/failure.h"

#include <string>
#include <string_view>
#include <vector>

/* Helpers of the name grammars: protection, masks of options, indexes, joining. */

namespace emantle::files {

inline constexpr char protection = '\\';

/* `text` without its protection characters. */
inline std::string stripped(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == protection && i + 1 < text.size()) {
            ++i;
        }
        out.push_back(text[i]);
    }
    return out;
}

/* `text` with a protection character before each one of `special`. */
inline std::string enclosed(std::string_view text, std::string_view special)
{
    std::string out;
    out.reserve(text.size() + 2);
    for (const char c : text) {
        if (special.find(c) != special.npos) {
            out.push_back(protection);
        }
        out.push_back(c);
    }
    return out;
}

/* The pieces of `text` between unprotected separators, empty ones left out except the last. */
inline std::vector<std::string_view> splitProtected(std::string_view text, char separator)
{
    std::vector<std::string_view> pieces;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == protection) {
            ++i;
        } else if (text[i] == separator) {
            if (i > begin) {
                pieces.push_back(text.substr(begin, i - begin));
            }
            begin = i + 1;
        }
    }
    pieces.push_back(text.substr(begin));
    return pieces;
}

/* The first `count` pieces with separators between them. */
template <class Piece> std::string joined(const std::vector<Piece>& pieces, std::size_t count, char separator)
{
    std::string out;
    for (std::size_t i = 0; i < count; ++i) {
        out.append(i == 0 ? "" : std::string(1, separator)).append(pieces[i]);
    }
    return out;
}

/* Whether `text` ends in a protection character that protects nothing. */
inline bool endsInProtection(std::string_view text) noexcept
{
    std::size_t run = 0;
    while (run < text.size() && text[text.size() - 1 - run] == protection) {
        ++run;
    }
    return run % 2 == 1;
}

/* Whether `text` ends in a separator that is not protected. */
inline bool endsInSeparator(std::string_view text, char separator) noexcept
{
    return !text.empty() && text.back() == separator && !endsInProtection(text.substr(0, text.size() - 1));
}

/* Holds the options to a run of bits of `allowed`. */
inline void checkRun(long options, long allowed, long line = __builtin_LINE())
{
    require(options != 0, {"No options specified in options mask", line});
    require((options & ~allowed) == 0, {"Invalid options specification", line});
    const long run = options / (options & -options);
    require((run & (run + 1)) == 0, {"Invalid (non-consecutive) options", line});
}

/* A place from 0 to `count` - 1 for an index that may count from the end. */
inline std::size_t placeOf(long index, std::size_t count) noexcept
{
    const long size = static_cast<long>(count);
    const long from = index < 0 ? size + std::max(index, -size) : index;
    return size == 0 ? 0 : static_cast<std::size_t>(std::min(from, size - 1));
}

/* The same for a change: the place behind the last one appends. */
inline std::size_t placeToSet(long index, std::size_t count) noexcept
{
    return index >= static_cast<long>(count) ? count : placeOf(index, count);
}

}  // namespace emantle::files
