#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace tool {

using Bytes = std::vector<std::uint8_t>;
using Json = nlohmann::ordered_json;

/* What a text form cannot mean; `what` says it without a full stop. */
class WrongText : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* Single values in a text form that keeps every bit of them.
 *  1. Numbers are numbers, but for "NaN", "Infinity" and "-Infinity"; a not-a-number of other bits is "NaN:" and its bits
 *     in hexadecimal digits.
 *  2. Bytes are two hexadecimal digits each.
 *  3. Text is text where it is UTF-8, else {"bytes": "..."}.
 *  The ways back throw WrongText. */
Json realJson(double value);
Json realJson(float value);
double realFrom(const Json& json);
float floatFrom(const Json& json);

std::string hexOf(const Bytes& bytes);
Bytes bytesFromHex(const Json& json);

/* A text without zeros in it. */
Json nameJson(const std::string& text);
std::string nameFrom(const Json& json);

/* Characters in a field of `bytes`: without the zeros that fill it up where there is nothing else behind the first one, else
 * {"text": "..."} or {"bytes": "..."} with all of them. */
Json fieldJson(const Bytes& bytes);
Bytes fieldFrom(const Json& json, std::size_t size);

/* Characters that carry their own count: without the zero at the end where it is the only one. */
Json countedTextJson(const Bytes& bytes);
Bytes countedTextFrom(const Json& json);

/* A whole number between limits. */
std::int64_t wholeFrom(const Json& json, std::int64_t least, std::int64_t most);

/* The member `name` of an object. */
const Json& memberOf(const Json& json, const char* name);

/* One line; what is not UTF-8 shows as U+FFFD. */
std::string lineOf(const Json& json);

}  // namespace tool
