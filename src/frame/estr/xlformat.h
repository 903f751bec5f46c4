#pragma once

#include <cstdint>
#include <emantle/frame/estr/format.h>
#include <string>

/* A number format as it was read, and how it prints. */

namespace emantle::xl {

enum class Kind : std::uint8_t { literal, digit, point, exponent, general };

/* One byte of a literal; a place for a digit, with its letter; the letter of an exponent. */
struct Piece {
    Kind kind;
    char text;
};

struct Section {
    std::int32_t begin, end; /* its pieces */
    std::int32_t wholes, decimals, exponents; /* places for digits */
    std::int32_t lastZero; /* the last decimal place, from 1, that is a "0" */
    std::int32_t shift; /* powers of ten that the number is multiplied by */
    bool grouped, alwaysSigned, general;
};

inline constexpr int kMostSections = 3;

std::string printed(const Estr_XLFormat& format, double number);

} // namespace emantle::xl

struct _estr_XLFormat {
    std::int32_t count;
    emantle::xl::Section sections[emantle::xl::kMostSections];
    emantle::xl::Piece* pieces;
};
