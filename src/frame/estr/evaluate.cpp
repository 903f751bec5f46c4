#include "frame/estr/letters.h"
#include "frame/guard/guard.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <emantle/frame/estr/parse.h>
#include <limits>
#include <numbers>
#include <string>
#include <string_view>

namespace emantle {

namespace {

constexpr int kDeepest = 200;

using OfOne = double (*)(double);
using OfTwo = double (*)(double, double);

struct Function {
    std::string_view name;
    OfOne ofOne;
    OfTwo ofTwo;
};

constexpr Function one(std::string_view name, OfOne function)
{
    return {name, function, nullptr};
}

constexpr Function two(std::string_view name, OfTwo function)
{
    return {name, nullptr, function};
}

const Function kFunctions[] = {
    one("abs", std::fabs),    one("acos", std::acos),   one("asin", std::asin),   one("atan", std::atan),
    one("ceil", std::ceil),   one("cos", std::cos),     one("cosh", std::cosh),   one("exp", std::exp),
    one("floor", std::floor), one("log", std::log),     one("log10", std::log10), one("round", std::round),
    one("sin", std::sin),     one("sinh", std::sinh),   one("sqrt", std::sqrt),   one("tan", std::tan),
    one("tanh", std::tanh),   one("trunc", std::trunc), two("atan2", std::atan2), two("max", std::fmax),
    two("min", std::fmin),    two("mod", std::fmod),    two("pow", std::pow),
};

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isLetter(char c)
{
    return lower(c) >= 'a' && lower(c) <= 'z';
}

/* By descent, one function a level of binding. A text ends with its zero, which no level takes. */
class Evaluator {
public:
    explicit Evaluator(const char* text) : text_(text), at_(text) {}

    double run()
    {
        const double value = sum();
        if (next() != '\0') {
            expected("an operator or the end");
        }
        return value;
    }

private:
    /* How deep the level that is being read stands in others. */
    class Deeper {
    public:
        explicit Deeper(Evaluator& evaluator) : depth_(evaluator.depth_)
        {
            require(depth_ < kDeepest, "Position %ld: more than %d levels", evaluator.position(), kDeepest);
            ++depth_;
        }
        ~Deeper() { --depth_; }
        Deeper(const Deeper&) = delete;
        Deeper& operator=(const Deeper&) = delete;

    private:
        int& depth_;
    };

    long position() const { return static_cast<long>(at_ - text_) + 1; }

    [[noreturn]] void expected(const char* what) const
    {
        const auto c = static_cast<unsigned char>(*at_);
        const std::string found = c == 0               ? std::string("the end")
                                  : c < ' ' || c > '~' ? formatted("the byte %02X", static_cast<unsigned>(c))
                                                       : std::string{'"', *at_, '"'};
        fail("Position %ld: %s expected, %s found", position(), what, found.c_str());
    }

    char next()
    {
        while (*at_ != '\0' && std::string_view(" \t\r\n\v\f").find(*at_) != std::string_view::npos) {
            ++at_;
        }
        return *at_;
    }

    bool take(char c)
    {
        const bool there = next() == c;
        at_ += there ? 1 : 0;
        return there;
    }

    void demand(char c, const char* what)
    {
        if (!take(c)) {
            expected(what);
        }
    }

    double sum()
    {
        double value = product();
        for (;;) {
            if (take('+')) {
                value += product();
            } else if (take('-')) {
                value -= product();
            } else {
                return value;
            }
        }
    }

    double product()
    {
        double value = signedPower();
        for (;;) {
            if (take('*')) {
                value *= signedPower();
            } else if (take('/')) {
                value /= signedPower();
            } else {
                return value;
            }
        }
    }

    double signedPower()
    {
        bool minus = false;
        for (;;) {
            if (take('-')) {
                minus = !minus;
            } else if (!take('+')) {
                break;
            }
        }
        const double value = power();
        return minus ? -value : value;
    }

    double power()
    {
        const double base = primary();
        if (!take('^')) {
            return base;
        }
        const Deeper deeper(*this);
        return std::pow(base, signedPower());
    }

    double primary()
    {
        const char c = next();
        if (isDigit(c) || c == '.') {
            return number();
        }
        if (isLetter(c)) {
            return named();
        }
        if (!take('(')) {
            expected("a number, a function or \"(\"");
        }
        const Deeper deeper(*this);
        const double value = sum();
        demand(')', "an operator or \")\"");
        return value;
    }

    void takeDigits()
    {
        while (isDigit(*at_)) {
            ++at_;
        }
    }

    double number()
    {
        const char* const begin = at_;
        takeDigits();
        if (*at_ == '.') {
            ++at_;
            takeDigits();
            if (at_ == begin + 1) {
                expected("a digit");
            }
        }
        if (lower(*at_) == 'e' || lower(*at_) == 'd') {
            at_ += at_[1] == '+' || at_[1] == '-' ? 2 : 1;
            if (!isDigit(*at_)) {
                expected("a digit of the exponent");
            }
            takeDigits();
        }
        std::string digits(begin, at_);
        std::replace_if(
            digits.begin(), digits.end(), [](char letter) { return lower(letter) == 'd'; }, 'e');
        double value = 0;
        const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        require(result.ec == std::errc(), "Position %ld: the number is out of range",
                static_cast<long>(begin - text_) + 1);
        return value;
    }

    double named()
    {
        const char* const begin = at_;
        std::string name;
        while (isLetter(*at_) || isDigit(*at_)) {
            name += lower(*at_++);
        }
        if (name == "pi") {
            return std::numbers::pi;
        }
        for (const Function& function : kFunctions) {
            if (function.name == name) {
                return call(function);
            }
        }
        fail("Position %ld: there is no function \"%.40s\"", static_cast<long>(begin - text_) + 1, name.c_str());
    }

    double call(const Function& function)
    {
        demand('(', "\"(\"");
        const Deeper deeper(*this);
        const double first = sum();
        if (function.ofOne != nullptr) {
            demand(')', "an operator or \")\"");
            return function.ofOne(first);
        }
        demand(',', "an operator or \",\"");
        const double second = sum();
        demand(')', "an operator or \")\"");
        return function.ofTwo(first, second);
    }

    const char* text_;
    const char* at_;
    int depth_ = 0;
};

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API double estr_EvaluateString(const char* text, Eerr_ErrorReport** err)
{
    return guarded<double>(err, "estr_EvaluateString", std::numeric_limits<double>::quiet_NaN(), [&] {
        require(text != nullptr, "Args");
        return Evaluator(text).run();
    });
}
