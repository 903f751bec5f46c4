#pragma once

#include <cstddef>

/* What the loadable module emantle_translation exports. It alone links to Qt, whose start-up a process pays only when
 * it translates. None of the functions throws; all may be called from any thread. */

extern "C" {

/* A catalogue over `bytes`, which stay the caller's and have to live until it is closed; they must have passed
 * isSoundCatalogue. Null where the reader refuses them. */
void* emantle_translation_open(const unsigned char* bytes, std::size_t size);

/* The units of the translation, of which at most `capacity` are written to `buffer`; 0 where there is none. */
std::size_t emantle_translation_translate(const void* catalogue, const char* context, const char* source,
                                          char16_t* buffer, std::size_t capacity);

/* Accepts null. */
void emantle_translation_close(void* catalogue);
}
