#pragma once

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

/* A reader of stores written after docs/format.md alone. It shares no code with the library or the tool, so that the page
 * is wrong where it and the tool do not agree. */
class FormatReader {
public:
    using Json = nlohmann::ordered_json;

    explicit FormatReader(std::string file) : file_(std::move(file))
    {
        if (bytes(0, 16) != std::string("EHFA_HEADER_TAG\0", 16)) {
            throw std::runtime_error("no store");
        }
        const std::uint32_t record = at<std::uint32_t>(16);
        root_ = at<std::uint32_t>(record + 8);
        readDictionary(at<std::uint32_t>(record + 14));
    }

    std::uint32_t root() const { return root_; }
    const std::vector<std::string>& designs() const { return order_; }

    /* The entries below the root, depth first: depth, name, type, time, data, and the values of columns. */
    std::vector<Json> entries() const
    {
        std::vector<Json> found;
        visit(at<std::uint32_t>(root_ + 12), 1, found);
        return found;
    }

private:
    struct Item {
        std::int64_t count;
        char prefix; /* "*", "p" or a blank */
        char letter;
        std::vector<std::string> names;
        std::vector<Item> nested;
        std::string name;
    };

    template <class T>
    T at(std::size_t offset) const
    {
        T value;
        std::memcpy(&value, bytes(offset, sizeof value).data(), sizeof value);
        return value;
    }
    std::string bytes(std::size_t offset, std::size_t size) const
    {
        if (offset + size > file_.size()) {
            throw std::runtime_error("beyond the end");
        }
        return file_.substr(offset, size);
    }
    static std::string text(const std::string& field) { return field.substr(0, field.find('\0')); }

    std::string until(std::size_t& place, char end) const
    {
        const std::size_t found = file_.find(end, place);
        const std::string token = file_.substr(place, found - place);
        place = found + 1;
        return token;
    }

    void readDictionary(std::size_t place)
    {
        while (file_.at(place) != '.') {
            order_.push_back(readDesign(place).first);
        }
    }

    std::pair<std::string, std::vector<Item>> readDesign(std::size_t& place)
    {
        std::vector<Item> items;
        for (++place; file_.at(place) != '}';) {
            Item item{std::stoll(until(place, ':')), ' ', ' ', {}, {}, {}};
            if (file_.at(place) == '*' || file_.at(place) == 'p') {
                item.prefix = file_.at(place++);
            }
            item.letter = file_.at(place++);
            if (item.letter == 'x') {
                item.nested = readDesign(place).second;
            } else if (item.letter == 'o') {
                item.nested = designs_.at(until(place, ','));
            } else if (item.letter == 'e') {
                for (long left = std::stol(until(place, ':')); left > 0; --left) {
                    item.names.push_back(until(place, ','));
                }
            }
            item.name = until(place, ',');
            items.push_back(item);
        }
        ++place;
        const std::string name = until(place, ',');
        designs_.emplace(name, items);
        return {name, items};
    }

    void visit(std::uint32_t entry, int depth, std::vector<Json>& found) const
    {
        for (; entry != 0; entry = at<std::uint32_t>(entry)) {
            const std::string type = text(bytes(entry + 88, 32));
            Json json{{"depth", depth},
                      {"name", text(bytes(entry + 24, 64))},
                      {"type", type},
                      {"modified", at<double>(entry + 120)}};
            const std::uint32_t data = at<std::uint32_t>(entry + 16);
            if (at<std::int32_t>(entry + 20) != 0 && designs_.count(type) != 0) {
                std::size_t place = data;
                json["data"] = record(designs_.at(type), place);
                if (type == "Edsc_Column") {
                    json["values"] = column(data);
                }
            }
            found.push_back(json);
            visit(at<std::uint32_t>(entry + 12), depth + 1, found);
        }
    }

    Json column(std::uint32_t data) const
    {
        Json values = Json::array();
        std::size_t place = at<std::uint32_t>(data + 4);
        const auto characters = static_cast<std::size_t>(at<std::int32_t>(data + 10));
        for (std::int32_t left = at<std::int32_t>(data); left > 0; --left) {
            switch (at<std::uint16_t>(data + 8)) {
            case 0: values.push_back(number<std::int32_t>(place)); break;
            case 1: values.push_back(number<double>(place)); break;
            case 2: values.push_back(pair<double>(place)); break;
            default:
                values.push_back(text(bytes(place, characters)));
                place += characters;
            }
        }
        return values;
    }

    Json record(const std::vector<Item>& items, std::size_t& place) const
    {
        Json json = Json::object();
        for (const Item& item : items) {
            std::int64_t count = item.count;
            if (item.prefix != ' ') {
                count = at<std::uint32_t>(place);
                place += 8;
            }
            json[item.name] = elements(item, count, place);
        }
        return json;
    }

    Json elements(const Item& item, std::int64_t count, std::size_t& place) const
    {
        if (item.letter == '1' || item.letter == '2' || item.letter == '4') {
            const Json digits = packed(item.letter - '0', count, place);
            return count == 0 ? Json() : item.prefix == ' ' && count == 1 ? Json(digits.get<std::string>()[0] - '0') : digits;
        }
        if (count == 0) {
            return nullptr;
        }
        if (item.letter == 'c') {
            place += static_cast<std::size_t>(count);
            return text(bytes(place - static_cast<std::size_t>(count), static_cast<std::size_t>(count)));
        }
        if (item.prefix == ' ' && count == 1) {
            return element(item, place);
        }
        if (item.letter == 'C') {
            return hex(count, place);
        }
        Json values = Json::array();
        for (; count > 0; --count) {
            values.push_back(element(item, place));
        }
        return values;
    }

    Json packed(int bits, std::int64_t count, std::size_t& place) const
    {
        std::string digits;
        for (std::int64_t i = 0; i < count; ++i) {
            const auto bit = static_cast<std::size_t>(i * bits);
            digits += "0123456789abcdef"[at<std::uint8_t>(place + bit / 8) >> bit % 8 & ((1 << bits) - 1)];
        }
        place += count == 0 ? 1 : static_cast<std::size_t>((count * bits + 7) / 8);
        return digits;
    }

    Json hex(std::int64_t count, std::size_t& place) const
    {
        std::string digits;
        for (; count > 0; --count) {
            const auto byte = at<std::uint8_t>(place++);
            digits += "0123456789abcdef"[byte >> 4];
            digits += "0123456789abcdef"[byte & 15];
        }
        return digits;
    }

    template <class T>
    Json number(std::size_t& place) const
    {
        place += sizeof(T);
        const T value = at<T>(place - sizeof(T));
        if constexpr (std::is_floating_point_v<T>) {
            if (!std::isfinite(value)) {
                return std::isnan(value) ? "NaN" : value > 0 ? "Infinity" : "-Infinity";
            }
            return static_cast<double>(value);
        } else {
            return static_cast<std::int64_t>(value);
        }
    }
    template <class T>
    Json pair(std::size_t& place) const
    {
        const Json real = number<T>(place);
        return Json::array({real, number<T>(place)});
    }

    Json element(const Item& item, std::size_t& place) const
    {
        switch (item.letter) {
        case 'C': return number<std::uint8_t>(place);
        case 'S': return number<std::uint16_t>(place);
        case 's': return number<std::int16_t>(place);
        case 'L': return number<std::uint32_t>(place);
        case 'l':
        case 'i': return number<std::int32_t>(place);
        case 'f': return number<float>(place);
        case 'd':
        case 't': return number<double>(place);
        case 'm': return pair<float>(place);
        case 'M': return pair<double>(place);
        case 'x':
        case 'o': return record(item.nested, place);
        case 'b': return typedValues(place);
        case 'e': return item.names.at(number<std::uint16_t>(place).get<std::size_t>());
        default: return nullptr;
        }
    }

    Json typedValues(std::size_t& place) const
    {
        static const char* const kTypes[] = {"U1", "U2", "U4", "U8", "S8", "U16", "S16", "U32", "S32", "F32", "F64", "C64", "C128"};
        static const char* const kObjects[] = {"SCALAR", "TABLE", "MATRIX", "RASTER"};
        const auto rows = at<std::int32_t>(place);
        const auto columns = at<std::int32_t>(place + 4);
        const auto type = at<std::uint16_t>(place + 8);
        const auto object = at<std::uint16_t>(place + 10);
        place += 12;
        Json lines = Json::array();
        for (std::int32_t line = 0; line < (object == 2 ? columns : rows); ++line) {
            lines.push_back(values(type, object == 2 ? rows : columns, place));
        }
        return {{"rows", rows},
                {"columns", columns},
                {"type", std::string("EGDA_TYPE_") + kTypes[type]},
                {"object", std::string("EGDA_") + kObjects[object] + "_OBJECT"},
                {"values", lines}};
    }

    Json values(unsigned type, std::int32_t count, std::size_t& place) const
    {
        if (type <= 2) {
            return packed(1 << type, count, place);
        }
        if (type == 3) {
            return hex(count, place);
        }
        Json line = Json::array();
        for (; count > 0; --count) {
            switch (type) {
            case 4: line.push_back(number<std::int8_t>(place)); break;
            case 5: line.push_back(number<std::uint16_t>(place)); break;
            case 6: line.push_back(number<std::int16_t>(place)); break;
            case 7: line.push_back(number<std::uint32_t>(place)); break;
            case 8: line.push_back(number<std::int32_t>(place)); break;
            case 9: line.push_back(number<float>(place)); break;
            case 10: line.push_back(number<double>(place)); break;
            case 11: line.push_back(pair<float>(place)); break;
            default: line.push_back(pair<double>(place)); break;
            }
        }
        return line;
    }

    std::string file_;
    std::uint32_t root_ = 0;
    std::map<std::string, std::vector<Item>> designs_;
    std::vector<std::string> order_;
};
