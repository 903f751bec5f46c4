#include "store/value_json.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

namespace tool {

namespace {

constexpr char kDigits[] = "0123456789abcdef";

template <class Bits>
std::string bitsText(Bits bits)
{
    std::string text(2 * sizeof bits, '0');
    for (std::size_t i = text.size(); i-- > 0; bits >>= 4) {
        text[i] = kDigits[bits & 15];
    }
    return text;
}

template <class Real, class Bits>
Json anyRealJson(Real value)
{
    if (std::isfinite(value)) {
        return static_cast<double>(value);
    }
    if (std::isinf(value)) {
        return value > 0 ? "Infinity" : "-Infinity";
    }
    const auto bits = std::bit_cast<Bits>(value);
    const auto usual = std::bit_cast<Bits>(std::numeric_limits<Real>::quiet_NaN());
    return bits == usual ? "NaN" : "NaN:" + bitsText(bits);
}

template <class Real, class Bits>
Real anyRealFrom(const Json& json)
{
    if (json.is_number()) {
        const double value = json.get<double>();
        if (std::isfinite(value) && std::fabs(value) > double{std::numeric_limits<Real>::max()}) {
            throw WrongText(json.dump() + " is too large");
        }
        return static_cast<Real>(value);
    }
    const std::string text = json.is_string() ? json.get<std::string>() : std::string();
    if (text == "Infinity" || text == "-Infinity") {
        return (text[0] == '-' ? -1 : 1) * std::numeric_limits<Real>::infinity();
    }
    if (text == "NaN") {
        return std::numeric_limits<Real>::quiet_NaN();
    }
    Bits bits = 0;
    const char* end = text.data() + text.size();
    if (text.starts_with("NaN:") && text.size() == 4 + 2 * sizeof(Bits) &&
        std::from_chars(text.data() + 4, end, bits, 16).ptr == end && std::isnan(std::bit_cast<Real>(bits))) {
        return std::bit_cast<Real>(bits);
    }
    throw WrongText(lineOf(json) + " is not a number");
}

bool isUtf8(const std::string& text)
{
    try {
        static_cast<void>(Json(text).dump());
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

std::string asText(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

Json exactText(const Bytes& bytes)
{
    const std::string text = asText(bytes);
    return isUtf8(text) ? Json{{"text", text}} : Json{{"bytes", hexOf(bytes)}};
}

/* What exactText made; nothing for another value. */
bool isExact(const Json& json, Bytes& bytes)
{
    if (!json.is_object() || json.size() != 1) {
        return false;
    }
    if (json.contains("text") && json["text"].is_string()) {
        const auto& text = json["text"].get_ref<const std::string&>();
        bytes.assign(text.begin(), text.end());
        return true;
    }
    if (json.contains("bytes")) {
        bytes = bytesFromHex(json["bytes"]);
        return true;
    }
    return false;
}

const std::string& textFrom(const Json& json)
{
    if (!json.is_string()) {
        throw WrongText(lineOf(json) + " is not a text");
    }
    return json.get_ref<const std::string&>();
}

int digitOf(char c)
{
    const char* const found = std::find(kDigits, kDigits + 16, c);
    return found == kDigits + 16 ? -1 : static_cast<int>(found - kDigits);
}

}  // namespace

Json realJson(double value)
{
    return anyRealJson<double, std::uint64_t>(value);
}

Json realJson(float value)
{
    return anyRealJson<float, std::uint32_t>(value);
}

double realFrom(const Json& json)
{
    return anyRealFrom<double, std::uint64_t>(json);
}

float floatFrom(const Json& json)
{
    return anyRealFrom<float, std::uint32_t>(json);
}

std::string hexOf(const Bytes& bytes)
{
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

Bytes bytesFromHex(const Json& json)
{
    const std::string& text = textFrom(json);
    Bytes bytes(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = digitOf(text[i]);
        const int low = i + 1 < text.size() ? digitOf(text[i + 1]) : -1;
        if (high < 0 || low < 0) {
            throw WrongText("bytes are pairs of the digits 0 to 9 and a to f");
        }
        bytes[i / 2] = static_cast<std::uint8_t>(16 * high + low);
    }
    return bytes;
}

Json nameJson(const std::string& text)
{
    return isUtf8(text) ? Json(text) : Json{{"bytes", hexOf(Bytes(text.begin(), text.end()))}};
}

std::string nameFrom(const Json& json)
{
    Bytes bytes;
    const std::string text = isExact(json, bytes) ? asText(bytes) : textFrom(json);
    if (text.find('\0') != std::string::npos) {
        throw WrongText("a name with a zero in it");
    }
    return text;
}

Json fieldJson(const Bytes& bytes)
{
    const auto end = std::find(bytes.begin(), bytes.end(), 0);
    const std::string text(bytes.begin(), end);
    const bool isFilled = std::all_of(end, bytes.end(), [](std::uint8_t byte) { return byte == 0; });
    return isFilled && isUtf8(text) ? Json(text) : exactText(bytes);
}

Bytes fieldFrom(const Json& json, std::size_t size)
{
    Bytes bytes;
    if (!isExact(json, bytes)) {
        const std::string& text = textFrom(json);
        if (text.size() > size) {
            throw WrongText(lineOf(json) + " has more than " + std::to_string(size) + " bytes");
        }
        bytes.assign(text.begin(), text.end());
        bytes.resize(size);
    }
    if (bytes.size() != size) {
        throw WrongText("a text of " + std::to_string(bytes.size()) + " bytes where there are " + std::to_string(size));
    }
    return bytes;
}

Json countedTextJson(const Bytes& bytes)
{
    const bool isUsual = !bytes.empty() && std::find(bytes.begin(), bytes.end(), 0) == bytes.end() - 1;
    const std::string text(bytes.begin(), bytes.end() - (isUsual ? 1 : 0));
    return isUsual && isUtf8(text) ? Json(text) : exactText(bytes);
}

Bytes countedTextFrom(const Json& json)
{
    Bytes bytes;
    if (!isExact(json, bytes)) {
        const std::string& text = textFrom(json);
        bytes.assign(text.begin(), text.end());
        bytes.push_back(0);
    }
    return bytes;
}

std::int64_t wholeFrom(const Json& json, std::int64_t least, std::int64_t most)
{
    if (!json.is_number_integer() || (json.is_number_unsigned() && json.get<std::uint64_t>() > INT64_MAX)) {
        throw WrongText(lineOf(json) + " is not a whole number");
    }
    const auto value = json.get<std::int64_t>();
    if (value < least || value > most) {
        throw WrongText(lineOf(json) + " is not between " + std::to_string(least) + " and " + std::to_string(most));
    }
    return value;
}

const Json& memberOf(const Json& json, const char* name)
{
    if (!json.is_object() || !json.contains(name)) {
        throw WrongText(std::string("there is no \"") + name + "\"");
    }
    return json[name];
}

std::string lineOf(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace tool
