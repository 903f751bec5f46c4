#include "store/record_json.h"

#include "console/numbers.h"

#include <emantle/data/egda.h>

#include <cstring>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

template <class T>
T valueAt(const std::byte* place)
{
    T value;
    std::memcpy(&value, place, sizeof value);
    return value;
}

template <class Part>
Json complexJson(const std::byte* place)
{
    return Json::array({numberJson(static_cast<double>(valueAt<Part>(place))),
                        numberJson(static_cast<double>(valueAt<Part>(place + sizeof(Part))))});
}

Json pixelJson(Egda_PixelType type, const std::byte* place)
{
    switch (type) {
    case EGDA_TYPE_S8: return static_cast<int>(valueAt<std::int8_t>(place));
    case EGDA_TYPE_U16: return valueAt<std::uint16_t>(place);
    case EGDA_TYPE_S16: return valueAt<std::int16_t>(place);
    case EGDA_TYPE_U32: return valueAt<std::uint32_t>(place);
    case EGDA_TYPE_S32: return valueAt<std::int32_t>(place);
    case EGDA_TYPE_F32: return numberJson(static_cast<double>(valueAt<float>(place)));
    case EGDA_TYPE_F64: return numberJson(valueAt<double>(place));
    case EGDA_TYPE_C64: return complexJson<float>(place);
    case EGDA_TYPE_C128: return complexJson<double>(place);
    default: return static_cast<unsigned>(valueAt<std::uint8_t>(place));
    }
}

/* Rows of columns, whatever the order in memory. */
Json baseDataJson(const Egda_BaseData& data, std::size_t most)
{
    Json rows = Json::array();
    const bool isMatrix = data.objecttype == EGDA_MATRIX_OBJECT;
    const auto* first = static_cast<const std::byte*>(data.firstelement);
    for (std::int32_t row = 0; first != nullptr && row < data.numrows; ++row) {
        if (most != 0 && rows.size() == most) {
            rows.push_back("...");
            break;
        }
        Json line = Json::array();
        for (std::int32_t column = 0; column < data.numcolumns; ++column) {
            if (most != 0 && line.size() == most) {
                line.push_back("...");
                break;
            }
            const auto lines = static_cast<std::size_t>(isMatrix ? column : row);
            const auto steps = static_cast<std::size_t>(isMatrix ? row : column);
            line.push_back(pixelJson(data.datatype, first + lines * static_cast<std::size_t>(data.pitch) +
                                                        steps * static_cast<std::size_t>(data.numbytes)));
        }
        rows.push_back(std::move(line));
    }
    const char* type = egda_PixelNameFromType(data.datatype);
    return {{"rows", data.numrows}, {"columns", data.numcolumns}, {"type", type == nullptr ? "" : type}, {"values", rows}};
}

Json enumJson(const Emif_DesignItem& item, std::int32_t value)
{
    if (value >= 0 && value < item.enumCount && item.enumNames != nullptr && item.enumNames[value] != nullptr) {
        return item.enumNames[value];
    }
    return value;
}

Json elementJson(const Emif_DesignItem& item, const std::byte* place, std::size_t most)
{
    switch (item.type) {
    case EMIF_TYPE_DESIGN:
    case EMIF_TYPE_NAMED_DESIGN: return recordJson(place, *item.design, most);
    case EMIF_TYPE_ENUM: return enumJson(item, valueAt<std::int32_t>(place));
    case EMIF_TYPE_U1:
    case EMIF_TYPE_U2:
    case EMIF_TYPE_U4:
    case EMIF_TYPE_UCHAR: return static_cast<unsigned>(valueAt<std::uint8_t>(place));
    case EMIF_TYPE_USHORT: return valueAt<std::uint16_t>(place);
    case EMIF_TYPE_SHORT: return valueAt<std::int16_t>(place);
    case EMIF_TYPE_ULONG: return valueAt<std::uint32_t>(place);
    case EMIF_TYPE_LONG:
    case EMIF_TYPE_S32: return valueAt<std::int32_t>(place);
    case EMIF_TYPE_FLOAT: return numberJson(static_cast<double>(valueAt<float>(place)));
    case EMIF_TYPE_DOUBLE:
    case EMIF_TYPE_TIME: return numberJson(valueAt<double>(place));
    case EMIF_TYPE_COMPLEX: return complexJson<float>(place);
    case EMIF_TYPE_DCOMPLEX: return complexJson<double>(place);
    case EMIF_TYPE_BASEDATA: return baseDataJson(*reinterpret_cast<const Egda_BaseData*>(place), most);
    default: return nullptr;
    }
}

struct CountedPointer {
    std::int32_t count;
    const std::byte* pointer;
};

Json itemJson(const Emif_DesignItem& item, const std::byte* place, std::size_t most)
{
    std::int64_t count = item.count;
    if (item.isCountedPointer != 0) {
        const auto counted = valueAt<CountedPointer>(place);
        count = counted.count;
        place = counted.pointer;
    } else if (item.isPointer != 0) {
        place = valueAt<const std::byte*>(place);
    }
    if (place == nullptr || count < 1) {
        return nullptr;
    }
    if (item.type == EMIF_TYPE_CHAR) {
        const auto* text = reinterpret_cast<const char*>(place);
        return std::string(text, strnlen(text, static_cast<std::size_t>(count)));
    }
    if (count == 1 && item.isCountedPointer == 0) {
        return elementJson(item, place, most);
    }
    Json values = Json::array();
    for (std::int64_t i = 0; i < count; ++i) {
        if (most != 0 && values.size() == most) {
            values.push_back("...");
            break;
        }
        values.push_back(elementJson(item, place + i * item.hostBytesPerElement, most));
    }
    return values;
}

}  // namespace

Json recordJson(const void* record, const Emif_Design& design, std::size_t most)
{
    Json json = Json::object();
    for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
        json[item->name == nullptr ? "" : item->name] =
            itemJson(*item, static_cast<const std::byte*>(record) + item->hostOffset, most);
    }
    return json;
}

}  // namespace tool
