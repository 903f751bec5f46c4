#include "store/content_json.h"

#include "console/failure.h"
#include "store/stream_json.h"

#include <emantle/tables/edsc.h>

#include <cstring>

namespace tool {

namespace {

template <class Value>
Value valueAt(const Bytes& bytes, std::size_t at)
{
    Value value;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

template <class Value>
void append(Bytes& bytes, Value value)
{
    const auto* from = reinterpret_cast<const std::uint8_t*>(&value);
    bytes.insert(bytes.end(), from, from + sizeof value);
}

Json columnValue(const Bytes& run, std::size_t at, const ColumnShape& shape)
{
    switch (shape.type) {
    case EDSC_COLUMN_INTEGER: return valueAt<std::int32_t>(run, at);
    case EDSC_COLUMN_REAL: return realJson(valueAt<double>(run, at));
    case EDSC_COLUMN_COMPLEX:
        return Json::array({realJson(valueAt<double>(run, at)), realJson(valueAt<double>(run, at + 8))});
    default: {
        const auto from = run.begin() + static_cast<std::ptrdiff_t>(at);
        return fieldJson(Bytes(from, from + static_cast<std::ptrdiff_t>(shape.width)));
    }
    }
}

Json columnJson(const Bytes& run, const ColumnShape& shape)
{
    Json values = Json::array();
    for (std::size_t at = 0; at < run.size(); at += static_cast<std::size_t>(shape.width)) {
        values.push_back(columnValue(run, at, shape));
    }
    return values;
}

void appendValue(Bytes& run, const Json& value, const ColumnShape& shape)
{
    switch (shape.type) {
    case EDSC_COLUMN_INTEGER: append(run, static_cast<std::int32_t>(wholeFrom(value, INT32_MIN, INT32_MAX))); return;
    case EDSC_COLUMN_REAL: append(run, realFrom(value)); return;
    case EDSC_COLUMN_COMPLEX:
        if (!value.is_array() || value.size() != 2) {
            throw WrongText(lineOf(value) + " is not a pair of numbers");
        }
        append(run, realFrom(value[0]));
        append(run, realFrom(value[1]));
        return;
    default: {
        const Bytes text = fieldFrom(value, static_cast<std::size_t>(shape.width));
        run.insert(run.end(), text.begin(), text.end());
    }
    }
}

Bytes columnFrom(const Json& values, const Bytes& data)
{
    const ColumnShape shape = data.size() < 14 ? ColumnShape{} : columnShape(data);
    if (shape.width < 0) {
        throw WrongText("the data are none of a column");
    }
    if (!values.is_array() || static_cast<std::int64_t>(values.size()) != shape.rows) {
        throw WrongText("the column is to have " + std::to_string(shape.rows) + " values");
    }
    Bytes run;
    for (const Json& value : values) {
        appendValue(run, value, shape);
    }
    return run;
}

const Emif_Design* designFor(const Emif_Dictionary* dictionary, const std::string& type)
{
    Reports reports;
    const Emif_Design* design = emif_DictionarySearchByName(dictionary, type.c_str(), reports);
    return reports.failed() ? nullptr : design;
}

void addData(Json& json, const Content& content, const Emif_Dictionary* dictionary)
{
    const Emif_Design* design = designFor(dictionary, content.type);
    std::optional<StreamRecord> record;
    if (design != nullptr) {
        record = recordFromStream(content.data, *design);
    }
    if (!record || record->size == 0) {
        json["bytes"] = hexOf(content.data);
        return;
    }
    json["data"] = std::move(record->json);
    if (record->size < content.data.size()) {
        json["tail"] = hexOf(Bytes(content.data.begin() + static_cast<std::ptrdiff_t>(record->size), content.data.end()));
    }
}

Bytes dataFrom(const Json& json, const std::string& type, const Emif_Dictionary* dictionary)
{
    if (json.contains("bytes")) {
        return bytesFromHex(json["bytes"]);
    }
    if (!json.contains("data")) {
        return {};
    }
    const Emif_Design* design = designFor(dictionary, type);
    if (design == nullptr) {
        throw WrongText("there is no design " + type);
    }
    Bytes data = streamFromRecord(json["data"], *design, 0);
    if (json.contains("tail")) {
        const Bytes tail = bytesFromHex(json["tail"]);
        data.insert(data.end(), tail.begin(), tail.end());
    }
    return data;
}

}  // namespace

Json contentJson(const Content& content, int depth, const Emif_Dictionary* dictionary)
{
    Json json{{"depth", depth},
              {"name", nameJson(content.name)},
              {"type", nameJson(content.type)},
              {"modified", realJson(content.modified)}};
    if (!content.data.empty()) {
        addData(json, content, dictionary);
    }
    if (content.run) {
        const ColumnShape shape = isColumn(content.type) ? columnShape(content.data) : ColumnShape{};
        if (shape.width > 0) {
            json["values"] = columnJson(*content.run, shape);
        } else {
            json["block"] = hexOf(*content.run);
        }
    }
    if (content.blocks) {
        json["blocks"] = Json::array();
        for (const std::optional<Bytes>& block : *content.blocks) {
            json["blocks"].push_back(block ? Json(hexOf(*block)) : Json());
        }
    }
    return json;
}

Content contentFrom(const Json& json, const Emif_Dictionary* dictionary)
{
    Content content;
    content.name = nameFrom(memberOf(json, "name"));
    content.type = nameFrom(memberOf(json, "type"));
    content.modified = realFrom(memberOf(json, "modified"));
    if (content.name.size() > EHFA_NAME_MAX || content.type.size() > EHFA_TYPE_MAX) {
        throw WrongText("a name has at most " + std::to_string(EHFA_NAME_MAX) + " bytes and a type " +
                        std::to_string(EHFA_TYPE_MAX));
    }
    content.data = dataFrom(json, content.type, dictionary);
    if (json.contains("values")) {
        content.run = columnFrom(json["values"], content.data);
    } else if (json.contains("block")) {
        content.run = bytesFromHex(json["block"]);
    }
    if (json.contains("blocks")) {
        if (!json["blocks"].is_array()) {
            throw WrongText("the blocks are not an array");
        }
        content.blocks.emplace();
        for (const Json& block : json["blocks"]) {
            content.blocks->push_back(block.is_null() ? std::nullopt : std::optional(bytesFromHex(block)));
        }
    }
    return content;
}

}  // namespace tool
