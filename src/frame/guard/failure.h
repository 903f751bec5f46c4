#pragma once

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

template <class... Arguments>
[[noreturn]] void fail(Say text, Arguments... arguments)
{
    static_assert((std::is_scalar_v<Arguments> && ...), "printf takes numbers and pointers");
    if (text.format == nullptr) {
        throw Failure(FailureOf::own, text.number);
    }
    if constexpr (sizeof...(Arguments) == 0) {
        throw Failure(std::string(text.format), text.number);
    } else {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        throw Failure(formatted(text.format, arguments...), text.number);
#pragma GCC diagnostic pop
    }
}

/* Fails where `condition` does not hold. Without arguments the text is taken as it stands, per cent signs included. */
template <class Condition, class... Arguments>
void require(const Condition& condition, Say text, Arguments... arguments)
{
    if (!static_cast<bool>(condition)) {
        fail(text, arguments...);
    }
}

}  // namespace emantle
