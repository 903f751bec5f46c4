#pragma once

#include "store/hfa/handle.h"

#include <cstdarg>
#include <vector>

namespace emantle::hfa {

struct Option {
    int code;
    int words[5];
    const char* text;
};

/* The words behind an error argument, in order. */
struct Options {
    std::vector<Option> list;
    bool reportsAlien = true;
};

/* Reads words up to their 0; warns about codes that are none. */
Options optionsFrom(va_list words);

void applyOptions(Handle& handle, const Options& options, EerrException& scope);

/* ehfa_FileFlush without its edge. */
void flush(Handle& handle, EerrException& scope);

}  // namespace emantle::hfa
