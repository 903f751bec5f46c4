#pragma once

namespace emantle::hfa {

/* Prints to the log of the process. */
void print(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace emantle::hfa
