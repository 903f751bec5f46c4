#pragma once

#include "frame/guard/format_check.h"

#include <exception>
#include <string>
#include <type_traits>

/* What the inside of the library throws. Only the guard catches it. */

namespace emantle {

/* A text of printf's kind with the number of its report: the caller's line, or one given as in `{"text", 3}`.
 * A null text makes a record without text, which prints as the failure of the function below. */
struct Say {
    constexpr Say(const char* text, long numberOfReport = __builtin_LINE()) noexcept : format(text), number(numberOfReport) {}
    constexpr Say(std::nullptr_t, long numberOfReport) noexcept : format(nullptr), number(numberOfReport) {}

    const char* format;
    long number;
};

/* Whose failure it is: the function's own, told by its text, or that of the function it called. */
enum class FailureOf { own, callee };

class Failure : public std::exception {
public:
    Failure(FailureOf whose, long number) noexcept : whose_(whose), number_(number) {}
    Failure(std::string text, long number) noexcept
        : whose_(FailureOf::own), hasText_(true), number_(number), text_(std::move(text))
    {
    }

    FailureOf whose() const noexcept { return whose_; }
    long number() const noexcept { return number_; }
    /* Null for a record without text. */
    const char* text() const noexcept { return hasText_ ? text_.c_str() : nullptr; }
    const char* what() const noexcept override { return text_.c_str(); }

private:
    FailureOf whose_;
    bool hasText_ = false;
    long number_;
    std::string text_;
};

/* printf into a string. Throws std::bad_alloc. */
std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

/* The same with arguments, `{"%s has no band %ld", 3}` too. A literal is held against the types of the arguments while it is
 * compiled; a text that is only known at run time is given as `Say(text)`, and is not. */
template <class... Arguments>
struct SayWith {
    template <class Text>
        requires std::is_convertible_v<const Text&, const char*>
    consteval SayWith(const Text& text, long numberOfReport = __builtin_LINE()) : format(text), number(numberOfReport)
    {
        const detail::Passed passed[] = {detail::passedAs<Arguments>()...};
        detail::FormatCheck(passed, sizeof...(Arguments)).run(format);
    }
    SayWith(Say say) noexcept : format(say.format), number(say.number) {}

    const char* format;
    long number;
};

/* A text without arguments is taken as it stands, per cent signs included. */
[[noreturn]] void fail(Say text);

template <class First, class... Rest>
[[noreturn]] void fail(SayWith<std::type_identity_t<First>, std::type_identity_t<Rest>...> text, First first, Rest... rest)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    throw Failure(formatted(text.format, first, rest...), text.number);
#pragma GCC diagnostic pop
}

/* Fails where `condition` does not hold. The arguments are computed in either case: what they read must be there. */
template <class Condition>
void require(const Condition& condition, Say text)
{
    if (!static_cast<bool>(condition)) [[unlikely]] {
        fail(text);
    }
}

template <class Condition, class First, class... Rest>
void require(const Condition& condition, SayWith<std::type_identity_t<First>, std::type_identity_t<Rest>...> text,
             First first, Rest... rest)
{
    if (!static_cast<bool>(condition)) [[unlikely]] {
        fail(text, first, rest...);
    }
}

}  // namespace emantle
