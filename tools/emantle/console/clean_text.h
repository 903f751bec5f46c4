#pragma once

#include <string>

namespace tool {

/* Text from a store that is fit for a document: valid UTF-8 on one line. Broken sequences, and characters that documents
 * may not hold, become U+FFFD. */
std::string cleanText(const std::string& text);

/* The same with <, >, &, " and ' written as entities: fit for XML and HTML, between tags and in quoted attributes. */
std::string escapedText(const std::string& text);

/* Characters, as opposed to bytes, of clean text. */
std::size_t characterCount(const std::string& text);

/* Clean text of at most `most` characters; the last one is an ellipsis where some are missing. */
std::string shortened(const std::string& text, std::size_t most);

}  // namespace tool
