#include "frame/estr/xlformat.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>

namespace emantle::xl {

namespace {

constexpr long kGeneralDigits = 15;
constexpr long kGeneralLeast = -4; /* the smallest power of ten that General prints without an exponent */

/* 0.ddd times ten to the power of `point`. Decimal, so that scaling is exact and halves are halves. */
class Decimal {
public:
    /* The shortest digits that read back as `value`, which is finite and not negative. */
    explicit Decimal(double value)
    {
        char text[32];
        const char* const end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific).ptr;
        const char* const letter = std::find<const char*>(text, end, 'e');
        std::remove_copy<const char*>(text, letter, std::back_inserter(digits_), '.');
        const char* const exponent = letter + (letter[1] == '+' ? 2 : 1);
        std::from_chars(exponent, end, point_);
        ++point_;
        trim();
    }

    bool isZero() const { return digits_.empty(); }
    long wholes() const { return std::max(point_, 0L); }
    long decimals() const { return std::max(static_cast<long>(digits_.size()) - point_, 0L); }
    /* The power of ten of the first digit. */
    long exponent() const { return isZero() ? 0 : point_ - 1; }

    /* The digit of a power of ten. */
    char digit(long power) const
    {
        const long index = point_ - 1 - power;
        return index >= 0 && index < static_cast<long>(digits_.size()) ? digits_[static_cast<std::size_t>(index)] : '0';
    }

    void shift(long powers) { point_ += isZero() ? 0 : powers; }

    /* Halves go away from zero. */
    void round(long decimals)
    {
        const long kept = point_ + decimals;
        if (kept >= static_cast<long>(digits_.size())) {
            return;
        }
        const bool up = kept >= 0 && digits_[static_cast<std::size_t>(kept)] >= '5';
        digits_.resize(static_cast<std::size_t>(std::max(kept, 0L)));
        if (up) {
            countUp();
        }
        trim();
    }

private:
    void countUp()
    {
        while (!digits_.empty() && digits_.back() == '9') {
            digits_.pop_back();
        }
        if (digits_.empty()) {
            digits_ = "1";
            ++point_;
        } else {
            ++digits_.back();
        }
    }

    void trim()
    {
        digits_.resize(digits_.find_last_not_of('0') + 1);
        point_ = digits_.empty() ? 0 : point_;
    }

    std::string digits_;
    long point_ = 0;
};

/* Brings `value` to `wholes` whole digits at most, rounds it, and gives the exponent, a multiple of `wholes`. */
long splitExponent(Decimal& value, long wholes, long decimals)
{
    const long first = value.exponent();
    long exponent = (first - (first < 0 ? wholes - 1 : 0)) / wholes * wholes;
    value.shift(-exponent);
    value.round(decimals);
    if (value.wholes() > wholes) {
        exponent += wholes;
        value.shift(-wholes);
    }
    return exponent;
}

/* Whole digits, place for place from the left. */
class Wholes {
public:
    Wholes(const Decimal& value, long places, bool grouped)
        : value_(value), next_(places - 1), first_(true), grouped_(grouped)
    {}

    void print(std::string& out, char place)
    {
        for (long power = first_ ? std::max(value_.wholes() - 1, next_) : next_; power >= next_; --power) {
            filled_ = filled_ || place == '0' || power < value_.wholes();
            const char blank = place == '?' ? ' ' : '\0';
            add(out, filled_ ? value_.digit(power) : blank);
            if (grouped_ && power > 0 && power % 3 == 0) {
                add(out, filled_ ? ',' : blank);
            }
        }
        first_ = false;
        --next_;
    }

private:
    static void add(std::string& out, char c)
    {
        if (c != '\0') {
            out += c;
        }
    }

    const Decimal& value_;
    long next_; /* the power of ten of the next place */
    bool first_;
    bool grouped_;
    bool filled_ = false; /* a digit was printed: from here on, all are */
};

void printDecimal(std::string& out, const Decimal& value, char place, long number, long lastZero)
{
    if (number <= value.decimals() || number <= lastZero) {
        out += value.digit(-number);
    } else if (place == '?') {
        out += ' ';
    }
}

void printPlain(std::string& out, const Decimal& value)
{
    for (long power = std::max(value.wholes() - 1, 0L); power >= -value.decimals(); --power) {
        out += power == -1 ? "." : "";
        out += value.digit(power);
    }
}

void printGeneral(std::string& out, Decimal value)
{
    value.round(kGeneralDigits - 1 - value.exponent());
    const long exponent = value.exponent();
    if (exponent >= kGeneralLeast && exponent < kGeneralDigits) {
        return printPlain(out, value);
    }
    value.shift(-exponent);
    printPlain(out, value);
    const std::string power = std::to_string(std::labs(exponent));
    out += exponent < 0 ? "E-" : "E+";
    out += power.size() < 2 ? "0" : "";
    out += power;
}

std::string printedBy(const Section& section, const Piece* pieces, Decimal value, bool minus)
{
    value.shift(section.shift);
    long exponent = 0;
    if (section.exponents > 0) {
        exponent = splitExponent(value, section.wholes, section.decimals);
    } else if (!section.general) {
        value.round(section.decimals);
    }
    const Decimal power(static_cast<double>(std::labs(exponent)));
    Wholes wholes(value, section.wholes, section.grouped);
    Wholes powers(power, section.exponents, false);
    enum { inWholes, inDecimals, inExponent } part = inWholes;
    long decimal = 0;
    std::string out(minus && !value.isZero() && (section.general || section.wholes > 0) ? "-" : "");
    for (const Piece* piece = pieces + section.begin; piece != pieces + section.end; ++piece) {
        switch (piece->kind) {
        case Kind::literal:
            out += piece->text;
            break;
        case Kind::point:
            out += '.';
            part = inDecimals;
            break;
        case Kind::exponent:
            out += piece->text;
            out += exponent < 0 ? "-" : section.alwaysSigned ? "+" : "";
            part = inExponent;
            break;
        case Kind::general:
            printGeneral(out, value);
            break;
        case Kind::digit:
            if (part == inDecimals) {
                printDecimal(out, value, piece->text, ++decimal, section.lastZero);
            } else {
                (part == inWholes ? wholes : powers).print(out, piece->text);
            }
        }
    }
    return out;
}

} // namespace

std::string printed(const Estr_XLFormat& format, double number)
{
    if (!std::isfinite(number)) {
        return std::isnan(number) ? "nan" : number < 0 ? "-inf" : "inf";
    }
    const int wanted = number < 0 ? 1 : number == 0 ? 2 : 0;
    const int chosen = wanted < format.count ? wanted : 0;
    return printedBy(format.sections[chosen], format.pieces, Decimal(std::fabs(number)), number < 0 && chosen == 0);
}

} // namespace emantle::xl
