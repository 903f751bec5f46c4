// A pattern, up to the first line feed, and a text. The translation fits a buffer of exactly its size and is cut to a
// smaller one; a pattern of "*", "?" and plain characters fits what a matcher of a few lines fits.

#include "fuzz/input.h"

#include <algorithm>
#include <emantle/frame/estr/wild.h>
#include <vector>

using namespace fuzz;

namespace {

char folded(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/* Whether `text` fits a pattern of "*", "?" and plain characters. The empty pattern asks for nothing. */
bool fits(std::string_view pattern, std::string_view text, bool sensitive)
{
    if (pattern.empty()) {
        return true;
    }
    std::vector<bool> reached(text.size() + 1);
    reached[0] = true;
    for (const char c : pattern) {
        std::vector<bool> next(text.size() + 1);
        for (std::size_t i = 0; i <= text.size(); ++i) {
            if (c == '*') {
                next[i] = reached[i] || (i > 0 && next[i - 1]);
            } else if (i > 0 && reached[i - 1]) {
                const bool equal = sensitive ? c == text[i - 1] : folded(c) == folded(text[i - 1]);
                next[i] = c == '?' || equal;
            }
        }
        reached = std::move(next);
    }
    return reached.back();
}

bool isPlain(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

void translate(const char* pattern, bool sensitive)
{
    Emsc_Boolean wild = 0;
    const char* reason = nullptr;
    const long length = estr_WildREDetermine(pattern, nullptr, 0, sensitive, &wild, &reason);
    need((length < 0) == (reason != nullptr));
    if (length < 0) {
        return;
    }
    const std::size_t size = static_cast<std::size_t>(length) + 1;
    std::vector<char> exact(size), cut(size / 2 + 1);
    need(estr_WildREDetermine(pattern, exact.data(), static_cast<long>(size), sensitive, nullptr, nullptr) == length);
    need(std::strlen(exact.data()) == static_cast<std::size_t>(length));
    need(estr_WildREDetermine(pattern, cut.data(), static_cast<long>(cut.size()), sensitive, nullptr, nullptr) == length);
    need(std::strlen(cut.data()) == std::min(cut.size() - 1, size - 1));
    need(std::strncmp(cut.data(), exact.data(), cut.size() - 1) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    dropReports();
    Lines lines(bytes, size);
    const Text pattern = lines.next(), text(lines.rest());
    std::vector<char> simple(2 * pattern.view().size() + 5);
    estr_CreateREfromWild(pattern, simple.data());
    estr_IsWild(pattern);
    /* "*.*" fits a name without a point, too. */
    const bool known = isPlain(pattern.view()) && isPlain(text.view()) &&
                       pattern.view().find_first_of("@+()[]{}|\\") == std::string_view::npos &&
                       pattern.view() != "*.*";
    for (const bool sensitive : {false, true}) {
        translate(pattern, sensitive);
        const bool matched = estr_WildCompareSensitive(pattern, text, sensitive) != 0;
        need(!known || matched == fits(pattern.view(), text.view(), sensitive));
    }
    return 0;
}
