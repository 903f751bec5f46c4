#pragma once

#include <cstddef>
#include <type_traits>

/* Holds a literal format of printf's kind against the types of its arguments while it is compiled: behind a template the
 * compiler's own check does not see the call. */

namespace emantle {

namespace detail {

/* What a conversion takes, and what an argument is. Numbers of up to 32 bits reach printf as int. */
enum class Passed { nothing, word, longWord, real, longReal, text, pointer, other };

template <class Argument>
consteval Passed passedAs()
{
    if constexpr (std::is_integral_v<Argument> ||
                  (std::is_enum_v<Argument> && std::is_convertible_v<Argument, long long>)) {
        return sizeof(Argument) <= sizeof(int) ? Passed::word : Passed::longWord;
    } else if constexpr (std::is_same_v<Argument, float> || std::is_same_v<Argument, double>) {
        return Passed::real;
    } else if constexpr (std::is_same_v<Argument, long double>) {
        return Passed::longReal;
    } else if constexpr (std::is_same_v<Argument, const char*> || std::is_same_v<Argument, char*>) {
        return Passed::text;
    } else if constexpr (std::is_pointer_v<Argument> || std::is_null_pointer_v<Argument>) {
        return Passed::pointer;
    } else {
        return Passed::other;
    }
}

/* Not constant, so that a call of one ends the compilation and shows its name. */
inline void theFormatNeedsAnArgumentOfAnotherType() {}
inline void theFormatNeedsMoreArguments() {}
inline void theFormatNeedsFewerArguments() {}
inline void theFormatHasAConversionThatIsNotKnown() {}

constexpr bool oneOf(char c, const char* set)
{
    while (*set != '\0' && *set != c) {
        ++set;
    }
    return *set != '\0';
}

constexpr Passed neededBy(char conversion, char length)
{
    const bool isLong = oneOf(length, "ljzt");
    return oneOf(conversion, "diuxXo")     ? (isLong ? Passed::longWord : Passed::word)
           : conversion == 'c' && !isLong  ? Passed::word
           : conversion == 's' && !isLong  ? Passed::text
           : conversion == 'p'             ? Passed::pointer
           : oneOf(conversion, "eEfFgGaA") ? (length == 'L' ? Passed::longReal : Passed::real)
                                           : Passed::other;
}

class FormatCheck {
public:
    constexpr FormatCheck(const Passed* arguments, std::size_t count) : argument_(arguments), end_(arguments + count) {}

    constexpr void run(const char* format)
    {
        while (*format != '\0') {
            if (*format++ == '%') {
                format = conversion(format);
            }
        }
        if (argument_ != end_) {
            theFormatNeedsFewerArguments();
        }
    }

private:
    constexpr const char* conversion(const char* at)
    {
        if (*at == '%') {
            return at + 1;
        }
        while (oneOf(*at, "-+ #0")) {
            ++at;
        }
        at = number(at);
        if (*at == '.') {
            at = number(at + 1);
        }
        char length = '\0';
        while (oneOf(*at, "hljztL")) {
            length = *at++;
        }
        const Passed needed = neededBy(*at, length);
        if (needed == Passed::other) {
            theFormatHasAConversionThatIsNotKnown();
        }
        take(needed);
        return at + 1;
    }

    constexpr const char* number(const char* at)
    {
        if (*at == '*') {
            take(Passed::word);
            return at + 1;
        }
        while (oneOf(*at, "0123456789")) {
            ++at;
        }
        return at;
    }

    constexpr void take(Passed needed)
    {
        if (argument_ == end_) {
            theFormatNeedsMoreArguments();
        }
        const Passed given = *argument_++;
        if (given != needed && !(needed == Passed::pointer && given == Passed::text)) {
            theFormatNeedsAnArgumentOfAnotherType();
        }
    }

    const Passed* argument_;
    const Passed* end_;
};

}  // namespace detail

}  // namespace emantle
