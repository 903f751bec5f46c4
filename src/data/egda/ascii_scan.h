#pragma once

#include "frame/guard/guard.h"

#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

/* Numbers as scanf takes them from a stream of bytes, over any source with
 *
 *     int peek();   the next byte, -1 at the end
 *     void take();  passes it
 *
 * What is no number is left from the first byte that does not fit. */

namespace emantle {

/* Longer texts of numbers are refused. */
inline constexpr std::size_t kLongestNumber = 512;

template <class Source>
class AsciiScan {
public:
    explicit AsciiScan(Source& source) : source_(source) {}

    /* A decimal number of up to 64 bits. */
    std::optional<long> whole()
    {
        start();
        sign();
        return digits() > 0 ? converted<long>() : std::nullopt;
    }

    template <class Float>
    std::optional<Float> real()
    {
        start();
        sign();
        if (letters()) {
            return word("infinity") || word("inf") || word("nan") ? converted<Float>() : std::nullopt;
        }
        long count = digits();
        if (accept('.')) {
            count += digits();
        }
        if (count > 0 && (accept('e') || accept('E'))) {
            sign();
            count = digits();
        }
        return count > 0 ? converted<Float>() : std::nullopt;
    }

    /* Passes `byte` if it comes next. */
    bool literal(char byte)
    {
        const bool is = source_.peek() == static_cast<unsigned char>(byte);
        if (is) {
            source_.take();
        }
        return is;
    }

    void blanks()
    {
        while (source_.peek() > 0 && std::strchr(" \t\r\n\v\f", source_.peek()) != nullptr) {
            source_.take();
        }
    }

private:
    void start()
    {
        blanks();
        length_ = 0;
    }

    void keep(int byte)
    {
        if (length_ < kLongestNumber) {
            text_[length_] = static_cast<char>(byte);
        }
        ++length_;
        source_.take();
    }

    bool accept(char byte)
    {
        const bool is = source_.peek() == static_cast<unsigned char>(byte);
        if (is) {
            keep(byte);
        }
        return is;
    }

    void sign()
    {
        if (!accept('-')) {
            literal('+');
        }
    }

    long digits()
    {
        long count = 0;
        for (; source_.peek() >= '0' && source_.peek() <= '9'; ++count) {
            keep(source_.peek());
        }
        return count;
    }

    /* Keeps a run of letters, in lower case; no number needs more of them than "infinity". */
    bool letters()
    {
        const std::size_t before = length_;
        for (int byte = source_.peek() | 0x20; byte >= 'a' && byte <= 'z' && length_ < before + 9;
             byte = source_.peek() | 0x20) {
            keep(byte);
        }
        return length_ > before;
    }

    bool word(std::string_view name) const
    {
        const std::string_view kept(text_, length_);
        return kept.substr(!kept.empty() && kept[0] == '-') == name;
    }

    template <class Number>
    std::optional<Number> converted() const
    {
        Number value{};
        if (length_ > kLongestNumber) {
            return std::nullopt;
        }
        const auto [end, error] = std::from_chars(text_, text_ + length_, value);
        return error == std::errc() && end == text_ + length_ ? std::optional<Number>(value) : std::nullopt;
    }

    Source& source_;
    char text_[kLongestNumber];
    std::size_t length_ = 0;
};

}  // namespace emantle
