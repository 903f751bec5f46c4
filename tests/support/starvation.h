#pragma once

#include <emantle/frame/eerr.h>

#include <emantle/frame/emsc/heap.h>
#include <functional>
#include <string_view>
#include <vector>

/* What a call did: all that it should, nothing but to fail, or something else. */
enum class Ending { right, failed, wrong };

/* What a call made, and gives back: a heap text, or anything of which `right` tells whether it is as expected. */
inline Ending endingOf(char* made, std::string_view expected)
{
    const Ending ending = made == nullptr ? Ending::failed : made == expected ? Ending::right : Ending::wrong;
    emsc_HeapFree(made);
    return ending;
}
inline Ending doneIf(bool made, bool right)
{
    return !made ? Ending::failed : right ? Ending::right : Ending::wrong;
}

struct Starved {
    const char* name;
    bool reports; /* whether it takes an error argument */
    std::function<Ending(Eerr_ErrorReport** err)> call;
};

/* Makes each call, which gives back all that it makes, with its n-th allocation failing, for all n: of the library's heap
 * and of operator new, once and from then on. It must fail and report it (a single failure may also pass without effect),
 * and in the end everything must have been given back. */
void starve(const std::vector<Starved>& calls);
