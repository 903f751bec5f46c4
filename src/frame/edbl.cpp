#include "frame/guard/plain_scope.h"

#include <emantle/frame/edbl.h>
#include <emantle/frame/eerr.h>
#include <emantle/frame/estr/compare.h>

#include <charconv>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

namespace emantle {

namespace {

struct Spelling {
    std::string text;
    double value;
};

/* What the run-time writes for the values that are no numbers, so that what the library wrote reads back. */
std::vector<Spelling> spellings()
{
    std::vector<Spelling> made;
    const auto add = [&](auto value) {
        for (const auto signedValue : {value, -value}) {
            std::ostringstream stream;
            stream.imbue(std::locale::classic());
            stream << signedValue;
            made.push_back({stream.str(), static_cast<double>(signedValue)});
        }
    };
    add(std::numeric_limits<double>::signaling_NaN());
    add(std::numeric_limits<double>::quiet_NaN());
    add(std::numeric_limits<double>::infinity());
    add(std::numeric_limits<float>::signaling_NaN());
    add(std::numeric_limits<float>::quiet_NaN());
    add(std::numeric_limits<float>::infinity());
    return made;
}

/* The whole text as a number within the range of a double, with no blanks around it and nothing behind it. */
bool scanWhole(const char* s, double& value) noexcept
{
    const char* const end = s + std::strlen(s);
    const char* first = *s == '+' && s[1] != '-' && s[1] != '+' ? s + 1 : s;
    double scanned = 0;
    const std::from_chars_result result = std::from_chars(first, end, scanned);
    if (result.ptr != end || result.ec != std::errc()) {
        return false;
    }
    value = scanned;
    return true;
}

bool numberOf(const char* s, double& value)
{
    static const std::vector<Spelling> special = spellings();
    if (s == nullptr) {
        return false;
    }
    for (const Spelling& spelling : special) {
        if (estr_Eqic(s, spelling.text.c_str()) != 0) {
            value = spelling.value;
            return true;
        }
    }
    return scanWhole(s, value);
}

char decimalPoint() noexcept
{
    const std::lconv* conventions = std::localeconv();
    if (conventions == nullptr || conventions->decimal_point == nullptr || *conventions->decimal_point == 0) {
        warn("localeIndependentDoubleScan", "localeconv returned NULL");
        return '.';
    }
    return *conventions->decimal_point;
}

} // namespace

} // namespace emantle

using namespace emantle;

double edbl::StringToDouble(const char* s)
{
    double value = 0;
    if (!numberOf(s, value)) {
        const std::string text = std::string("\"") + (s == nullptr ? "" : s) + "\" is not a number";
        EerrException("edbl", "edbl::StringToDouble").Throw(__LINE__, text.c_str());
    }
    return value;
}

bool edbl::TryStringToDouble(double& out, const char* s) noexcept
{
    try {
        return numberOf(s, out);
    } catch (...) {
        return false;
    }
}

int localeIndependentDoubleScan(char* text, const char* separators, double* out)
{
    if (text == nullptr || out == nullptr) {
        return -1;
    }
    if (separators != nullptr) {
        const char point = decimalPoint();
        for (char* at = std::strpbrk(text, separators); at != nullptr; at = std::strpbrk(at + 1, separators)) {
            *at = point;
        }
    }
    return std::sscanf(text, "%lf", out);
}
