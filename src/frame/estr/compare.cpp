#include "frame/estr/letters.h"

#include <emantle/frame/estr/compare.h>

#include <cstdarg>
#include <cstring>

namespace emantle {

namespace {

/* What an abbreviation may leave out. */
constexpr const char* kSkipped = "aeiou _-";

bool in(const char* set, char c) noexcept
{
    return c != 0 && std::strchr(set, c) != nullptr;
}

template <class Change> char* changed(char* s, Change change) noexcept
{
    for (char* at = s; at != nullptr && *at != 0; ++at) {
        *at = change(*at);
    }
    return s;
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API Emsc_Boolean estr_Eqic(const char* a, const char* b)
{
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    for (; lower(*a) == lower(*b); ++a, ++b) {
        if (*a == 0) {
            return 1;
        }
    }
    return 0;
}

EMANTLE_API Emsc_Boolean estr_Eqnic(const char* a, const char* b, long n)
{
    if (n < 1) {
        return 0;
    }
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    for (; n > 0; ++a, ++b, --n) {
        if (lower(*a) != lower(*b)) {
            return 0;
        }
        if (*a == 0) {
            return 1;
        }
    }
    return 1;
}

EMANTLE_API int estr_CompareString(const char* a, const char* b)
{
    if (a == nullptr || b == nullptr) {
        return (a != nullptr) - (b != nullptr);
    }
    return std::strcmp(a, b);
}

EMANTLE_API char* estr_LowerCase(char* s)
{
    return changed(s, lower);
}

EMANTLE_API char* estr_UpperCase(char* s)
{
    return changed(s, upper);
}

EMANTLE_API char* estr_ToUpper(char* s)
{
    return changed(s, upper);
}

EMANTLE_API Emsc_Boolean estr_AbbrevCompare(const char* abbrev, const char* full)
{
    if (abbrev == nullptr || full == nullptr) {
        return 0;
    }
    for (; *abbrev != 0; ++full) {
        if (*full == *abbrev) {
            ++abbrev;
        } else if (!in(kSkipped, *full)) {
            return 0;
        }
    }
    return *full == 0 || in("[] ", *full);
}

EMANTLE_API Emsc_Boolean estr_LooseMatch(const char* a, const char* b)
{
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    while (true) {
        a += std::strspn(a, " ");
        b += std::strspn(b, " ");
        if (lower(*a) != lower(*b)) {
            return 0;
        }
        if (*a == 0) {
            return 1;
        }
        ++a;
        ++b;
    }
}

EMANTLE_API Emsc_Boolean estr_MatchSequence(const char* a, const char* b)
{
    if (a == nullptr || b == nullptr) {
        return 0;
    }
    while (*a != 0 && lower(*a) == lower(*b)) {
        ++a;
        ++b;
    }
    return *a == 0;
}

EMANTLE_API char* estr_SubString(const char* s, const char* sub)
{
    return s == nullptr || sub == nullptr || *sub == 0 ? nullptr : const_cast<char*>(std::strstr(s, sub));
}

EMANTLE_API char* estr_SubStringic(const char* s, const char* sub)
{
    if (s == nullptr || sub == nullptr || *sub == 0) {
        return nullptr;
    }
    for (; *s != 0; ++s) {
        if (lower(*s) == lower(*sub) && estr_MatchSequence(sub, s) != 0) {
            return const_cast<char*>(s);
        }
    }
    return nullptr;
}

EMANTLE_API Emsc_Boolean estr_IsCharPresent(const char* s, const char* set)
{
    return s != nullptr && set != nullptr && std::strpbrk(s, set) != nullptr;
}

EMANTLE_API long estr_StringEnum(const char* s, Eerr_ErrorReport** err, ...)
{
    if (s == nullptr || (err != nullptr && *err != nullptr)) {
        return 0;
    }
    va_list candidates;
    va_start(candidates, err);
    long place = 1;
    const char* candidate = va_arg(candidates, const char*);
    while (candidate != nullptr && std::strcmp(candidate, s) != 0) {
        candidate = va_arg(candidates, const char*);
        ++place;
    }
    va_end(candidates);
    return candidate == nullptr ? 0 : place;
}
